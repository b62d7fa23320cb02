#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessaly {

/// Why a download did not arrive.
struct DownloadFault {
    enum class Kind : std::uint8_t {
        none,
        badAddress,   ///< Not a URL, or neither http nor https.
        unreachable,  ///< No such host, or no connection to it.
        refused,      ///< The server answers with `status`, or with something that is no answer.
        notFound,     ///< As `refused`, for good: there is no such file.
        stalled,      ///< No byte for the stall limit.
        interrupted,  ///< The connection was cut.
        wrongLength,  ///< Whole, but not of the size that was expected; or larger than the limit.
        cancelled,    ///< The progress function said so.
        cannotWrite,  ///< `error` says why.
        insecure,     ///< No proof of the server's identity, or it sends us where we must not follow.
    };

    Kind kind = Kind::none;
    long status = 0;  ///< The HTTP status, 0 without an answer.
    int error = 0;    ///< errno of `cannotWrite`.

    explicit operator bool() const noexcept { return kind != Kind::none; }
};

struct DownloadRequest {
    /// http or https, a name and a password for the server included where it wants them.
    std::string url;
    std::optional<std::uint64_t> expectedSize;  ///< In bytes; anything else is a fault.
    std::chrono::seconds stallLimit{20};
    /// Called on the downloading thread, at least ten times a second, also while no byte comes: 0 to 1, never less than
    /// before, 0 while the size is unknown, 1 at the end. false stops the download. Empty where nobody wants to know.
    std::function<bool(double)> progress;

    /// PROPFIND (RFC 4918, 9.1) succeeds with 207 alone. After HEAD no byte has come: the size that the server
    /// announces is compared with the expected one.
    std::string method = "GET";
    std::string body;
    std::vector<std::string> headers;  ///< "Name: value".
    std::string* finalURL = nullptr;   ///< Where to put the address that redirects led to, without name and password.
};

/// Fetches into the file `path`, which is there whole afterwards or, after a fault, as it was before. Blocks; any
/// number of threads may download at once.
[[nodiscard]] DownloadFault download(const DownloadRequest& request, const std::string& path);

/// Fetches into memory, at most `limit` bytes. `content` is empty after a fault.
[[nodiscard]] DownloadFault downloadToMemory(const DownloadRequest& request, std::size_t limit,
                                             std::vector<std::byte>& content);

/// A sentence for people, without a full stop.
[[nodiscard]] std::string_view describe(DownloadFault::Kind kind);

/// The URL of a file below `base`: the path, which is plain text with slashes, is percent-encoded, and a query of
/// `base` stays at the end.
[[nodiscard]] std::string urlByAppending(std::string_view base, std::string_view relativePath);

}  // namespace tessaly
