#include <sys/stat.h>

#include "DesktopFixture.h"
#include "linux/desktop/Launch.h"
#include "linux/desktop/Sharing.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/UIKit/Presenter.h"
#include "platform/UIKit/UIAlertController.h"
#include "platform/UIKit/UIPasteboard.h"

// The share sheet without its looks.
namespace tessaly::test {
namespace {

namespace fs = std::filesystem;
using desktop::SaveQuestion;
using desktop::Sharing;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

Data sample() {
    const std::string text = contentOf(TESSALY_SAMPLE);
    const auto bytes = std::as_bytes(std::span(text));
    return std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
}

/// A dialog whose answer is known.
class Dialog : public SaveQuestion {
public:
    Dialog(Result result, std::vector<std::string> paths) : result_(result), paths_(std::move(paths)) {}
    void ask(const std::string&, const std::vector<std::string>& names, Answer answer) override {
        asked = names;
        answer(result_, paths_);
    }
    static inline std::vector<std::string> asked;

private:
    Result result_;
    std::vector<std::string> paths_;
};

/// A window that shows everything at once.
class Window : public Presenter {
public:
    Window() { setShared(this); }
    ~Window() override { setShared(nullptr); }
    void present(const UIViewControllerRef&, bool, std::function<void()>) override {}
    void dismiss(const UIViewControllerRef&, bool, std::function<void()>) override {}
};

class SharingTest : public DesktopTest {
protected:
    SharingTest() {
        fs::create_directories(path("home/Pictures"));
        fs::create_directories(path("home/Downloads"));
        set("PATH", path("bin"));
    }
    std::shared_ptr<Sharing> share(std::vector<UIActivityItem> items, bool mayCopy = true,
                                   std::unique_ptr<SaveQuestion> question = nullptr) {
        auto sheet = std::make_shared<UIActivityViewController>(std::move(items));
        if (!mayCopy) sheet->excludedActivityTypes = {UIActivityTypeCopyToPasteboard};
        screen_ = std::make_shared<UIViewController>();
        screen_->presentViewController(sheet, false);
        auto sharing = std::make_shared<Sharing>(sheet, std::move(question));
        int changes = 0;
        const auto observation = sharing->observe([&] { ++changes; });
        sharing->begin();
        DispatchQueue::pumpMainQueueUntil([&] { return changes >= 2 || changes == 0; }, std::chrono::seconds(5));
        return sharing;
    }
    static std::vector<std::string> titles(const Sharing& sharing) {
        std::vector<std::string> titles;
        for (const auto& target : sharing.targets()) titles.push_back(target.title);
        return titles;
    }
    static void choose(const std::shared_ptr<Sharing>& sharing, const std::string& title) {
        const auto all = titles(*sharing);
        sharing->choose(static_cast<std::size_t>(std::ranges::find(all, title) - all.begin()));
        EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return !sharing->isBusy(); }, std::chrono::seconds(5)));
    }
    [[nodiscard]] bool isOpen() const { return screen_->presentedViewController() != nullptr; }

    Window window_;
    std::shared_ptr<UIViewController> screen_;
};

TEST_F(SharingTest, OffersWhatFitsTheThings) {
    entry("system/applications/pictures.desktop", "Pictures");
    entry("system/applications/text.desktop", "Text", "MimeType=text/plain;\n");
    program("xdg-email", "exit 0");
    const UIActivityItem photo{sample(), "a.jpg"}, text{"Aperture: f/8\nISO: 100", ""};
    const struct {
        const char* why;
        std::vector<UIActivityItem> items;
        bool mayCopy;
        std::string title;
        std::vector<std::string> targets;
    } kCases[] = {
        {"a photo", {photo}, true, "a.jpg", {"Save to Folder", "Email", "Copy Image", "Pictures"}},
        {"copying excluded", {photo}, false, "a.jpg", {"Save to Folder", "Email", "Pictures"}},
        {"with its text",
         {photo, text},
         true,
         "a.jpg",
         {"Save to Folder", "Email", "Copy Image", "Copy Text", "Pictures"}},
        {"several: none of them is the one to copy",
         {photo, photo},
         true,
         "2 files",
         {"Save to Folder", "Email", "Pictures"}},
        {"a text", {text}, true, "Aperture: f/8", {"Save to Folder", "Email", "Copy Text", "Text"}},
        {"a text, copying excluded", {text}, false, "Aperture: f/8", {"Save to Folder", "Email", "Text"}},
        {"nothing", {{Data(), "a.jpg"}}, true, "There is nothing to share", {}},
    };
    for (const auto& [why, items, mayCopy, title, targets] : kCases) {
        const auto sharing = share(items, mayCopy);
        EXPECT_EQ(sharing->title(), title) << why;
        EXPECT_EQ(titles(*sharing), targets) << why;
    }
}

