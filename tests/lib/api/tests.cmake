selvane_lib_test(api
  Alpha_test.cpp
  EntryBytes_test.cpp
  Forms_test.cpp
  Incremental_test.cpp
  OddSamples_test.cpp
  Refusals_test.cpp
)
