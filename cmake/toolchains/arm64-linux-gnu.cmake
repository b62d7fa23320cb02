# Builds for arm64 (phones, tablets, small computers) on a Debian of another architecture, with the packages of both:
# scripts/test-arm64 installs what it takes.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(TESSALY_DEBIAN_ARCHITECTURE arm64)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# Libraries of both architectures stand in one tree, told apart by folder; so are the descriptions of them.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
list(APPEND CMAKE_IGNORE_PATH /usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu)

# Qt's generators run while building.
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu/cmake)

# Test programs are asked for their tests when they are built.
find_program(TESSALY_EMULATOR qemu-aarch64-static)
if(TESSALY_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${TESSALY_EMULATOR})
endif()
