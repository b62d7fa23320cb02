#include <algorithm>
#include <atomic>

#include "photos/ImageManagerFixture.h"

namespace tessaly {
namespace {

/// Lets a test look into the cache.
struct OpenCachingManager : PHCachingImageManager {
    using PHCachingImageManager::cached;
    bool waitUntilCached(const PHAsset& asset, CGSize size) const {
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (!cached(asset, size, kFit)) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }
};

class CachingManager : public ImageManager {
protected:
    void cache(const std::vector<PHAssetRef>& assets, CGSize size, const PHImageRequestOptions& options = {}) {
        caching->startCachingImagesForAssets(assets, size, kFit, options);
    }
    std::unique_ptr<OpenCachingManager> caching = std::make_unique<OpenCachingManager>();
};

TEST_F(CachingManager, AnswersFromTheCacheWhatItHas) {
    addFile("a", jpegOf(400, 300));
    const PHAssetRef asset = assetOf("a");
    cache({asset, asset, nullptr}, {100, 100});
    ASSERT_TRUE(caching->waitUntilCached(*asset, {100, 100}));
    EXPECT_EQ(library->asked, 1) << "the second wish is the first one again";
    cache({asset}, {800, 800});
    ASSERT_TRUE(caching->waitUntilCached(*asset, {800, 800}));

    const PHAssetRef changed = assetOf("a");
    changed->modificationDate = NSDate{2000};
    struct Case {
        PHAssetRef asset;
        CGSize size;
        PHImageContentMode mode;
        Resize resize;
        Version version;
        std::size_t answers;
        int asked;
    };
    const std::vector<Case> cases{
        {asset, {100, 100}, kFit, Resize::fast, Version::current, 1, 0},
        {asset, {100, 100}, kFit, Resize::exact, Version::current, 1, 0},
        // Not enlarged when it was cached: good enough to begin with.
        {asset, {800, 800}, kFit, Resize::exact, Version::current, 2, 1},
        {asset, {100, 90}, kFit, Resize::fast, Version::current, 1, 1},
        {asset, {100, 100}, kFill, Resize::fast, Version::current, 1, 1},
        {asset, {100, 100}, kFit, Resize::fast, Version::original, 1, 1},
        {changed, {100, 100}, kFit, Resize::fast, Version::current, 1, 1},
    };
    for (const Case& expected : cases) {
        library->asked = 0;
        PHImageRequestOptions options;
        options.resizeMode = expected.resize;
        options.version = expected.version;
        caching->requestImageForAsset(expected.asset, expected.size, expected.mode, options, answers.image());
        const auto all = answers.untilFinal();
        EXPECT_EQ(all.size(), expected.answers);
        EXPECT_TRUE(all.back().image);
        EXPECT_EQ(library->asked, expected.asked);
    }
}

TEST_F(CachingManager, ForgetsWhatIsNotWantedAnyMore) {
    addFile("a", jpegOf(40, 30));
    addFile("b", jpegOf(40, 30));
    const std::vector assets{assetOf("a"), assetOf("b")};
    cache(assets, {20, 20});
    for (const auto& asset : assets) ASSERT_TRUE(caching->waitUntilCached(*asset, {20, 20}));
    const PHAssetRef changed = assetOf("a");
    changed->modificationDate = NSDate{2000};
    caching->stopCachingImagesForAssets(std::vector{changed}, {20, 20}, kFit);
    EXPECT_FALSE(caching->cached(*assets[0], {20, 20}, kFit)) << "it has changed since";
    EXPECT_TRUE(caching->cached(*assets[1], {20, 20}, kFit));
    caching->stopCachingImagesForAllAssets();
    EXPECT_FALSE(caching->cached(*assets[1], {20, 20}, kFit));
}

TEST_F(CachingManager, DropsTheLeastRecentlyUsed) {
    addFile("a", jpegOf(2400, 1600));
    const std::size_t each = std::size_t{2400} * 1600 * 4;
    const std::size_t limit = PHCachingImageManager::kMemoryLimit / each;
    std::vector<PHAssetRef> assets;
    for (std::size_t i = 0; i <= limit; ++i) {
        assets.push_back(assetOf("item" + std::to_string(i)));
        library->items[assets.back()->localIdentifier] = library->items["a"];
    }
    for (std::size_t i = 0; i <= limit; ++i) {
        (void)caching->cached(*assets[0], PHImageManagerMaximumSize, kFit);
        cache({assets[i]}, PHImageManagerMaximumSize);
        // All sizes that mean the whole picture are the same.
        ASSERT_TRUE(caching->waitUntilCached(*assets[i], {0, 0}));
    }
    std::vector<std::size_t> dropped;
    for (std::size_t i = 0; i <= limit; ++i)
        if (!caching->cached(*assets[i], PHImageManagerMaximumSize, kFit)) dropped.push_back(i);
    EXPECT_THAT(dropped, ElementsAre(1U)) << "the first one was used since";
}

TEST_F(CachingManager, MayGoAndStopWhileItWorks) {
    library->stalls = true;
    std::vector<PHAssetRef> assets;
    for (int i = 0; i < 20; ++i) {
        assets.push_back(assetOf(std::to_string(i), i % 3 == 0 ? PHAssetMediaTypeVideo : PHAssetMediaTypeImage));
        addElsewhere(assets.back()->localIdentifier, "");
    }
    PHImageRequestOptions options;
    options.networkAccessAllowed = true;
    cache(assets, {20, 20}, options);
    for (int i = 0; i < 2; ++i) ASSERT_TRUE(library->stalled.wait(kPatience));
    EXPECT_FALSE(library->stalled.wait(20ms)) << "two at a time";
    caching->stopCachingImagesForAssets(std::span(assets).first(10), {20, 20}, kFit);
    for (int i = 0; i < 2; ++i) ASSERT_TRUE(library->stalled.wait(kPatience)) << "the next ones get their turn";
    EXPECT_EQ(library->asked, 4) << "stopped ones are not begun";
    caching.reset();
    const std::weak_ptr<FakeLibrary> rest = library;
    PHPhotoLibrary::setSharedPhotoLibrary(nullptr);
    library.reset();
    for (int i = 0; i < 20000 && !rest.expired(); ++i) std::this_thread::sleep_for(1ms);
    EXPECT_TRUE(rest.expired()) << "work goes on without a manager";
}

class AssetResources : public ImageManager {
protected:
    struct Received {
        std::vector<std::byte> bytes;
        std::size_t largest = 0;
        std::vector<std::string> ends;
    };
    Received read(const PHAssetResource& resource, bool network = false, bool cancels = false) {
        Received received;
        DispatchSemaphore done;
        std::atomic<std::int32_t> identifier{0};
        const PHAssetResourceRequestOptions options{network, [&](double) {
                                                        if (cancels)
                                                            PHAssetResourceManager::cancelDataRequest(identifier);
                                                    }};
        identifier = PHAssetResourceManager::requestDataForAssetResource(
            resource, options,
            [&](std::span<const std::byte> piece) {
                received.largest = std::max(received.largest, piece.size());
                received.bytes.insert(received.bytes.end(), piece.begin(), piece.end());
            },
            [&, done](const std::string& error) mutable {
                received.ends.push_back(error);
                done.signal();
            });
        EXPECT_TRUE(done.wait(kPatience));
        return received;
    }
};

TEST_F(AssetResources, AreReadInPieces) {
    auto bytes = std::make_shared<std::vector<std::byte>>(700'000);
    for (std::size_t i = 0; i < bytes->size(); ++i) (*bytes)[i] = static_cast<std::byte>(i * i >> 7);
    addFile("live", bytes);
    addFile("short", std::make_shared<std::vector<std::byte>>(50));
    addElsewhere("fetched", folder.write("fetched.jpg", "abc"));
    addElsewhere("elsewhere", "");
    const auto photo = read({PHAssetResourceTypePhoto, "live", "", ""});
    EXPECT_TRUE(photo.bytes == *bytes);
    EXPECT_LE(photo.largest, 256U * 1024);
    EXPECT_THAT(photo.ends, ElementsAre(""));
    const auto video = read({PHAssetResourceTypePairedVideo, "live", "", ""});
    EXPECT_TRUE(std::ranges::equal(video.bytes, std::span(*bytes).subspan(100))) << "the part behind the photo";

    EXPECT_EQ(read({PHAssetResourceTypePhoto, "fetched", "", ""}, true).bytes.size(), 3U);
    EXPECT_THAT(read({PHAssetResourceTypePhoto, "elsewhere", "", ""}, false).ends,
                ElementsAre("the file is elsewhere"));
    EXPECT_THAT(read({PHAssetResourceTypePhoto, "elsewhere", "", ""}, true).ends, ElementsAre("the server is away"));
    EXPECT_THAT(read({PHAssetResourceTypePhoto, "none", "", ""}).ends, ElementsAre("gone"));
    EXPECT_THAT(read({PHAssetResourceTypePairedVideo, "short", "", ""}).ends,
                ElementsAre("the file ends before its part begins"));
    library->stalls = true;
    EXPECT_THAT(read({PHAssetResourceTypePhoto, "fetched", "", ""}, true, true).ends,
                ElementsAre("the request was cancelled"));
    EXPECT_THAT(PHAssetResource::assetResourcesForAsset(nullptr), IsEmpty());
}

}  // namespace
}  // namespace tessaly
