#pragma once
#include <optional>
#include <string>

#include "linux/location/PlaceIndex.h"

namespace tessaly::location {

/// A places file in memory for as long as the object lives.
///
/// It is mapped, so that a program that asks for one name reads some hundred of its pages and not all of it. Unlike a
/// user's photo, a resource of the program's is not shortened while it is in use: installing replaces it.
class PlaceFile {
public:
    /// Nullopt when there is no such file, or it is no places file; a diagnostic line says so.
    [[nodiscard]] static std::optional<PlaceFile> open(const std::string& path);

    /// Of the program's resources, opened by the first who asks and kept; null when there is none. Any thread.
    [[nodiscard]] static const PlaceIndex* installed();

    PlaceFile(PlaceFile&& other) noexcept;
    PlaceFile& operator=(PlaceFile&& other) noexcept;
    PlaceFile(const PlaceFile&) = delete;
    PlaceFile& operator=(const PlaceFile&) = delete;
    ~PlaceFile();

    [[nodiscard]] const PlaceIndex& index() const noexcept { return *index_; }

private:
    explicit PlaceFile(Bytes bytes) noexcept : bytes_(bytes) {}

    Bytes bytes_;
    std::optional<PlaceIndex> index_;
};

}  // namespace tessaly::location