TEST_F(SharingTest, OpeningHandsOverACopyAndCloses) {
    const std::string record = recorder("viewer");
    entry("system/applications/viewer.desktop", "Viewer", "Exec=viewer %f\n");
    set("PATH", path("bin") + ":/usr/bin:/bin");
    const auto sharing = share({{sample(), "my photo.jpg"}});
    choose(sharing, "Viewer");
    EXPECT_FALSE(isOpen());
    const auto arguments = recorded(record);
    ASSERT_EQ(arguments.size(), 1U);
    EXPECT_THAT(arguments.front(), testing::EndsWith("/my photo.jpg"));
    EXPECT_EQ(contentOf(arguments.front()), contentOf(TESSALY_SAMPLE));
}

TEST_F(SharingTest, AMailHasTheFilesAttachedAndTheTextInIt) {
    const std::string record = recorder("xdg-email");
    set("PATH", path("bin") + ":/usr/bin:/bin");
    const auto sharing = share({{sample(), "a.jpg"}, {sample(), "b.jpg"}, {"--attach /etc/passwd", ""}});
    choose(sharing, "Email");
    EXPECT_THAT(recorded(record), ElementsAre("--utf8", "--body", "--attach /etc/passwd", "--attach",
                                              testing::EndsWith("/a.jpg"), "--attach", testing::EndsWith("/b.jpg")));
}

TEST_F(SharingTest, AProgramThatDoesNotStartIsTold) {
    entry("system/applications/viewer.desktop", "Viewer", "Exec=viewer %f\n");
    const auto sharing = share({{sample(), "a.jpg"}});
    fs::remove(path("bin/viewer"));
    choose(sharing, "Viewer");
    EXPECT_TRUE(isOpen());
    EXPECT_TRUE(sharing->hasFailed());
    EXPECT_THAT(sharing->outcome(), HasSubstr("Could not open"));
}

TEST_F(SharingTest, SavingTellsWhereBeforeItCloses) {
    write("home/Pictures/a.jpg", "mine");
    const auto sharing = share({{sample(), "a.jpg"}});
    choose(sharing, "Save to Folder");
    ASSERT_THAT(titles(*sharing), ElementsAre("Pictures", "Downloads", "Other Folder"))
        << "nothing asks: the user's own folders";
    choose(sharing, "Pictures");
    EXPECT_EQ(sharing->outcome(), "a 2.jpg was saved in Pictures");
    EXPECT_FALSE(sharing->hasFailed());
    EXPECT_EQ(contentOf(path("home/Pictures/a.jpg")), "mine");
    EXPECT_EQ(contentOf(path("home/Pictures/a 2.jpg")), contentOf(TESSALY_SAMPLE));
    sharing->choose(0);
    EXPECT_FALSE(sharing->isBusy()) << "it is done";
    EXPECT_TRUE(isOpen());
    sharing->close();
    EXPECT_FALSE(isOpen());
}

TEST_F(SharingTest, SavingSeveralTellsHowMany) {
    write("config/user-dirs.dirs", "# x\nXDG_PICTURES_DIR=\"$HOME/Meine \\$ Bilder\"\nXDG_DOWNLOAD_DIR=\"$HOME/\"\n");
    fs::create_directory(path("home/Meine $ Bilder"));
    const auto sharing = share({{sample(), "a.jpg"}, {sample(), "a.jpg"}});
    choose(sharing, "Save to Folder");
    ASSERT_THAT(titles(*sharing), ElementsAre("Meine $ Bilder", "Other Folder"));
    choose(sharing, "Meine $ Bilder");
    EXPECT_EQ(sharing->outcome(), "2 files were saved in Meine $ Bilder");
    EXPECT_TRUE(fs::exists(path("home/Meine $ Bilder/a 2.jpg")));
}

