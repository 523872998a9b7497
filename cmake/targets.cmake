# SPDX-License-Identifier: MIT
#
# How the kinds of target of this project are built.

# Guests in someone's run-time: no exceptions, no RTTI, no C++ run-time library.
function(wbfsi_guest_library target)
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
    -fno-semantic-interposition)
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden C_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${target} PRIVATE wbfsi_warnings)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
endfunction()

# Links a guest library against the C library and libgcc alone.
function(wbfsi_link_without_cxx_runtime target)
  if(NOT WBFSI_SANITIZE)
    target_link_options(${target} PRIVATE -nodefaultlibs)
    target_link_libraries(${target} PRIVATE c gcc)
  endif()
endfunction()

# A GoogleTest program: wbfsi_test(NAME name SOURCES ... LIBRARIES ...).  Runs
# as one CTest test; the program's own filter picks single cases.
function(wbfsi_test)
  cmake_parse_arguments(arg "" "NAME" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${arg_NAME} ${arg_SOURCES})
  target_include_directories(${arg_NAME} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(${arg_NAME} PRIVATE wbfsi_warnings ${arg_LIBRARIES} wbfsi_gtest)
  add_test(NAME ${arg_NAME} COMMAND ${arg_NAME})
endfunction()
