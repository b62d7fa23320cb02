#pragma once
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <thread>

#include "linux/photos/EmptyLibrary.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/ImageIO/CGImageDestination.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/Photos/PHImageManager.h"
#include "platform/Photos/PHPhotoLibrary.h"
#include "support/TemporaryFolder.h"

namespace tessaly {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Delivery = PHImageRequestOptionsDeliveryMode;
using Resize = PHImageRequestOptionsResizeMode;
using Version = PHImageRequestOptionsVersion;
inline constexpr auto kFit = PHImageContentMode::aspectFit;
inline constexpr auto kFill = PHImageContentMode::aspectFill;
inline constexpr auto kPatience = 20s;

/// Red on the left, blue on the right.
inline CGImageRef twoColours(std::size_t width, std::size_t height) {
    auto image = std::make_shared<CGImage>();
    image->width = width;
    image->height = height;
    image->pixels = PixelBuffer::allocate(image->bytesPerRow() * height);
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) image->row(y)[4 * x + (x < width / 2 ? 0 : 2)] = std::byte{255};
    return image;
}

inline Data jpegOf(std::size_t width, std::size_t height) {
    return UIImageJPEGRepresentation(UIImage::imageWithCGImage(twoColours(width, height)), 0.9);
}

inline Data orientedJpeg(std::size_t width, std::size_t height, int orientation) {
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

inline PHAssetRef assetOf(const std::string& identifier, std::int64_t type = PHAssetMediaTypeImage) {
    auto asset = std::make_shared<PHAsset>();
    asset->localIdentifier = identifier;
    asset->mediaType = type;
    asset->modificationDate = NSDate{1000};
    return asset;
}

inline PHImageRequestOptions waiting() {
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

}  // namespace tessaly
