#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "acquisition/AssetEditing.h"
#include "acquisition/BatchProgress.h"
#include "acquisition/ExifManager.h"
#include "linux/photos/EmptyLibrary.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Photos/PHPhotoLibrary.h"
#include "platform/UIKit/MemoryWarning.h"
#include "platform/UIKit/UIDevice.h"
#include "settings/PersistanceManager.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

using namespace std::chrono_literals;
using enum TiffBuilder::Directory;
using testing::ElementsAre;
using testing::Pair;

constexpr auto kPatience = 20s;
constexpr NSDate kFileDate{1546336800};  // 2019-01-01 10:00:00 UTC
constexpr NSDate kLibraryDate{1600000000};

ByteString photo() {
    TiffBuilder tiff;
    tiff.text(first, 0x0110, "iPhone10,3")
        .text(exif, 0x9003, "2019:01:01 10:00:00")
        .rationals(exif, 0x829D, {{18, 10}});
    tiff.text(gps, 1, "N").rationals(gps, 2, {{50, 1}, {0, 1}, {0, 1}}).text(gps, 3, "E");
    tiff.rationals(gps, 4, {{10, 1}, {0, 1}, {0, 1}});
    return jpegWithExif(tiff.build());
}

ByteString movie() {
    const auto text = [](std::string_view type, std::string_view content) {
        return box(type, {ByteString().u16(static_cast<unsigned>(content.size())).u16(0).add(content)});
    };
    ByteString header;
    header.u32(0).u32(0).u32(1000).u32(2500).add(80, '\0');
    return box("ftyp", {"qt  \0\0\0\0"_z})
        .add(box("moov", {fullBox("mvhd", 0, 0, {header}),
                          box("udta", {text("\xA9mod", "iPhone10,3"), text("\xA9xyz", "+51.4169-000.0806/")})}));
}

/// A library of a few files, some of them elsewhere.
class FakeLibrary : public photos::EmptyLibrary {
public:
    struct Item {
        std::string path{};
        std::string typeIdentifier = "public.jpeg";
        bool isInCloud = false;
        bool canBeFetched = true;
        double progress = 0.25;  ///< Told while it is fetched.
        std::vector<PHAssetResource> resources{};
    };
    std::map<std::string, Item> items;  ///< Not changed while requests run.
    mutable std::atomic<int> askedForLiveVideo{0};

    PHAssetContent content(const std::string& identifier, std::int64_t type, bool mayFetch,
                           const std::function<bool(double)>& progress) const override {
        const auto found = items.find(identifier);
        if (found == items.end()) return {"", false, "", 0, "gone"};
        const Item& item = found->second;
        if (type == PHAssetResourceTypePairedVideo) ++askedForLiveVideo;
        if (!item.isInCloud) return {item.path, false, item.typeIdentifier, 0, ""};
        if (mayFetch && progress) progress(item.progress);
        if (mayFetch && item.canBeFetched) return {item.path, false, item.typeIdentifier, 0, ""};
        return {"", true, item.typeIdentifier, 0, mayFetch ? "the server is away" : ""};
    }
    std::vector<PHAssetResource> resources(const std::string& identifier) const override {
        return items.at(identifier).resources;
    }
};

class Rows : public PHFetchResult<PHAsset>::Rows {
public:
    explicit Rows(std::vector<PHAssetRef> assets) : assets_(std::move(assets)) {}
    std::size_t count() const override { return assets_.size(); }
    PHAssetRef at(std::size_t index) const override { return assets_[index]; }

private:
    std::vector<PHAssetRef> assets_;
};

PHFetchResult<PHAsset> fetched(std::vector<PHAssetRef> assets) {
    return PHFetchResult<PHAsset>(std::make_shared<Rows>(std::move(assets)));
}

class AssetReading : public testing::Test {
protected:
    AssetReading() {
        PHPhotoLibrary::setSharedPhotoLibrary(library_);
        settings_.setAllowNetworkAccessToDownloadPhotos(false);
    }
    ~AssetReading() override {
        settings_.setAllowNetworkAccessToDownloadPhotos(false);
        PHPhotoLibrary::setSharedPhotoLibrary(nullptr);
    }

