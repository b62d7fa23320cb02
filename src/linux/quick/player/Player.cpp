extern "C" {
#include <libavutil/log.h>
}

#include <QAudioDevice>
#include <QAudioOutput>
#include <QCoreApplication>
#include <QLoggingCategory>
#include <QMediaDevices>
#include <QMediaPlayer>
#include <QPluginLoader>
#include <QTimer>
#include <QVideoSink>
#include <algorithm>

#include "linux/quick/player/MovieFile.h"
#include "linux/quick/player/MovieFrames.h"
#include "linux/quick/player/MoviePlayer.h"

namespace tessaly::quick {
namespace {

/// A finger asks for places faster than they are found.
constexpr int kSeekPause = 80;

class Player : public QObject, public MoviePlayer {
public:
    Player(const std::string& path, Events events);
    ~Player() override;
    [[nodiscard]] const MovieState& state() const override { return state_; }
    void setPlaying(bool playing) override;
    void seek(qint64 position) override;
    void setMuted(bool muted) override;
    void setPictureSize(QSize size) override { frames_->setSize(size); }

private:
    void connectPlayer();
    void follow(QMediaPlayer::MediaStatus status);
    void learn();
    void listen();
    void fail(MovieFailure failure);
    void moveOn();

    Events events_;
    MovieState state_;
    std::unique_ptr<QFile> file_;  ///< Outlives the player, which reads it on a thread.
    std::shared_ptr<MovieFrames> frames_ = std::make_shared<MovieFrames>();
    std::unique_ptr<QAudioOutput> audio_;
    QVideoSink sink_;
    QTimer seeking_;
    bool seekWaits_ = false;
    bool wantsToPlay_ = false;
    std::unique_ptr<QMediaPlayer> player_;
};

Player::Player(const std::string& path, Events events) : events_(std::move(events)) {
    frames_->setTaker([this](const QImage& picture) { events_.frame(picture); });
    seeking_.setSingleShot(true);
    seeking_.setInterval(kSeekPause);
    connect(&seeking_, &QTimer::timeout, this, &Player::moveOn);
    file_ = openMovieFile(path, state_.failure);
    if (!file_) return;
    const MovieFacts facts = movieFacts(*file_);
    frames_->setRotation(facts.rotation);
    state_.duration = facts.duration;
    player_ = std::make_unique<QMediaPlayer>();
    if (!player_->isAvailable()) {
        state_.failure = MovieFailure::noDecoder;
        return;
    }
    connectPlayer();
    player_->setVideoSink(&sink_);
    // After the caller's constructor, and after its screen has appeared: looking into the file takes its time.
    QTimer::singleShot(0, this, [this] { player_->setSourceDevice(file_.get()); });
}

Player::~Player() {
    frames_->setTaker([](const QImage&) {});
    if (!player_) return;
    player_->disconnect(this);
    player_->setVideoSink(nullptr);
    player_->setAudioOutput(nullptr);
    player_.reset();
}

void Player::connectPlayer() {
    // On the thread that a frame comes from: the main thread has other things to do.
    connect(
        &sink_, &QVideoSink::videoFrameChanged, &sink_,
        [frames = frames_](const QVideoFrame& frame) { frames->arrived(frame); }, Qt::DirectConnection);
    connect(player_.get(), &QMediaPlayer::mediaStatusChanged, this, &Player::follow);
    connect(player_.get(), &QMediaPlayer::durationChanged, this, &Player::learn);
    connect(player_.get(), &QMediaPlayer::seekableChanged, this, &Player::learn);
    connect(player_.get(), &QMediaPlayer::errorOccurred, this, [this] { fail(MovieFailure::unplayable); });
    connect(player_.get(), &QMediaPlayer::positionChanged, this, [this](qint64 position) {
        if (seeking_.isActive() || state_.ended) return;
        state_.position = position;
        events_.changed();
    });
}

void Player::follow(QMediaPlayer::MediaStatus status) {
    using enum QMediaPlayer::MediaStatus;
    if (status == InvalidMedia) return fail(MovieFailure::unplayable);
    if (status == EndOfMedia) {
        // Nothing of it could be decoded.
        if (player_->hasVideo() && !frames_->hasArrived()) return fail(MovieFailure::unplayable);
        state_.ended = true;
        state_.position = state_.duration;
        return events_.changed();
    }
    if ((status != LoadedMedia && status != BufferedMedia) || state_.ready) return;
    listen();
    if (!player_->hasVideo() && !state_.hasAudio) return fail(MovieFailure::unplayable);
    state_.ready = true;
    learn();
    // Paused, it shows its first frame; stopped, none.
    setPlaying(wantsToPlay_);
}

void Player::learn() {
    // Of some kinds of files the player knows no duration, and takes every place for the start.
    if (player_->duration() > 0) state_.duration = player_->duration();
    state_.seekable = player_->isSeekable() && player_->duration() > 0;
    events_.changed();
}

void Player::listen() {
    // An output without a device, or without a sound server, takes the whole program down.
    if (!player_->hasAudio() || QMediaDevices::defaultAudioOutput().isNull()) return;
    audio_ = std::make_unique<QAudioOutput>();
    audio_->setMuted(state_.muted);
    player_->setAudioOutput(audio_.get());
    state_.hasAudio = true;
}

void Player::fail(MovieFailure failure) {
    state_.failure = failure;
    events_.changed();
}

void Player::setPlaying(bool playing) {
    wantsToPlay_ = playing;
    if (!state_.ready || state_.failure != MovieFailure::none) return;
    if (playing && state_.ended) seek(0);
    playing ? player_->play() : player_->pause();
}

void Player::seek(qint64 position) {
    if (!state_.ready || (!state_.seekable && position != 0)) return;
    state_.ended = false;
    state_.position = std::clamp<qint64>(position, 0, state_.duration);
    seekWaits_ = true;
    if (!seeking_.isActive()) moveOn();
    events_.changed();
}

void Player::moveOn() {
    if (!seekWaits_) return;
    seekWaits_ = false;
    seeking_.start();
    // At the end it would have stopped, and show nothing that moves.
    if (player_->playbackState() == QMediaPlayer::StoppedState) player_->pause();
    player_->setPosition(state_.position);
    if (wantsToPlay_) player_->play();
}

void Player::setMuted(bool muted) {
    state_.muted = muted;
    if (audio_) audio_->setMuted(muted);
    events_.changed();
}

/// Whether the part of the toolkit that decodes is there. Without it the toolkit's own objects take the program down.
bool canDecode() {
    return std::ranges::any_of(QCoreApplication::libraryPaths(), [](const QString& folder) {
        return QPluginLoader(folder + QStringLiteral("/multimedia/libffmpegmediaplugin.so")).load();
    });
}

/// Says why there is nothing to see.
class NoPlayer : public MoviePlayer {
public:
    NoPlayer() { state_.failure = MovieFailure::noDecoder; }
    [[nodiscard]] const MovieState& state() const override { return state_; }
    void setPlaying(bool) override {}
    void seek(qint64) override {}
    void setMuted(bool) override {}
    void setPictureSize(QSize) override {}

private:
    MovieState state_;
};

std::unique_ptr<MoviePlayer> openMovie(const std::string& path, MoviePlayer::Events events) {
    // The other one takes the program down where its plugins are missing. It is chosen once, with the first player.
    qputenv("QT_MEDIA_BACKEND", "ffmpeg");
    // It tells all about the hardware that it does not find.
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, false);
    av_log_set_level(AV_LOG_QUIET);
    if (!canDecode()) return std::make_unique<NoPlayer>();
    return std::make_unique<Player>(path, std::move(events));
}

}  // namespace
}  // namespace tessaly::quick

extern "C" __attribute__((visibility("default"))) const tessaly::quick::PlayerModule tessalyPlayerModule{
    .open = tessaly::quick::openMovie,
};
