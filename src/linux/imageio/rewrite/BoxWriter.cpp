#include "linux/imageio/rewrite/BoxWriter.h"

#include <utility>

namespace tessaly::imageio {
namespace {

constexpr std::uint64_t kShortHead = 8;
constexpr std::uint64_t kLongHead = 16;

}  // namespace

std::uint64_t boxHeadSize(std::uint64_t length) { return length + kShortHead > UINT32_MAX ? kLongHead : kShortHead; }

ByteVector boxHead(std::string_view type, std::uint64_t length) {
    ByteWriter writer;
    if (boxHeadSize(length) == kShortHead)
        writer.write(static_cast<std::uint32_t>(length + kShortHead)).text(type);
    else
        writer.write(std::uint32_t{1}).text(type).write(length + kLongHead);
    return writer.take();
}

ByteVector boxBytes(std::string_view type, Bytes content) {
    ByteWriter writer;
    writer.bytes(boxHead(type, content.size())).bytes(content);
    return writer.take();
}

void addBox(RewritePlan& plan, std::string_view type, RewritePlan content) {
    plan.add(boxHead(type, content.size()));
    plan.append(std::move(content), 0);
}

}  // namespace tessaly::imageio
