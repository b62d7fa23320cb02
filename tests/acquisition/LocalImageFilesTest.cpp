#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "acquisition/AssetEditing.h"
#include "acquisition/ExifManager.h"
#include "acquisition/LocalImageFiles.h"
#include "codecs/Pictures.h"
#include "linux/photos/EmptyLibrary.h"
#include "linux/photos/PhotoLibrary.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Photos/PHChangeRequests.h"
#include "platform/Photos/PHImageManager.h"
#include "platform/UIKit/UIDevice.h"
#include "settings/AppDomain.h"
#include "settings/PersistanceManager.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

using namespace std::chrono_literals;
using enum TiffBuilder::Directory;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Names = std::vector<std::string>;

constexpr double kTenOClock = 1546336800;  // 2019-01-01 10:00:00 UTC

ByteString photo(int second, bool isLocated) {
    TiffBuilder tiff;
    tiff.text(exif, 0x9003, "2019:01:01 10:00:0" + std::to_string(second));
    if (isLocated) {
        tiff.text(gps, 1, "N").rationals(gps, 2, {{50, 1}, {0, 1}, {0, 1}}).text(gps, 3, "E");
        tiff.rationals(gps, 4, {{10, 1}, {0, 1}, {0, 1}});
    }
    return jpegWithExif(tiff.build());
}

ByteString movie() {
    ByteString header;
    header.u32(0).u32(0).u32(1000).u32(2500).add(80, '\0');
    return box("ftyp", {"qt  \0\0\0\0"_z}).add(box("moov", {fullBox("mvhd", 0, 0, {header})}));
}

/// plain.jpg and place.jpg, liked-plain.jpg and liked-place.jpg, a second apart from 10:00:01 on, and clip.mov of now.
/// By modification they stand the other way round.
class LocalFiles : public testing::Test {
protected:
    void SetUp() override {
        namespace fs = std::filesystem;
        const Names names{"plain.jpg", "place.jpg", "liked-plain.jpg", "liked-place.jpg"};
        const auto hourAgo = fs::file_time_type::clock::now() - 1h;
        for (int i = 0; i < 4; ++i) {
            const std::string& name = names[static_cast<std::size_t>(i)];
            const std::string path = folder_.write("photos/" + name, photo(i + 1, name.ends_with("place.jpg")));
            fs::last_write_time(path, hourAgo - i * 1min);
        }
        fs::last_write_time(folder_.write("photos/clip.mov", movie()), hourAgo - 10min);
        std::string error;
        library_ = photos::PhotoLibrary::open((folder_.path() / "library").string(), error);
        ASSERT_TRUE(library_) << error;
        ASSERT_EQ(library_->addFolder((folder_.path() / "photos").string()), "");
        ASSERT_EQ(library_->scan().added, 5U);
        PHPhotoLibrary::setSharedPhotoLibrary(library_);
        ASSERT_TRUE(library_->performChangesAndWait([&] {
            for (const char* name : {"liked-plain.jpg", "liked-place.jpg"})
                PHAssetChangeRequest::changeRequestForAsset(*assetNamed(name)).setFavorite(true);
        }));
    }
    void TearDown() override {
        settings_.setLocationFilter(0);
        PHPhotoLibrary::setSharedPhotoLibrary(nullptr);
    }

    /// "" or why not.
    static std::string outcomeOf(const std::function<void(const EditCompletion&)>& act) {
        DispatchSemaphore done;
        std::string why = "nobody answered";
        act([&](bool success, const std::string& error) {
            why = success ? "" : "failed: " + error;
            done.signal();
        });
        done.wait(20s);
        return why;
    }
    static std::string nameOf(const PHAssetRef& asset) { return LocalImageFiles::fileNameForPHAsset(asset, {}); }
    static Names namesOf(const PHFetchResult<PHAsset>& fetched) {
        Names names;
        fetched.enumerateObjectsInRange({0, fetched.count()},
                                        [&](const PHAssetRef& asset, std::size_t) { names.push_back(nameOf(asset)); });
        return names;
    }
    static Names namesOf(const std::vector<PHAssetRef>& assets) {
        Names names;
        for (const PHAssetRef& asset : assets) names.push_back(nameOf(asset));
        return names;
    }
    PHAssetRef assetNamed(const std::string& name) const {
        const auto all = library_->assets(PHFetchOptions());
        for (std::size_t i = 0; i < all.count(); ++i)
            if (nameOf(all.objectAtIndex(i)) == name) return all.objectAtIndex(i);
        ADD_FAILURE() << "no " << name;
        return nullptr;
    }

