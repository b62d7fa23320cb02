#pragma once
#include <QKeyEvent>
#include <QObject>
#include <functional>

namespace tessaly::viewer {

/// Keys that nothing in the window had a use for: Escape and Back go back, the desktop's keys for closing close. To be
/// installed on the window's content item, where such keys arrive.
class KeyFilter : public QObject {
public:
    KeyFilter(std::function<void()> back, std::function<void()> close)
        : back_(std::move(back)), close_(std::move(close)) {}

    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::KeyPress) return false;
        const auto& key = *static_cast<QKeyEvent*>(event);
        const bool isBack = key.key() == Qt::Key_Escape || key.key() == Qt::Key_Back;
        const bool isClose = key.matches(QKeySequence::Close) || key.matches(QKeySequence::Quit);
        if (isBack) back_();
        if (isClose) close_();
        return isBack || isClose;
    }

private:
    std::function<void()> back_, close_;
};

}  // namespace tessaly::viewer
