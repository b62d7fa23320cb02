#include "linux/location/PlaceIndex.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

#include "linux/imageio/Text.h"

namespace tessaly::location {
namespace {

using imageio::asText;
using imageio::ByteOrder;
using imageio::ByteReader;
using imageio::loadInteger;

constexpr std::string_view kMagic = "TSPLACES";
constexpr std::uint32_t kVersion = 1;
constexpr std::uint32_t kMostTiers = 16;

constexpr std::size_t kPlaceSize = 17;
constexpr std::size_t kLevelAt = 8;
constexpr std::size_t kRegionAt = 9;
constexpr std::size_t kNameAt = 11;
constexpr std::size_t kCityAt = 14;
constexpr std::size_t kRegionSize = 5;
constexpr std::size_t kCountrySize = 2;

constexpr double kEarthRadius = 6371.0088;  // Kilometres.
constexpr unsigned kBitsAnAxis = 21;
constexpr std::uint64_t kAxisMask = (std::uint64_t{1} << kBitsAnAxis) - 1;
constexpr double kHalfRange = static_cast<double>(kAxisMask) / 2;
constexpr double kKilometresAStep = kEarthRadius / kHalfRange;

constexpr double kFarthestLocality = 50;  // Kilometres, like all below.
constexpr double kFarthestRegion = 100;
constexpr double kFarthestSection = 3;      // Unless its own reach is longer.
constexpr double kSideAway = 500;           // Of a point beside the middle of nowhere,
constexpr double kFarthestNeighbour = 350;  // and of the place nearest to that.

/// The file keeps populations as 32 log10; level 0 is an unknown one.
double populationOfLevel(std::size_t level) { return level == 0 ? 0 : std::pow(10, static_cast<double>(level) / 32); }

/// Kilometres by population level: 3,500 inhabitants a square kilometre, and some outskirts. The largest cities are
/// denser than that, and have other towns around them.
const std::array<double, 256>& reachOfLevels() {
    static const std::array<double, 256> table = [] {
        constexpr double kOutskirts = 1.2;
        constexpr double kDensity = 3500;
        constexpr double kFarthest = 18;
        std::array<double, 256> reach{};
        for (std::size_t level = 0; level < reach.size(); ++level) {
            const double extent = std::sqrt(populationOfLevel(level) / (std::numbers::pi * kDensity));
            reach[level] = std::min(kOutskirts + extent, kFarthest);
        }
        return reach;
    }();
    return table;
}

std::uint32_t load24(const std::byte* at) {
    return loadInteger<std::uint16_t>(at, ByteOrder::little) | std::to_integer<std::uint32_t>(at[2]) << 16;
}

double radians(double degrees) { return degrees * std::numbers::pi / 180; }

std::array<double, 3> vectorOf(CLLocationCoordinate2D coordinate) {
    const double north = radians(coordinate.latitude);
    const double east = radians(coordinate.longitude);
    const auto steps = [](double component) { return (component + 1) * kHalfRange; };
    return {steps(std::cos(north) * std::cos(east)), steps(std::cos(north) * std::sin(east)), steps(std::sin(north))};
}

/// The square of a chord of the sphere, in steps. Below 500 km a chord is the way over ground to a thousandth.
double squaredDistance(const std::array<double, 3>& a, const std::array<double, 3>& b) {
    const double x = a[0] - b[0];
    const double y = a[1] - b[1];
    const double z = a[2] - b[2];
    return x * x + y * y + z * z;
}

double kilometresOf(double squaredSteps) { return std::sqrt(squaredSteps) * kKilometresAStep; }

/// Over ground, however far.
double groundKilometresOf(double squaredSteps) {
    return 2 * kEarthRadius * std::asin(std::min(1.0, kilometresOf(squaredSteps) / (2 * kEarthRadius)));
}

double squaredSteps(double kilometres) {
    const double steps = kilometres / kKilometresAStep;
    return steps * steps;
}

}  // namespace

std::optional<PlaceIndex> PlaceIndex::open(Bytes bytes) {
    ByteReader reader(bytes);
    const auto number = [&reader] { return reader.read<std::uint32_t>(ByteOrder::little).value_or(0); };
    const auto magic = reader.take(kMagic.size());
    if (!magic || asText(*magic) != kMagic || number() != kVersion || number() != bytes.size()) return std::nullopt;
    const std::uint32_t tiers = number();
    const std::uint32_t places = number();
    const std::uint32_t regions = number();
    const std::uint32_t names = number();
    if (tiers > kMostTiers || places == 0) return std::nullopt;

    PlaceIndex index;
    index.count_ = places;
    for (std::uint32_t i = 0; i < tiers; ++i) {
        const std::uint32_t first = number();
        const std::uint32_t count = number();
        const std::uint32_t level = number();
        if (first > places || count > places - first || level >= reachOfLevels().size()) return std::nullopt;
        index.tiers_.push_back({first, count, reachOfLevels()[level]});
    }
    const auto placeBytes = reader.take(std::uint64_t{places} * kPlaceSize);
    const auto regionBytes = reader.take(std::uint64_t{regions} * kRegionSize);
    const auto nameBytes = reader.take(names);
    if (!placeBytes || !regionBytes || !nameBytes || reader.remaining() != 0) return std::nullopt;
    index.places_ = *placeBytes;
    index.regions_ = *regionBytes;
    index.names_ = *nameBytes;
    return index;
}

// What a number of a place is asked for was checked: every one comes from a tier or from cityOf.

const std::byte* PlaceIndex::record(std::uint32_t place) const noexcept {
    return places_.data() + std::size_t{place} * kPlaceSize;
}

PlaceIndex::Vector PlaceIndex::position(std::uint32_t place) const noexcept {
    const auto packed = loadInteger<std::uint64_t>(record(place), ByteOrder::little);
    const auto axis = [packed](unsigned number) {
        return static_cast<double>(packed >> (number * kBitsAnAxis) & kAxisMask);
    };
    return {axis(0), axis(1), axis(2)};
}

unsigned PlaceIndex::levelOf(std::uint32_t place) const noexcept {
    return std::to_integer<unsigned>(record(place)[kLevelAt]);
}

double PlaceIndex::reach(std::uint32_t place) const { return place < count_ ? reachOfLevels()[levelOf(place)] : 0; }

double PlaceIndex::population(std::uint32_t place) const {
    return place < count_ ? populationOfLevel(levelOf(place)) : 0;
}

std::uint32_t PlaceIndex::regionOf(std::uint32_t place) const noexcept {
    return loadInteger<std::uint16_t>(record(place) + kRegionAt, ByteOrder::little);
}

std::optional<std::uint32_t> PlaceIndex::cityOf(std::uint32_t place) const noexcept {
    const std::uint32_t city = load24(record(place) + kCityAt);
    if (city == 0 || city > count_) return std::nullopt;
    return city - 1;
}

std::string_view PlaceIndex::countryOf(std::uint32_t place) const noexcept {
    const std::size_t at = regionOf(place) * kRegionSize;
    if (at >= regions_.size()) return {};
    const std::string_view country = asText(regions_.subspan(at, kCountrySize));
    const bool letters = std::all_of(country.begin(), country.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    return letters ? country : std::string_view{};
}

std::string_view PlaceIndex::regionName(std::uint32_t place) const noexcept {
    const std::size_t at = regionOf(place) * kRegionSize;
    return at < regions_.size() ? nameAt(load24(regions_.data() + at + kCountrySize)) : std::string_view{};
}

std::string_view PlaceIndex::nameAt(std::uint32_t offset) const noexcept {
    ByteReader reader(names_);
    if (!reader.seek(offset)) return {};
    const auto length = reader.read<std::uint8_t>();
    const auto text = reader.take(length.value_or(0));
    if (!text || !imageio::isValidUtf8(asText(*text))) return {};
    return asText(*text);
}

std::string_view PlaceIndex::name(std::uint32_t place) const {
    return place < count_ ? nameAt(load24(record(place) + kNameAt)) : std::string_view{};
}

CLLocationCoordinate2D PlaceIndex::coordinate(std::uint32_t place) const {
    if (place >= count_) return {};
    const Vector steps = position(place);
    const double x = steps[0] - kHalfRange;
    const double y = steps[1] - kHalfRange;
    const double z = steps[2] - kHalfRange;
    return {std::atan2(z, std::hypot(x, y)) * 180 / std::numbers::pi, std::atan2(y, x) * 180 / std::numbers::pi};
}

/// Shows the visitor the places of one tree that it may want: `visitor.place(place, squared distance)`, those of the
/// target's side first, and beyond a dividing plane only while `visitor.limit()`, a squared distance, reaches there.
template <class Visitor>
void PlaceIndex::visit(std::uint32_t first, std::uint32_t last, unsigned axis, const Vector& target,
                       Visitor& visitor) const {
    if (first == last) return;
    const std::uint32_t middle = first + (last - first) / 2;
    const Vector here = position(middle);
    visitor.place(middle, squaredDistance(here, target));
    const double beyond = target[axis] - here[axis];
    const unsigned following = axis == 2 ? 0 : axis + 1;
    const bool below = beyond < 0;
    if (below)
        visit(first, middle, following, target, visitor);
    else
        visit(middle + 1, last, following, target, visitor);
    if (beyond * beyond > visitor.limit()) return;
    if (below)
        visit(middle + 1, last, following, target, visitor);
    else
        visit(first, middle, following, target, visitor);
}

template <class Visitor>
void PlaceIndex::visitAll(const Vector& target, Visitor& visitor) const {
    for (const Tier& tier : tiers_) {
        visitor.begin(tier.longestReach);
        visit(tier.first, tier.first + tier.count, 0, target, visitor);
    }
}

std::optional<PlaceIndex::Found> PlaceIndex::nearestTo(const Vector& target, double kilometres) const {
    struct Nearest {
        double best;
        std::optional<std::uint32_t> found;
        void begin(double) {}
        void place(std::uint32_t place, double squared) {
            if (squared > best || (squared == best && found)) return;
            best = squared;
            found = place;
        }
        [[nodiscard]] double limit() const { return best; }
    } visitor{squaredSteps(kilometres), {}};
    visitAll(target, visitor);
    if (!visitor.found) return std::nullopt;
    return Found{*visitor.found, kilometresOf(visitor.best)};
}

std::optional<PlaceIndex::Found> PlaceIndex::nearest(CLLocationCoordinate2D coordinate, double kilometres) const {
    if (!CLLocationCoordinate2DIsValid(coordinate)) return std::nullopt;
    return nearestTo(vectorOf(coordinate), kilometres);
}

bool PlaceIndex::Box::contains(CLLocationCoordinate2D coordinate) const noexcept {
    if (coordinate.latitude < south || coordinate.latitude > north) return false;
    const double fromMiddle = std::remainder(coordinate.longitude - (west + east) / 2, 360);
    return std::abs(fromMiddle) <= (east - west) / 2;
}

std::pair<PlaceIndex::Vector, double> PlaceIndex::circleAround(const Box& box) {
    if (box.east - box.west > 180) {
        const bool isNorth = box.south + box.north > 0;
        const Vector pole = vectorOf({isNorth ? 90.0 : -90.0, 0});
        return {pole, 1 + squaredDistance(pole, vectorOf({isNorth ? box.south : box.north, 0}))};
    }
    // A box's corners are what is farthest from its middle, as long as it is no more than half around the Earth.
    const Vector middle = vectorOf({(box.south + box.north) / 2, (box.west + box.east) / 2});
    return {middle, 1 + std::max(squaredDistance(middle, vectorOf({box.south, box.west})),
                                 squaredDistance(middle, vectorOf({box.north, box.west})))};
}

std::vector<std::uint32_t> PlaceIndex::mostPopulous(const Box& box, std::size_t most) const {
    if (!(box.south <= box.north && box.west <= box.east) || most == 0) return {};
    const auto [middle, farthest] = circleAround(box);
    struct Inside {
        const PlaceIndex& index;
        const Box& box;
        double farthest;
        std::vector<std::pair<int, std::uint32_t>> found = {};  // The level, negative, to have the largest first.
        void place(std::uint32_t place, double squared) {
            if (squared <= farthest && box.contains(index.coordinate(place)))
                found.emplace_back(-static_cast<int>(index.levelOf(place)), place);
        }
        [[nodiscard]] double limit() const { return farthest; }
    } visitor{*this, box, farthest};
    for (const Tier& tier : tiers_) {
        visit(tier.first, tier.first + tier.count, 0, middle, visitor);
        if (visitor.found.size() >= most) break;  // The following tiers' places are smaller.
    }
    const std::size_t count = std::min(most, visitor.found.size());
    std::partial_sort(visitor.found.begin(), visitor.found.begin() + static_cast<std::ptrdiff_t>(count),
                      visitor.found.end());
    std::vector<std::uint32_t> places;
    for (std::size_t i = 0; i < count; ++i) places.push_back(visitor.found[i].second);
    return places;
}

std::vector<PlaceIndex::Found> PlaceIndex::nearestOnes(CLLocationCoordinate2D coordinate, std::size_t most) const {
    if (!CLLocationCoordinate2DIsValid(coordinate) || most == 0) return {};
    struct Nearest {
        const PlaceIndex& index;
        std::size_t most;
        std::vector<std::pair<double, std::uint32_t>> heap = {};  // The farthest one at its top.
        void begin(double) {}
        void place(std::uint32_t place, double squared) {
            if (squared > limit() || index.cityOf(place)) return;
            heap.emplace_back(squared, place);
            std::push_heap(heap.begin(), heap.end());
            if (heap.size() <= most) return;
            std::pop_heap(heap.begin(), heap.end());
            heap.pop_back();
        }
        [[nodiscard]] double limit() const {
            return heap.size() < most ? std::numeric_limits<double>::infinity() : heap.front().first;
        }
    } visitor{*this, most};
    visitAll(vectorOf(coordinate), visitor);
    std::sort_heap(visitor.heap.begin(), visitor.heap.end());
    std::vector<Found> found;
    for (const auto& [squared, place] : visitor.heap) found.push_back({place, groundKilometresOf(squared)});
    return found;
}

std::uint32_t PlaceIndex::localityOf(const Vector& target, const Found& nearest) const {
    // The share of its reach that a place is away, squared; it is below 1 for those that reach the target.
    struct Deepest {
        const PlaceIndex& index;
        std::string_view country;
        std::uint32_t found;
        double best = 1;
        double longest = 0;
        void begin(double longestReach) { longest = squaredSteps(longestReach); }
        void place(std::uint32_t place, double squared) {
            if (squared > limit()) return;
            const double share = squared / squaredSteps(index.reach(place));
            if (share > best || index.countryOf(place) != country) return;
            best = share;
            found = place;
        }
        [[nodiscard]] double limit() const { return longest * best; }
    } visitor{*this, countryOf(nearest.place), nearest.place};
    visitAll(target, visitor);
    return cityOf(visitor.found).value_or(visitor.found);
}

std::string_view PlaceIndex::sectionAt(const Vector& target, std::uint32_t city) const {
    struct Section {
        const PlaceIndex& index;
        std::uint32_t city;
        double best;
        double longest = 0;
        std::optional<std::uint32_t> found = {};
        void begin(double longestReach) { longest = squaredSteps(std::max(longestReach, kFarthestSection)); }
        void place(std::uint32_t place, double squared) {
            if (squared >= best || index.cityOf(place) != city ||
                squared > squaredSteps(std::max(index.reach(place), kFarthestSection)))
                return;
            best = squared;
            found = place;
        }
        [[nodiscard]] double limit() const { return std::min(best, longest); }
    } visitor{*this, city, squaredDistance(position(city), target)};
    visitAll(target, visitor);
    return visitor.found ? name(*visitor.found) : std::string_view{};
}

/// The country of the places nearest to six points around the target, where it is the same. One side may be empty: at a
/// coast of the open sea more of them are.
std::string_view PlaceIndex::surroundingCountry(const Vector& target) const {
    constexpr int kSides = 6;
    constexpr double kAway = kSideAway / kEarthRadius;
    const double x = target[0] / kHalfRange - 1;
    const double y = target[1] / kHalfRange - 1;
    const double z = target[2] / kHalfRange - 1;
    const double across = std::hypot(x, y);
    if (across < 1e-6) return {};  // A pole has no east.
    const Vector here = {x, y, z};
    const Vector east = {-y / across, x / across, 0};
    const Vector north = {-z * x / across, -z * y / across, across};
    std::string_view country;
    int empty = 0;
    for (int side = 0; side < kSides; ++side) {
        const double turn = 2 * std::numbers::pi * side / kSides;
        Vector point;
        for (std::size_t i = 0; i < point.size(); ++i) {
            const double onwards = std::cos(turn) * north[i] + std::sin(turn) * east[i];
            point[i] = (std::cos(kAway) * here[i] + std::sin(kAway) * onwards + 1) * kHalfRange;
        }
        const auto found = nearestTo(point, kFarthestNeighbour);
        if (!found) {
            if (++empty > 1) return {};
            continue;
        }
        const std::string_view there = countryOf(found->place);
        if (!country.empty() && there != country) return {};
        country = there;
    }
    return country;
}

std::optional<PlaceIndex::Names> PlaceIndex::names(CLLocationCoordinate2D coordinate) const {
    if (!CLLocationCoordinate2DIsValid(coordinate)) return std::nullopt;
    const Vector target = vectorOf(coordinate);
    Names names;
    const auto nearest = nearestTo(target, kFarthestRegion);
    if (!nearest) {
        names.country = surroundingCountry(target);
    } else if (nearest->kilometres > kFarthestLocality) {
        names.administrativeArea = regionName(nearest->place);
        names.country = countryOf(nearest->place);
    } else {
        const std::uint32_t locality = localityOf(target, *nearest);
        names.locality = name(locality);
        names.subLocality = sectionAt(target, locality);
        if (names.subLocality == names.locality) names.subLocality = {};
        names.administrativeArea = regionName(locality);
        names.country = countryOf(locality);
    }
    if (names.country.empty()) return std::nullopt;
    return names;
}

}  // namespace tessaly::location
