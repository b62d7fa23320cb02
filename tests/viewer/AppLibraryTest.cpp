#include <gtest/gtest.h>

#include <chrono>

#include "linux/photos/PhotoLibrary.h"
#include "platform/Foundation/Dispatch.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "viewer/AppLibrary.h"

namespace tessaly::viewer {
namespace {

using namespace test;
using namespace std::chrono_literals;

class AppLibraryTest : public testing::Test {
protected:
    AppLibraryTest() {
        for (const char* name : {"a", "b", "c"}) {
            // Of different sizes: one file twice would be one photo.
            folder_.write(std::string("photos/") + name + ".jpg", jpeg({}, 64, 48 + static_cast<unsigned>(name[0])));
        }
        std::string error;
        library_ = photos::PhotoLibrary::open((folder_.path() / "library").string(), error);
        EXPECT_EQ(error, "");
        EXPECT_EQ(library_->addFolder((folder_.path() / "photos").string()), "");
        static_cast<void>(library_->scan());
        PHPhotoLibrary::setSharedPhotoLibrary(library_);
    }
    ~AppLibraryTest() override { PHPhotoLibrary::setSharedPhotoLibrary(nullptr); }

    [[nodiscard]] std::string path(const std::string& name) const {
        return (folder_.path() / "photos" / name).string();
    }
    [[nodiscard]] std::string identifier(const std::string& name) const {
        return library_->identifierOfFile(path(name)).value_or("none of " + name);
    }

    /// Opens, and waits for the answer and for the detail screen if there is one to come.
    void open(AppLibrary& app, const std::vector<std::string>& arguments, std::size_t page, bool isShown = true) {
        std::optional<std::vector<Complaint>> told;
        const std::size_t before = app.navigation()->viewControllers().size();
        app.open(arguments, page, [&](const std::vector<Complaint>& complaints) { told = complaints; });
        ASSERT_TRUE(DispatchQueue::pumpMainQueueUntil(
            [&] { return told && (!isShown || app.navigation()->viewControllers().size() > before); }, 10s));
        complaints_ = *told;
    }
    [[nodiscard]] static std::shared_ptr<ExifPhotoDetailViewController> screenOf(const AppLibrary& app) {
        return std::dynamic_pointer_cast<ExifPhotoDetailViewController>(app.navigation()->topViewController());
    }

    TemporaryFolder folder_;
    std::shared_ptr<photos::PhotoLibrary> library_;
    std::vector<Complaint> complaints_;
};

TEST_F(AppLibraryTest, FindsPhotosOfFilesFoldersAndURLs) {
    const std::string a = identifier("a.jpg"), b = identifier("b.jpg"), c = identifier("c.jpg");
    const std::string stranger = folder_.write("stranger.jpg", jpeg({}));
    const std::string url = "tessalyapp://allphotos?phAssetsLocalIDCommaSeparated=";
    const std::string gone = "00000000-0000-0000-0000-000000000000/L0/001";
    const struct {
        const char* why;
        std::vector<std::string> arguments;
        std::vector<std::string> identifiers;
        std::size_t position;
        std::size_t complaints;
    } cases[] = {
        {"files, in their order", {path("c.jpg"), "file://" + path("a.jpg")}, {c, a}, 0, 0},
        {"a folder", {path("")}, {a, b, c}, 0, 0},
        {"a file elsewhere", {stranger, path("b.jpg")}, {b}, 0, 1},
        {"no file at all", {path("missing.jpg"), "-"}, {}, 0, 2},
        {"a URL", {url + a + "," + b + "&currentPosition=1"}, {a, b}, 1, 0},
        {"photos that have gone", {url + gone + "," + a + "," + b + "&currentPosition=2"}, {a, b}, 1, 1},
        {"the one to start with has gone", {url + a + "," + gone + "&currentPosition=1"}, {a}, 0, 1},
        {"all have gone", {url + gone}, {}, 0, 1},
        {"a URL of nothing", {"tessalyapp://"}, {}, 0, 1},
    };
    for (const auto& [why, arguments, identifiers, position, complaints] : cases) {
        const LibrarySelection selection = selectInLibrary(arguments);
        EXPECT_EQ(selection.identifiers, identifiers) << why;
        EXPECT_EQ(selection.position, position) << why;
        EXPECT_EQ(selection.complaints.size(), complaints) << why;
    }
}

TEST_F(AppLibraryTest, PushesDetailScreensAndGoesBack) {
    int left = 0;
    AppLibrary app([&] { ++left; });
    open(app, {}, 1);
    auto screen = screenOf(app);
    ASSERT_TRUE(screen);
    EXPECT_TRUE(screen->isInContainingApp);
    EXPECT_EQ(screen->dataSource->exifDataItemsArray.size(), 3U) << "the whole library";
    EXPECT_EQ(screen->currentIndexPath->item, 1U);

    open(app, {"tessalyapp://allphotos?phAssetsLocalIDCommaSeparated=" + identifier("b.jpg")}, 0);
    screen = screenOf(app);
    ASSERT_EQ(screen->dataSource->exifDataItemsArray.size(), 1U);
    EXPECT_EQ(screen->dataSource->exifDataItemsArray[0]->phAsset->localIdentifier, identifier("b.jpg"));
    app.goBack();
    EXPECT_EQ(left, 0) << "to the screen that was there before";
    app.goBack();
    EXPECT_EQ(left, 1);
}

TEST_F(AppLibraryTest, SaysThatThereIsNothingUntilAFolderIsAdded) {
    AppLibrary app([] {});
    open(app, {folder_.path() / "missing.jpg"}, 0, false);
    EXPECT_EQ(complaints_.size(), 1U);
    EXPECT_EQ(library_->removeFolder((folder_.path() / "photos").string()), "");
    open(app, {}, 0, false);
    EXPECT_EQ(complaints_.size(), 1U);
    EXPECT_FALSE(screenOf(app));
    EXPECT_TRUE(app.foundNothing() && !app.showsPhotos());

    const auto add = [&](const std::string& folder) {
        std::optional<std::vector<Complaint>> told;
        app.addFolder(folder, [&](const std::vector<Complaint>& complaints) { told = complaints; });
        EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return told.has_value(); }, 10s)) << folder;
        return told.value_or(std::vector<Complaint>());
    };
    const auto refused = add(folder_.path() / "nowhere");
    ASSERT_EQ(refused.size(), 1U);
    EXPECT_TRUE(refused[0].name.ends_with("/nowhere") && !refused[0].what.empty());
    EXPECT_TRUE(app.foundNothing());
    EXPECT_TRUE(add(folder_.path() / "photos").empty());
    ASSERT_TRUE(screenOf(app)) << "its photos are there at once";
    EXPECT_EQ(screenOf(app)->dataSource->exifDataItemsArray.size(), 3U);
    EXPECT_TRUE(app.showsPhotos() && !app.foundNothing());
}

}  // namespace
}  // namespace tessaly::viewer
