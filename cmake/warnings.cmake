# SPDX-License-Identifier: MIT
#
# wbfsi_warnings: the warnings every target of the project is built with, all of
# them errors.

add_library(wbfsi_warnings INTERFACE)
target_compile_options(wbfsi_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wundef -Wvla -Wformat=2
  -Wcast-align -Wcast-qual -Wwrite-strings -Wnull-dereference
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>)
