set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

option(TESSALY_TESTS "Build the tests" ON)
option(TESSALY_BENCH "Build the benchmarks" OFF)
option(TESSALY_FUZZ "Build the libFuzzer targets (clang only); without it the targets only replay files" OFF)
set(TESSALY_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

add_library(tessaly_warnings INTERFACE)
target_compile_options(tessaly_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor)
# GCC 12 takes some insertions into a std::string for overlapping copies (its bug 105329).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(tessaly_warnings INTERFACE -Wno-restrict)
endif()

# For what meets the worst files: the decoder and the libraries that it loads. Sanitizers see more by themselves.
add_library(tessaly_hardening INTERFACE)
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT TESSALY_SANITIZE)
  target_compile_options(tessaly_hardening INTERFACE
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection)
  target_link_options(tessaly_hardening INTERFACE -Wl,-z,relro,-z,now)
endif()

if(TESSALY_SANITIZE)
  add_compile_options(-fsanitize=${TESSALY_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TESSALY_SANITIZE})
endif()
if(TESSALY_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
