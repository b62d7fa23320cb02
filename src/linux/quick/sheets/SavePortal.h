#pragma once
#include <memory>

#include "linux/quick/sheets/FileChooserPortal.h"

namespace tessaly::quick {

/// The share sheet's question where to save, put by the desktop. Goes with the sheet, and its dialog with it.
class SavePortal : public desktop::SaveQuestion {
public:
    /// Null where the session has no portal.
    [[nodiscard]] static std::unique_ptr<SavePortal> onSessionBus() {
        auto portal = std::make_unique<SavePortal>();
        return portal->chooser_.isThere() ? std::move(portal) : nullptr;
    }
    void ask(const std::string& title, const std::vector<std::string>& names, Answer answer) override {
        chooser_.askToSave(names, title, std::move(answer));
    }

private:
    FileChooserPortal chooser_{QDBusConnection::sessionBus()};
};

}  // namespace tessaly::quick
