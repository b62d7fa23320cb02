#include <algorithm>
#include <semaphore>

#include "photos/ImageManagerFixture.h"

namespace tessaly {
namespace {

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
    EXPECT_TRUE(isRed(middle, 20, 1) && isRed(middle, 20, 58)) << "from edge to edge";
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
