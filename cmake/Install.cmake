# cmake --install: library, headers, program, man page, and what find_package and pkg-config look for.
include(CMakePackageConfigHelpers)

# The headers of the modules are made by the build, so they are installed as a directory.
install(TARGETS quorva EXPORT quorvaTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/quorva ${quorva_generated}/include/quorva
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
# A manual page for each public header, made from its comments.
find_package(Python3 COMPONENTS Interpreter QUIET)
if(Python3_Interpreter_FOUND AND PROJECT_IS_TOP_LEVEL)
  file(GLOB quorva_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/quorva/*.h)
  set(quorva_manuals ${PROJECT_BINARY_DIR}/man3)
  add_custom_command(OUTPUT ${quorva_manuals}/quorva.3
    COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/manuals ${quorva_manuals} ${PROJECT_VERSION}
    COMMAND ${CMAKE_COMMAND} -E copy ${PROJECT_SOURCE_DIR}/docs/man/quorva.3 ${quorva_manuals}
    DEPENDS ${PROJECT_SOURCE_DIR}/scripts/manuals ${PROJECT_SOURCE_DIR}/docs/man/quorva.3 ${quorva_headers}
    COMMENT "Writing the manual pages of the headers" VERBATIM)
  add_custom_target(quorva_manuals ALL DEPENDS ${quorva_manuals}/quorva.3)
  install(DIRECTORY ${quorva_manuals}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 FILES_MATCHING PATTERN "*.3")
endif()
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(quorva_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quorva)
install(EXPORT quorvaTargets NAMESPACE quorva:: FILE quorvaTargets.cmake DESTINATION ${quorva_package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/quorvaConfig.cmake.in
  ${PROJECT_BINARY_DIR}/quorvaConfig.cmake INSTALL_DESTINATION ${quorva_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quorvaConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quorvaConfig.cmake ${PROJECT_BINARY_DIR}/quorvaConfigVersion.cmake
  DESTINATION ${quorva_package_dir})

# Paths relative to the file, so that an installed tree may be moved; unless somebody wants the library elsewhere.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(quorva_pc_prefix ${CMAKE_INSTALL_PREFIX})
  set(quorva_pc_libdir ${CMAKE_INSTALL_LIBDIR})
  set(quorva_program_rpath ${CMAKE_INSTALL_LIBDIR})
else()
  file(RELATIVE_PATH quorva_pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" quorva_pc_prefix ${quorva_pc_prefix})
  set(quorva_pc_prefix "\${pcfiledir}/${quorva_pc_prefix}")
  set(quorva_pc_libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  file(RELATIVE_PATH quorva_program_rpath ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set(quorva_program_rpath "$ORIGIN/${quorva_program_rpath}")
endif()
if(IS_ABSOLUTE ${CMAKE_INSTALL_INCLUDEDIR})
  set(quorva_pc_includedir ${CMAKE_INSTALL_INCLUDEDIR})
else()
  set(quorva_pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
# What a C program needs beside a static library.
set(quorva_pc_private "")
foreach(library IN LISTS CMAKE_CXX_IMPLICIT_LINK_LIBRARIES)
  if(library MATCHES "^(stdc[+][+]|c[+][+]|m)$")
    string(APPEND quorva_pc_private " -l${library}")
  endif()
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/cmake/quorva.pc.in ${PROJECT_BINARY_DIR}/quorva.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quorva.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(TARGET quorva_tool)
  set_target_properties(quorva_tool PROPERTIES INSTALL_RPATH "${quorva_program_rpath}")
  install(TARGETS quorva_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/tools/quorva/quorva.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${PROJECT_SOURCE_DIR}/tools/quorva/quorva.bash RENAME quorva
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()
