#pragma once
#include <QFile>
#include <memory>
#include <string>

#include "linux/quick/player/MoviePlayer.h"

namespace tessaly::quick {

/// Opens a movie for reading; it stays readable when it is deleted meanwhile. Null, with the reason in `failure`, for
/// what is no file, and for what does not begin as a movie does: playlists would lead the decoder to other files and
/// to the network.
[[nodiscard]] std::unique_ptr<QFile> openMovieFile(const std::string& path, MovieFailure& failure);

/// What the player does not tell of a movie.
struct MovieFacts {
    int rotation = 0;     ///< Degrees clockwise by which its frames are turned to stand upright: 0, 90, 180 or 270.
    qint64 duration = 0;  ///< Milliseconds; 0 for unknown.
};

/// Reads the header only. The file is left where it was.
[[nodiscard]] MovieFacts movieFacts(QFile& file);

}  // namespace tessaly::quick
