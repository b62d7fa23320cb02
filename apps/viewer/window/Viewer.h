#pragma once
#include <QQuickWindow>
#include <memory>

#include "../AppLibrary.h"
#include "../Arguments.h"
#include "../Intake.h"
#include "../PinnedTraits.h"
#include "../SingleInstance.h"
#include "KeyFilter.h"
#include "Screenshot.h"
#include "extension/EmptyPageViewController.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "linux/quick/sheets/FileChooserPortal.h"
#include "linux/quick/window/ViewerWindow.h"

namespace tessaly::viewer {

/// The program: one window, on a host's request, the photo library, or the choice of the language.
class Viewer {
public:
    /// Runs until the window is closed, and returns the exit status.
    [[nodiscard]] static int run(const Arguments& arguments);

private:
    explicit Viewer(const Arguments& arguments);

    [[nodiscard]] int exec();
    void show();
    void showWaiting();
    void showRequest(Intake intake);
    /// All photos of the request; files that are still being read are waited for.
    void shareWithoutMetadata();
    void showLibrary();
    /// A page that says why there are no photos, and what can be done.
    void showNothing(const std::vector<Complaint>& complaints);
    void choosePhotos();
    void addFolder();
    void chooseFolder(const std::string& title, std::function<void(const std::string& path)> chosen) const;
    void showFiles(const std::vector<std::string>& paths);
    /// The request is done: back to the library where that was shown before.
    void endRequest();
    [[nodiscard]] bool showsRequest() const;
    void showLanguages();
    /// Over the screen that is shown.
    void presentLanguages();
    void followTitle();
    /// Something may be taken a picture of from now on.
    void contentIsThere();
    void report(const std::vector<Complaint>& complaints);
    void takeHandover(const Handover& handover);
    /// Of the library where the window is the library's and has them, else as files.
    void openItems(const std::vector<std::string>& items);
    /// Escape: back by one step.
    void goBack();
    /// The close button: out, from wherever the person is.
    void leave();
    void quit() const;

    Arguments arguments_;
    int status_ = 0;
    quick::ViewerWindow window_;
    PinnedTraits traits_;
    std::unique_ptr<AppLibrary> library_;
    std::shared_ptr<ExifPhotoDetailViewController> detail_;
    std::shared_ptr<EmptyPageViewController> nothing_;
    quick::FileChooserPortal chooser_{QDBusConnection::sessionBus()};
    std::shared_ptr<ScratchFolder> scratch_;
    std::shared_ptr<UIView> waiting_;
    std::unique_ptr<KeyFilter> keys_;
    std::unique_ptr<Screenshot> screenshot_;
    /// Blocks that come later hold this weakly.
    std::shared_ptr<Viewer*> self_ = std::make_shared<Viewer*>(this);
};

}  // namespace tessaly::viewer
