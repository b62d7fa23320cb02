#pragma once
#include <string>
#include <vector>

#include "linux/photos/AssetFacts.h"
#include "linux/photos/LibraryStore.h"
#include "platform/Photos/PHPhotoLibrary.h"

/// Between the tables and the objects that the rest of the program sees.
namespace tessaly::photos {

/// The fetches of PHPhotoLibrary.
[[nodiscard]] PHFetchResult<PHAsset> fetchAssets(std::shared_ptr<LibraryStore> store, const PHFetchOptions& options);
[[nodiscard]] PHFetchResult<PHAsset> fetchAssets(std::shared_ptr<LibraryStore> store,
                                                 const PHAssetCollection& collection, const PHFetchOptions& options);
/// In the order of the identifiers where the options give none.
[[nodiscard]] PHFetchResult<PHAsset> fetchAssets(std::shared_ptr<LibraryStore> store,
                                                 std::span<const std::string> identifiers,
                                                 const PHFetchOptions& options);
[[nodiscard]] PHFetchResult<PHAssetCollection> fetchCollections(const LibraryStore& store, std::int64_t type,
                                                                std::int64_t subtype, const PHFetchOptions& options);
[[nodiscard]] PHFetchResult<PHAssetCollection> fetchCollections(const LibraryStore& store,
                                                                std::span<const std::string> identifiers,
                                                                const PHFetchOptions& options);

/// A fresh identifier: version 4 UUID (RFC 4122, 4.4), in capitals, and the suffix of its kind.
[[nodiscard]] std::string newIdentifier(std::string_view suffix);
inline constexpr std::string_view kAssetSuffix = "/L0/001";
inline constexpr std::string_view kAlbumSuffix = "/L0/040";

/// A row of the assets table for a new file. @return its id.
std::int64_t insertAsset(const Database& database, const std::string& identifier, const AssetFacts& facts,
                         const FileStamp& stamp);
/// What the file says now; what the user has set in the library stays.
void updateAsset(const Database& database, std::int64_t asset, const AssetFacts& facts, const FileStamp& stamp);
/// Live photos are those that have a moving part: sets or clears the mark of one asset.
void updateLiveness(const Database& database, std::int64_t asset);

}  // namespace tessaly::photos
