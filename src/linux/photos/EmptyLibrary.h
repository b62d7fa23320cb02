#pragma once
#include "platform/Photos/PHPhotoLibrary.h"

namespace tessaly::photos {

/// A library without anything in it, that takes no change. What stands in for one that is not there begins with it.
class EmptyLibrary : public PHPhotoLibrary {
public:
    int registerChangeObserver(std::function<void()>) override { return 0; }
    void unregisterChangeObserver(int) override {}
    [[nodiscard]] PHAuthorizationStatus authorization() const override { return PHAuthorizationStatus::authorized; }
    void setAuthorization(PHAuthorizationStatus) override {}
    [[nodiscard]] PHFetchResult<PHAsset> assets(const PHFetchOptions&) const override { return {}; }
    [[nodiscard]] PHFetchResult<PHAsset> assets(const PHAssetCollection&, const PHFetchOptions&) const override {
        return {};
    }
    [[nodiscard]] PHFetchResult<PHAsset> assets(std::span<const std::string>, const PHFetchOptions&) const override {
        return {};
    }
    [[nodiscard]] PHFetchResult<PHAssetCollection> collections(std::int64_t, std::int64_t,
                                                               const PHFetchOptions&) const override {
        return {};
    }
    [[nodiscard]] PHFetchResult<PHAssetCollection> collections(std::span<const std::string>,
                                                               const PHFetchOptions&) const override {
        return {};
    }
    [[nodiscard]] std::vector<PHAssetResource> resources(const std::string&) const override { return {}; }
    [[nodiscard]] PHAssetContent content(const std::string&, std::int64_t, bool,
                                         const std::function<bool(double)>&) const override {
        return {};
    }
    [[nodiscard]] std::optional<Original> original(const std::string&) const override { return std::nullopt; }
    [[nodiscard]] std::string newPendingFile(const std::string&) const override { return {}; }

protected:
    std::string perform(const std::vector<PHChange>&) override { return {}; }
};

}  // namespace tessaly::photos
