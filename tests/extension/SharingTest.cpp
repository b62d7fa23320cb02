#include <cstdlib>
#include <filesystem>

#include "ActionsFixture.h"
#include "acquisition/TemporaryImageFile.h"
#include "platform/ImageIO/MetadataRewrite.h"
#include "platform/UIKit/UIActivityViewController.h"

namespace tessaly::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

ByteString describedPhoto() {
    return photo(
        1, TiffBuilder().text(TiffBuilder::first, 0x013B, "SECRET artist").shorts(TiffBuilder::first, 0x0112, {6}));
}

ByteString photoWithComment() {
    return jpeg(
        {jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(TiffBuilder().text(TiffBuilder::first, 0x013B, "X").build())),
         jpegSegment(0xFE, "SECRET comment")});
}

ByteString photoWithPacket() {
    const ByteString words = xmp(R"(xmlns:note="urn:note" note:diary="SECRET note")");
    return jpeg({jpegSegment(0xE1, ByteString("http://ns.adobe.com/xap/1.0/\0"_z).add(words))});
}

ByteString photoWithAddress() {
    return jpeg({jpegSegment(0xED, ByteString("Photoshop 3.0\0"_z).add(psdResource(0x040B, "SECRET address")))});
}

ByteString motionPhoto() {
    return ByteString(contentOf(TESSALY_SEEDS "/heif/mdat.heic")).add(box("mpvd", {"SECRET motion"}));
}

/// A packet stays in it whatever goes, for what it says of the gain map.
ByteString photoWithGainMap() {
    const auto packet = [](std::string_view rest) {
        const std::string map = R"(xmlns:hdrgm="http://ns.adobe.com/hdr-gain-map/1.0/" hdrgm:Version="1.0" )";
        return jpegSegment(0xE1, ByteString("http://ns.adobe.com/xap/1.0/\0"_z).add(xmp(map + std::string(rest))));
    };
    const ByteString map = jpeg({packet(R"(hdrgm:GainMapMax="3.5")")}, 16, 12);
    const auto build = [&](std::uint32_t mapAt) {
        ByteString index("MPF\0MM\0*\0\0\0\x08\0\1\xB0\2\0\7"_z);
        index.u32(32).u32(26).u32(0).u32(0x030000).u32(0).u32(0).u32(0);
        index.u32(0).u32(static_cast<std::uint32_t>(map.size())).u32(mapAt).u32(0);
        return jpeg({packet(R"(xmlns:note="urn:note" note:diary="SECRET note")"), jpegSegment(0xE2, index)});
    };
    const std::string alone(build(0).text());
    const auto mapAt = static_cast<std::uint32_t>(alone.size() - alone.find(std::string("MM\0*", 4)));
    return build(mapAt).add(map);
}

ByteString raw() {
    return TiffBuilder()
        .raw(TiffBuilder::first, 0xC612, 1, 4, "\1\4\0\0"_z)
        .shorts(TiffBuilder::first, 0x0100, {64})
        .shorts(TiffBuilder::first, 0x0101, {48})
        .text(TiffBuilder::first, 0x013B, "SECRET artist")
        .build();
}

ByteString pngWithText() { return png({pngChunk("tEXt", "Disclaimer\0SECRET author"_z)}); }

class Sharing : public ActionsTest {
protected:
    [[nodiscard]] std::string file(const std::string& name, const ByteString& content) const {
        return folder_.write("in/" + name, content.text());
    }
    [[nodiscard]] ExifInformationRef record(const std::string& name, const ByteString& content) const {
        return recordOfFile(file(name, content));
    }
    [[nodiscard]] static ExifInformationRef ofType(std::int64_t type) {
        auto record = std::make_shared<ExifInformation>();
        record->setMediaType(type);
        return record;
    }
    void openMenu() const { screen->shareAction(nullptr); }
    void chooseFromMenu(std::string_view title) const {
        openMenu();
        ASSERT_TRUE(choose(title)) << title;
        finish();
    }
    [[nodiscard]] std::vector<UIActivityItem> shared() const {
        const auto sheet = presenter.last<UIActivityViewController>();
        EXPECT_TRUE(sheet) << "no share sheet";
        return sheet ? sheet->activityItems() : std::vector<UIActivityItem>();
    }
    static std::string bytesOf(const UIActivityItem& item) {
        const Data* data = std::get_if<Data>(&item.content);
        return data ? textOf(*data) : "(a text)";
    }
};