TEST_F(SharingTest, AFailureToSaveIsTold) {
    const auto sharing = share({{sample(), "a.jpg"}});
    choose(sharing, "Save to Folder");
    fs::remove(path("home/Pictures"));
    choose(sharing, "Pictures");
    EXPECT_TRUE(sharing->hasFailed());
    EXPECT_EQ(sharing->outcome(), "Could not save: No such file or directory");
}

TEST_F(SharingTest, TheDesktopsDialogDecides) {
    using Result = SaveQuestion::Result;
    const std::string chosen = write("elsewhere/x.jpg", "replaced");
    const auto dialog = [](Result result, std::vector<std::string> paths) {
        return std::make_unique<Dialog>(result, std::move(paths));
    };
    auto sharing = share({{sample(), "../a.jpg"}}, true, dialog(Result::cancelled, {}));
    const auto offered = titles(*sharing);
    choose(sharing, "Save to Folder");
    EXPECT_THAT(Dialog::asked, ElementsAre("_a.jpg"));
    EXPECT_EQ(titles(*sharing), offered) << "changed their mind";
    EXPECT_THAT(sharing->outcome(), IsEmpty());

    sharing = share({{sample(), "a.jpg"}}, true, dialog(Result::unavailable, {}));
    choose(sharing, "Save to Folder");
    EXPECT_THAT(titles(*sharing), ElementsAre("Pictures", "Downloads", "Other Folder"));

    sharing = share({{sample(), "a.jpg"}}, true, dialog(Result::chosen, {chosen}));
    choose(sharing, "Save to Folder");
    EXPECT_EQ(sharing->outcome(), "x.jpg was saved in elsewhere");
    EXPECT_EQ(contentOf(chosen), contentOf(TESSALY_SAMPLE));
}

TEST_F(SharingTest, AnyFolderCanBeReachedWithoutThatDialog) {
    for (const char* name : {"home/Pictures/B", "home/Pictures/A", "home/Pictures/.hidden"})
        fs::create_directories(path(name));
    write("home/Pictures/file", "");
    const auto sharing = share({{sample(), "a.jpg"}});
    choose(sharing, "Save to Folder");
    choose(sharing, "Other Folder");
    const auto asked = [this] {
        return std::dynamic_pointer_cast<UIAlertController>(
            screen_->presentedViewController()->presentedViewController());
    };
    // What is chosen, then what the sheet offers: the person looks around before they decide.
    const std::pair<std::string, std::vector<std::string>> steps[] = {
        {"Pictures",
         {"Choose “home”", "↑ " + fs::path(path("")).parent_path().filename().string(), "Downloads", "Pictures",
          "Cancel"}},
        {"A", {"Choose “Pictures”", "↑ home", "A", "B", "Cancel"}},
        {"↑ Pictures", {"Choose “A”", "↑ Pictures", "Cancel"}},
        {"B", {"Choose “Pictures”", "↑ home", "A", "B", "Cancel"}},
        {"Choose “B”", {"Choose “B”", "↑ Pictures", "Cancel"}},
    };
    for (const auto& [answer, offered] : steps) {
        const auto sheet = asked();
        ASSERT_TRUE(sheet) << answer;
        std::vector<std::string> answers;
        for (const UIAlertAction& action : sheet->actions()) answers.push_back(action.title);
        EXPECT_EQ(answers, offered) << answer;
        sheet->userChose(static_cast<std::size_t>(std::ranges::find(answers, answer) - answers.begin()));
    }
    EXPECT_FALSE(asked());
    DispatchQueue::pumpMainQueueUntil([&] { return !sharing->isBusy(); }, std::chrono::seconds(5));
    EXPECT_EQ(sharing->outcome(), "a.jpg was saved in B");
    EXPECT_TRUE(fs::exists(path("home/Pictures/B/a.jpg")));
}

TEST_F(SharingTest, CopyingTellsSo) {
    auto sharing = share({{"Aperture: f/8", ""}});
    choose(sharing, "Copy Text");
    EXPECT_EQ(UIPasteboard::generalPasteboard().string(), "Aperture: f/8");
    EXPECT_EQ(sharing->outcome(), "Copied");
    sharing = share({{sample(), "a.jpg"}});
    choose(sharing, "Copy Image");
    EXPECT_THAT(sharing->outcome(), Not(IsEmpty()));
    EXPECT_THAT(UIPasteboard::generalPasteboard().string(), IsEmpty());
}

}  // namespace
}  // namespace tessaly::test
