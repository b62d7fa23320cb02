#include "platform/Foundation/SharedText.h"

#include <atomic>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace tessaly {
namespace {

// A counted text is one block: the count, then the characters, so that a copy of a text is one allocation.
struct Block {
    std::atomic<std::uint32_t> count{1};
};

Block* blockOf(const char* text) {
    return std::launder(reinterpret_cast<Block*>(const_cast<char*>(text) - sizeof(Block)));
}

}  // namespace

SharedText::SharedText(std::string_view text) {
    if (text.empty()) return;
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) text = text.substr(0, 0);
    auto* memory = static_cast<char*>(::operator new(sizeof(Block) + text.size()));
    new (memory) Block;
    std::memcpy(memory + sizeof(Block), text.data(), text.size());
    text_ = memory + sizeof(Block);
    size_ = static_cast<std::uint32_t>(text.size());
    counted_ = true;
}

SharedText SharedText::literal(std::string_view text) noexcept {
    SharedText result;
    result.text_ = text.data();
    result.size_ = static_cast<std::uint32_t>(text.size());
    return result;
}

SharedText::SharedText(const SharedText& other) noexcept
    : text_(other.text_), size_(other.size_), counted_(other.counted_) {
    retain();
}

SharedText::SharedText(SharedText&& other) noexcept
    : text_(std::exchange(other.text_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      counted_(std::exchange(other.counted_, false)) {}

SharedText& SharedText::operator=(const SharedText& other) noexcept {
    SharedText copy(other);
    return *this = std::move(copy);
}

SharedText& SharedText::operator=(SharedText&& other) noexcept {
    std::swap(text_, other.text_);
    std::swap(size_, other.size_);
    std::swap(counted_, other.counted_);
    return *this;
}

void SharedText::retain() const noexcept {
    if (counted_) blockOf(text_)->count.fetch_add(1, std::memory_order_relaxed);
}

void SharedText::release() noexcept {
    if (!counted_) return;
    Block* block = blockOf(text_);
    if (block->count.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        block->~Block();
        ::operator delete(block);
    }
}

}  // namespace tessaly
