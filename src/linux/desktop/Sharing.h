#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/desktop/DesktopEntries.h"
#include "linux/desktop/SharedFiles.h"
#include "platform/UIKit/UIImage.h"

/// The desktop's part of sharing: what can be done with the shared things, and doing it.
namespace tessaly::desktop {

/// The desktop's own question where to save. Main thread.
class SaveQuestion {
public:
    SaveQuestion() = default;
    SaveQuestion(const SaveQuestion&) = delete;
    SaveQuestion& operator=(const SaveQuestion&) = delete;
    virtual ~SaveQuestion() = default;
    enum class Result : std::uint8_t { chosen, cancelled, unavailable };
    /// The paths, one a name in their order, once there is an answer.
    using Answer = std::function<void(Result result, const std::vector<std::string>& paths)>;
    virtual void ask(const std::string& title, const std::vector<std::string>& names, Answer answer) = 0;
};

/// One line of the sheet.
struct ShareTarget {
    enum class Kind : std::uint8_t { save, folder, otherFolder, application, mail, copyImage, copyText };
    Kind kind = Kind::save;
    std::string title;
    std::string iconFile;     ///< A picture of the application's; "" for none.
    std::string folder{};     ///< Of a folder to save in.
    std::size_t program = 0;  ///< Which application.
};

/// The share sheet without its looks. Main thread; slow work runs elsewhere and reports back here.
class Sharing : public Observable, public std::enable_shared_from_this<Sharing> {
public:
    /// `question` may be null: then the user's own folders are offered.
    Sharing(std::shared_ptr<UIActivityViewController> sheet, std::unique_ptr<SaveQuestion> question);
    /// Finds the applications.
    void begin();

    /// What is shared: a file's name, or a text's first line; and how many and how large they are.
    [[nodiscard]] const std::string& title() const noexcept { return title_; }
    [[nodiscard]] const std::string& detail() const noexcept { return detail_; }
    /// The first picture, small; null without one.
    [[nodiscard]] const UIImageRef& preview() const noexcept { return preview_; }
    [[nodiscard]] const std::vector<ShareTarget>& targets() const noexcept { return targets_; }
    /// While something is being written or asked.
    [[nodiscard]] bool isBusy() const noexcept { return busy_; }
    /// What came of it, in words: "" while there is nothing to tell. Nothing is offered any more then.
    [[nodiscard]] const std::string& outcome() const noexcept { return outcome_; }
    [[nodiscard]] bool hasFailed() const noexcept { return failed_; }

    void choose(std::size_t index);
    /// Takes the sheet away; not while files are being written, for what became of them has to be told.
    void close();

private:
    using Kind = ShareTarget::Kind;
    using Command = std::vector<std::string>;
    using CommandMaker = std::function<std::vector<Command>(const std::vector<std::string>& paths)>;
    struct Offer;
    [[nodiscard]] bool mayCopy() const;
    void describe();
    void offer(Offer offer);
    void offerFolders();
    void askWhereToSave();
    void saveIn(const std::string& folder);
    void saveAs(const std::vector<std::string>& paths);
    void saved(const WrittenFiles& written);
    void start(CommandMaker commands, const std::string& workingFolder, bool withFiles);
    void open(const Application& application);
    void mail();
    void copyImage();
    void tell(std::string outcome, bool failed);
    /// Runs `work` on another thread, and `then` with its result back here if the sheet is still wanted.
    template <class Work, class Then>
    void elsewhere(Work work, Then then);

    std::shared_ptr<UIActivityViewController> sheet_;
    std::unique_ptr<SaveQuestion> question_;
    std::vector<SharedFile> files_;
    std::string text_;
    std::vector<Application> applications_;
    std::vector<ShareTarget> targets_;
    std::string title_, detail_, outcome_;
    UIImageRef preview_;
    bool onlyText_ = false;
    bool busy_ = false;
    bool mayClose_ = true;
    bool failed_ = false;
};

}  // namespace tessaly::desktop
