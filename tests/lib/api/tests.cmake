selvane_lib_test(api
  EntryBytes_test.cpp
  Forms_test.cpp
  OddSamples_test.cpp
  Refusals_test.cpp
)
