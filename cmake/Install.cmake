# cmake --install: library, headers, program, man page, and what find_package and pkg-config look for.
include(CMakePackageConfigHelpers)

# The headers of the modules are made by the build, so they are installed as a directory.
install(TARGETS quorva EXPORT quorvaTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/quorva ${PROJECT_BINARY_DIR}/generated/include/quorva
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(quorva_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quorva)
install(EXPORT quorvaTargets NAMESPACE quorva:: FILE quorvaTargets.cmake DESTINATION ${quorva_package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/quorvaConfig.cmake.in
  ${PROJECT_BINARY_DIR}/quorvaConfig.cmake INSTALL_DESTINATION ${quorva_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quorvaConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quorvaConfig.cmake ${PROJECT_BINARY_DIR}/quorvaConfigVersion.cmake
  DESTINATION ${quorva_package_dir})

# Paths relative to the file, so that an installed tree may be moved.
file(RELATIVE_PATH quorva_pc_prefix
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" quorva_pc_prefix ${quorva_pc_prefix})
configure_file(${PROJECT_SOURCE_DIR}/cmake/quorva.pc.in ${PROJECT_BINARY_DIR}/quorva.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quorva.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(TARGET quorva_tool)
  set_target_properties(quorva_tool PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS quorva_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/tools/quorva/quorva.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()

# cpack -G DEB: all of it as a package for Debian.
if(PROJECT_IS_TOP_LEVEL)
  set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
  set(CPACK_PACKAGE_CONTACT "Quorva")
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_STRIP_FILES ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_RECOMMENDS python3-cffi)
  include(CPack)
endif()
