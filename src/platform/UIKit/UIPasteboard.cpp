#include "platform/UIKit/UIPasteboard.h"

namespace tessaly {
namespace {

class OwnPasteboard final : public UIPasteboard {
public:
    void setString(const std::string& text) override { text_ = text; }
    [[nodiscard]] std::string string() const override { return text_; }
    void setImage(const UIImageRef& image) override {
        image_ = image;
        text_.clear();
    }

private:
    std::string text_;
    UIImageRef image_;
};

UIPasteboard*& general() {
    static UIPasteboard* pasteboard = nullptr;
    return pasteboard;
}

}  // namespace

UIPasteboard& UIPasteboard::generalPasteboard() {
    static OwnPasteboard own;
    return general() ? *general() : own;
}

void UIPasteboard::setGeneralPasteboard(UIPasteboard* pasteboard) noexcept { general() = pasteboard; }

}  // namespace tessaly