    /// An asset with a date and a place of its own.
    PHAssetRef add(FakeLibrary::Item item, std::int64_t mediaType = PHAssetMediaTypeImage) {
        auto asset = std::make_shared<PHAsset>();
        asset->localIdentifier = std::to_string(library_->items.size());
        asset->mediaType = mediaType;
        asset->creationDate = kLibraryDate;
        asset->location.emplace().coordinate = {-33, 151};
        asset->pixelWidth = 640;
        asset->pixelHeight = 480;
        library_->items[asset->localIdentifier] = std::move(item);
        return asset;
    }
    PHAssetRef addPhoto() { return add({.path = photoPath_}); }
    PHAssetRef addCloudPhoto() { return add({.path = photoPath_, .isInCloud = true}); }

    const TemporaryFolder folder_;
    const std::string photoPath_ = folder_.write("photo.jpg", photo());
    const std::int64_t photoSize_ = static_cast<std::int64_t>(photo().size());
    const std::shared_ptr<FakeLibrary> library_ = std::make_shared<FakeLibrary>();
    PersistanceManager& settings_ = PersistanceManager::sharedInstance();
};

// A thumbnail before it is needed: bytes of 51 MiB and more are none, and what was cancelled never comes.
TEST_F(AssetReading, PrefetchesAThumbnailUntilMemoryIsShort) {
    const auto record = ExifInformation::exifInformationsArrayFrom(std::vector{addPhoto()}).front();
    record->prefetchAsset();
    record->imageScaleDownOperation = std::make_shared<BlockOperation>([](const BlockOperation&) {});
    record->cancelPrefetch();
    EXPECT_TRUE(record->imageScaleDownOperation->isCancelled());
    EXPECT_FALSE(DispatchQueue::pumpMainQueueUntil([&] { return bool(record->imageFetchCompletionHandler()); }, 50ms));

    record->prefetchAsset();
    ASSERT_TRUE(
        DispatchQueue::pumpMainQueueUntil([&] { return record->cachedThumbNailImage() != nullptr; }, kPatience));
    EXPECT_EQ(record->cachedThumbNailImage()->size(), (CGSize{64, 48}));
    const auto keep = record->imageFetchCompletionHandler();
    record->prefetchAsset();
    NSNotificationCenter::defaultCenter().postNotificationName(UIApplicationDidReceiveMemoryWarningNotification);
    EXPECT_FALSE(record->cachedThumbNailImage());
    EXPECT_FALSE(DispatchQueue::pumpMainQueue()) << "what is there is not fetched again";

    auto large = std::make_shared<std::vector<std::byte>>(std::size_t{51} << 20U);
    const std::string head(photo().text());
    std::memcpy(large->data(), head.data(), head.size());
    keep(large, "", UIImageOrientation::up, {});
    keep(nullptr, "", UIImageOrientation::up, {});
    EXPECT_FALSE(record->cachedThumbNailImage());
    large->pop_back();
    keep(large, "", UIImageOrientation::up, {});
    EXPECT_TRUE(record->cachedThumbNailImage());
    record->cancelPrefetch();
    EXPECT_FALSE(record->imageFetchCompletionHandler());
}

/// Made where the log is on: whether it is wanted is asked once.
struct LoggedReading : AssetReading {
    void TestBody() override {
        const auto raw = add({.path = photoPath_, .typeIdentifier = "com.adobe.raw-image"});
        ExifManager::exifDataArrayInPHFetchResults(fetched({raw, nullptr, addCloudPhoto()}), {0, 3}, [](auto&) {});
        static_cast<void>(ExifManager::exifInformationFromPHAssett(addCloudPhoto(), true, nullptr));
        static_cast<void>(ExifManager::exifinformationFromNSURL(NSURL::fileURLWithPath(photoPath_)));
        const auto record = ExifInformation::exifInformationsArrayFrom(std::vector{addPhoto()}).front();
        record->prefetchAsset();
        bool isDone = false;
        ExifManager::allExifDataArrayInPHFetchResult(fetched({addPhoto()}), "", "", true,
                                                     [&](auto&) { isDone = true; });
        DispatchQueue::pumpMainQueueUntil([&] { return isDone && record->cachedThumbNailImage(); }, kPatience);
        record->prefetchAsset();
    }
};

