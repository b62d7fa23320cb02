#pragma once
#include <QElapsedTimer>
#include <QObject>
#include <QQuickWindow>
#include <QTimer>
#include <functional>
#include <string>

namespace tessaly::viewer {

/// Writes a picture of the window once it has come to rest: nothing is being loaded, all pictures are there, and no
/// frame was drawn for a while. A window that never rests is taken as it is after 20 seconds.
class Screenshot : public QObject {
public:
    /// `isLoading` is asked again and again; `done` gets "" or what went wrong.
    Screenshot(QQuickWindow& window, std::function<bool()> isLoading, std::string path,
               std::function<void(const std::string& fault)> done);
    /// The window has what it is to show.
    void start();

private:
    void look();
    [[nodiscard]] std::string take() const;

    QQuickWindow& window_;
    std::function<bool()> isLoading_;
    std::string path_;
    std::function<void(const std::string&)> done_;
    QElapsedTimer sinceStart_, sinceFrame_;
    QTimer timer_;
};

}  // namespace tessaly::viewer
