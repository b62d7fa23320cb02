#include "platform/Foundation/NSURL.h"

namespace tessaly {
namespace {

constexpr std::string_view kScheme = "file://";
constexpr std::string_view kHexadecimal = "0123456789ABCDEF";

bool staysPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("/-._~!$&'()*+,:=@").find(c) != std::string_view::npos;
}

int digitOf(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

}  // namespace

NSURL NSURL::fileURLWithPath(std::string_view path) {
    NSURL url;
    url.text_ = kScheme;
    for (const char c : path) {
        if (staysPlain(c)) {
            url.text_ += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        url.text_ += '%';
        url.text_ += kHexadecimal[byte >> 4];
        url.text_ += kHexadecimal[byte & 15];
    }
    return url;
}

NSURL NSURL::URLWithString(std::string_view text) {
    NSURL url;
    url.text_ = text;
    return url;
}

std::string NSURL::path() const {
    if (!isFileURL()) return text_;
    std::string path;
    for (std::size_t at = kScheme.size(); at < text_.size(); ++at) {
        const int high = text_[at] == '%' && at + 2 < text_.size() ? digitOf(text_[at + 1]) : -1;
        const int low = high >= 0 ? digitOf(text_[at + 2]) : -1;
        if (low >= 0) {
            path += static_cast<char>(high * 16 + low);
            at += 2;
        } else {
            path += text_[at];
        }
    }
    return path;
}

std::string NSURL::lastPathComponent() const {
    std::string whole = path();
    while (whole.size() > 1 && whole.back() == '/') whole.pop_back();
    return whole.substr(whole.rfind('/') + 1);
}

}  // namespace tessaly
