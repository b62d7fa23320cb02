#include "Viewer.h"
#include "linux/desktop/FolderChooser.h"
#include "linux/desktop/SearchPath.h"
#include "platform/Foundation/NSBundle.h"

/// What the window shows when there are no photos, and the ways from there to some.
namespace tessaly::viewer {
namespace {

constexpr std::string_view kChoosePhotos = localizable("Choose Photos");
constexpr std::string_view kAddFolder = localizable("Add Folder");
constexpr std::string_view kAdviceToChoose = localizable("Choose the photos that you want to look at.");
constexpr std::string_view kAdviceToAdd = localizable("Add a folder with photos. They stay where they are.");

using Result = quick::FileChooserPortal::Result;

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
    const std::string title = localized("Choose Photos");
    const auto chosen = [this, title](Result result, const std::vector<std::string>& paths) {
        if (result == Result::unavailable) return chooseFolder(title, [this](const auto& path) { showFiles({path}); });
        if (result == Result::chosen) showFiles(paths);
    };
    chooser_.askToOpen(quick::FileChooserPortal::Kind::files, title, chosen);
}

void Viewer::addFolder() {
    const std::string title = localized("Add Folder");
    const auto add = [this](const std::string& path) {
        library_->addFolder(path, [this](const std::vector<Complaint>& complaints) {
            if (!library_->foundNothing()) return window_.setRootViewController(library_->navigation());
            showNothing(complaints);
        });
    };
    const auto chosen = [this, title, add](Result result, const std::vector<std::string>& paths) {
        if (result == Result::unavailable) return chooseFolder(title, add);
        if (result == Result::chosen) add(paths.front());
    };
    chooser_.askToOpen(quick::FileChooserPortal::Kind::folder, title, chosen);
}

/// Where the session has no dialog of its own.
void Viewer::chooseFolder(const std::string& title, std::function<void(const std::string& path)> chosen) const {
    const std::string pictures = desktop::userFolder("PICTURES");
    const UIViewControllerRef shown = window_.host().controller();
    if (shown)
        desktop::chooseFolder(shown, title, pictures.empty() ? desktop::homeFolder() : pictures, std::move(chosen));
}

/// As a program of their own would.
void Viewer::showFiles(const std::vector<std::string>& paths) {
    arguments_.page = 1;
    takeInBackground(paths, [self = std::weak_ptr(self_)](Intake intake) {
        if (const auto viewer = self.lock()) (*viewer)->showRequest(std::move(intake));
    });
}

void Viewer::endRequest() {
    if (!library_ || !library_->showsPhotos()) return quit();
    window_.setRootViewController(library_->navigation());
    detail_ = nullptr;
}

bool Viewer::showsRequest() const { return detail_ && window_.host().controller() == detail_; }

}  // namespace tessaly::viewer
