#pragma once
#include "platform/Photos/PHPhotoLibrary.h"

/// The wishes that a block of PHPhotoLibrary::performChanges may utter.
namespace tessaly {

/// Stands for something that a change creates: its identifier is that of what will be there.
struct PHObjectPlaceholder {
    std::string localIdentifier;
};

class PHAssetChangeRequest {
public:
    [[nodiscard]] static PHAssetChangeRequest creationRequestForAssetFromImageAtFileURL(const NSURL& url);
    [[nodiscard]] static PHAssetChangeRequest creationRequestForAssetFromVideoAtFileURL(const NSURL& url);
    /// The bytes become a file of that name.
    [[nodiscard]] static PHAssetChangeRequest creationRequestForAssetWithData(const Data& data,
                                                                              const std::string& fileName);
    [[nodiscard]] static PHAssetChangeRequest changeRequestForAsset(const PHAsset& asset);
    static void deleteAssets(std::span<const PHAssetRef> assets);

    [[nodiscard]] const PHObjectPlaceholder& placeholderForCreatedAsset() const noexcept { return placeholder_; }
    void setFavorite(bool favorite) const;
    void setCreationDate(NSDate date) const;
    /// nullopt removes it.
    void setLocation(const std::optional<CLLocation>& location) const;
    /// The edited file takes the asset's place; the unedited one is kept.
    void setContentEditingOutput(const PHContentEditingOutput& output) const;
    void revertAssetContentToOriginal() const;

private:
    explicit PHAssetChangeRequest(std::string identifier) : placeholder_{std::move(identifier)} {}
    PHObjectPlaceholder placeholder_;
};

class PHAssetCollectionChangeRequest {
public:
    [[nodiscard]] static PHAssetCollectionChangeRequest creationRequestForAssetCollectionWithTitle(
        const std::string& title);
    /// `assets` are the ones that are in it now, as far as the caller cares.
    [[nodiscard]] static PHAssetCollectionChangeRequest changeRequestForAssetCollection(
        const PHAssetCollection& collection, const PHFetchResult<PHAsset>& assets = {});
    static void deleteAssetCollections(std::span<const PHAssetCollectionRef> collections);

    [[nodiscard]] const PHObjectPlaceholder& placeholderForCreatedAssetCollection() const noexcept {
        return placeholder_;
    }
    void setTitle(const std::string& title) const;
    void addAssets(std::span<const PHAssetRef> assets) const;
    void addAssets(std::span<const PHObjectPlaceholder> assets) const;
    void removeAssets(std::span<const PHAssetRef> assets) const;

private:
    explicit PHAssetCollectionChangeRequest(std::string identifier) : placeholder_{std::move(identifier)} {}
    PHObjectPlaceholder placeholder_;
};

}  // namespace tessaly
