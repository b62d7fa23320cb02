#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <semaphore>
#include <thread>

#include "linux/photos/EmptyLibrary.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/ImageIO/CGImageDestination.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/Photos/PHImageManager.h"
#include "platform/Photos/PHPhotoLibrary.h"
#include "support/TemporaryFolder.h"

namespace tessaly {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Delivery = PHImageRequestOptionsDeliveryMode;
using Resize = PHImageRequestOptionsResizeMode;
using Version = PHImageRequestOptionsVersion;
constexpr auto kFit = PHImageContentMode::aspectFit;
constexpr auto kFill = PHImageContentMode::aspectFill;
constexpr auto kPatience = 20s;

/// Red on the left, blue on the right.
CGImageRef twoColours(std::size_t width, std::size_t height) {
    auto image = std::make_shared<CGImage>();
    image->width = width;
    image->height = height;
    image->pixels = std::make_unique<std::byte[]>(image->bytesPerRow() * height);
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) image->row(y)[4 * x + (x < width / 2 ? 0 : 2)] = std::byte{255};
    return image;
}

Data jpegOf(std::size_t width, std::size_t height) {
    return UIImageJPEGRepresentation(UIImage::imageWithCGImage(twoColours(width, height)), 0.9);
}

Data orientedJpeg(std::size_t width, std::size_t height, int orientation) {
    const auto file = std::make_shared<std::vector<std::byte>>();
    const auto destination = CGImageDestinationCreateWithData(file, "public.jpeg", 1);
    CGImageDestinationAddImageFromSource(destination, CGImageSourceCreateWithData(jpegOf(width, height)), 0,
                                         {{kCGImagePropertyOrientation, orientation}});
    EXPECT_TRUE(CGImageDestinationFinalize(destination));
    return file;
}

/// A library of a few files, some of which are elsewhere: how long fetching takes and how it ends is the test's.
class FakeLibrary : public photos::EmptyLibrary {
public:
    struct Item {
        PHAssetContent content;
        std::string fetched;  ///< Where fetching brings it; "" for a failure.
        std::optional<Original> original;
    };
    std::map<std::string, Item> items;  ///< Not changed while requests run.
    bool stalls = false;                ///< Fetching goes on until it is stopped.
    mutable std::atomic<int> asked{0};
    mutable DispatchSemaphore stalled;

    PHAssetContent content(const std::string& identifier, std::int64_t type, bool mayFetch,
                           const std::function<bool(double)>& progress) const override {
        ++asked;
        const auto item = items.find(identifier);
        if (item == items.end()) return {"", false, "", 0, "gone"};
        PHAssetContent content = item->second.content;
        if (type == PHAssetResourceTypePairedVideo) content.offset = 100;
        if (!content.isInCloud || !mayFetch) return content;
        if (!progress(0.25)) return stopped(content);
        if (stalls) stalled.signal();
        while (stalls) {
            if (!progress(0.5)) return stopped(content);
            std::this_thread::sleep_for(1ms);
        }
        content.path = item->second.fetched;
        if (content.path.empty()) content.error = "the server is away";
        return content;
    }
    std::optional<Original> original(const std::string& identifier) const override {
        return items.at(identifier).original;
    }
    std::vector<PHAssetResource> resources(const std::string& identifier) const override {
        return {{PHAssetResourceTypePhoto, identifier, "a.jpg", "public.jpeg"}};
    }
    std::string newPendingFile(const std::string& extension) const override { return "/pending/1." + extension; }

private:
    static PHAssetContent stopped(PHAssetContent content) {
        content.error = "stopped";
        return content;
    }
};

/// What a handler was told, from whatever thread.
struct Answers {
    struct Answer {
        UIImageRef image;
        Data data;
        std::string type;
        UIImageOrientation orientation = UIImageOrientation::up;
        Dictionary info;
        std::thread::id thread;
    };

