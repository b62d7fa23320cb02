#include <unistd.h>

#include <filesystem>
#include <map>
#include <tuple>

#include "ActionsFixture.h"
#include "extension/IdentifyingLeftovers.h"
#include "platform/AVFoundation/AVPlayerViewController.h"
#include "platform/UIKit/UIAlertController.h"

// Stripping and deleting over a real library.
namespace tessaly::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

ByteString placedPhoto() {
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x013B, "SECRET artist");
    tiff.text(TiffBuilder::gps, 1, "N").rationals(TiffBuilder::gps, 2, {{50, 1}, {0, 1}, {0, 1}});
    tiff.text(TiffBuilder::gps, 3, "E").rationals(TiffBuilder::gps, 4, {{10, 1}, {0, 1}, {0, 1}});
    return photo(5, tiff);
}

ByteString placedMovie() { return movie(5, "SECRET identifier").add(box("mdat", {"FRAMES AND SOUND"})); }

class LibraryActions : public ActionsTest {
protected:
    void SetUp() override {
        ActionsTest::SetUp();
        fs::create_directories(temporary());
        ::setenv("TMPDIR", temporary().c_str(), 1);
        write("a.jpg", placedPhoto());
        write("m.mov", placedMovie());
        library_->scan();
        ASSERT_TRUE(find("a.jpg") && find("a.jpg")->location);
    }
    void TearDown() override { ::unsetenv("TMPDIR"); }
    [[nodiscard]] std::string temporary() const { return (folder_.path() / "tmp").string(); }
    void act(const std::string& name, bool overwrites, bool deletes) {
        show({recordOfAsset(name)});
        screen->overwriteSwitch->setOn(overwrites);
        screen->deleteOriginalPhotoAfterRemovingExifSwitch->setOn(deletes);
        screen->removeExifDetailsButtonTapped();
        // The decision was made when it began.
        screen->overwriteSwitch->setOn(!overwrites);
        finish();
    }
    [[nodiscard]] Names album() const {
        PHFetchOptions options;
        for (const auto& album :
             objectsOf(library_->collections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny, options)))
            if (album->localizedTitle == PersistanceManager::sharedInstance().albumNameAfterRemovingEXIF())
                return names(library_->assets(*album, options));
        return {};
    }
    static std::vector<PHAssetCollectionRef> objectsOf(const PHFetchResult<PHAssetCollection>& fetched) {
        std::vector<PHAssetCollectionRef> albums;
        for (std::size_t i = 0; i < fetched.count(); ++i) albums.push_back(fetched.objectAtIndex(i));
        return albums;
    }
    [[nodiscard]] std::map<std::string, std::string> contents() const {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::directory_iterator(photos()))
            files[entry.path().filename()] = contentOf(entry.path());
        return files;
    }
};

struct RemovalCase {
    const char* why;
    const char* name;
    bool overwrites, deletes;
    const char* changed;
    std::vector<std::string> files;
    std::string banner;
};

class Removals : public LibraryActions, public testing::WithParamInterface<RemovalCase> {};

TEST_P(Removals, MakeACopyOrOverwrite) {
    const RemovalCase& test = GetParam();
    SCOPED_TRACE(test.why);
    const PHAsset before = asset(test.name);
    const std::string bytes = contentOf(path(test.name));
    act(test.name, test.overwrites, test.deletes);
    EXPECT_EQ(banner(), test.banner);
    EXPECT_TRUE(isSuccess());
    EXPECT_EQ(names(), test.files);
    const PHAsset after = asset(test.changed);
    const std::string changed = contentOf(path(test.changed));
    EXPECT_THAT(changed, Not(HasSubstr("SECRET")));
    const bool isVideo = before.mediaType == PHAssetMediaTypeVideo;
    EXPECT_EQ(changed.find("FRAMES AND SOUND") != std::string::npos, isVideo);
    EXPECT_FALSE(after.location);
    EXPECT_EQ(after.creationDate, before.creationDate);
    EXPECT_EQ(album(), test.overwrites ? Names{} : Names{test.changed}) << "only copies";
    EXPECT_THAT(entries(temporary()), IsEmpty());
    expectWhole();
    if (!test.overwrites) return;
    const auto original = library_->original(before.localIdentifier);
    ASSERT_TRUE(original);
    EXPECT_EQ(original->adjustmentData.formatIdentifier, "org.tessaly.tessaly.removeExif");
    EXPECT_EQ(original->adjustmentData.formatVersion, "1.0");
    EXPECT_EQ(textOf(original->adjustmentData.data), "removedEXIF");
    EXPECT_EQ(change([&] { request(after).revertAssetContentToOriginal(); }), "");
    EXPECT_EQ(contentOf(path(test.name)), bytes) << "brought back";
}

