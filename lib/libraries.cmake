# What the objects become: libselvane.so.0 and libselvane.a. A program sees the functions of selvane.h in both, and nothing else.
#
# Version and functions are read from selvane.h, the one place that names them.

set(interface ${CMAKE_CURRENT_SOURCE_DIR}/include/selvane.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${interface})
foreach(part MAJOR MINOR PATCH)
  file(STRINGS ${interface} line REGEX "^#define SELVANE_VERSION_${part} ")
  string(REGEX REPLACE ".* " "" version_${part} "${line}")
endforeach()
set(SELVANE_LIBRARY_VERSION ${version_MAJOR}.${version_MINOR}.${version_PATCH})
set(SELVANE_LIBRARY_VERSION ${SELVANE_LIBRARY_VERSION} PARENT_SCOPE)
file(STRINGS ${interface} functions REGEX "^SELVANE_FUNCTION")
list(TRANSFORM functions REPLACE "^.*(selvane_[a-z0-9_]+)\\(.*$" "\\1")

find_package(Threads REQUIRED)

# selvane_public(TARGET NAME): what a program gets that links the library, from the build or from an install.
function(selvane_public target name)
  add_library(Selvane::${name} ALIAS ${target})
  target_include_directories(${target} INTERFACE $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>)
  set_target_properties(${target} PROPERTIES OUTPUT_NAME selvane EXPORT_NAME ${name}
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
endfunction()

add_library(selvane_library SHARED $<TARGET_OBJECTS:selvane_engine> $<TARGET_OBJECTS:selvane_objects> $<TARGET_OBJECTS:selvane_suggest>)
selvane_public(selvane_library selvane)
target_link_libraries(selvane_library PRIVATE Threads::Threads)
selvane_compile(selvane_library)
set_target_properties(selvane_library PROPERTIES
  VERSION ${SELVANE_LIBRARY_VERSION} SOVERSION ${version_MAJOR} LINKER_LANGUAGE CXX
  LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/libselvane.map)
target_link_options(selvane_library PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/libselvane.map)
if(NOT (SELVANE_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")) # whose sanitizers stand in the program
  target_link_options(selvane_library PRIVATE -Wl,-z,defs)
endif()

# In the archive the functions are hidden: a plug-in that holds it hands none of them out, and two such plug-ins keep apart.
foreach(name ${functions})
  string(APPEND hidden "__asm__(\".globl ${name}\\n.hidden ${name}\");\n")
endforeach()
file(CONFIGURE OUTPUT Hidden.cpp CONTENT "${hidden}" @ONLY)
add_library(selvane_hidden OBJECT ${CMAKE_CURRENT_BINARY_DIR}/Hidden.cpp)
selvane_compile(selvane_hidden)

# The archive holds one object, in which every other name is local. Templates and inline functions stand in groups, of which the linker
# of a program keeps one; they are dissolved, or a program's own copy would take the place of ours.
# Both steps need the tools of GNU binutils; CMake hands out those of LLVM with clang.
foreach(tool ld.bfd objcopy)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-prog-name=${tool} OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
  string(MAKE_C_IDENTIFIER SELVANE_${tool} variable)
  set(${variable} ${path})
endforeach()
set(whole ${CMAKE_CURRENT_BINARY_DIR}/selvane.o)
set(parts $<TARGET_OBJECTS:selvane_engine> $<TARGET_OBJECTS:selvane_objects> $<TARGET_OBJECTS:selvane_suggest> $<TARGET_OBJECTS:selvane_hidden>)
add_custom_command(OUTPUT ${whole} DEPENDS ${parts} COMMAND_EXPAND_LISTS VERBATIM
  COMMAND ${SELVANE_ld_bfd} -r --force-group-allocation -o ${whole} ${parts}
  COMMAND ${SELVANE_objcopy} --wildcard --keep-global-symbol=selvane_* ${whole})
add_library(selvane_static STATIC ${whole})
selvane_public(selvane_static selvane_static)
set_source_files_properties(${whole} PROPERTIES EXTERNAL_OBJECT ON GENERATED ON)
set_target_properties(selvane_static PROPERTIES LINKER_LANGUAGE C) # a C program needs no C++ compiler to link it
target_link_libraries(selvane_static INTERFACE stdc++ m Threads::Threads)