    PHImageManager::ImageHandler image() {
        return [this](const UIImageRef& image, const Dictionary& info) { add({image, nullptr, "", {}, info, {}}); };
    }
    PHImageManager::DataHandler data() {
        return
            [this](const Data& data, const std::string& type, UIImageOrientation orientation, const Dictionary& info) {
                add({nullptr, data, type, orientation, info, {}});
            };
    }
    void add(Answer answer) {
        answer.thread = std::this_thread::get_id();
        const std::lock_guard lock(mutex);
        all.push_back(std::move(answer));
        arrived.signal();
    }
    /// The next one that has not been looked at.
    Answer next() {
        EXPECT_TRUE(arrived.wait(kPatience)) << "no answer";
        const std::lock_guard lock(mutex);
        return taken < all.size() ? all[taken++] : Answer{};
    }
    /// Everything up to the answer that is not a first, smaller one.
    std::vector<Answer> untilFinal() {
        std::vector<Answer> answers;
        do answers.push_back(next());
        while (answers.back().info[PHImageResultIsDegradedKey].boolValue());
        return answers;
    }

    std::mutex mutex;
    std::vector<Answer> all;
    std::size_t taken = 0;
    DispatchSemaphore arrived;
};

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

PHAssetRef assetOf(const std::string& identifier, std::int64_t type = PHAssetMediaTypeImage) {
    auto asset = std::make_shared<PHAsset>();
    asset->localIdentifier = identifier;
    asset->mediaType = type;
    asset->modificationDate = NSDate{1000};
    return asset;
}

PHImageRequestOptions waiting() {
    PHImageRequestOptions options;
    options.synchronous = true;
    return options;
}

class ImageManager : public testing::Test {
protected:
    void SetUp() override {
        if (!jpegOf(8, 8)) GTEST_SKIP() << "no JPEG encoder is installed";
        PHPhotoLibrary::setSharedPhotoLibrary(library);
    }
    void TearDown() override { PHPhotoLibrary::setSharedPhotoLibrary(nullptr); }

    std::string addFile(const std::string& identifier, const Data& bytes) {
        const std::string path = folder.write(identifier + ".jpg", *bytes);
        library->items[identifier].content = {path, false, "public.jpeg", 0, ""};
        return path;
    }
    void addElsewhere(const std::string& identifier, const std::string& fetched) {
        library->items[identifier] = {{"", true, "public.jpeg", 0, ""}, fetched, std::nullopt};
    }

    test::TemporaryFolder folder;
    std::shared_ptr<FakeLibrary> library = std::make_shared<FakeLibrary>();
    PHImageManager manager;
    Answers answers;
};

TEST_F(ImageManager, DeliversTheFileByteForByte) {
    const Data bytes = orientedJpeg(40, 30, 6);
    const std::string path = addFile("a b", bytes);
    for (const bool synchronous : {true, false}) {
        PHImageRequestOptions options;
        options.synchronous = synchronous;
        const auto identifier = manager.requestImageDataForAsset(assetOf("a b"), options, answers.data());
        EXPECT_TRUE(!synchronous || answers.all.size() == 1) << "before the request returns";
        const auto answer = answers.next();
        EXPECT_EQ(answer.thread == std::this_thread::get_id(), synchronous);
        ASSERT_TRUE(answer.data);
        EXPECT_EQ(*answer.data, *bytes);
        EXPECT_EQ(answer.type, "public.jpeg");
        EXPECT_EQ(answer.orientation, UIImageOrientation::right);
        EXPECT_EQ(answer.info, (Dictionary{{PHImageResultRequestIDKey, identifier},
                                           {PHImageResultIsInCloudKey, 0},
                                           {PHImageResultIsDegradedKey, false},
                                           {PHImageFileURLKey, NSURL::fileURLWithPath(path).absoluteString()},
                                           {PHImageFileUTIKey, "public.jpeg"}}));
    }
}

