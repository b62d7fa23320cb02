#pragma once
#include <QImage>
#include <QVideoFrame>
#include <functional>
#include <memory>
#include <mutex>

struct SwsContext;

namespace tessaly::quick {

/// Makes pictures of a movie's frames: upright, in the colours of the screen, and no larger than they are shown, which
/// costs a small part of turning whole frames into pictures. Frames arrive on any thread. Only the newest picture
/// waits for the main thread, so that a busy one neither falls behind nor piles them up.
class MovieFrames : public std::enable_shared_from_this<MovieFrames> {
public:
    using Taker = std::function<void(const QImage&)>;

    MovieFrames();
    MovieFrames(const MovieFrames&) = delete;
    MovieFrames& operator=(const MovieFrames&) = delete;
    ~MovieFrames();

    /// Main thread. `taker` is called on it, until it is replaced.
    void setTaker(Taker taker) { taker_ = std::move(taker); }
    /// Degrees clockwise by which the file wants its frames turned.
    void setRotation(int degrees);
    /// In pixels; an empty size stops the pictures. The frame that is shown comes again in the new size.
    void setSize(QSize size);
    void arrived(const QVideoFrame& frame);
    [[nodiscard]] bool hasArrived();

private:
    [[nodiscard]] QImage picture(QVideoFrame frame);
    [[nodiscard]] QImage scaled(const QVideoFrame& mapped, QSize size);
    void publish();
    void deliver();

    Taker taker_;
    std::mutex mutex_;  ///< For all below.
    QVideoFrame last_;
    QImage waiting_;
    bool isUnderWay_ = false;
    QSize size_;
    int rotation_ = 0;
    SwsContext* scaler_ = nullptr;
};

}  // namespace tessaly::quick
