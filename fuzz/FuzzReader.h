#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "linux/imageio/ByteSource.h"
#include "linux/imageio/ImageProperties.h"

namespace tessaly::fuzz {

inline imageio::Bytes bytesOf(const std::uint8_t* data, std::size_t size) {
    return std::as_bytes(std::span(data, size));
}

/// Runs a container's reader over bytes in memory, and puts together what it found.
inline int read(const std::uint8_t* data, std::size_t size,
                void (*reader)(imageio::ByteSource&, imageio::ImageProperties&)) {
    imageio::ByteSource source(bytesOf(data, size));
    imageio::ImageProperties properties;
    reader(source, properties);
    static_cast<void>(std::move(properties).assemble());
    return 0;
}

/// Runs a block's reader.
inline int read(const std::uint8_t* data, std::size_t size, void (*reader)(imageio::Bytes, imageio::ImageProperties&)) {
    imageio::ImageProperties properties;
    reader(bytesOf(data, size), properties);
    static_cast<void>(std::move(properties).assemble());
    return 0;
}

}  // namespace tessaly::fuzz
