#include "AppURL.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>

#include "platform/Foundation/NSURL.h"

namespace tessaly::viewer {
namespace {

constexpr std::string_view kAppScheme = "tessalyapp";
constexpr std::string_view kAllPhotos = "//allphotos";
constexpr std::string_view kIdentifiersKey = "phAssetsLocalIDCommaSeparated";
constexpr std::string_view kPositionKey = "currentPosition";
constexpr std::size_t kLongestURL = 1 << 20;
constexpr std::size_t kLongestIdentifier = 100;

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool isLetter(char c) { return lower(c) >= 'a' && lower(c) <= 'z'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool equalButForCase(std::string_view a, std::string_view b) { return std::ranges::equal(a, b, {}, lower, lower); }

/// What stands before the first colon, if that can be a scheme; else "".
std::string_view schemeOf(std::string_view text) {
    const std::string_view scheme = text.substr(0, text.find(':'));
    const auto belongs = [](char c) { return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.'; };
    const bool isOne = scheme.size() < text.size() && !scheme.empty() && isLetter(scheme.front()) &&
                       std::ranges::all_of(scheme, belongs);
    return isOne ? scheme : std::string_view();
}

std::string percentDecoded(std::string_view text) {
    return NSURL::URLWithString(std::string("file://").append(text)).path();
}

/// Calls `take` with each piece between the separators.
template <class Take>
void split(std::string_view text, char separator, const Take& take) {
    while (true) {
        const auto end = text.find(separator);
        take(text.substr(0, end));
        if (end == std::string_view::npos) return;
        text.remove_prefix(end + 1);
    }
}

/// The first value of the key in a query, as it stands there.
std::string_view valueOf(std::string_view key, std::string_view query) {
    std::optional<std::string_view> found;
    split(query, '&', [&](std::string_view pair) {
        const auto equals = pair.find('=');
        if (!found && equals != std::string_view::npos && pair.substr(0, equals) == key)
            found = pair.substr(equals + 1);
    });
    return found.value_or(std::string_view());
}

bool canBeIdentifier(std::string_view text) {
    const auto belongs = [](char c) { return isLetter(c) || isDigit(c) || c == '-' || c == '/'; };
    return !text.empty() && text.size() <= kLongestIdentifier && std::ranges::all_of(text, belongs);
}

std::size_t positionOf(std::string_view text) {
    std::size_t position = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), position);
    if (error == std::errc::result_out_of_range) return static_cast<std::size_t>(-1);
    return error == std::errc() && end == text.data() + text.size() ? position : 0;
}

bool isThisMachine(std::string_view host) {
    if (host.empty() || equalButForCase(host, "localhost")) return true;
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 && equalButForCase(host, name.data());
}

FileArgument absolute(const std::string& path) {
    std::error_code error;
    const auto whole = std::filesystem::absolute(path, error);
    return error ? FileArgument{{}, error.message()} : FileArgument{whole.string(), {}};
}

/// `rest` is what follows the scheme's colon: "///path", "//host/path" or "/path".
FileArgument fileOfURL(std::string_view rest) {
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const auto host = rest.substr(0, rest.find('/'));
        if (!isThisMachine(host)) return {{}, "is a file of another machine"};
        rest.remove_prefix(host.size());
    }
    const std::string path = percentDecoded(rest);
    if (!path.starts_with('/') || path.find('\0') != std::string::npos) return {{}, "is not the URL of a file"};
    return {path, {}};
}

}  // namespace

bool isAppURL(std::string_view text) { return equalButForCase(schemeOf(text), kAppScheme); }

std::optional<OpenRequest> parseAppURL(std::string_view text) {
    if (text.size() > kLongestURL || !isAppURL(text)) return std::nullopt;
    text.remove_prefix(kAppScheme.size() + 1);
    text = text.substr(0, text.find('#'));
    const auto question = text.find('?');
    std::string_view place = text.substr(0, question);
    if (place.ends_with('/')) place.remove_suffix(1);
    if (question == std::string_view::npos || !equalButForCase(place, kAllPhotos)) return std::nullopt;
    const std::string_view query = text.substr(question + 1);

    OpenRequest request;
    const std::size_t position = positionOf(valueOf(kPositionKey, query));
    std::size_t number = 0;
    split(percentDecoded(valueOf(kIdentifiersKey, query)), ',', [&](std::string_view identifier) {
        if (number++ == position) request.position = request.identifiers.size();
        if (canBeIdentifier(identifier)) request.identifiers.emplace_back(identifier);
    });
    if (request.identifiers.empty()) return std::nullopt;
    if (position >= number) request.position = request.identifiers.size();
    request.position = std::min(request.position, request.identifiers.size() - 1);
    return request;
}

FileArgument fileOfArgument(const std::string& argument) {
    const std::string_view scheme = schemeOf(argument);
    const std::string_view rest =
        scheme.empty() ? std::string_view() : std::string_view(argument).substr(scheme.size() + 1);
    if (equalButForCase(scheme, "file") && rest.starts_with('/')) return fileOfURL(rest);
    std::error_code ignored;
    if (rest.starts_with("//") && !std::filesystem::exists(argument, ignored))
        return {{}, "URLs of this kind cannot be opened"};
    return argument.empty() ? FileArgument{{}, "no file has an empty name"} : absolute(argument);
}

}  // namespace tessaly::viewer