TEST(AssetReadingDeathTest, WritesWhatItDoes) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    ::setenv("TESSALY_LOG", "1", 1);
    std::vector<testing::Matcher<const std::string&>> lines;
    for (const char* line : {"ENUMERATE_1  = ",
                             "Range = 0 3",
                             "NIL ASSET",
                             "ENUMERATE_2_FINISHED 3 ITEMS, ",
                             "ImageSource Count 1",
                             "exifInformationFromPHAssett_2",
                             "exifinformationFromNSURL file:///",
                             "UTI_ com.adobe.raw-image",
                             "EXIF NOT AVAILABLE FOR RAW FILE",
                             "ON_CLOUD and imageData = ",
                             "exifInformationFromPHAssett IMAGE_DATA_NIL ",
                             "RAW 0.25",
                             "OPTIONS =  ",
                             "exifInformationFromPHAssett in NETWORK ACCESS ALLOWED MODE IMAGE_DATA_NIL 0 and ",
                             "Method _exifDataArrayInPHFetchResults RANGE = {0, 1}",
                             "RANGE {0, 1}",
                             "EnumerationGoingToStart",
                             "exifInformationFromPHAssett 0",
                             "Check if 1 == 1",
                             "Success in Checking 1 == 1",
                             "Completed 1 items",
                             "PREFETCH_ASSET_",
                             "PREFETCH_ASSET_ COMPLETE",
                             "PREFETCH_ASSET_NOT_NEEDED"})
        lines.push_back(testing::HasSubstr(std::string(line)));
    lines.push_back(testing::Not(testing::ContainsRegex("NIL ASSET.*NIL ASSET")));
    EXPECT_EXIT((LoggedReading().TestBody(), std::_Exit(0)), testing::ExitedWithCode(0), testing::AllOfArray(lines));
    ::unsetenv("TESSALY_LOG");
}

TEST_F(AssetReading, LetsTheLibrarysPlaceAndDateOutrankTheFiles) {
    const auto asset = addPhoto();
    asset->mediaSubtypes = PHAssetMediaSubtypePhotoScreenshot;
    const auto record = ExifManager::exifInformationFromPHAssett(asset);
    EXPECT_EQ(record->location, asset->location);
    EXPECT_EQ(record->dateTaken, kLibraryDate);
    EXPECT_EQ(record->fileSizeInBytes, photoSize_);
    EXPECT_EQ(record->cameraModel, "iPhone X");
    EXPECT_EQ(record->phAsset, asset);
    EXPECT_TRUE(record->isScreenShot && record->hasFetchedEXIFInformation);
    EXPECT_FALSE(record->imageResultIsInCloud || record->isRAWFile);

    asset->location = std::nullopt;
    asset->creationDate = std::nullopt;
    UIDevice::currentDevice().systemVersion = "8.4";
    const auto bare = ExifManager::exifInformationFromPHAssett(asset);
    UIDevice::currentDevice() = {};
    EXPECT_FALSE(bare->location) << "the file's place does not count";
    EXPECT_EQ(bare->dateTaken, kFileDate);
    EXPECT_FALSE(bare->isScreenShot) << "nobody knew before 9.0";

    // The library sorts a photo that tells no date by its file's time; that is no date of the photo.
    const auto undated = add({.path = folder_.write("bare.jpg", jpeg({}))});
    undated->modificationDate = kLibraryDate;
    EXPECT_FALSE(ExifManager::exifInformationFromPHAssett(undated)->dateTaken);
    undated->modificationDate = kFileDate;
    EXPECT_EQ(ExifManager::exifInformationFromPHAssett(undated)->dateTaken, kLibraryDate);
}

