# SPDX-License-Identifier: MIT

option(WBFSI_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)

if(WBFSI_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  add_link_options(-fsanitize=address,undefined)
endif()