TEST_F(Sharing, MenuOffersWhatCanBeDone) {
    constexpr std::int64_t kPhoto = PHAssetMediaTypeImage, kVideo = PHAssetMediaTypeVideo, kUnknown = 0;
    const Names one{"Share without EXIF", "Share with EXIF", "Copy EXIF data to clipboard", "Cancel"};
    const Names two{"Share 2 Photos without EXIF", "Share without EXIF", "Share with EXIF",
                    "Copy EXIF data to clipboard", "Cancel"};
    const Names video{"Copy EXIF data to clipboard", "Cancel"};
    struct Case {
        const char* why;
        std::vector<std::int64_t> types;
        std::size_t current;
        const char* system;
        bool isApp;
        Names titles;
    };
    const Case cases[] = {
        {"one photo", {kPhoto}, 0, "17.0", false, one},
        {"a video is no second photo", {kPhoto, kVideo}, 0, "17.0", false, one},
        {"what has no type is", {kPhoto, kUnknown, kVideo}, 1, "11.0", false, two},
        {"on a video's page of two photos",
         {kPhoto, kVideo, kPhoto},
         1,
         "11.2",
         false,
         {"Share 2 Photos without EXIF", "Copy EXIF data to clipboard", "Cancel"}},
        {"9.3 is below 11.0", {kPhoto, kPhoto}, 0, "9.3", false, one},
        {"a video alone", {kVideo}, 0, "17.0", false, video},
        {"in the app",
         {kPhoto, kPhoto},
         0,
         "17.0",
         true,
         {"Share without EXIF", "Share with EXIF", "Open in", "Copy EXIF data to clipboard", "Cancel"}},
    };
    for (const Case& test : cases) {
        UIDevice::currentDevice().systemVersion = test.system;
        screen->isInContainingApp = test.isApp;
        std::vector<ExifInformationRef> records;
        for (const std::int64_t type : test.types) records.push_back(ofType(type));
        show(records, test.current);
        openMenu();
        const auto sheet = presenter.last<UIAlertController>();
        ASSERT_TRUE(sheet) << test.why;
        EXPECT_EQ(titles(*sheet), test.titles) << test.why;
        EXPECT_EQ(sheet->title() + sheet->message(), "");
        EXPECT_EQ(sheet->preferredStyle(), UIAlertControllerStyle::actionSheet);
        EXPECT_EQ(sheet->actions().back().style, UIAlertActionStyle::cancel);
    }
}

// What tells nothing any more leaves at once; what does is named first, and the person decides.
std::string strippedOf(const ByteString& file) {
    return textOf(
        rewriteMetadata(dataOf(file), {.removal = MetadataChange::Removal::everything, .removes = {}, .values = {}}));
}

TEST_F(Sharing, WithoutMetadataNamesWhatIsLeft) {
    struct Case {
        const char* name;
        ByteString content;
        const char* left;
    };
    const Case cases[] = {
        {"plain.jpg", photo(1), ""},
        {"turned.jpg", describedPhoto(), ""},
        {"plain.png", png({}), ""},
        {"comment.jpg", photoWithComment(), "Texts and comments"},
        {"text.png", pngWithText(), "Texts and comments"},
        {"packet.jpg", photoWithPacket(), "XMP data"},
        {"address.jpg", photoWithAddress(), "Texts and comments"},
        {"motion.heic", motionPhoto(), "Embedded video"},
        {"gain.jpg", photoWithGainMap(), "XMP data"},
        {"raw.dng", raw(), ""},
        {"unknown.jpg", jpeg({jpegSegment(0xEA, ByteString(std::string(2000, 's')))}), "Other hidden data"},
    };
    for (const auto& [name, content, left] : cases) {
        SCOPED_TRACE(name);
        show({record(name, content)});
        for (const std::string_view answer : {"Cancel", "Share as it is", "Remove this too"}) {
            chooseFromMenu("Share without EXIF");
            const bool asks = *left != '\0';
            if (asks) {
                const auto alert = presenter.last<UIAlertController>();
                ASSERT_TRUE(alert);
                EXPECT_EQ(alert->preferredStyle(), UIAlertControllerStyle::alert);
                EXPECT_EQ(alert->message(), std::string("This is still inside: ") + left);
                ASSERT_TRUE(choose(answer));
                if (answer == "Cancel") {
                    EXPECT_FALSE(presenter.last<UIActivityViewController>()) << "nothing left";
                    continue;
                }
            }
            const auto items = shared();
            ASSERT_EQ(items.size(), 1U);
            EXPECT_EQ(items[0].suggestedName, name);
            const std::string bytes = bytesOf(items[0]);
            const TemporaryFolder folder;
            const auto rest =
                metadataLeft(folder.write("out", bytes),
                             {.removal = MetadataChange::Removal::everything, .removes = {}, .values = {}});
            ASSERT_TRUE(rest);
            if (asks && answer == "Share as it is")
                EXPECT_THAT(*rest, Not(IsEmpty()));
            else
                EXPECT_EQ(bytes, strippedOf(content)) << "what the command line writes";
        }
    }
}

