#pragma once
#include <string>
#include <string_view>

namespace tessaly {

/// A URL as text. File URLs carry their path percent-encoded; any byte survives the way there and back.
class NSURL {
public:
    NSURL() = default;
    [[nodiscard]] static NSURL fileURLWithPath(std::string_view path);
    /// The text as it is; nothing is checked or encoded.
    [[nodiscard]] static NSURL URLWithString(std::string_view text);

    [[nodiscard]] const std::string& absoluteString() const noexcept { return text_; }
    [[nodiscard]] bool empty() const noexcept { return text_.empty(); }
    [[nodiscard]] bool isFileURL() const noexcept { return text_.starts_with("file://"); }
    /// The decoded path: of a file URL what follows the scheme, of anything else the text itself.
    [[nodiscard]] std::string path() const;
    [[nodiscard]] std::string lastPathComponent() const;
    friend bool operator==(const NSURL&, const NSURL&) = default;

private:
    std::string text_;
};

}  // namespace tessaly
