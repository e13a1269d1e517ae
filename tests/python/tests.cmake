# Tests of the Python package: one a file, by pytest, over the libselvane of the build. Not under the sanitizers, whose runtime would
# have to come before Python's own memory.

if(SELVANE_HAS_PYTHON AND NOT SELVANE_SANITIZE)
  add_executable(selvane_python_reference python/reference.c)
  target_link_libraries(selvane_python_reference PRIVATE selvane_library)
  target_compile_options(selvane_python_reference PRIVATE -Wall -Wextra -Wno-missing-field-initializers)

  # selvane_python_test(NAME): tests/python/test_NAME.py
  function(selvane_python_test name)
    add_test(NAME python.${name} COMMAND ${SELVANE_PYTHON_EXECUTABLE} -m pytest -q -p no:cacheprovider --rootdir ${CMAKE_CURRENT_SOURCE_DIR}/python
      ${CMAKE_CURRENT_SOURCE_DIR}/python/test_${name}.py)
    set_tests_properties(python.${name} PROPERTIES ENVIRONMENT
      "PYTHONPATH=${PROJECT_SOURCE_DIR}/python;LD_LIBRARY_PATH=$<TARGET_FILE_DIR:selvane_library>;PYTHONDONTWRITEBYTECODE=1;SELVANE_BUILD=${PROJECT_BINARY_DIR};SELVANE_SOURCE=${PROJECT_SOURCE_DIR}")
  endfunction()

  foreach(name pixels renderer settings frames interrupt threads interface install examples docs)
    selvane_python_test(${name})
  endforeach()
  selvane_python_test(dask)
  set_tests_properties(python.dask PROPERTIES LABELS desktop)
endif()
