#include <QAccessible>

#include "WindowFixture.h"
#include "linux/photos/PhotoLibrary.h"
#include "platform/ImageIO/MetadataRewrite.h"
#include "platform/UIKit/UIAlertController.h"
#include "settings/PersistanceManager.h"

/// The bar of a library's photo: every control pressed, and what came of it.
namespace tessaly::test {
namespace {

class ActionBar : public WindowTest {
protected:
    ActionBar() {
        // With a comment, which is none of what Remove EXIF is about.
        folder.write("photos/lake.jpg", contentOf(TESSALY_SAMPLE).insert(2, std::string("\xFF\xFE\0\x08SECRET", 10)));
        std::string error;
        library_ = photos::PhotoLibrary::open((folder.path() / "library").string(), error);
        EXPECT_EQ(library_->addFolder((folder.path() / "photos").string()), "");
        static_cast<void>(library_->scan());
        library_->confirmsDeletion = [](const auto&) { return true; };
        PHPhotoLibrary::setSharedPhotoLibrary(library_);
        settings().setOverwriteImageForExifChange(false);
        settings().setDeleteOriginalPhotoAfterCreatingImageWithoutExif(false);
    }
    ~ActionBar() override {
        settings().setOverwriteImageForExifChange(false);
        settings().setDeleteOriginalPhotoAfterCreatingImageWithoutExif(false);
        PHPhotoLibrary::setSharedPhotoLibrary(nullptr);
    }
    static PersistanceManager& settings() { return PersistanceManager::sharedInstance(); }

    void openPhoto() {
        const auto record = std::make_shared<ExifInformation>();
        record->phAsset = library_->assets(PHFetchOptions()).firstObject();
        ASSERT_TRUE(record->phAsset);
        record->setFileNameCached("lake.jpg");
        detail = ExifPhotoDetailViewController::create();
        detail->isInContainingApp = true;
        detail->dataSource->exifDataItemsArray = {record};
        show(detail);
        ASSERT_TRUE(waitFor([this] { return bar() && header(); }));
    }
    [[nodiscard]] QQuickItem* bar() const {
        const Items bars = itemsOf(root(), "ActionBar");
        return bars.empty() ? nullptr : bars.front();
    }
    [[nodiscard]] static QString told(QQuickItem* item, QAccessible::Text text) {
        return QAccessible::queryAccessibleInterface(item)->text(text);
    }
    [[nodiscard]] double above() const { return window().height() - sceneRect(*bar()).top(); }
    [[nodiscard]] QQuickItem* toggle(const QString& name) const {
        for (QQuickItem* const item : itemsOf(*bar(), "OutletSwitch"))
            if (item->property("name") == name) return item;
        return nullptr;
    }
    void open(QQuickItem* arrow) {
        const double before = above();
        tap(arrow);
        ASSERT_TRUE(waitFor([&] { return above() > before; }));
        waitForRest(*bar());
    }
    bool waitForMessage(const QString& text) {
        return waitFor([&] { return textReading(root(), text) != nullptr; });
    }
    [[nodiscard]] static std::vector<std::string> leftIn(const std::string& path, MetadataChange::Removal removal) {
        return metadataLeft(path, {.removal = removal, .removes = {}, .values = {}}).value();
    }
    [[nodiscard]] std::string path(const std::string& name = "lake.jpg") const {
        return (folder.path() / "photos" / name).string();
    }

    std::shared_ptr<photos::PhotoLibrary> library_;
};

TEST_F(ActionBar, DrawerHasTheSwitchesOfTheSettings) {
    openPhoto();
    QQuickItem* const arrow = buttonsBelow(*bar()).back();
    QQuickItem* const overwrite = toggle("Overwrite");
    QQuickItem* const deletes = toggle("Delete Original image");
    ASSERT_TRUE(overwrite && deletes);
    EXPECT_EQ(above(), 75) << "the four actions alone";
    EXPECT_EQ(list()->contentInset(), (UIEdgeInsets{0, 0, 75, 0})) << "no row stays behind them";
    EXPECT_FALSE(overwrite->isEnabled()) << "out of sight, out of the keyboard's reach";
    EXPECT_EQ(told(arrow, QAccessible::Name), "Options");
    EXPECT_EQ(told(arrow, QAccessible::Description), "Collapsed");
    open(arrow);
    EXPECT_EQ(above(), 190);
    EXPECT_EQ(told(arrow, QAccessible::Description), "Expanded");
    tap(deletes);
    EXPECT_TRUE(settings().deleteOriginalPhotoAfterCreatingImageWithoutExif());
    deletes->forceActiveFocus();
    press(Qt::Key_Space);
    EXPECT_FALSE(settings().deleteOriginalPhotoAfterCreatingImageWithoutExif());
    tap(overwrite);
    EXPECT_TRUE(settings().overwriteImageForExifChange());
    waitForRest(*bar());
    EXPECT_EQ(above(), 148) << "what is overwritten leaves no original to delete";
    overwrite->forceActiveFocus();
    press(Qt::Key_Return);
    EXPECT_FALSE(settings().overwriteImageForExifChange());
    tap(arrow);
    EXPECT_TRUE(waitFor([this] { return above() == 75; }));
}

TEST_F(ActionBar, EveryActionDoesWhatItSays) {
    const struct {
        const char* action;
        const char* message;
        MetadataChange::Removal removal;
    } removals[] = {
        {"Remove Location", "Successfully removed Location data from same image", MetadataChange::Removal::place},
        {"Remove EXIF", "Successfully removed exif data from same image", MetadataChange::Removal::everything},
    };
    settings().setOverwriteImageForExifChange(true);
    openPhoto();
    for (const auto& [action, message, removal] : removals) {
        EXPECT_FALSE(leftIn(path(), removal).empty()) << action;
        tap(buttonNamed(root(), action));
        EXPECT_TRUE(waitForMessage(message)) << action;
        if (removal == MetadataChange::Removal::everything) {
            const QString too = QStringLiteral("Remove this too");
            ASSERT_TRUE(waitFor([&] { return buttonNamed(layer(), too) != nullptr; })) << "what is left is named";
            tap(buttonNamed(layer(), too));
            EXPECT_TRUE(waitFor([&] { return leftIn(path(), removal).empty(); }));
            EXPECT_TRUE(waitUntilAlone());
        }
        EXPECT_TRUE(waitFor([&] { return !window_->host().hud()->isShown(); }));
        EXPECT_TRUE(leftIn(path(), removal).empty()) << action;
    }
    for (const char* answer : {"Cancel", "Delete Photo"}) {
        tap(buttonNamed(root(), "Delete Photo"));
        ASSERT_TRUE(waitFor([&] { return buttonNamed(layer(), answer) != nullptr; })) << answer;
        EXPECT_TRUE(std::filesystem::exists(path())) << "asks before";
        EXPECT_EQ(told(itemsOf(layer(), "AlertSheet").at(0), QAccessible::Description), "lake.jpg");
        tap(buttonNamed(layer(), answer));
        EXPECT_TRUE(waitUntilAlone());
    }
    EXPECT_TRUE(waitFor([this] { return !std::filesystem::exists(path()); }));
    EXPECT_TRUE(detail->dataSource->exifDataItemsArray.empty()) << "and its page goes";
}

}  // namespace
}  // namespace tessaly::test