TEST_F(Sharing, OfSeveralKeepsTheOrderAndLeavesOutWhatCannotBeStripped) {
    const auto missing = record("gone.jpg", photo(3));
    std::filesystem::remove(missing->imageFilePathURL.path());
    show({record("b.jpg", photo(2)), record("text.png", pngWithText()), record("no.jpg", ByteString("no picture")),
          missing, ofType(PHAssetMediaTypeVideo), record("a.jpg", photoWithPacket()), record("raw.dng", raw())});
    for (const bool fromMenu : {true, false}) {
        SCOPED_TRACE(fromMenu);
        if (!fromMenu) screen->shareAllWithoutMetadata();
        fromMenu ? chooseFromMenu("Share 6 Photos without EXIF") : finish();
        const auto alert = presenter.last<UIAlertController>();
        ASSERT_TRUE(alert);
        EXPECT_EQ(alert->message(), "This is still inside: Texts and comments, XMP data") << "of all, once";
        ASSERT_TRUE(choose("Remove this too"));
        Names names;
        for (const UIActivityItem& item : shared()) {
            names.push_back(item.suggestedName);
            EXPECT_THAT(bytesOf(item), Not(HasSubstr("SECRET")));
        }
        EXPECT_THAT(names, ElementsAre("b.jpg", "text.png", "a.jpg", "raw.dng"));
        EXPECT_EQ(banner(), "Photos that could not be shared: 2");
        presenter.presented.clear();
    }
    show({ofType(PHAssetMediaTypeVideo)});
    screen->shareAllWithoutMetadata();
    EXPECT_EQ(banner(), "There is nothing to share");
}

TEST_F(Sharing, NothingThatCouldBeStripped) {
    show({record("a.jpg", ByteString("no picture")), record("b.jpg", ByteString("neither"))});
    chooseFromMenu("Share 2 Photos without EXIF");
    EXPECT_EQ(presenter.presented.size(), 1U) << "the menu alone";
    EXPECT_EQ(banner(), "Photos that could not be shared: 2");
    chooseFromMenu("Share without EXIF");
    EXPECT_THAT(shared(), IsEmpty());
    EXPECT_EQ(banner(), "Error : This file cannot be changed");
    EXPECT_FALSE(isSuccess());
    std::filesystem::remove(folder_.path() / "in/a.jpg");
    chooseFromMenu("Share without EXIF");
    EXPECT_EQ(banner(), "This photo is no longer there.");
}

TEST_F(Sharing, WithMetadataSharesTheFileAndItsText) {
    const auto shown = record("a.jpg", describedPhoto());
    show({shown});
    chooseFromMenu("Share with EXIF");
    const auto items = shared();
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(bytesOf(items[0]), describedPhoto().text());
    EXPECT_EQ(items[0].suggestedName, "a.jpg");
    EXPECT_EQ(std::get<std::string>(items[1].content), shown->shortExifStringsForShare());
    EXPECT_THAT(presenter.last<UIActivityViewController>()->excludedActivityTypes,
                ElementsAre("com.apple.UIKit.activity.AssignToContact", "com.apple.UIKit.activity.CopyToPasteboard",
                            "com.apple.UIKit.activity.PostToWeibo"));
    show({ExifManager::exifInformationFromNSData(dataOf(describedPhoto()))});
    chooseFromMenu("Share with EXIF");
    EXPECT_EQ(bytesOf(shared().at(0)), describedPhoto().text());
    EXPECT_EQ(shared()[0].suggestedName, "Image.JPG") << "came without a file";
}