const std::string kImageCopied = "Successfully created new copy of image without exif data",
                  kVideoCopied = "Successfully created new copy of Video without Location data",
                  kImageCleaned = "Successfully removed exif data from same image";
const RemovalCase kRemovals[] = {
    {"a copy", "a.jpg", false, false, "a 2.jpg", {"a 2.jpg", "a.jpg", "m.mov"}, kImageCopied},
    {"instead", "a.jpg", false, true, "a 2.jpg", {"a 2.jpg", "m.mov"}, kImageCopied + " and deleted original image"},
    {"in place", "a.jpg", true, false, "a.jpg", {"a.jpg", "m.mov"}, kImageCleaned},
    {"in place there is nothing to delete", "a.jpg", true, true, "a.jpg", {"a.jpg", "m.mov"}, kImageCleaned},
    {"a video", "m.mov", false, false, "m 2.mov", {"a.jpg", "m 2.mov", "m.mov"}, kVideoCopied},
    {"instead", "m.mov", false, true, "m 2.mov", {"a.jpg", "m 2.mov"}, kVideoCopied + " and deleted original Video"},
    {"in place",
     "m.mov",
     true,
     false,
     "m.mov",
     {"a.jpg", "m.mov"},
     "Successfully removed Location data from same Video"},
};
INSTANTIATE_TEST_SUITE_P(LibraryActions, Removals, testing::ValuesIn(kRemovals));

TEST_F(LibraryActions, FailuresAreToldAndChangeNothing) {
    write("raw.x3f", ByteString("FOVb").add(std::string(60, '\0')));
    write("gone.jpg", photo(9));
    write("lost.mov", movie(9));
    library_->scan();
    const auto expectFailure = [&](const char* why, const char* name, bool overwrites, const std::string& expected) {
        const auto files = contents();
        act(name, overwrites, true);
        EXPECT_THAT(banner(), StartsWith(expected)) << why;
        EXPECT_FALSE(isSuccess()) << why;
        EXPECT_EQ(contents(), files) << why;
        EXPECT_THAT(album(), IsEmpty()) << why;
    };
    for (const bool overwrites : {false, true}) {
        expectFailure("a raw that cannot be stripped", "raw.x3f", overwrites, "Error : This file cannot be changed");
        if (::geteuid() == 0) continue;  // Who may everything is not stopped by this.
        fs::permissions(photos(), fs::perms::owner_read | fs::perms::owner_exec);
        expectFailure("a folder that nobody may write to", "a.jpg", overwrites, "Error : ");
        fs::permissions(photos(), fs::perms::owner_all);
    }
    expectWhole();
    for (const char* name : {"gone.jpg", "lost.mov"}) fs::remove(path(name));
    for (const bool overwrites : {false, true}) {
        expectFailure("a photo that is gone", "gone.jpg", overwrites, "Error : ");
        expectFailure("a video that is gone", "lost.mov", overwrites, "Error : ");
    }
    EXPECT_THAT(pendingFiles(), IsEmpty());
}

