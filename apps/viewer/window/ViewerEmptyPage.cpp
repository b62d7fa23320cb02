#include <QDesktopServices>
#include <QUrl>

#include "Viewer.h"
#include "linux/desktop/DesktopEntries.h"
#include "linux/desktop/SearchPath.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"

/// What the window shows when there are no photos, and the ways from there to some.
namespace tessaly::viewer {
namespace {

constexpr std::string_view kChoosePhotos = localizable("Choose Photos");
constexpr std::string_view kAddFolder = localizable("Add Folder");
constexpr std::string_view kAdviceToChoose = localizable("Choose the photos that you want to look at.");
constexpr std::string_view kAdviceToAdd = localizable("Add a folder with photos. They stay where they are.");

std::string withoutFolder(const std::string& name) {
    const std::size_t slash = name.find_last_of('/', name.size() < 2 ? 0 : name.size() - 2);
    return slash == std::string::npos ? name : name.substr(slash + 1);
}

}  // namespace

void Viewer::showNothing(const std::vector<Complaint>& complaints) {
    EmptyPageViewController::Content content{{}, kAdviceToChoose, {}};
    for (const Complaint& complaint : complaints)
        content.reasons.push_back({complaint.label, complaint.label.empty() ? complaint.name + ": " + complaint.what
                                                                            : withoutFolder(complaint.name)});
    const EmptyPageViewController::Choice choose{kChoosePhotos, [this] { choosePhotos(); }};
    if (library_ && arguments_.items.empty() && !library_->showsPhotos()) {
        content.advice = kAdviceToAdd;
        content.choices = {{kAddFolder, [this] { addFolder(); }}, choose};
    } else if (library_) {
        content.choices = {{localizable("Show All Photos"),
                            [this] {
                                arguments_.items.clear();
                                showLibrary();
                            }},
                           choose};
    } else {
        content.choices = {choose};
    }
    nothing_ = std::make_shared<EmptyPageViewController>(std::move(content), [this] { endRequest(); });
    window_.setRootViewController(nothing_);
    contentIsThere();
}

void Viewer::choosePhotos() {
    using Result = quick::OpenPortal::Result;
    const auto chosen = [this](Result result, const std::vector<std::string>& paths) {
        if (result == Result::unavailable) return openFileManager();
        if (result == Result::cancelled) return;
        arguments_.page = 1;
        takeInBackground(paths, [self = std::weak_ptr(self_)](Intake intake) {
            if (const auto viewer = self.lock()) (*viewer)->showRequest(std::move(intake));
        });
    };
    chooser_.ask(quick::OpenPortal::Kind::files, localized("Choose Photos"), chosen);
}

void Viewer::addFolder() {
    using Result = quick::OpenPortal::Result;
    const auto chosen = [this](Result result, const std::vector<std::string>& paths) {
        if (result == Result::unavailable) return openFileManager();
        if (result == Result::cancelled) return;
        library_->addFolder(paths.front(), [this](const std::vector<Complaint>& complaints) {
            if (!library_->foundNothing()) return window_.setRootViewController(library_->navigation());
            showNothing(complaints);
        });
    };
    chooser_.ask(quick::OpenPortal::Kind::folder, localized("Add Folder"), chosen);
}

/// A session without the portal: photos can be opened from there.
void Viewer::openFileManager() const {
    std::string folder = desktop::userFolder("PICTURES");
    if (folder.empty()) folder = desktop::homeFolder();
    desktop::DesktopEntries entries;
    const bool isOpened = !entries.applicationsFor("inode/directory").empty() &&
                          QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(folder)));
    if (!isOpened && nothing_) nothing_->showFault(formatted(localized("Could not open: %@"), folder));
}

void Viewer::endRequest() {
    if (!library_ || !library_->showsPhotos()) return quit();
    window_.setRootViewController(library_->navigation());
    detail_ = nullptr;
}

bool Viewer::showsRequest() const { return detail_ && window_.host().controller() == detail_; }

}  // namespace tessaly::viewer
