#pragma once
#include <functional>
#include <string>

#include "platform/Foundation/NSURL.h"
#include "platform/Photos/PHContentEditing.h"

namespace tessaly {

/// Of a removal of the place where there is none: in the person's language.
[[nodiscard]] std::string noPlaceError();

/// A change of an asset's own file that the library can take back.
struct AssetEdit {
    /// Writes what the edit makes of the file `source` to `target`; false with what is wrong, "" for a file that cannot
    /// be changed. Null: the metadata is removed, of a movie its place.
    std::function<bool(const std::string& source, const std::string& target, std::string& error)> rewrite;
    PHAdjustmentData adjustmentData;
    bool removesLocation = false;  ///< Also what the library knows of it.

    /// The removal of metadata as the screens offer it.
    [[nodiscard]] static AssetEdit removal();
    /// The removal of the place and nothing else, from a photo or a video. Fails with noPlaceError() where
    /// neither the file nor the library has one.
    [[nodiscard]] static AssetEdit placeRemoval(const PHAsset& asset);
    /// The removal of all that could tell something, of a photo.
    [[nodiscard]] static AssetEdit completeRemoval();
};

using EditCompletion = std::function<void(bool success, const std::string& error)>;

/// Makes the edit in the asset's own file; the library keeps the unedited one. What is on a server is fetched first.
/// The completion comes on another thread; its error is "" for a file that cannot be changed.
void editAsset(const PHAssetRef& asset, AssetEdit edit, EditCompletion completion);

/// The photo without its metadata, a raw without all that tells of a person; null or empty for a file that cannot be
/// changed.
[[nodiscard]] Data photoWithoutMetadata(const NSURL& photo);
/// Writes the video without any metadata, its place above all, to `target`; the completion comes on another thread.
void exportVideoWithoutPlace(const PHAssetRef& video, const NSURL& target, EditCompletion completion);

}  // namespace tessaly
