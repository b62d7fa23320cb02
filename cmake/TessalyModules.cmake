# The heavy libraries stand behind shared objects that are loaded on first use (src/linux/foundation/Module.h): a
# program that is not asked for pixels starts without them. What is not installed is left out.
set(TESSALY_MODULE_SOURCES ${CMAKE_SOURCE_DIR}/src/linux/codecs/modules)
# A level below what belongs to the program alone: the packager takes what stands directly in there for libraries that
# others link.
set(TESSALY_MODULES_FOLDER ${CMAKE_INSTALL_LIBDIR}/tessaly/modules)
set(TESSALY_MODULES_FULL_FOLDER ${CMAKE_INSTALL_FULL_LIBDIR}/tessaly/modules)

# tessaly_module(NAME FOLDER PKG-CONFIG-MODULES...)
function(tessaly_module name folder)
  pkg_check_modules(${name} REQUIRED IMPORTED_TARGET ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_library(tessaly-${name} MODULE ${sources})
  set_target_properties(tessaly-${name} PROPERTIES PREFIX "" CXX_VISIBILITY_PRESET hidden NO_SONAME ON
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/modules)
  target_include_directories(tessaly-${name} PRIVATE ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(tessaly-${name} PRIVATE tessaly_warnings tessaly_hardening PkgConfig::${name})
  add_dependencies(tessaly-modules tessaly-${name})
  install(TARGETS tessaly-${name} LIBRARY DESTINATION ${TESSALY_MODULES_FOLDER} COMPONENT program)
endfunction()

add_custom_target(tessaly-modules ALL)
tessaly_module(pixels ${TESSALY_MODULE_SOURCES}/pixels
               libjpeg libpng libtiff-4 libwebp libwebpdemux lcms2 pixman-1)
tessaly_module(heif ${TESSALY_MODULE_SOURCES}/heif libheif)
tessaly_module(jxl ${TESSALY_MODULE_SOURCES}/jxl libjxl libjxl_threads)
tessaly_module(raw ${TESSALY_MODULE_SOURCES}/raw libraw_r)
tessaly_module(ffmpeg ${TESSALY_MODULE_SOURCES}/ffmpeg libavformat libavcodec libswscale libavutil)
tessaly_module(remote ${CMAKE_SOURCE_DIR}/src/linux/remote/modules libcurl)
target_sources(tessaly-remote PRIVATE ${CMAKE_SOURCE_DIR}/src/linux/foundation/AtomicFile.cpp
                                      ${CMAKE_SOURCE_DIR}/src/linux/foundation/FileExchange.cpp)

file(RELATIVE_PATH TESSALY_MODULES_FROM_PROGRAM ${CMAKE_INSTALL_FULL_BINDIR} ${TESSALY_MODULES_FULL_FOLDER})
set(TESSALY_MODULE_PLACES TESSALY_MODULES_FROM_PROGRAM="${TESSALY_MODULES_FROM_PROGRAM}"
    TESSALY_MODULES_INSTALLED="${TESSALY_MODULES_FULL_FOLDER}")
set_source_files_properties(${CMAKE_SOURCE_DIR}/src/linux/foundation/Module.cpp PROPERTIES
                            COMPILE_DEFINITIONS "${TESSALY_MODULE_PLACES}")
add_dependencies(libtessaly tessaly-modules)