TEST_F(Sharing, InTheAppTakesTheLibrarysFile) {
    write("a.jpg", describedPhoto());
    library_->scan();
    screen->isInContainingApp = true;
    show({recordOfAsset("a.jpg")});
    chooseFromMenu("Share with EXIF");
    EXPECT_EQ(bytesOf(shared().at(0)), describedPhoto().text());
    chooseFromMenu("Share without EXIF");
    ASSERT_EQ(shared().size(), 1U);
    EXPECT_THAT(bytesOf(shared()[0]), Not(HasSubstr("SECRET")));
}

TEST_F(Sharing, OnATabletPointsAtSomething) {
    UITraitCollection::currentTraitCollection().setUserInterfaceIdiom(UIUserInterfaceIdiom::pad);
    show({record("a.jpg", photo(1))});
    openMenu();
    EXPECT_EQ(presenter.presented.back()->popoverPresentationController.sourceView, screen->view());
    screen->showActivityViewControllerWithItems({});
    EXPECT_EQ(presenter.presented.back()->popoverPresentationController.sourceView, screen->view());
    const auto button = std::make_shared<UIButton>();
    const auto item = std::make_shared<UIBarButtonItem>(button);
    screen->showActivityViewControllerWithItems({}, button, item);
    EXPECT_EQ(presenter.presented.back()->popoverPresentationController.sourceView, button);
    EXPECT_EQ(presenter.presented.back()->popoverPresentationController.barButtonItem, item);
}

TEST_F(Sharing, EndsWithTheScreen) {
    show({record("a.jpg", photo(1))});
    openMenu();
    ASSERT_TRUE(choose("Share without EXIF"));
    const std::weak_ptr<Screen> gone = screen;
    screen = nullptr;
    presenter.presented.clear();
    EXPECT_TRUE(gone.expired()) << "nobody keeps it";
    bool isDone = false;
    DispatchQueue::global(DispatchPriority::background).async([&] {
        DispatchQueue::main().async([&] { isDone = true; });
    });
    EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return isDone; }, std::chrono::seconds(20)));
    EXPECT_THAT(presenter.presented, IsEmpty());
}

/// Answers URLs, as the program at the end of the chain does.
class RecordingApplication final : public UIApplication {
public:
    RecordingApplication() { setSharedApplication(this); }
    ~RecordingApplication() override { setSharedApplication(nullptr); }
    void openURL(const NSURL& url) override { opened.push_back(url.absoluteString()); }
    std::vector<std::string> opened;
};

class RecordingHost final : public UIViewController {
public:
    [[nodiscard]] bool respondsToOpenURL() const noexcept override { return true; }
    void openURL(const NSURL& url) override { opened.push_back(url.absoluteString()); }
    std::vector<std::string> opened;
};

TEST_F(Sharing, OpensTheMainAppAtTheSamePhotos) {
    for (const char* name : {"a.jpg", "b.jpg", "c.jpg"}) write(name, photo(1));
    write("d.jpg", photo(20));
    library_->scan();
    const auto at = [](double seconds) {
        auto record = std::make_shared<ExifInformation>();
        record->dateTaken = NSDate{1577836800 + seconds};
        return record;
    };
    RecordingApplication application;
    const auto host = std::make_shared<RecordingHost>();
    host->presentViewController(screen, true);
    finish();  // It has loaded what it was handed.
    struct Case {
        const char* why;
        std::vector<ExifInformationRef> records;
        std::size_t current, identifiers;
        const char* position;
    };
    const Case cases[] = {
        {"all of the earlier record's count", {at(1), at(20)}, 1, 4, "3"},
        {"the first", {at(1), at(20)}, 0, 4, "0"},
        {"one without a date has none", {std::make_shared<ExifInformation>(), at(20)}, 1, 1, "0"},
        {"none at all", {at(500)}, 0, 0, "0"},
    };
    for (const auto& [why, records, current, identifiers, position] : cases) {
        show(records, current);
        screen->openMainApp();
        finish();
        ASSERT_FALSE(application.opened.empty()) << why;
        const std::string url = application.opened.back();
        EXPECT_EQ(host->opened.back(), url) << "everybody who can is asked";
        EXPECT_THAT(url, StartsWith("tessalyapp://allphotos?phAssetsLocalIDCommaSeparated="));
        EXPECT_TRUE(url.ends_with(std::string("&currentPosition=") + position)) << why << ": " << url;
        std::size_t count = 0;
        for (auto found = url.find("/L0/001"); found != std::string::npos; found = url.find("/L0/001", found + 1))
            ++count;
        EXPECT_EQ(count, identifiers) << why;
        EXPECT_THAT(url, Not(HasSubstr(" ")));
    }
}

