#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "linux/imageio/ByteReader.h"
#include "platform/CoreLocation/CLLocation.h"

namespace tessaly::location {

using imageio::Bytes;

/// Populated places and what they belong to, read where they stand in the bytes of a places file (scripts/make-places
/// describes it). Opening looks at the head only. Whatever the bytes say, nothing outside them is read: an answer from
/// damaged ones may be wrong or missing. Any number of threads may ask.
class PlaceIndex {
public:
    /// Nullopt when the bytes are no places file or not all of one. The caller keeps the bytes.
    [[nodiscard]] static std::optional<PlaceIndex> open(Bytes bytes);

    /// Views into the file; a part that is not known is empty.
    struct Names {
        std::string_view subLocality;
        std::string_view locality;
        std::string_view administrativeArea;
        std::string_view country;  ///< Two letters, never empty.
    };
    /// What the coordinate is called; nullopt far from everything and for what is no coordinate.
    ///
    /// The file has a point for each place and no borders, so the answer is an estimate:
    /// - The country is that of the nearest place, however small: people live on both sides of most borders.
    /// - A place extends as far as its inhabitants need (reach). Of the places in the country that reach the
    ///   coordinate, the one wins that has it deepest inside, so that a village beside a large city is found in
    ///   its own middle and not beyond. Where none reaches, it is the nearest one.
    /// - A section stands for its city. The sub-locality is the city's nearest section, unless the middle of the
    ///   city itself is nearer.
    /// - Beyond 50 km no place is named, only the administrative area and the country; beyond 100 km, only the
    ///   country, and only where its places lie around it: deserts and forests, but not the open sea.
    [[nodiscard]] std::optional<Names> names(CLLocationCoordinate2D coordinate) const;

    struct Found {
        std::uint32_t place = 0;
        double kilometres = 0;
    };
    /// The nearest of all places within a distance.
    [[nodiscard]] std::optional<Found> nearest(CLLocationCoordinate2D coordinate, double kilometres) const;

    /// Degrees. `west` may be below -180 and `east` beyond 180 where the date line lies between them.
    struct Box {
        double south = 0, west = 0, north = 0, east = 0;
        [[nodiscard]] bool contains(CLLocationCoordinate2D coordinate) const noexcept;
    };
    /// The most populous places of a box, at most so many and the largest first. A box that is upside down has none.
    [[nodiscard]] std::vector<std::uint32_t> mostPopulous(const Box& box, std::size_t most) const;
    /// The nearest cities, towns and villages, sections of them left out: at most so many and the nearest first.
    [[nodiscard]] std::vector<Found> nearestOnes(CLLocationCoordinate2D coordinate, std::size_t most) const;

    [[nodiscard]] std::uint32_t count() const noexcept { return count_; }
    [[nodiscard]] CLLocationCoordinate2D coordinate(std::uint32_t place) const;
    [[nodiscard]] std::string_view name(std::uint32_t place) const;
    /// How far a place extends, in kilometres.
    [[nodiscard]] double reach(std::uint32_t place) const;
    /// To some four hundredths; 0 where it is not known.
    [[nodiscard]] double population(std::uint32_t place) const;

private:
    /// A position on the sphere, in the file's steps.
    using Vector = std::array<double, 3>;
    /// Of places of a like population: a k-d tree of its own.
    struct Tier {
        std::uint32_t first;
        std::uint32_t count;
        double longestReach;  // Kilometres.
    };

    PlaceIndex() = default;
    [[nodiscard]] const std::byte* record(std::uint32_t place) const noexcept;
    [[nodiscard]] Vector position(std::uint32_t place) const noexcept;
    [[nodiscard]] unsigned levelOf(std::uint32_t place) const noexcept;
    [[nodiscard]] std::uint32_t regionOf(std::uint32_t place) const noexcept;
    [[nodiscard]] std::optional<std::uint32_t> cityOf(std::uint32_t place) const noexcept;
    [[nodiscard]] std::string_view countryOf(std::uint32_t place) const noexcept;
    [[nodiscard]] std::string_view regionName(std::uint32_t place) const noexcept;
    [[nodiscard]] std::string_view nameAt(std::uint32_t offset) const noexcept;

    template <class Visitor>
    void visit(std::uint32_t first, std::uint32_t last, unsigned axis, const Vector& target, Visitor& visitor) const;
    template <class Visitor>
    void visitAll(const Vector& target, Visitor& visitor) const;

    /// A circle that holds a box: its middle, and its radius squared, in steps.
    [[nodiscard]] static std::pair<Vector, double> circleAround(const Box& box);
    [[nodiscard]] std::optional<Found> nearestTo(const Vector& target, double kilometres) const;
    [[nodiscard]] std::uint32_t localityOf(const Vector& target, const Found& nearest) const;
    [[nodiscard]] std::string_view sectionAt(const Vector& target, std::uint32_t city) const;
    [[nodiscard]] std::string_view surroundingCountry(const Vector& target) const;

    Bytes places_;
    Bytes regions_;
    Bytes names_;
    std::uint32_t count_ = 0;
    std::vector<Tier> tiers_;
};

}  // namespace tessaly::location
