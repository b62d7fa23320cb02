#include "extension/EmptyPageViewController.h"

#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"

namespace tessaly {
namespace {

constexpr std::size_t kMostReasons = 4;

std::string textOf(const std::vector<EmptyPageViewController::Reason>& reasons) {
    std::string text;
    for (std::size_t at = 0; at < reasons.size() && at < kMostReasons; ++at) {
        const auto& [label, name] = reasons[at];
        text += (at == 0 ? "" : "\n") + (label.empty() ? name : formatted(localized(label), name));
    }
    return text.empty() ? localized("No photos to show") : text;
}

}  // namespace

EmptyPageViewController::EmptyPageViewController(Content content, std::function<void()> closed)
    : content_(std::move(content)), closed_(std::move(closed)) {}

void EmptyPageViewController::viewDidLoad() {
    iconImageView->setImageNamed("photo");
    const std::shared_ptr<UIButton> buttons[] = {firstButton, secondButton};
    for (std::size_t at = 0; at < std::size(buttons); ++at) {
        const bool isUsed = at < content_.choices.size();
        buttons[at]->setHidden(!isUsed);
        if (isUsed) buttons[at]->setAction(content_.choices[at].chosen);
    }
    navigationItem().setLeftBarButtonItem(std::make_shared<UIBarButtonItem>(
        UIBarButtonSystemItem::done, [closed = closed_](const std::shared_ptr<UIBarButtonItem>&) { closed(); }));
    reloadInterface();
}

void EmptyPageViewController::reloadInterface() {
    messageLabel->setText(textOf(content_.reasons));
    const auto text = [](std::string_view label) { return label.empty() ? std::string() : localized(label); };
    adviceLabel->setText(text(content_.advice));
    const std::shared_ptr<UIButton> buttons[] = {firstButton, secondButton};
    for (std::size_t at = 0; at < content_.choices.size() && at < std::size(buttons); ++at) {
        const std::string title = text(content_.choices[at].label);
        buttons[at]->setTitle(title);
        buttons[at]->setAccessibility(&UIAccessibility::label, title);
    }
}

}  // namespace tessaly