    const TemporaryFolder folder_;
    std::shared_ptr<photos::PhotoLibrary> library_;
    PersistanceManager& settings_ = PersistanceManager::sharedInstance();
};

TEST_F(LocalFiles, AskForWhatTheUserWantsToSee) {
    struct Case {
        std::uint64_t filter;
        bool favoritesOnly;
        Names names;
    };
    const Case cases[] = {
        {0, true, {"liked-plain.jpg", "liked-place.jpg"}},
        {1, false, {"place.jpg", "liked-place.jpg"}},
        {1, true, {"liked-place.jpg"}},
        {2, false, {"clip.mov", "plain.jpg", "liked-plain.jpg"}},
        {2, true, {"liked-plain.jpg"}},
    };
    for (const auto& [filter, favoritesOnly, names] : cases) {
        settings_.setLocationFilter(filter);
        PHFetchOptions options;
        options.predicate = LocalImageFiles::predicateWithFavoritesOnly(favoritesOnly);
        ASSERT_TRUE(options.predicate) << filter << favoritesOnly;
        EXPECT_THAT(namesOf(library_->assets(options)), testing::UnorderedElementsAreArray(names));
    }
    settings_.setLocationFilter(0);
    EXPECT_FALSE(LocalImageFiles::predicateWithFavoritesOnly(false)) << "everything needs no predicate";
    settings_.setLocationFilter(7);
    EXPECT_FALSE(LocalImageFiles::predicateWithFavoritesOnly(true)) << "nobody knows that filter";
}

TEST_F(LocalFiles, ComeInTheOrderAskedFor) {
    const Names byCreation{"plain.jpg", "place.jpg", "liked-plain.jpg", "liked-place.jpg", "clip.mov"};
    const Names byModification{"clip.mov", "liked-place.jpg", "liked-plain.jpg", "place.jpg", "plain.jpg"};
    struct Case {
        std::uint64_t sortBy;
        bool ascending;
        const Names& names;
    };
    for (const auto& [sortBy, ascending, names] :
         {Case{0, true, byCreation}, Case{1, true, byModification}, Case{1, false, byModification}}) {
        Names expected = names;
        if (!ascending) std::ranges::reverse(expected);
        Names found;
        LocalImageFiles::getPHFetchResultFromPhotosSource(99, 99, false, sortBy, ascending,
                                                          [&](const auto& fetched) { found = namesOf(fetched); });
        EXPECT_EQ(found, expected) << sortBy << ascending;
    }
    const auto roll = LocalImageFiles::getCameraRollAssetCollection();
    ASSERT_EQ(roll.size(), 1U);
    LocalImageFiles::getPHFetchResultFromPHAssetCollection(*roll[0], true, false, [](const auto& fetched) {
        EXPECT_THAT(namesOf(fetched), ElementsAre("liked-place.jpg", "liked-plain.jpg"));
    });
    LocalImageFiles::getPHFetchResultFromPhotosSource(0, 0, true, 0, true, [](const auto& fetched) {
        EXPECT_THAT(namesOf(fetched), ElementsAre("liked-plain.jpg", "liked-place.jpg"));
    });
}

TEST_F(LocalFiles, AreFoundByTheirDate) {
    const std::pair<double, Names> cases[] = {
        {2, {"place.jpg"}},  // Those a whole second away are not near enough.
        {2.5, {"place.jpg", "liked-plain.jpg"}},
        {0.001, {"plain.jpg"}},
        {5, {}},
    };
    for (const auto& [second, names] : cases) {
        const NSDate date{kTenOClock + second};
        EXPECT_EQ(namesOf(LocalImageFiles::assetsWithCreationDate(date)), names) << second;
        const auto last = LocalImageFiles::assetWithCreationDate(date);
        EXPECT_EQ(last ? nameOf(last) : "", names.empty() ? "" : names.back());
    }
    EXPECT_FALSE(LocalImageFiles::assetWithCreationDate(std::nullopt));
    EXPECT_THAT(LocalImageFiles::assetsWithCreationDate(std::nullopt), IsEmpty());
}

