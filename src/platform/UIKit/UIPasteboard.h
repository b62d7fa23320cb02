#pragma once
#include <string>

#include "platform/UIKit/UIImage.h"

namespace tessaly {

/// What was copied, for any program to paste. The desktop's clipboard, once a window has set it.
class UIPasteboard {
public:
    UIPasteboard() = default;
    UIPasteboard(const UIPasteboard&) = delete;
    UIPasteboard& operator=(const UIPasteboard&) = delete;
    virtual ~UIPasteboard() = default;
    virtual void setString(const std::string& text) = 0;
    /// "" when something else was copied.
    [[nodiscard]] virtual std::string string() const = 0;
    virtual void setImage(const UIImageRef& image) = 0;

    /// Without a window, one of the program's own.
    [[nodiscard]] static UIPasteboard& generalPasteboard();
    /// It must outlive its use; null puts the program's own back.
    static void setGeneralPasteboard(UIPasteboard* pasteboard) noexcept;
};

}  // namespace tessaly
