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

option(TESSALY_PRECOMPILE "Precompile the headers that nearly every source includes" ON)

find_program(CCACHE ccache)
if(CCACHE)
  # Without these it keeps nothing that was compiled with precompiled headers.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
endif()

# More than half of the time of most sources goes into the standard library's headers. Only headers that never change
# while somebody works here are among them, so that a changed file costs no more than itself. Sources include what they
# use all the same: the fuzz preset builds without.
set(TESSALY_STANDARD_HEADERS <algorithm> <array> <cmath> <cstdint> <cstring> <filesystem> <functional> <map> <memory>
    <optional> <span> <string> <string_view> <utility> <vector>)
# tessaly_precompile(TARGET HEADERS...)
function(tessaly_precompile target)
  if(TESSALY_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE ${TESSALY_STANDARD_HEADERS} ${ARGN})
  endif()
endfunction()
# Those of another target that is compiled in the same way.
function(tessaly_precompile_like target other)
  if(TESSALY_PRECOMPILE)
    target_precompile_headers(${target} REUSE_FROM ${other})
  endif()
endfunction()

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