TEST_F(AssetReading, ReadsWithoutWaiting) {
    for (const bool isHere : {true, false}) {
        const auto asset = isHere ? addPhoto() : addCloudPhoto();
        ExifInformationRef record;
        std::thread::id thread;
        ExifManager::exifInformationFromPHAssett(asset, [&](const ExifInformationRef& delivered) {
            record = delivered;
            thread = std::this_thread::get_id();
        });
        ASSERT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return record != nullptr; }, kPatience));
        EXPECT_EQ(thread, std::this_thread::get_id());
        EXPECT_EQ(record->location, asset->location);
        EXPECT_EQ(record->dateTaken, isHere ? kFileDate : kLibraryDate) << "the library's fills gaps only";
        EXPECT_EQ(record->dateCreated, kLibraryDate);
        EXPECT_EQ(record->fileSizeInBytes, isHere ? photoSize_ : 0);
    }
}

TEST_F(AssetReading, FetchesFromTheCloudWhereThatIsAllowed) {
    struct Case {
        bool force, canBeFetched, arrives;
    };
    settings_.setAllowNetworkAccessToDownloadPhotos(true);  // Nothing is fetched unasked, whatever is stored.
    for (const auto& [force, canBeFetched, arrives] :
         {Case{false, true, false}, Case{true, true, true}, Case{true, false, false}}) {
        SCOPED_TRACE(testing::Message() << force << canBeFetched);
        const auto asset = addCloudPhoto();
        library_->items[asset->localIdentifier].canBeFetched = canBeFetched;
        std::mutex mutex;
        std::vector<double> progress;
        const auto record = ExifManager::exifInformationFromPHAssett(
            asset, force, [&](double reached, const std::string&, bool& stop, const Dictionary&) {
                const std::lock_guard lock(mutex);
                EXPECT_FALSE(stop) << "nobody asked for that";
                progress.push_back(reached);
            });
        EXPECT_EQ(record->imageResultIsInCloud, !arrives);
        EXPECT_EQ(record->fileSizeInBytes, arrives ? photoSize_ : 0);
        EXPECT_EQ(record->exifInfoAvailable, arrives);
        EXPECT_EQ(record->dateTaken, kLibraryDate) << "the library knows without the file";
        EXPECT_EQ(record->location, asset->location);
        ASSERT_FALSE(progress.empty());
        EXPECT_EQ(progress.back(), 1.0) << "comes in any case";
        EXPECT_EQ(progress.front() == 0.25, force);
    }
}

TEST_F(AssetReading, CountsTheVideoOfALivePhoto) {
    const auto asset = addPhoto();
    FakeLibrary::Item& item = library_->items[asset->localIdentifier];
    const PHAssetResource still{PHAssetResourceTypePhoto, asset->localIdentifier, "a.jpg", ""};
    const PHAssetResource moving{PHAssetResourceTypePairedVideo, asset->localIdentifier, "a.mov", ""};

    item.resources = {still, moving, moving};
    asset->mediaSubtypes = PHAssetMediaSubtypePhotoLive;
    EXPECT_TRUE(ExifManager::exifInformationFromPHAssett(asset));
    item.resources = {still, moving};
    asset->mediaSubtypes |= PHAssetMediaSubtypePhotoScreenshot;
    EXPECT_TRUE(ExifManager::exifInformationFromPHAssett(asset));

    asset->mediaSubtypes = PHAssetMediaSubtypePhotoLive;
    const auto record = ExifManager::exifInformationFromPHAssett(asset);
    const auto isCounted = [&] { return record->liveVideoFileSizeInBytes == photoSize_; };
    EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil(isCounted, kPatience));
    EXPECT_EQ(library_->askedForLiveVideo, 1) << "of live photos with just two files, and that are nothing else";
}

