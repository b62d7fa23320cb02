# install: the program, its texts, man pages and completions; component "dev" adds the library with a CMake package.
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
# Compressed without a time stamp, so that the same sources make the same package.
find_program(GZIP gzip REQUIRED)
function(tessaly_compressed source folder)
  get_filename_component(name ${source} NAME)
  set(compressed ${CMAKE_BINARY_DIR}/documents/${name}.gz)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/documents)
  add_custom_command(OUTPUT ${compressed} COMMAND ${GZIP} -9nc ${source} > ${compressed} DEPENDS ${source} VERBATIM)
  target_sources(tessaly-documents PRIVATE ${compressed})
  install(FILES ${compressed} DESTINATION ${folder} COMPONENT program)
endfunction()
add_custom_target(tessaly-documents ALL)
add_dependencies(tessaly tessaly-documents)
tessaly_compressed(${CMAKE_SOURCE_DIR}/docs/tessaly.1 ${CMAKE_INSTALL_MANDIR}/man1)
tessaly_compressed(${CMAKE_SOURCE_DIR}/docs/tessaly-viewer.1 ${CMAKE_INSTALL_MANDIR}/man1)
tessaly_compressed(${CMAKE_SOURCE_DIR}/packaging/changelog ${CMAKE_INSTALL_DATADIR}/doc/tessaly)
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
install(FILES packaging/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tessaly COMPONENT program)

# package: a .deb of the program.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Tessaly maintainers <maintainers@tessaly.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "photo metadata viewer and cleaner")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Tessaly shows what photos and videos tell about you: camera, lens and
exposure, the date and the place, keywords, rating, serial numbers. And it
takes out what nobody else needs to know, without touching a pixel.
.
It reads the files of every common camera, raw files and videos too, in a
window that adapts to phones, tablets and desktops and speaks 18 languages,
and on the command line. File managers get pictures of raw files, HEIC and
JPEG XL, and entries in their menus that clean and share. The libraries that
decode pictures run in a process that can open no file and reach no network.")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What is loaded by name, where no linker sees it.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qml6-module-qtqml, qml6-module-qtqml-workerscript, qml6-module-qtquick, \
qml6-module-qtquick-layouts, qml6-module-qtquick-window, fonts-inter")
# The fonts are for the languages that Inter has no letters of: the ones named first take 5 MB each, where the large
# families take 42 and 91, and a desktop that has those needs nothing more.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, qt6-qpa-plugins, fonts-noto-ui-core | fonts-noto-core, \
fonts-wqy-microhei | fonts-noto-cjk, libnotify-bin, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "python3-nautilus")
# For another architecture its dependencies are to be looked up, not the builder's.
if(CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${TESSALY_DEBIAN_ARCHITECTURE})
  set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/package-architecture.cmake)
  file(WRITE ${CPACK_PROJECT_CONFIG_FILE} "set(ENV{DEB_HOST_ARCH} ${TESSALY_DEBIAN_ARCHITECTURE})\n")
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_COMPONENTS_ALL program)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
include(CPack)
