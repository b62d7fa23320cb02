#pragma once
#include <QKeyEvent>
#include <QObject>
#include <functional>

namespace tessaly::viewer {

/// Keys that nothing in the window had a use for: Escape and Back go back, the desktop's keys for closing close, and
/// Control with L chooses the language. To be installed on the window's content item, where such keys arrive.
class KeyFilter : public QObject {
public:
    KeyFilter(std::function<void()> back, std::function<void()> close, std::function<void()> languages = nullptr)
        : back_(std::move(back)), close_(std::move(close)), languages_(std::move(languages)) {}

    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::KeyPress) return false;
        const auto& key = *static_cast<QKeyEvent*>(event);
        const bool isBack = key.key() == Qt::Key_Escape || key.key() == Qt::Key_Back;
        const bool isClose = key.matches(QKeySequence::Close) || key.matches(QKeySequence::Quit);
        const bool isLanguages = languages_ && key.key() == Qt::Key_L && key.modifiers() == Qt::ControlModifier;
        // A key that is held down, and took a sheet away, does not take the screen with it.
        if (isBack && !key.isAutoRepeat()) back_();
        if (isClose) close_();
        if (isLanguages) languages_();
        return isBack || isClose || isLanguages;
    }

private:
    std::function<void()> back_, close_, languages_;
};

}  // namespace tessaly::viewer
