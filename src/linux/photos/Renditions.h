#pragma once
#include <cstdint>
#include <string>

#include "linux/photos/LibraryStore.h"

/// Small pictures of photos and movies whose files are on a server, to be shown until those are here.
namespace tessaly::photos {

/// Pixels of a rendition's longer side.
inline constexpr std::size_t kRenditionSide = 512;

/// A small JPEG file of the photo or movie; null when there is no picture to be had.
[[nodiscard]] Data makeRendition(const std::string& path, std::int64_t mediaType);

/// Where an asset's rendition is, if it has one.
[[nodiscard]] std::string renditionPath(const LibraryStore& store, const std::string& identifier);

/// Keeps the rendition of the asset whose own file that is, in place of an older one; null leaves it without.
void keepRendition(const LibraryStore& store, std::int64_t folder, const std::string& path, const Data& rendition);

/// Removes those whose asset is gone.
void sweepRenditions(const LibraryStore& store);

}  // namespace tessaly::photos