TEST_F(ImageManager, TellsWhyThereIsNothing) {
    addElsewhere("elsewhere", "");
    addElsewhere("empty", folder.write("empty.jpg", ""));
    library->items["vanished"].content = {folder.path() / "vanished.jpg", false, "public.jpeg", 0, ""};
    addFile("text", std::make_shared<std::vector<std::byte>>(50, std::byte{'x'}));
    struct Case {
        PHAssetRef asset;
        bool network;
        int isInCloud;
        std::string error;
        std::vector<std::string> progress;
    };
    const std::string unreadable = "the file is no picture that can be read";
    const std::vector<Case> cases{
        {assetOf("elsewhere"), false, 1, "", {}},
        {assetOf("elsewhere"), true, 1, "the server is away", {"0.25", "0.25 the server is away"}},
        {assetOf("gone"), false, 0, "gone", {}},
        {assetOf("vanished"), true, 0, unreadable, {}},
        {assetOf("text"), false, 0, unreadable, {}},
        {assetOf("empty"), true, 0, unreadable, {"0.25"}},
        {assetOf("text", PHAssetMediaTypeVideo), false, 0, "there is no picture track", {}},
        {nullptr, false, 0, "there is no such photo or video", {}},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.asset ? expected.asset->localIdentifier : "no asset");
        std::vector<std::string> progress;
        PHImageRequestOptions options = waiting();
        options.networkAccessAllowed = expected.network;
        options.progressHandler = [&](double done, const std::string& error, bool&, const Dictionary& info) {
            EXPECT_GT(info[PHImageResultRequestIDKey].integerValue(), 0);
            progress.push_back(Value(done).description() + (error.empty() ? "" : " " + error));
        };
        manager.requestImageForAsset(expected.asset, {10, 10}, kFit, options, answers.image());
        const auto answer = answers.next();
        EXPECT_FALSE(answer.image);
        EXPECT_EQ(answer.info[PHImageResultIsInCloudKey].integerValue(), expected.isInCloud);
        EXPECT_EQ(answer.info[PHImageErrorKey].string(), expected.error);
        EXPECT_EQ(progress, expected.progress);
    }
    EXPECT_EQ(answers.all.size(), cases.size()) << "one answer to each";
}

TEST_F(ImageManager, MakesPicturesOfTheSizeAskedFor) {
    // Stored lying on its side: 300 wide, 400 high and upright 400 x 300.
    addFile("turned", orientedJpeg(300, 400, 6));
    addFile("narrow", jpegOf(1000, 7));
    struct Case {
        const char* identifier;
        CGSize target;
        PHImageContentMode mode;
        Resize resize;
        CGSize expected;
    };
    const std::vector<Case> cases{
        {"turned", PHImageManagerMaximumSize, kFit, Resize::fast, {400, 300}},
        {"turned", {0, 100}, kFill, Resize::exact, {400, 300}},
        {"turned", {100, 100}, kFit, Resize::fast, {100, 75}},
        {"turned", {100, 60}, kFit, Resize::none, {80, 60}},
        {"turned", {100, 100}, kFill, Resize::fast, {134, 101}},
        {"turned", {100, 100}, kFill, Resize::exact, {100, 100}},
        {"turned", {100, 100}, kFit, Resize::exact, {100, 75}},
        {"turned", {800, 800}, kFit, Resize::fast, {400, 300}},
        {"turned", {800, 200}, kFill, Resize::fast, {400, 300}},
        {"turned", {800, 800}, kFit, Resize::exact, {800, 600}},
        {"turned", {500, 800}, kFill, Resize::exact, {500, 800}},
        {"narrow", {1000, 3}, kFit, Resize::fast, {428, 3}},
        {"narrow", {10, 3}, kFill, Resize::fast, {429, 3}},
        {"narrow", {10, 10}, kFit, Resize::exact, {10, 1}},
    };
    for (const Case& expected : cases) {
        PHImageRequestOptions options = waiting();
        options.resizeMode = expected.resize;
        manager.requestImageForAsset(assetOf(expected.identifier), expected.target, expected.mode, options,
                                     answers.image());
        const auto answer = answers.next();
        ASSERT_TRUE(answer.image);
        EXPECT_EQ(answer.image->imageOrientation(), UIImageOrientation::up);
        EXPECT_TRUE(answer.image->size() == expected.expected)
            << expected.identifier << " for " << expected.target.width << " x " << expected.target.height << ": "
            << answer.image->size().width << " x " << answer.image->size().height;
    }
}

