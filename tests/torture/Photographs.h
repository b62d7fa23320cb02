#pragma once
#include <cstdint>
#include <optional>
#include <random>
#include <string>

namespace tessaly::test {

/// One stream of decisions from one seed: the same everywhere.
class Decisions {
public:
    explicit Decisions(std::uint64_t seed) : random_(seed) {}
    [[nodiscard]] std::size_t below(std::size_t end) {
        return end == 0 ? 0 : static_cast<std::size_t>(random_() % end);
    }
    [[nodiscard]] bool percent(std::size_t chance) { return below(100) < chance; }
    template <class Items>
    [[nodiscard]] const auto& oneOf(const Items& items) {
        return items[below(std::size(items))];
    }

private:
    std::mt19937_64 random_;
};

/// Photos that can be told apart by their bytes, whatever became of their metadata: the number stands in a table that
/// the pixels need.
class Photographs {
public:
    /// `areAlike`: the photos differ only behind the first 20,000 bytes, and were taken at the same moment.
    explicit Photographs(bool areAlike) : areAlike_(areAlike) {}

    /// A JPEG file of a photo that was never there before.
    [[nodiscard]] std::string take();
    /// What another editor makes of the photo's file: of the same moment, where the file still tells that.
    [[nodiscard]] std::string version(const std::string& file);

private:
    [[nodiscard]] std::string file(int photo, int version, bool hasMoment) const;
    bool areAlike_;
    int photos_ = 0;
    int versions_ = 0;
};

/// Which photo the file shows; nullopt for what is no whole file of one.
[[nodiscard]] std::optional<int> photoIn(const std::string& file);
/// Whether the file says when it was taken.
[[nodiscard]] bool saysMoment(const std::string& file);
/// "photo 3, version 1, 412 bytes"
[[nodiscard]] std::string describe(const std::string& file);

}  // namespace tessaly::test