TEST_F(LibraryActions, OfARawAllGoesThatTellsOfAPerson) {
    const ByteString raw = TiffBuilder()
                               .raw(TiffBuilder::first, 0xC612, 1, 4, "\1\4\0\0"_z)
                               .shorts(TiffBuilder::first, 0x0100, {64})
                               .shorts(TiffBuilder::first, 0x0101, {48})
                               .text(TiffBuilder::first, 0x013B, "SECRET artist")
                               .build();
    write("raw.dng", raw);
    library_->scan();
    act("raw.dng", true, false);
    EXPECT_EQ(banner(), "Successfully removed exif data from same image");
    EXPECT_EQ(contentOf(path("raw.dng")), textOf(dataWithoutAnyMetadata(dataOf(raw))));
    EXPECT_THAT(contentOf(path("raw.dng")), Not(HasSubstr("SECRET")));
}

// The place alone goes, from photos and videos, and the page speaks of what is there now.
TEST_F(LibraryActions, RemoveLocationTakesThePlaceAlone) {
    const auto host = std::make_shared<UIViewController>();
    host->presentViewController(screen, true);
    finish();  // Its controls are connected.
    const std::string copied = "Successfully created new copy of ",
                      removed = "Successfully removed Location data from ";
    for (const auto& [name, overwrites, changed, expected] :
         {std::tuple{"a.jpg", false, "a 2.jpg", copied + "image without Location data"},
          std::tuple{"a.jpg", true, "a.jpg", removed + "same image"},
          std::tuple{"m.mov", false, "m 2.mov", copied + "Video without Location data"},
          std::tuple{"m.mov", true, "m.mov", removed + "same Video"}}) {
        SCOPED_TRACE(expected);
        const std::string bytes = contentOf(path(name));
        const auto shown = recordOfAsset(name);
        show({shown});
        screen->overwriteSwitch->setOn(overwrites);
        screen->deleteOriginalPhotoAfterRemovingExifSwitch->setOn(false);
        screen->removeLocationButton->sendAction();
        finish();
        EXPECT_EQ(banner(), expected);
        EXPECT_THAT(contentOf(path(changed)), HasSubstr("SECRET")) << "nothing but the place";
        EXPECT_FALSE(asset(changed).location);
        EXPECT_EQ(screen->currentRecord() == shown, !overwrites) << "a copy leaves the page";
        EXPECT_EQ(screen->currentRecord()->phAsset->location, asset(name).location);
        if (!overwrites) continue;
        EXPECT_EQ(change([&] { request(asset(name)).revertAssetContentToOriginal(); }), "");
        EXPECT_EQ(contentOf(path(name)), bytes) << "brought back";
    }
    const auto before = contents();
    for (const auto& [name, overwrites] :
         {std::pair{"a 2.jpg", false}, {"a 2.jpg", true}, {"m 2.mov", false}, {"m 2.mov", true}}) {
        show({recordOfAsset(name)});
        screen->overwriteSwitch->setOn(overwrites);
        screen->removeLocationButton->sendAction();
        finish();
        EXPECT_EQ(banner(), "No Location data") << name;
        EXPECT_EQ(contents(), before) << name;
        EXPECT_FALSE(library_->original(asset(name).localIdentifier)) << name;
    }
    EXPECT_THAT(entries(temporary()), IsEmpty());
}

// What would still tell something is named once the removal is done, and goes with one touch.
TEST_F(LibraryActions, RemoveExifNamesWhatIsLeft) {
    std::string commented(placedPhoto().text());
    commented.insert(2, jpegSegment(0xFE, "COMMENT of a person").text());
    write("a.jpg", commented);
    library_->scan();
    for (const bool overwrites : {false, true}) {
        SCOPED_TRACE(overwrites);
        const char* const changed = overwrites ? "a.jpg" : "a 2.jpg";
        act("a.jpg", overwrites, false);
        EXPECT_THAT(contentOf(path(changed)), HasSubstr("COMMENT"));
        const auto alert = presenter.last<UIAlertController>();
        ASSERT_TRUE(alert);
        EXPECT_EQ(alert->message(), "This is still inside: Texts and comments");
        ASSERT_TRUE(choose("Remove this too"));
        finish();
        EXPECT_EQ(banner(), "Successfully removed exif data from same image");
        EXPECT_THAT(contentOf(path(changed)), Not(HasSubstr("COMMENT")));
        EXPECT_THAT(screen->currentRecord()->shortExifStringsForShare(), Not(HasSubstr("SECRET")));
    }
}