TEST_F(ImageManager, KeepsTheMiddleOfAPictureThatIsCut) {
    addFile("wide", jpegOf(400, 100));
    addFile("turned", orientedJpeg(400, 400, 6));
    PHImageRequestOptions options = waiting();
    options.resizeMode = Resize::exact;
    const auto isRed = [](const CGImageRef& image, std::size_t x, std::size_t y) {
        const std::byte* pixel = image->row(y) + image->bytesPerPixel() * x;
        return pixel[0] > pixel[2];
    };
    manager.requestImageForAsset(assetOf("wide"), {60, 60}, kFill, options, answers.image());
    const CGImageRef middle = answers.next().image->cgImage();
    EXPECT_TRUE(isRed(middle, 20, 30));
    EXPECT_FALSE(isRed(middle, 40, 30)) << "the colours meet in the middle";
    manager.requestImageForAsset(assetOf("turned"), {60, 60}, kFit, options, answers.image());
    const CGImageRef upright = answers.next().image->cgImage();
    EXPECT_TRUE(isRed(upright, 30, 10)) << "the left side has come up";
    EXPECT_FALSE(isRed(upright, 30, 50));
}

TEST_F(ImageManager, SendsASmallPictureAheadOfALargeOne) {
    addFile("large", jpegOf(2400, 1600));
    addFile("small", jpegOf(400, 300));
    struct Case {
        const char* identifier;
        CGSize target;
        Delivery delivery;
        bool synchronous;
        std::vector<double> widths;
        bool lastIsDegraded = false;
    };
    const CGSize whole = PHImageManagerMaximumSize;
    const std::vector<Case> cases{
        {"large", whole, Delivery::opportunistic, false, {256, 2400}},
        {"large", {1200, 1200}, Delivery::opportunistic, false, {256, 1200}},
        {"large", {300, 300}, Delivery::opportunistic, false, {300}},
        {"large", whole, Delivery::opportunistic, true, {2400}},
        {"large", whole, Delivery::highQualityFormat, false, {2400}},
        {"large", whole, Delivery::fastFormat, true, {256}, true},
        {"small", whole, Delivery::opportunistic, false, {400}},
        {"small", whole, Delivery::fastFormat, false, {400}},
    };
    for (const Case& expected : cases) {
        PHImageRequestOptions options;
        options.deliveryMode = expected.delivery;
        options.synchronous = expected.synchronous;
        manager.requestImageForAsset(assetOf(expected.identifier), expected.target, kFit, options, answers.image());
        std::vector<double> widths;
        for (std::size_t i = 0; i < expected.widths.size(); ++i) {
            const auto answer = answers.next();
            ASSERT_TRUE(answer.image);
            widths.push_back(answer.image->size().width);
            const bool isLast = i + 1 == expected.widths.size();
            EXPECT_EQ(answer.info[PHImageResultIsDegradedKey].boolValue(), !isLast || expected.lastIsDegraded);
        }
        EXPECT_EQ(widths, expected.widths) << expected.identifier;
    }
    EXPECT_FALSE(answers.arrived.wait(50ms)) << "an answer too many";
}