TEST_F(AssetReading, ReadsRawFilesFromTheirFullSizeFile) {
    for (const char* type : {"com.canon.cr2-raw-image", "com.adobe.raw-image"}) {
        SCOPED_TRACE(type);
        const auto asset = add({.path = photoPath_, .typeIdentifier = type});
        asset->mediaSubtypes = PHAssetMediaSubtypePhotoScreenshot;
        const auto record = ExifManager::exifInformationFromPHAssett(asset);
        EXPECT_TRUE(record->isRAWFile && record->didFetchedFullInfo && record->isScreenShot);
        EXPECT_EQ(record->imageFilePathURL, NSURL::fileURLWithPath(photoPath_));
        EXPECT_EQ(record->location, asset->location);
        EXPECT_EQ(record->dateTaken, kLibraryDate);
        EXPECT_EQ(record->phAsset, asset);
        EXPECT_EQ(record->dimensions, (CGSize{64, 48}));
        EXPECT_FALSE(record->imageResultIsInCloud);
    }
    const auto away = add({.typeIdentifier = "com.adobe.raw-image", .isInCloud = true});
    const auto record = ExifManager::exifInformationFromPHAssett(away);
    EXPECT_TRUE(record->isRAWFile && record->imageResultIsInCloud) << "without a file it must not wait for one";
    EXPECT_FALSE(record->didFetchedFullInfo);
}

TEST_F(AssetReading, CompletesARecord) {
    const auto completed = [](const ExifInformationRef& record, bool force = false) {
        DispatchSemaphore done;
        ExifInformationRef fuller;
        ExifManager::fetchCompleteExifInformationsFor(record, force, [&](const ExifInformationRef& delivered) {
            fuller = delivered;
            done.signal();
        });
        EXPECT_TRUE(done.wait(kPatience));
        return fuller;
    };
    const auto recordOf = [](const PHAssetRef& asset) {
        auto record = std::make_shared<ExifInformation>();
        record->phAsset = asset;
        return record;
    };
    const auto stays = recordOf(addCloudPhoto());
    EXPECT_EQ(completed(stays), stays) << "in the cloud, and not allowed to leave it";
    EXPECT_TRUE(stays->isFetchingFullInfo && !stays->didFetchedFullInfo);

    const auto fuller = completed(stays, true);
    EXPECT_NE(fuller, stays);
    EXPECT_TRUE(fuller->didFetchedFullInfo);
    ASSERT_TRUE(fuller->thumbNailImage);
    EXPECT_FALSE(fuller->thumbNailImage->cgImage()) << "a head with nothing behind it";
    EXPECT_EQ(fuller->location, stays->phAsset->location);
    EXPECT_EQ(fuller->dateTaken, kFileDate);

    for (const auto& lost : {recordOf(add({.isInCloud = true, .canBeFetched = false})), recordOf(nullptr)}) {
        EXPECT_EQ(completed(lost, true), lost);
        EXPECT_TRUE(lost->didFetchedFullInfo) << "there is nothing more to be had";
    }
}

TEST_F(AssetReading, ReadsAVideo) {
    const std::string path = folder_.write("clip.mov", movie());
    const auto asset = add({.path = path, .typeIdentifier = "com.apple.quicktime-movie"}, PHAssetMediaTypeVideo);
    asset->duration = 7;
    const auto record = ExifManager::exifInformationFromPHAssett(asset);
    EXPECT_EQ(record->cameraModel, "iPhone10,3");
    EXPECT_EQ(record->location, asset->location) << "not the movie's";
    EXPECT_EQ(record->duration, 7);
    EXPECT_EQ(record->dimensions, (CGSize{640, 480}));
    EXPECT_EQ(record->fileSizeInBytes, static_cast<std::int64_t>(movie().size()));
    EXPECT_EQ(record->dateTaken, kLibraryDate);
    EXPECT_TRUE(record->exifInfoAvailable && record->exifORTiffInfoAvailable);
    EXPECT_TRUE(record->hasFetchedFromPHAsset && record->hasFetchedEXIFInformation);
    EXPECT_FALSE(record->imageResultIsInCloud);

    library_->items[asset->localIdentifier].isInCloud = true;
    asset->creationDate = std::nullopt;
    asset->modificationDate = kFileDate;
    const auto away = ExifManager::exifInformationFromPHAssett(asset);
    EXPECT_TRUE(away->imageResultIsInCloud && away->tifDic->empty());
    EXPECT_EQ(away->dateCreated, kFileDate);
    EXPECT_FALSE(away->dateTaken);
    DispatchSemaphore done;
    exportVideoWithoutPlace(asset, NSURL::fileURLWithPath((folder_.path() / "out.mov").string()),
                            [&](bool success, const std::string& why) {
                                EXPECT_TRUE(success) << why << ": what is to be edited is fetched";
                                done.signal();
                            });
    EXPECT_TRUE(done.wait(kPatience));
}

