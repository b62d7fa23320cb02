#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "linux/imageio/ByteSource.h"

namespace tessaly::imageio {

/// A box of the ISO base media file format (ISO/IEC 14496-12, 4.2), which QuickTime calls an atom.
struct IsoBox {
    std::array<char, 4> code{};
    std::array<std::byte, 16> userType{};  ///< Of a "uuid" box.
    std::uint64_t start = 0;               ///< Of its header.
    std::uint64_t position = 0;            ///< Of its content; of a "uuid" box behind the user type.
    std::uint64_t length = 0;              ///< Of its content, cut where its parent ends.

    [[nodiscard]] std::string_view type() const noexcept { return {code.data(), code.size()}; }
    [[nodiscard]] std::uint64_t end() const noexcept { return position + length; }
};

/// The boxes that stand one behind the other in a part of a source. Ends at the first that cannot be one.
class IsoBoxes {
public:
    /// Boxes of one level at most, where nothing else is set: real files have a few dozen.
    static constexpr std::size_t kMaximumBoxes = 4096;

    IsoBoxes(ByteSource& source, std::uint64_t position, std::uint64_t length) noexcept;
    /// Those of the whole source.
    explicit IsoBoxes(ByteSource& source) noexcept : IsoBoxes(source, 0, source.size()) {}
    /// Those inside a box, behind `skipped` bytes of its own.
    IsoBoxes(ByteSource& source, const IsoBox& parent, std::uint64_t skipped = 0) noexcept
        : IsoBoxes(source, parent.position + skipped, parent.length > skipped ? parent.length - skipped : 0) {}

    void setLimit(std::size_t boxes) noexcept { left_ = boxes; }
    [[nodiscard]] std::optional<IsoBox> next();

private:
    ByteSource& source_;
    std::uint64_t position_;
    std::uint64_t end_;
    std::size_t left_ = kMaximumBoxes;
};

/// The first box of that type inside `parent`.
[[nodiscard]] std::optional<IsoBox> findBox(ByteSource& source, const IsoBox& parent, std::string_view type,
                                            std::uint64_t skipped = 0);

/// The user type of a "uuid" box with an XMP packet (XMP part 3, 1.2.7).
inline constexpr std::string_view kXmpUserType = "\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC";

/// Of the one that holds the metadata of a CR3.
inline constexpr std::string_view kCanonBox = "\x85\xC0\xB6\x87\x82\x0F\x11\xE0\x81\x11\xF4\xCE\x46\x2B\x6A\x48";

/// Whether it is a "uuid" box of that user type (16 bytes).
[[nodiscard]] inline bool isUserBox(const IsoBox& box, std::string_view userType) noexcept {
    return box.type() == "uuid" && asText(Bytes(box.userType)) == userType;
}

/// Bytes that a full box (version and flags) has before its content.
inline constexpr std::uint64_t kFullBoxHead = 4;

}  // namespace tessaly::imageio
