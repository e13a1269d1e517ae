selvane_lib_test(api
  EntryBytes_test.cpp
)
