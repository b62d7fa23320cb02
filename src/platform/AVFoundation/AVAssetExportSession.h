#pragma once
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/AVFoundation/AVAsset.h"
#include "platform/Foundation/NSURL.h"

namespace tessaly {

/// Sound and frames are copied as they are.
inline constexpr std::string_view AVAssetExportPresetPassthrough = "AVAssetExportPresetPassthrough";
inline constexpr std::string_view AVFileTypeQuickTimeMovie = "com.apple.quicktime-movie";

enum class AVAssetExportSessionStatus : std::uint8_t { unknown, exporting, completed, failed, cancelled };

/// Writes a movie anew, from its beginning to its end, with its movie box first where it is not in fragments, so that
/// it plays while it is still being fetched.
class AVAssetExportSession : public std::enable_shared_from_this<AVAssetExportSession> {
public:
    AVAssetExportSession(std::shared_ptr<const AVAsset> asset, std::string_view presetName)
        : asset_(std::move(asset)), presetName_(presetName) {}

    /// A file there is replaced.
    NSURL outputURL;
    /// A movie keeps its container: QuickTime and MP4 are one, and a Matroska file stays one.
    std::string_view outputFileType;
    /// Takes the place of all that the movie has: place, dates, user data, tracks of positions. Empty texts write
    /// nothing; others cannot be written. Without any item the movie keeps its own.
    std::vector<AVMetadataItem> metadata;

    /// Once. The handler comes on another thread; the session lives until then.
    void exportAsynchronouslyWithCompletionHandler(std::function<void()> handler);
    /// One that has not begun to write does not begin.
    void cancelExport() noexcept { cancelled_ = true; }
    [[nodiscard]] AVAssetExportSessionStatus status() const noexcept { return status_; }
    /// Why it failed; "" unless it did. To be read once the handler was called.
    [[nodiscard]] const std::string& error() const noexcept { return error_; }

private:
    void run();

    std::shared_ptr<const AVAsset> asset_;
    std::string_view presetName_;
    std::atomic<bool> cancelled_{false};
    std::atomic<AVAssetExportSessionStatus> status_{AVAssetExportSessionStatus::unknown};
    std::string error_;
};

}  // namespace tessaly
