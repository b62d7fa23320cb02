#include "linux/imageio/IsoBox.h"

#include <algorithm>

namespace tessaly::imageio {
namespace {

constexpr std::uint64_t kShortHead = 8;
constexpr std::uint64_t kLongHead = 16;

}  // namespace

IsoBoxes::IsoBoxes(ByteSource& source, std::uint64_t position, std::uint64_t length) noexcept
    : source_(source), position_(std::min(position, source.size())), end_(std::min(length, source.size() - position_)) {
    end_ += position_;
}

std::optional<IsoBox> IsoBoxes::next() {
    if (left_ == 0 || end_ - position_ < kShortHead) return std::nullopt;
    --left_;
    const auto head = source_.bytes(position_, kShortHead);
    if (!head) return std::nullopt;
    IsoBox box;
    box.start = position_;
    std::ranges::copy(asText(head->subspan(4, 4)), box.code.begin());
    std::uint64_t size = loadInteger<std::uint32_t>(head->data(), ByteOrder::big);
    std::uint64_t headSize = kShortHead;
    if (size == 1) {
        size = source_.read<std::uint64_t>(position_ + kShortHead).value_or(0);
        headSize = kLongHead;
    } else if (size == 0) {
        size = end_ - position_;  // To the end of its parent.
    }
    if (box.type() == "uuid") {
        const auto userType = source_.bytes(position_ + headSize, box.userType.size());
        if (!userType) return std::nullopt;
        std::ranges::copy(*userType, box.userType.begin());
        headSize += box.userType.size();
    }
    if (size < headSize || headSize > end_ - position_) return std::nullopt;
    box.position = position_ + headSize;
    const std::uint64_t present = std::min(size, end_ - position_);
    box.length = present - headSize;
    position_ += present;
    return box;
}

std::optional<IsoBox> findBox(ByteSource& source, const IsoBox& parent, std::string_view type, std::uint64_t skipped) {
    IsoBoxes boxes(source, parent, skipped);
    while (const auto box = boxes.next())
        if (box->type() == type) return box;
    return std::nullopt;
}

}  // namespace tessaly::imageio