TEST_F(LibraryActions, ACopyStaysWhenTheOriginalCannotBeDeleted) {
    library_->confirmsDeletion = nullptr;
    act("a.jpg", false, true);
    EXPECT_EQ(banner(),
              "Successfully created new copy of image without exif data. However deleting original image failed. "
              "Details - the deletion was not confirmed");
    EXPECT_FALSE(isSuccess());
    act("m.mov", false, true);
    EXPECT_EQ(banner(),
              "Successfully created new copy of Video without Location data.However deleting original image failed. "
              "Details - the deletion was not confirmed");
    EXPECT_THAT(names(), ElementsAre("a 2.jpg", "a.jpg", "m 2.mov", "m.mov"));
    EXPECT_THAT(album(), testing::UnorderedElementsAre("a 2.jpg", "m 2.mov"));
    screen->deletePhotoButtonTapped();
    ASSERT_TRUE(choose("Delete Photo"));
    finish();
    EXPECT_EQ(banner(), "Deleting image failed. Details - the deletion was not confirmed");
    EXPECT_FALSE(isSuccess() || screen->dataSource->exifDataItemsArray.empty());
}

TEST_F(LibraryActions, DeletingAsksAndTakesThePageAway) {
    const auto navigation = std::make_shared<UINavigationController>();
    navigation->pushViewController(std::make_shared<UIViewController>(), false);
    screen->isInContainingApp = true;
    navigation->pushViewController(screen, false);
    const auto video = recordOfAsset("m.mov");
    show({recordOfAsset("a.jpg"), video});
    screen->deletePhotoButtonTapped();
    const auto alert = presenter.last<UIAlertController>();
    ASSERT_TRUE(alert);
    EXPECT_EQ(alert->title(), "Delete Photo");
    EXPECT_THAT(titles(*alert), ElementsAre("Cancel", "Delete Photo"));
    EXPECT_EQ(alert->actions()[1].style, UIAlertActionStyle::destructive);
    alert->userCancelled();
    EXPECT_FALSE(isBusy());
    EXPECT_THAT(names(), ElementsAre("a.jpg", "m.mov"));

    screen->deletePhotoButtonTapped();
    ASSERT_TRUE(choose("Delete Photo"));
    finish();
    EXPECT_EQ(banner(), "Successfully deleted image");
    EXPECT_THAT(screen->dataSource->exifDataItemsArray, ElementsAre(video));
    EXPECT_THAT(names(), ElementsAre("m.mov"));
    EXPECT_EQ(navigation->topViewController(), screen);
    screen->hideMessageView();

    screen->deletePhotoButtonTapped();
    ASSERT_TRUE(choose("Delete Photo"));
    finish();
    EXPECT_EQ(banner(), "") << "the screen is gone";
    EXPECT_NE(navigation->topViewController(), screen);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(LibraryActions, AMovieIsPlayedFromWhereTheLibraryKeepsIt) {
    const auto record = recordOfAsset("m.mov");
    record->setMediaType(PHAssetMediaTypeVideo);
    screen->didTapOnImageViewForItem(record);
    std::shared_ptr<AVPlayerViewController> player;
    ASSERT_TRUE(DispatchQueue::pumpMainQueueUntil(
        [&] { return (player = presenter.last<AVPlayerViewController>()) != nullptr; }, std::chrono::seconds(20)));
    EXPECT_EQ(player->player()->url().path(), path("m.mov"));
    EXPECT_TRUE(player->player()->isPlaying());
}

TEST_F(LibraryActions, EditingIsAStepWithTheRecord) {
    struct Editor : UIViewController {};
    UIStoryboard::registerScene("toEditExif", [] { return std::make_shared<Editor>(); });
    show({recordOfAsset("a.jpg")});
    screen->editEXIFButtonTapped();
    EXPECT_TRUE(presenter.last<Editor>());
}

}  // namespace
}  // namespace tessaly::test
