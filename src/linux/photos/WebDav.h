#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Listings of folders by WebDAV (RFC 4918).
namespace tessaly::photos {

/// What a server tells of one file or folder in a folder.
struct RemoteEntry {
    std::string name;  ///< Plain text, without slashes.
    bool isFolder = false;
    std::uint64_t size = 0;
    std::int64_t changed = 0;  ///< Nanoseconds since 1970, 0 where the server does not tell.
    std::string etag;          ///< Of the content (RFC 9110, 8.8.3), "" where the server does not tell.
    friend bool operator==(const RemoteEntry&, const RemoteEntry&) = default;
};

/// The body of a PROPFIND that asks for no more than these.
[[nodiscard]] std::string_view propertyRequest();

/// The entries of a multistatus answer (13.) that are directly in the folder at `url`; whatever else a server puts in
/// there is passed over, hidden files too.
/// @return nullopt for what is no multistatus at all, else "" or why the answer cannot be relied on.
[[nodiscard]] std::optional<std::string> readMultistatus(std::string_view text, std::string_view url,
                                                         std::vector<RemoteEntry>& entries);

/// "Wed, 21 Oct 2015 07:28:00 GMT" (RFC 9110, 5.6.7), in nanoseconds since 1970; 0 for anything else.
[[nodiscard]] std::int64_t timeOfHttpDate(std::string_view text);

/// A name that a file or folder below ours can have; hidden ones are none of ours.
[[nodiscard]] bool isVisibleName(std::string_view name);

}  // namespace tessaly::photos
