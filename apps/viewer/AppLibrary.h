#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Intake.h"
#include "extension/ExifDataListDataSource.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "platform/UIKit/UIViewController.h"

namespace tessaly::viewer {

/// Photos of the library, and what was named and is not in it.
struct LibrarySelection {
    std::vector<std::string> identifiers;
    std::size_t position = 0;  ///< Below their number, unless there are none.
    std::vector<Complaint> complaints;
};

/// Finds the photos of URLs, files and folders in the shared library. Reads the library and folders: not for the main
/// thread.
[[nodiscard]] LibrarySelection selectInLibrary(const std::vector<std::string>& arguments);

/// The screen below all detail screens: it stands for the library, and shows nothing itself.
class LibraryScreen : public UIViewController, public ExifListViewController {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "Interface"; }
    [[nodiscard]] const char* className() const noexcept override { return "LibraryScreen"; }
};

/// The containing app's screens: detail screens on a stack, over photos of the library. Main thread.
class AppLibrary {
public:
    /// `left` comes when the person goes back from the last detail screen.
    explicit AppLibrary(std::function<void()> left);

    [[nodiscard]] const std::shared_ptr<UINavigationController>& navigation() const { return navigation_; }
    /// What is asked for is on its way; the block, which comes once it is clear what that is, gets what went wrong.
    using Opened = std::function<void(const std::vector<Complaint>&)>;
    /// Opens the photos that the arguments name, or the whole library, the newest first, when there are none.
    /// `page` is counted from 0; a URL brings its own.
    void open(const std::vector<std::string>& arguments, std::size_t page, Opened opened);
    /// Adds a folder to the library, has it read, and opens the whole library.
    void addFolder(const std::string& path, Opened opened);
    /// Whether what was opened last has no photo in the library, so that no screen was shown for it.
    [[nodiscard]] bool foundNothing() const noexcept { return foundNothing_; }
    /// Whether a screen with photos stands on the stack.
    [[nodiscard]] bool showsPhotos() const { return navigation_->viewControllers().size() > 1; }
    /// The back button's work, or Escape's.
    void goBack();

private:
    void openAll(std::size_t page, Opened opened);
    void openSelection(LibrarySelection selection, std::size_t page, const Opened& opened);
    void loadUntil(std::size_t page, const Opened& opened);
    void showLoaded(std::size_t page);
    void followStack();

    std::function<void()> left_;
    std::shared_ptr<UINavigationController> navigation_ = std::make_shared<UINavigationController>();
    std::shared_ptr<LibraryScreen> list_ = std::make_shared<LibraryScreen>();
    std::shared_ptr<ExifDataListDataSource> source_ = std::make_shared<ExifDataListDataSource>();
    /// Blocks that come later hold this weakly.
    std::shared_ptr<AppLibrary*> self_ = std::make_shared<AppLibrary*>(this);
    Observable::Observation stack_;
    bool hasShown_ = false;
    bool foundNothing_ = false;
};

}  // namespace tessaly::viewer
