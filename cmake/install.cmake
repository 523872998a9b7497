# SPDX-License-Identifier: MIT
#
# What `cmake --install` lays down: both libraries, the tool with its error map,
# public headers and copybooks, man pages, and the files by which pkg-config and CMake find them.

include(CMakePackageConfigHelpers)

install(TARGETS wbfsi2 wbhost EXPORT wbfsi-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/wbfsi host DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(FILES examples/wbfsi-xml.cpy examples/wbfsi-xml-records.cpy DESTINATION ${CMAKE_INSTALL_DATADIR}/wbfsi)

if(TARGET wbfsi)
  # The tool finds the libraries beside it, wherever the prefix is moved.
  file(RELATIVE_PATH to_libraries "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(wbfsi PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libraries}")
  install(TARGETS wbfsi RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES sql/sqlite/sqlite.errmap DESTINATION ${CMAKE_INSTALL_DATADIR}/wbfsi)
endif()

file(GLOB man_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/man/*.1)
install(FILES ${man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

configure_file(cmake/wbfsi.pc.in ${PROJECT_BINARY_DIR}/wbfsi.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/wbfsi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/wbfsi)
install(EXPORT wbfsi-targets NAMESPACE wbfsi:: DESTINATION ${package})
configure_package_config_file(cmake/wbfsi-config.cmake.in ${PROJECT_BINARY_DIR}/wbfsi-config.cmake
  INSTALL_DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/wbfsi-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/wbfsi-config.cmake ${PROJECT_BINARY_DIR}/wbfsi-config-version.cmake
  DESTINATION ${package})
