# Development targets: format, tidy.
file(GLOB_RECURSE TESSALY_ALL_CPP CONFIGURE_DEPENDS
     ${CMAKE_SOURCE_DIR}/src/*.cpp ${CMAKE_SOURCE_DIR}/src/*.h ${CMAKE_SOURCE_DIR}/apps/*.cpp
     ${CMAKE_SOURCE_DIR}/apps/*.h ${CMAKE_SOURCE_DIR}/tests/*.cpp ${CMAKE_SOURCE_DIR}/tests/*.h
     ${CMAKE_SOURCE_DIR}/fuzz/*.cpp ${CMAKE_SOURCE_DIR}/bench/*.cpp)
add_custom_target(format COMMAND clang-format -i ${TESSALY_ALL_CPP} VERBATIM)
add_custom_target(format-check COMMAND clang-format --dry-run -Werror ${TESSALY_ALL_CPP} VERBATIM)
