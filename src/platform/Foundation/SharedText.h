#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace tessaly {

/// Immutable UTF-8 text that is cheap to copy: either a view of a text that lives as long as the program (no
/// allocation at all, as every property name is) or a shared, counted copy.
class SharedText {
public:
    SharedText() noexcept = default;
    /// Copies `text`.
    explicit SharedText(std::string_view text);
    /// Keeps the view: `text` must live as long as the program, as a string literal does.
    static SharedText literal(std::string_view text) noexcept;

    SharedText(const SharedText& other) noexcept;
    SharedText(SharedText&& other) noexcept;
    SharedText& operator=(const SharedText& other) noexcept;
    SharedText& operator=(SharedText&& other) noexcept;
    ~SharedText() { release(); }

    [[nodiscard]] std::string_view view() const noexcept { return {text_, size_}; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    friend bool operator==(const SharedText& a, const SharedText& b) noexcept { return a.view() == b.view(); }

private:
    void retain() const noexcept;
    void release() noexcept;

    const char* text_ = nullptr;
    std::uint32_t size_ = 0;
    bool counted_ = false;
};

}  // namespace tessaly