TEST_F(ImageManager, DeliversTheUneditedFileWhereThereIsOne) {
    addFile("edited", jpegOf(40, 30));
    addFile("plain", jpegOf(40, 30));
    library->items["edited"].original = {folder.write("before.jpg", *jpegOf(80, 60)), {}};
    const std::vector<std::tuple<const char*, Version, double>> cases{{"edited", Version::current, 40},
                                                                      {"edited", Version::unadjusted, 80},
                                                                      {"edited", Version::original, 80},
                                                                      {"plain", Version::original, 40}};
    for (const auto& [identifier, version, width] : cases) {
        PHImageRequestOptions options = waiting();
        options.version = version;
        manager.requestImageForAsset(assetOf(identifier), PHImageManagerMaximumSize, kFit, options, answers.image());
        const auto answer = answers.next();
        ASSERT_TRUE(answer.image);
        EXPECT_EQ(answer.image->size().width, width) << identifier;
        EXPECT_EQ(answer.info[PHImageFileUTIKey].string(), "public.jpeg");
    }
}

TEST_F(ImageManager, StopsFetching) {
    addElsewhere("a", "");
    library->stalls = true;
    PHImageRequestOptions options;
    options.networkAccessAllowed = true;
    const auto identifier = manager.requestImageDataForAsset(assetOf("a"), options, answers.data());
    ASSERT_TRUE(library->stalled.wait(kPatience));
    manager.cancelImageRequest(identifier + 1);
    PHImageManager().cancelImageRequest(identifier);
    EXPECT_FALSE(answers.arrived.wait(20ms)) << "another request, another manager";
    manager.cancelImageRequest(identifier);
    EXPECT_TRUE(answers.next().info[PHImageCancelledKey].boolValue());
    manager.cancelImageRequest(identifier);

    options.synchronous = true;
    options.progressHandler = [](double progress, const std::string&, bool& stop, const Dictionary&) {
        stop = progress == 0.5;
    };
    manager.requestImageForAsset(assetOf("a"), {10, 10}, kFit, options, answers.image());
    EXPECT_TRUE(answers.next().info[PHImageCancelledKey].boolValue()) << "the progress handler has stopped it";
}

TEST_F(ImageManager, CancelsARequestBeforeItsTurn) {
    addFile("a", jpegOf(40, 30));
    // Not a DispatchSemaphore: threads that wait for one are replaced.
    std::counting_semaphore<> gate(0);
    DispatchGroup blocked;
    const int threads = static_cast<int>(std::thread::hardware_concurrency()) + 8;
    for (int i = 0; i < threads; ++i) blocked.async(DispatchQueue::global(), [&gate] { gate.acquire(); });
    manager.cancelImageRequest(manager.requestImageForAsset(assetOf("a"), {10, 10}, kFit, {}, answers.image()));
    manager.requestImageForAsset(assetOf("a"), {10, 10}, kFit, {}, answers.image());
    gate.release(threads);
    blocked.wait();
    const std::array both{answers.next(), answers.next()};
    EXPECT_EQ(std::ranges::count_if(both, [](const auto& answer) { return !!answer.image; }), 1);
    EXPECT_EQ(std::ranges::count_if(both, [](const auto& a) { return a.info[PHImageCancelledKey].boolValue(); }), 1);
    EXPECT_EQ(library->asked, 1);
}