TEST_F(LocalFiles, AreFoundByAPieceOfTheirIdentifier) {
    const auto asset = assetNamed("plain.jpg");
    const std::string& whole = asset->localIdentifier;
    const auto lastDash = whole.rfind('-');
    const std::pair<std::string, bool> cases[] = {
        {whole, true},
        {whole.substr(0, whole.find('/')), true},
        {whole.substr(3, lastDash - 2), true},  // Five pieces, the last one empty.
        {whole.substr(0, lastDash), false},     // Long, but of four pieces.
        {"-----12345", false},
        {"--------------", false},
        {"", false},
    };
    for (const auto& [fragment, isFound] : cases)
        EXPECT_EQ(LocalImageFiles::assetWithPartialLocalIdentifier(fragment) != nullptr, isFound) << fragment;
    const auto record = LocalImageFiles::exifInfoOfPHAssetWithID(whole);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->dateTaken, asset->creationDate);
    EXPECT_FALSE(LocalImageFiles::exifInfoOfPHAssetWithID("nobody"));
}

TEST_F(LocalFiles, OfTheDeviceAreKnownByNameOrDate) {
    const auto plain = assetNamed("plain.jpg");
    const std::string identifier = plain->localIdentifier.substr(0, plain->localIdentifier.find('/'));
    const std::string media = "file:///var/mobile/Media/";
    const NSDate placeDate{kTenOClock + 2};
    struct Case {
        std::string url;
        std::optional<NSDate> date;
        const char* name;
    };
    const Case cases[] = {
        {media + identifier + "_4_5005_c.jpeg", NSDate{0}, "plain.jpg"},
        {media + identifier + ".jpeg", placeDate, "plain.jpg"},
        {"file:///CoreSimulator/Devices/" + identifier, NSDate{0}, "plain.jpg"},
        {media + "IMG_0001.JPG", placeDate, "place.jpg"},
        {media + "IMG_0001.JPG", NSDate{0}, ""},
        {media + identifier + ".jpeg", std::nullopt, ""},
        {"file:///home/ann/Pictures/" + identifier + ".jpeg", placeDate, ""},
        {"https://server/mobile/Media/" + identifier + ".jpeg", placeDate, ""},
        {"", placeDate, ""},
    };
    for (const auto& [url, date, name] : cases) {
        const auto asset = ExifManager::assetInPhotosAppForFileWithURL(NSURL::URLWithString(url), date);
        EXPECT_EQ(asset ? nameOf(asset) : "", name) << url;
    }
    for (const auto status :
         {PHAuthorizationStatus::notDetermined, PHAuthorizationStatus::restricted, PHAuthorizationStatus::denied}) {
        library_->setAuthorization(status);
        EXPECT_FALSE(ExifManager::assetInPhotosAppForFileWithURL(NSURL::URLWithString(cases[0].url), placeDate));
    }
}

TEST_F(LocalFiles, GoIntoAnAlbumThatIsMadeOnce) {
    const auto add = [](const PHAssetRef& asset) {
        return outcomeOf([&](const EditCompletion& completion) {
            LocalImageFiles::createPhotosAlbum("Élan \"1\" %@", {&asset, 1}, completion);
        });
    };
    const auto albums = [] {
        std::vector<PHAssetCollectionRef> found;
        LocalImageFiles::allAlbumsFromPhotosSource(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny,
                                                   [&](const auto& all) { found = all; });
        return found;
    };
    EXPECT_THAT(albums(), IsEmpty());
    EXPECT_EQ(add(assetNamed("plain.jpg")), "");
    EXPECT_EQ(add(assetNamed("place.jpg")), "");
    ASSERT_EQ(albums().size(), 1U);
    EXPECT_EQ(albums()[0]->localizedTitle, "Élan \"1\" %@");
    const auto count = [&] { return library_->assets(*albums()[0], PHFetchOptions()).count(); };
    EXPECT_EQ(count(), 2U);
    const auto clip = assetNamed("clip.mov");
    LocalImageFiles::createPhotosAlbum("Élan \"1\" %@", {&clip, 1}, nullptr);
    EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return count() == 3; }, 20s)) << "nobody has to listen";
    PHPhotoLibrary::setSharedPhotoLibrary(std::make_shared<photos::EmptyLibrary>());
    EXPECT_EQ(add(nullptr), "failed: the album is not there any more");
}

TEST_F(LocalFiles, HaveNames) {
    const Dictionary info{{PHImageFileURLKey, "file:///var/a%20b.jpg/"}};
    const auto photo = assetNamed("plain.jpg");
    EXPECT_EQ(LocalImageFiles::fileNameForPHAsset(assetNamed("clip.mov"), info), "clip.mov");
    EXPECT_EQ(LocalImageFiles::fileNameForPHAsset(nullptr, info), "a%20b.jpg") << "as it stands in the URL";
    EXPECT_EQ(LocalImageFiles::fileNameForPHAsset(nullptr, {}), "");
    EXPECT_EQ(LocalImageFiles::fileNameForPHAsset(std::make_shared<PHAsset>(), info), "a%20b.jpg");
    UIDevice::currentDevice().systemVersion = "8.4.1";
    EXPECT_EQ(LocalImageFiles::fileNameForPHAsset(photo, info), "a%20b.jpg") << "no system before 9.0 tells names";
    UIDevice::currentDevice() = {};
    EXPECT_EQ(LocalImageFiles::fileNameForPHAsset(photo, info), "plain.jpg");
}