TEST_F(AssetReading, ReadsABatchInOrderAndTellsItsAverageProgress) {
    std::vector<std::pair<bool, float>> steps;
    const auto tell = [&](bool isFractional, float average) { steps.emplace_back(isFractional, average); };
    const auto result = fetched({addPhoto(), addPhoto(), nullptr, addCloudPhoto(), addPhoto()});
    std::vector<ExifInformationRef> records;
    ExifManager::exifDataArrayInPHFetchResults(result, {1, 3}, tell, [&](const auto& all) { records = all; });
    ASSERT_EQ(records.size(), 3U);
    for (const std::size_t i : {0, 1, 2})  // An asset that has gone leaves its place empty.
        EXPECT_EQ(records[i]->phAsset, result.objectAtIndex(i + 1));
    EXPECT_THAT(steps, ElementsAre(Pair(false, 1 / 3.0F), Pair(false, 2 / 3.0F), Pair(false, 1.0F)));

    steps.clear();
    BatchProgress progress(2, tell);
    for (const double reached : {0.125, 0.29, 0.25, 1.0}) progress.set(1, reached);
    EXPECT_THAT(steps, ElementsAre(Pair(true, 0.0625F), Pair(false, 0.145F), Pair(false, 0.125F), Pair(false, 0.5F)))
        << "29 percent are whole as a float, not as a double";
}

TEST_F(AssetReading, CollectsChunksUpToAThousand) {
    std::vector<PHAssetRef> assets;
    for (int i = 0; i < 1003; ++i) {
        assets.push_back(addPhoto());
        assets.back()->creationDate = NSDate{static_cast<double>(i * 7 % 1000)};
        assets.back()->duration = i;
    }
    struct Case {
        const char* predicate;
        bool ascending;
        std::size_t count;
        double first, last;
    };
    for (const auto& [predicate, ascending, count, firstDate, lastDate] :
         {Case{"", true, 1000, 999, 0}, Case{"", false, 1000, 0, 999},
          Case{"cameraModel = 'iPhone X' AND phAsset.duration < 3 AND location.coordinate.latitude < 0", true, 3, 14,
               0},
          Case{"dateTaken < dateCreated OR exifDic.FNumber > 2", true, 0, 0, 0},
          Case{"Model CONTAINS 'iPhone' AND phAsset.duration = 1", true, 1, 7, 7}, Case{"((", true, 0, 0, 0}}) {
        SCOPED_TRACE(predicate);
        std::optional<std::vector<ExifInformationRef>> records;
        ExifManager::allExifDataArrayInPHFetchResult(fetched(assets), predicate, "fileSizeInBytes", ascending,
                                                     [&](const auto& all) { records = all; });
        ASSERT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return records.has_value(); }, kPatience));
        ASSERT_EQ(records->size(), count);
        std::set<PHAssetRef> once;
        for (const ExifInformationRef& record : *records) once.insert(record->phAsset);
        EXPECT_EQ(once.size(), count);
        if (count == 0) continue;
        EXPECT_EQ(records->front()->dateCreated, NSDate{firstDate});
        EXPECT_EQ(records->back()->dateCreated, NSDate{lastDate});
    }
    bool isDone = false;
    ExifManager::allExifDataArrayInPHFetchResult({}, "", "", true, [&](const auto& all) { isDone = all.empty(); });
    EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return isDone; }, kPatience)) << "nothing to wait for";
}

}  // namespace
}  // namespace tessaly::test
