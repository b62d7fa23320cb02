#include "platform/UIKit/UIDocumentInteractionController.h"

#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSTimer.h"
#include "platform/UIKit/UIAlertController.h"
#include "platform/UIKit/UITraitCollection.h"

namespace tessaly {

bool UIDocumentInteractionController::presentOpenInMenuFromRect(CGRect rect, const std::shared_ptr<UIView>& inView,
                                                                UIViewController& over, bool animated) {
    if (programs_.empty()) return false;
    const auto menu = std::make_shared<UIAlertController>(localized("Open in"), url_.lastPathComponent(),
                                                          UIAlertControllerStyle::actionSheet);
    if (UITraitCollection::currentTraitCollection().isPad()) menu->popoverPresentationController = {inView, rect, {}};
    for (const OpeningProgram& program : programs_) {
        menu->addAction({program.name, UIAlertActionStyle::normal,
                         [open = program.open, sent = didEndSendingToApplication, failed = didFailToSend,
                          dismissed = didDismissOpenInMenu] {
                             const std::string why = open();
                             if (why.empty() && sent) NSTimer::scheduledTimer(kTimeToRead, false, sent);
                             if (!why.empty() && failed) failed(why);
                             if (dismissed) dismissed();
                         }});
    }
    menu->addAction({localized("Cancel"), UIAlertActionStyle::cancel, didDismissOpenInMenu});
    over.presentViewController(menu, animated);
    return true;
}

}  // namespace tessaly