// What an edit leaves: in the file, in the library, and for whoever wants to revert it.
TEST_F(LocalFiles, AreEditedRevertibly) {
    const auto edited = [](const PHAssetRef& asset, const AssetEdit& edit) {
        return outcomeOf([&](const EditCompletion& completion) { editAsset(asset, edit, completion); });
    };
    struct Case {
        const char* name;
        AssetEdit edit;
        const char *mark, *data;
        bool keepsDate;
    };
    const Case cases[] = {
        {"place.jpg", AssetEdit::removal(), ".tessaly.removeExif", "removedEXIF", false},
        {"liked-place.jpg", AssetEdit::placeRemoval({}), ".tessaly.removeLocation", "", true},
        {"plain.jpg", AssetEdit::completeRemoval(), ".tessaly.removeExif", "removedEXIF", false},
    };
    for (const auto& [name, edit, mark, data, keepsDate] : cases) {
        SCOPED_TRACE(name);
        const auto before = assetNamed(name);
        ASSERT_TRUE(library_->performChangesAndWait(
            [&] { PHAssetChangeRequest::changeRequestForAsset(*before).setLocation(CLLocation()); }));
        EXPECT_EQ(edited(before, edit), "");
        const auto after = assetNamed(name);
        EXPECT_TRUE(after->hasAdjustments);
        EXPECT_FALSE(after->location);
        EXPECT_EQ(after->creationDate, before->creationDate) << "the library's own stays";
        const Dictionary left = propertiesOf(contentOf(folder_.path() / "photos" / name));
        EXPECT_TRUE(left["{GPS}"].isNull());
        EXPECT_EQ(!left["{Exif}"].dictionary()["DateTimeOriginal"].isNull(), keepsDate);
        const auto original = library_->original(after->localIdentifier);
        ASSERT_TRUE(original);
        EXPECT_EQ(original->adjustmentData.formatIdentifier, std::string(AppDomainPrefix) + mark);
        EXPECT_EQ(original->adjustmentData.formatVersion, "1.0");
        EXPECT_EQ(Value(original->adjustmentData.data), Value(*data ? dataOf(ByteString(data)) : nullptr));
        EXPECT_FALSE(propertiesOf(contentOf(original->path))["{Exif}"].isNull());
    }
    const auto clip = assetNamed("clip.mov");
    EXPECT_EQ(edited(clip, AssetEdit::removal()), "");
    EXPECT_TRUE(assetNamed("clip.mov")->hasAdjustments);

    AssetEdit failing = AssetEdit::placeRemoval({});
    failing.rewrite = [](const auto&, const auto&, std::string& why) { return why = "no room", false; };
    const auto lost = assetNamed("liked-plain.jpg");
    EXPECT_EQ(edited(lost, failing), "failed: no room");
    EXPECT_TRUE(lost->canBeDeleted());
    const auto path = folder_.path() / "photos/liked-plain.jpg";
    std::filesystem::remove(path);
    EXPECT_FALSE(lost->canBeDeleted()) << "there is nothing to delete";
    EXPECT_NE(edited(lost, AssetEdit::removal()), "");
    std::string error;
    EXPECT_FALSE(AssetEdit::placeRemoval({}).rewrite(path.string(), (folder_.path() / "target.jpg").string(), error));
    lost->localIdentifier = "nobody";
    EXPECT_FALSE(lost->canBeDeleted());
}

TEST(UIDevice, ComparesVersionsByTheirNumbers) {
    struct Case {
        const char* version;
        const char* required;
        bool isEnough;
    };
    for (const auto& [version, required, isEnough] :
         {Case{"17.0", "9.0", true}, Case{"9.0", "9.0", true}, Case{"8.4.1", "9.0", false}, Case{"9.10", "9.9", true},
          Case{"9.09", "9.9", true}, Case{"11", "11.0", false}, Case{"11.0.1", "11.0", true}, Case{"", "9.0", false},
          Case{"100000000000000000000", "9", true}})
        EXPECT_EQ(UIDevice{version}.hasSystemVersion(required), isEnough) << version << " >= " << required;
}

}  // namespace
}  // namespace tessaly::test
