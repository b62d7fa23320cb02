#pragma once
#include <functional>
#include <memory>

#include "platform/CoreGraphics/CGGeometry.h"
#include "platform/Foundation/NSTimer.h"
#include "platform/UIKit/UIResponder.h"
#include "platform/UIKit/UIView.h"

namespace tessaly {

/// Hands a file to another program. Main thread.
class UIDocumentInteractionController {
public:
    /// The other program reads the file in its own time and tells nobody when it has: seconds until it is taken for
    /// read.
    static constexpr double kTimeToRead = 600;

    explicit UIDocumentInteractionController(NSURL url) : url_(std::move(url)) {}
    [[nodiscard]] const NSURL& URL() const noexcept { return url_; }
    /// The file is not needed any more. May come when the controller is gone.
    std::function<void()> didEndSendingToApplication;

    /// The desktop chooses the program, or asks which. False where there is none to ask.
    bool presentOpenInMenuFromRect(CGRect /*rect*/, const std::shared_ptr<UIView>& /*inView*/, bool /*animated*/) {
        UIApplication* const application = UIApplication::sharedApplication();
        if (!application) return false;
        application->openURL(url_);
        if (didEndSendingToApplication) NSTimer::scheduledTimer(kTimeToRead, false, didEndSendingToApplication);
        return true;
    }

private:
    NSURL url_;
};

}  // namespace tessaly
