#pragma once
#include <optional>
#include <string>

#include "platform/AVFoundation/AVAsset.h"
#include "platform/Foundation/Value.h"

namespace tessaly {

/// A place as a file tells it, with only what it tells.
struct MeasuredPlace {
    double latitude = 0;             ///< Degrees, north positive.
    double longitude = 0;            ///< Degrees, east positive.
    std::optional<double> altitude;  ///< Metres, negative below the sea.
    std::optional<double> course;    ///< Degrees clockwise from north: where the camera looked.
    std::optional<double> speed;     ///< In the file's own unit ({GPS} SpeedRef; Exif 2.32, 4.6.6).
};

/// What a file says of time and place, and nothing besides: programs get it, whatever the rows show.
struct MeasuredFacts {
    /// ISO 8601, with the file's own offset where it has one: "2024-09-14T18:52:07+02:00". Without, the camera's clock
    /// showed that time. "" unknown.
    std::string dateTaken;
    std::optional<MeasuredPlace> place;
};

/// Of a picture, from its properties.
[[nodiscard]] MeasuredFacts measuredFacts(const Dictionary& properties);
/// Of a movie.
[[nodiscard]] MeasuredFacts measuredFacts(const AVAsset& asset);

}  // namespace tessaly
