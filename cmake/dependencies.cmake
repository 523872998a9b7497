# SPDX-License-Identifier: MIT
#
# The libraries of others, each as one imported target.  In the 32-bit build the
# find root of the toolchain file makes these the overlay's.

function(wbfsi_import target header)
  cmake_parse_arguments(arg "" "" "LIBRARIES" ${ARGN})
  add_library(${target} INTERFACE)
  find_path(${target}_include ${header} REQUIRED)
  if(NOT ${target}_include STREQUAL "/usr/include")
    target_include_directories(${target} SYSTEM INTERFACE ${${target}_include})
  endif()
  foreach(name IN LISTS arg_LIBRARIES)
    find_library(${target}_${name} ${name} REQUIRED)
    target_link_libraries(${target} INTERFACE ${${target}_${name}})
  endforeach()
endfunction()

find_package(Threads REQUIRED)
wbfsi_import(wbfsi_expat expat.h LIBRARIES expat)
wbfsi_import(wbfsi_sqlite sqlite3.h LIBRARIES sqlite3)
wbfsi_import(wbfsi_cli11 CLI/CLI.hpp)
wbfsi_import(wbfsi_json nlohmann/json.hpp)
wbfsi_import(wbfsi_gtest gtest/gtest.h LIBRARIES gtest_main gtest)
wbfsi_import(wbfsi_benchmark benchmark/benchmark.h LIBRARIES benchmark)
target_link_libraries(wbfsi_gtest INTERFACE Threads::Threads)
target_link_libraries(wbfsi_benchmark INTERFACE Threads::Threads)
