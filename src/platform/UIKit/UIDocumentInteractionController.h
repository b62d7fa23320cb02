#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/Foundation/NSURL.h"
#include "platform/UIKit/UIViewController.h"

namespace tessaly {

/// A program of the desktop's, other than this one, and a file that it takes.
struct OpeningProgram {
    std::string name;                   ///< In the user's language.
    std::function<std::string()> open;  ///< Starts it with the file. "" or why it could not.
};

/// Those that take the file, the user's own choice first. Reads files: not for the main thread.
[[nodiscard]] std::vector<OpeningProgram> programsThatOpen(const NSURL& file);

/// Hands a file to another program. Main thread.
class UIDocumentInteractionController {
public:
    /// The other program reads the file in its own time and tells nobody when it has: seconds until it is taken for
    /// read.
    static constexpr double kTimeToRead = 600;

    UIDocumentInteractionController(NSURL url, std::vector<OpeningProgram> programs)
        : url_(std::move(url)), programs_(std::move(programs)) {}
    [[nodiscard]] const NSURL& URL() const noexcept { return url_; }

    // What the delegate hears. Any may be null, and may come when the controller is gone.
    std::function<void()> didEndSendingToApplication;       ///< The file is not needed any more.
    std::function<void(const std::string&)> didFailToSend;  ///< Why a program did not start.
    std::function<void()> didDismissOpenInMenu;             ///< The menu is gone, whatever was chosen.

    /// A menu of the programs. False where no program takes the file: there is nothing to choose from then.
    bool presentOpenInMenuFromRect(CGRect rect, const std::shared_ptr<UIView>& inView, UIViewController& over,
                                   bool animated);

private:
    NSURL url_;
    std::vector<OpeningProgram> programs_;
};

}  // namespace tessaly
