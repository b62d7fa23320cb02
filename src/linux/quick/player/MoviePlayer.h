#pragma once
#include <QImage>
#include <QSize>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tessaly::quick {

enum class MovieFailure : std::uint8_t {
    none,
    missing,     ///< The file is gone, or may not be read.
    unplayable,  ///< Damaged, or of a kind that nothing here decodes.
    noDecoder,   ///< Nothing that plays movies is installed.
};

/// Times in milliseconds.
struct MovieState {
    bool ready = false;  ///< The times are known.
    bool ended = false;
    bool seekable = false;
    bool hasAudio = false;  ///< There is sound, and a device that plays it.
    bool muted = false;
    qint64 position = 0;
    qint64 duration = 0;  ///< 0 for unknown.
    MovieFailure failure = MovieFailure::none;
};

/// Plays one movie file, paused at first. Main thread; so are the blocks called, and never once it is destroyed.
class MoviePlayer {
public:
    struct Events {
        std::function<void()> changed;             ///< The state is another.
        std::function<void(const QImage&)> frame;  ///< Upright, at most of the size that was asked for.
    };

    MoviePlayer() = default;
    MoviePlayer(const MoviePlayer&) = delete;
    MoviePlayer& operator=(const MoviePlayer&) = delete;
    virtual ~MoviePlayer() = default;
    [[nodiscard]] virtual const MovieState& state() const = 0;
    virtual void setPlaying(bool playing) = 0;
    virtual void seek(qint64 position) = 0;
    virtual void setMuted(bool muted) = 0;
    /// What the frames fit into, in pixels of the screen; until then none are made.
    virtual void setPictureSize(QSize size) = 0;
};

/// What "tessaly-player.so" offers under kPlayerModule.
struct PlayerModule {
    std::unique_ptr<MoviePlayer> (*open)(const std::string& path, MoviePlayer::Events events);
};
inline constexpr const char* kPlayerModule = "tessalyPlayerModule";

}  // namespace tessaly::quick