TEST_F(Sharing, OpensACopyInAnotherProgram) {
    write("a.jpg", describedPhoto());
    library_->scan();
    const TemporaryFolder desktop;
    desktop.write("applications/copier.desktop",
                  "[Desktop Entry]\nType=Application\nName=Copier\nMimeType=image/jpeg;\nExec=cp %f " +
                      (desktop.path() / "copy").string() + "\n");
    desktop.write("applications/org.tessaly.Tessaly.desktop",
                  "[Desktop Entry]\nType=Application\nName=Tessaly\nMimeType=image/jpeg;\nExec=cp %f\n");
    desktop.write("applications/mimeinfo.cache",
                  "[MIME Cache]\nimage/jpeg=org.tessaly.Tessaly.desktop;copier.desktop;\n");
    const char* const before = std::getenv("XDG_DATA_DIRS");
    const std::string directories = before ? before : "";
    ::setenv("XDG_DATA_DIRS", desktop.path().c_str(), 1);
    struct Case {
        const char* name;
        const char* file;
        bool isOpened;
    };
    std::string path;
    for (const auto& [name, file, isOpened] :
         {Case{"a.jpg", "a.jpg", true}, Case{"", "Image.JPG", false}, Case{"../../b.jpg", "b.jpg", true}}) {
        const auto shown = recordOfAsset("a.jpg");
        shown->setFileNameCached(name);
        const auto share = std::make_shared<UIBarButtonItem>(std::make_shared<UIView>());
        screen->navigationItem().setRightBarButtonItems({share});
        screen->openImageWithEXIF(shown);
        finish();
        const auto menu = presenter.last<UIAlertController>();
        ASSERT_TRUE(menu) << "the share sheet waits until it is gone";
        EXPECT_EQ(titles(*menu), (Names{"Copier", "Cancel"}));
        EXPECT_EQ(menu->message(), file);
        path = (std::filesystem::path(RawFileManager::temporaryFilePath()).parent_path() / file).string();
        EXPECT_EQ(contentOf(path), describedPhoto().text());
        menu->userChose(isOpened ? 0 : 1);
        EXPECT_EQ(shared().size(), 2U);
        const auto copy = desktop.path() / "copy";
        const auto isCopied = [&] { return contentOf(copy.string()) == describedPhoto().text(); };
        EXPECT_EQ(DispatchQueue::pumpMainQueueUntil(isCopied, std::chrono::milliseconds(isOpened ? 20000 : 0)),
                  isOpened);
        std::filesystem::remove(copy);
    }
    Screen::removeAllTemporaryFiles();
    EXPECT_FALSE(std::filesystem::exists(path));
    ::setenv("XDG_DATA_DIRS", directories.c_str(), 1);
    if (!before) ::unsetenv("XDG_DATA_DIRS");
}

TEST_F(Sharing, DoesNothingPastTheRecords) {
    using Action = void (Screen::*)();
    RecordingApplication application;
    show({record("a.jpg", photo(1))}, 1);
    openMenu();
    for (const Action action : {&Screen::shareActionOnExtension, &Screen::shareActionOnApp, &Screen::openMainApp,
                                &Screen::removeExifDetailsButtonTapped, &Screen::removeExifDetailsButtonTappedVideo,
                                &Screen::deletePhotoButtonTapped, &Screen::editEXIFButtonTapped})
        ((*screen).*action)();
    EXPECT_FALSE(isBusy());
    EXPECT_THAT(presenter.presented, IsEmpty());
    EXPECT_THAT(application.opened, IsEmpty());
}

}  // namespace
}  // namespace tessaly::test
