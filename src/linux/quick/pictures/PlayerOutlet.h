#pragma once
#include <QtQml/qqmlregistration.h>

#include <QImage>
#include <QQuickItem>
#include <memory>

#include "linux/quick/player/MoviePlayer.h"
#include "platform/AVFoundation/AVPlayerViewController.h"

namespace tessaly::quick {

/// What the player's screen sees of the movie. What plays it is loaded with the first one that is opened. Times are in
/// milliseconds. Main thread.
class PlayerOutlet : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    Q_PROPERTY(bool playing READ isPlaying NOTIFY changed)
    /// Whether there is something to control.
    Q_PROPERTY(bool ready READ isReady NOTIFY changed)
    Q_PROPERTY(bool seekable READ isSeekable NOTIFY changed)
    /// Whether there is anything to hear.
    Q_PROPERTY(bool hasAudio READ hasAudio NOTIFY changed)
    Q_PROPERTY(bool muted READ isMuted WRITE setMuted NOTIFY changed)
    Q_PROPERTY(qreal position READ position NOTIFY changed)
    Q_PROPERTY(qreal duration READ duration NOTIFY changed)
    Q_PROPERTY(QString positionText READ positionText NOTIFY changed)
    Q_PROPERTY(QString remainingText READ remainingText NOTIFY changed)
    /// Why there is nothing to see, in the person's language; empty while all is well.
    Q_PROPERTY(QString failureText READ failureText NOTIFY changed)

public:
    PlayerOutlet(std::shared_ptr<AVPlayerViewController> controller, QObject* parent);
    ~PlayerOutlet() override;

    [[nodiscard]] bool isPlaying() const;
    [[nodiscard]] bool isReady() const { return state().ready && state().failure == MovieFailure::none; }
    [[nodiscard]] bool isSeekable() const { return isReady() && state().seekable && state().duration > 0; }
    [[nodiscard]] bool hasAudio() const { return isReady() && state().hasAudio; }
    [[nodiscard]] bool isMuted() const { return state().muted; }
    void setMuted(bool muted);
    /// Where the movie is, or where it is on its way to.
    [[nodiscard]] qreal position() const;
    [[nodiscard]] qreal duration() const { return static_cast<qreal>(state().duration); }
    [[nodiscard]] QString positionText() const;
    [[nodiscard]] QString remainingText() const;
    [[nodiscard]] QString failureText() const;

    /// Plays or pauses; at the end, plays from the start.
    Q_INVOKABLE void toggle();
    Q_INVOKABLE void seek(qreal position);
    Q_INVOKABLE void skip(qreal milliseconds);
    /// Pauses and takes the screen away.
    Q_INVOKABLE void close();

    [[nodiscard]] const QImage& frame() const { return frame_; }
    /// The size of the place on the screen, in its pixels.
    void setPictureSize(QSize size);

signals:
    void changed();
    void frameChanged();

private:
    void open();
    void follow();
    [[nodiscard]] const MovieState& state() const { return movie_ ? movie_->state() : withoutMovie_; }

    std::shared_ptr<AVPlayerViewController> controller_;
    Observable::Observation observation_;
    std::unique_ptr<MoviePlayer> movie_;
    MovieState withoutMovie_;
    QImage frame_;
};

/// Where a movie is seen: the whole frame, as large as it fits.
class MovieItem : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tessaly::quick::PlayerOutlet* player READ player WRITE setPlayer NOTIFY playerChanged)

public:
    explicit MovieItem(QQuickItem* parent = nullptr);
    [[nodiscard]] PlayerOutlet* player() const { return player_; }
    void setPlayer(PlayerOutlet* player);

signals:
    void playerChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData*) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    void ask();

    PlayerOutlet* player_ = nullptr;
};

}  // namespace tessaly::quick
