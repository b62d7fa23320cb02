# install: the program, its texts, man page and completions; component "dev" adds the library with a CMake package.
install(TARGETS libtessaly tessaly_warnings EXPORT tessaly-targets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(DIRECTORY src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tessaly COMPONENT dev
        FILES_MATCHING PATTERN "*.h" PATTERN "linux" EXCLUDE)
install(EXPORT tessaly-targets NAMESPACE tessaly:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tessaly COMPONENT dev)
include(CMakePackageConfigHelpers)
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/tessaly-config.cmake.in
  ${CMAKE_BINARY_DIR}/tessaly-config.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tessaly)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/tessaly-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/tessaly-config.cmake ${CMAKE_BINARY_DIR}/tessaly-config-version.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tessaly COMPONENT dev)

install(DIRECTORY resources/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tessaly COMPONENT program
        PATTERN "sample" EXCLUDE)
install(FILES docs/tessaly.1 docs/tessaly-viewer.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
# Completions stand beside their program, and have its name.
foreach(program tessaly viewer)
  set(completions ${CMAKE_SOURCE_DIR}/apps/${program}/completions)
  string(REPLACE "tessaly-tessaly" "tessaly" name "tessaly-${program}")
  install(FILES ${completions}/${name}.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
          RENAME ${name} COMPONENT program)
  install(FILES ${completions}/_${name} DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT program)
  install(FILES ${completions}/${name}.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
          COMPONENT program)
endforeach()
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tessaly RENAME copyright COMPONENT program)

# package: a .deb of the program.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Tessaly developers <dev@tessaly.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Photo metadata viewer and cleaner")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What is loaded by name, where no linker sees it. The fonts are for the languages that Inter has no letters of.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qml6-module-qtqml, qml6-module-qtqml-workerscript, qml6-module-qtquick, \
qml6-module-qtquick-layouts, qml6-module-qtquick-window, fonts-inter")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, qt6-qpa-plugins, fonts-noto-core, fonts-noto-cjk")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_COMPONENTS_ALL program)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
include(CPack)
