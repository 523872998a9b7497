# SPDX-License-Identifier: MIT
#
# Toolchain of the 32-bit build.  The compiler's own -m32 brings the C and C++
# libraries; everything else comes from the overlay that scripts/overlay.sh
# unpacks into the build tree.

get_filename_component(WBFSI_TOP "${CMAKE_CURRENT_LIST_DIR}" DIRECTORY)
set(WBFSI_OVERLAY "${WBFSI_TOP}/build/overlay-i386")

if(NOT EXISTS "${WBFSI_OVERLAY}/packages.stamp")
  execute_process(COMMAND "${WBFSI_TOP}/scripts/overlay.sh" "${WBFSI_OVERLAY}" RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "scripts/overlay.sh could not unpack the 32-bit libraries into ${WBFSI_OVERLAY}")
  endif()
endif()

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i386)
set(CMAKE_CROSSCOMPILING FALSE)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

set(CMAKE_C_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")

set(libraries "${WBFSI_OVERLAY}/usr/lib/i386-linux-gnu")
set(base_libraries "${WBFSI_OVERLAY}/lib/i386-linux-gnu")
# RUNPATH is not followed for libraries of libraries, hence the old tags.
set(link_flags "-m32 -L\"${libraries}\" -L\"${base_libraries}\" -Wl,-rpath-link,\"${libraries}\" \
-Wl,-rpath-link,\"${base_libraries}\" -Wl,--disable-new-dtags")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${link_flags}")

# Programs run from the build tree find the overlay's libraries; installed ones
# use the machine's own.
set(CMAKE_BUILD_RPATH "${libraries}" "${base_libraries}")

set(CMAKE_FIND_ROOT_PATH "${WBFSI_OVERLAY}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
