# The heavy libraries stand behind shared objects that are loaded on first use (src/linux/foundation/Module.h): a
# program that is not asked for pixels starts without them. What is not installed is left out.
set(TESSALY_MODULE_SOURCES ${CMAKE_SOURCE_DIR}/src/linux/codecs/modules)

# tessaly_module(NAME FOLDER PKG-CONFIG-MODULES...)
function(tessaly_module name folder)
  pkg_check_modules(${name} REQUIRED IMPORTED_TARGET ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_library(tessaly-${name} MODULE ${sources})
  set_target_properties(tessaly-${name} PROPERTIES PREFIX "" CXX_VISIBILITY_PRESET hidden
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/modules)
  target_include_directories(tessaly-${name} PRIVATE ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(tessaly-${name} PRIVATE tessaly_warnings PkgConfig::${name})
  add_dependencies(tessaly-modules tessaly-${name})
  install(TARGETS tessaly-${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/tessaly COMPONENT program)
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

file(RELATIVE_PATH TESSALY_MODULES_FROM_PROGRAM ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR}/tessaly)
set(TESSALY_MODULE_PLACES TESSALY_MODULES_FROM_PROGRAM="${TESSALY_MODULES_FROM_PROGRAM}"
    TESSALY_MODULES_INSTALLED="${CMAKE_INSTALL_FULL_LIBDIR}/tessaly")
target_compile_definitions(libtessaly PRIVATE ${TESSALY_MODULE_PLACES})
add_dependencies(libtessaly tessaly-modules)