TEST_F(ImageManager, AnswersEveryRequestOnceWhoeverCancels) {
    addFile("a", jpegOf(64, 48));
    constexpr int kEach = 40;
    std::array<std::atomic<int>, 3 * kEach> calls{};
    DispatchGroup pending;
    const auto request = [&](std::size_t first) {
        for (std::size_t i = first; i < first + kEach; ++i) {
            pending.enter();
            const auto identifier = manager.requestImageForAsset(
                assetOf("a"), {20, 20}, kFit, {}, [&, i](const UIImageRef& image, const Dictionary& info) {
                    EXPECT_NE(image == nullptr, !info[PHImageCancelledKey].boolValue());
                    ++calls[i];
                    pending.leave();
                });
            if (i % 2 == 1) manager.cancelImageRequest(identifier);
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 3; ++i) threads.emplace_back(request, i * kEach);
    for (std::thread& thread : threads) thread.join();
    pending.wait();
    EXPECT_TRUE(std::ranges::all_of(calls, [](const auto& count) { return count == 1; }));
}

TEST_F(ImageManager, OpensMovies) {
    const std::string path = std::string(TESSALY_SEEDS) + "/movie/movie.mov";
    library->items["movie"].content = {path, false, "com.apple.quicktime-movie", 0, ""};
    addElsewhere("elsewhere", "");
    addFile("photo", jpegOf(8, 8));
    addFile("broken", std::make_shared<std::vector<std::byte>>(50, std::byte{'x'}));
    const std::vector<std::tuple<PHAssetRef, bool, bool, bool>> cases{
        {assetOf("movie", PHAssetMediaTypeVideo), true, false, false},
        {assetOf("elsewhere", PHAssetMediaTypeVideo), false, true, false},
        {assetOf("broken", PHAssetMediaTypeVideo), false, false, true},
        {assetOf("photo"), false, false, true}};
    for (const auto& [asset, hasMovie, isInCloud, hasError] : cases) {
        std::shared_ptr<AVAsset> movie;
        manager.requestAVAssetForVideo(asset, {}, [&](const std::shared_ptr<AVAsset>& opened, const Dictionary& info) {
            movie = opened;
            answers.add({nullptr, nullptr, "", {}, info, {}});
        });
        const Dictionary info = answers.next().info;
        EXPECT_EQ(movie != nullptr, hasMovie) << asset->localIdentifier;
        EXPECT_EQ(info[PHImageResultIsInCloudKey].boolValue(), isInCloud) << asset->localIdentifier;
        EXPECT_EQ(info.contains(PHImageErrorKey), hasError) << asset->localIdentifier;
    }
}

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

TEST_F(ImageManager, GivesAnEditorTheFileItCanGoOnFrom) {
    const std::string current = addFile("edited", orientedJpeg(40, 30, 3));
    const std::string before = folder.write("before.heic.jpg", *orientedJpeg(40, 30, 8));
    library->items["edited"].original = {before, {"org.tessaly.strip", "1", nullptr}};
    addFile("lost", jpegOf(40, 30));
    library->items["lost"].original = {folder.path() / "nowhere.jpg", {"org.tessaly.strip", "1", nullptr}};
    addElsewhere("elsewhere", current);
    struct Case {
        PHAssetRef asset;
        bool canHandle;
        bool network;
        std::string path;
        std::int64_t orientation;
        std::string error;
    };
    const std::vector<Case> cases{
        {assetOf("edited"), true, false, before, 8, ""},
        {assetOf("edited"), false, false, current, 3, ""},
        {assetOf("lost"), true, false, folder.path() / "lost.jpg", 1, ""},
        {assetOf("elsewhere"), true, true, current, 3, ""},
        {assetOf("elsewhere"), true, false, "", 1, "the file is elsewhere"},
        {nullptr, true, false, "", 1, "there is no such photo or video"},
    };
    for (const Case& expected : cases) {
        PHContentEditingInputRequestOptions options;
        options.networkAccessAllowed = expected.network;
        options.canHandleAdjustmentData = [&](const PHAdjustmentData& data) {
            EXPECT_EQ(data.formatIdentifier, "org.tessaly.strip");
            return expected.canHandle;
        };
        PHContentEditingInputRef input;
        DispatchSemaphore done;
        requestContentEditingInputWithOptions(expected.asset, options,
                                              [&, done](const PHContentEditingInputRef& made) mutable {
                                                  input = made;
                                                  done.signal();
                                              });
        ASSERT_TRUE(done.wait(kPatience));
        EXPECT_EQ(input->fullSizeImageURL.path(), expected.path);
        EXPECT_EQ(input->fullSizeImageOrientation, expected.orientation);
        EXPECT_EQ(input->error, expected.error);
        EXPECT_EQ(input->adjustmentData.has_value(), expected.path == before);
        EXPECT_EQ(PHContentEditingOutput(*input).renderedContentURL.path(),
                  expected.path.empty() ? "/pending/1." : "/pending/1.jpg");
    }
}

}  // namespace
}  // namespace tessaly
