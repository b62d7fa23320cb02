#include "support/Malformed.h"

#include <algorithm>
#include <array>
#include <random>

namespace tessaly::test {
namespace {

/// Sizes stand near the start, but for files with their boxes at the end.
constexpr std::size_t kHead = 4096;

struct Place {
    std::size_t offset;
    std::size_t bytes;
    bool isLittle;
};

bool stands(const std::vector<std::byte>& file, const Place& place, std::uint64_t value) {
    for (std::size_t i = 0; i < place.bytes; ++i) {
        const std::size_t shift = (place.isLittle ? i : place.bytes - 1 - i) * 8;
        if (std::to_integer<std::uint64_t>(file[place.offset + i]) != (value >> shift & 0xffU)) return false;
    }
    return true;
}

/// Where a number stands in the head, in any width and order; by every offset, as formats have it anywhere.
std::vector<Place> placesOf(const std::vector<std::byte>& file, std::uint64_t value) {
    std::vector<Place> places;
    for (const std::size_t bytes : {std::size_t{4}, std::size_t{2}})
        for (std::size_t at = 0; at + bytes <= std::min(kHead, file.size()); ++at)
            for (const bool isLittle : {false, true})
                if (const Place place{at, bytes, isLittle}; stands(file, place, value)) places.push_back(place);
    return places;
}

void put(std::vector<std::byte>& file, const Place& place, std::uint64_t value) {
    for (std::size_t i = 0; i < place.bytes; ++i) {
        const std::size_t shift = (place.isLittle ? i : place.bytes - 1 - i) * 8;
        file[place.offset + i] = static_cast<std::byte>(value >> shift);
    }
}

Malformed inflated(std::vector<std::byte> file, std::size_t width, std::size_t height, std::mt19937& random) {
    constexpr std::array<std::uint64_t, 6> kSizes{16384, 30000, 65535, 100000, 0x7fffffff, 0xffffffff};
    std::string how = "inflated:";
    for (const std::uint64_t side : {width, height}) {
        auto places = placesOf(file, side);
        const std::uint64_t size = random() % 3 == 0 ? side * (2 + random() % 200) : kSizes[random() % kSizes.size()];
        if (places.empty()) continue;
        // All of them, or one: a format may hold the size twice.
        const bool isOne = random() % 2 == 0;
        if (isOne) places = {places[random() % places.size()]};
        for (const Place& place : places) put(file, place, size);
        how += " " + std::to_string(size) + (isOne ? " once" : " everywhere");
    }
    return {how, std::move(file)};
}

}  // namespace

Malformed malformed(const std::vector<std::byte>& original, std::size_t width, std::size_t height,
                    std::uint32_t number) {
    std::mt19937 random(number * 2654435761U);
    std::vector<std::byte> file = original;
    switch (number % 3) {
        case 0: {
            const std::size_t length = 1 + random() % original.size();
            file.resize(length);
            return {"cut to " + std::to_string(length) + " bytes", std::move(file)};
        }
        case 1: {
            const auto count = static_cast<unsigned>(1 + random() % 24);
            const std::size_t range = random() % 2 == 0 ? std::min<std::size_t>(512, file.size()) : file.size();
            for (unsigned i = 0; i < count; ++i) file[random() % range] ^= static_cast<std::byte>(1U << random() % 8);
            return {std::to_string(count) + " bits flipped", std::move(file)};
        }
        default:
            return inflated(std::move(file), width, height, random);
    }
}

}  // namespace tessaly::test
