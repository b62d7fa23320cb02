#include <gtest/gtest.h>

#include <filesystem>

#include "platform/AVFoundation/AVAssetExportSession.h"
#include "platform/Foundation/Dispatch.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"

namespace tessaly::test {
namespace {

namespace fs = std::filesystem;

/// With a name of its live photo, and something that is no metadata.
ByteString pairedMovie() {
    ByteString header, keys;
    header.u32(0).u32(0).u32(1).u32(5).add(80, '\0');
    const std::string_view name = "com.apple.quicktime.content.identifier";
    keys.u32(1).u32(static_cast<std::uint32_t>(name.size() + 8)).add("mdta").add(name);
    const ByteString data = box("data", {ByteString().u32(1).u32(0).add("SECRET identifier")});
    const ByteString meta = box("meta", {fullBox("hdlr", 0, 0, {"\0\0\0\0mdta"_z}), fullBox("keys", 0, 0, {keys}),
                                         box("ilst", {box("\0\0\0\1"_z.text(), {data})})});
    return box("ftyp", {"qt  \0\0\0\0"_z})
        .add(box("moov", {fullBox("mvhd", 0, 0, {header}).add(meta)}))
        .add(box("mdat", {"FRAMES AND SOUND"}));
}

TEST(ExportSession, WritesMoviesWithoutTheirMetadataOnly) {
    const TemporaryFolder folder;
    const auto movie = AVAsset::assetWithURL(folder.write("in.mov", pairedMovie().text()));
    const std::string out = (folder.path() / "out.mov").string();
    using Status = AVAssetExportSessionStatus;
    struct Case {
        const char* why;
        std::shared_ptr<const AVAsset> asset;
        std::string_view preset;
        std::vector<AVMetadataItem> metadata;
        bool cancels;
        Status status;
        bool keepsIdentifier;
    };
    const std::vector<AVMetadataItem> empty{{"make", "", Value(""), {}}};
    const ByteString bytes = pairedMovie();
    const auto inMemory =
        AVAsset::assetWithData(std::make_shared<std::vector<std::byte>>(bytes.bytes().begin(), bytes.bytes().end()));
    const Case cases[] = {
        {"emptied", movie, AVAssetExportPresetPassthrough, empty, false, Status::completed, false},
        {"of bytes", inMemory, AVAssetExportPresetPassthrough, empty, false, Status::completed, false},
        {"its own", movie, AVAssetExportPresetPassthrough, {}, false, Status::completed, true},
        {"texts cannot be written",
         movie,
         AVAssetExportPresetPassthrough,
         {{"make", "", Value("M"), {}}},
         false,
         Status::failed,
         false},
        {"no other preset", movie, "AVAssetExportPresetLowQuality", empty, false, Status::failed, false},
        {"no movie", AVAsset::assetWithURL("/nowhere.mov"), AVAssetExportPresetPassthrough, empty, false,
         Status::failed, false},
        {"cancelled", movie, AVAssetExportPresetPassthrough, empty, true, Status::cancelled, false},
    };
    for (const Case& test : cases) {
        fs::remove(out);
        const auto session = std::make_shared<AVAssetExportSession>(test.asset, test.preset);
        session->outputURL = NSURL::fileURLWithPath(out);
        session->outputFileType = AVFileTypeQuickTimeMovie;
        session->metadata = test.metadata;
        if (test.cancels) session->cancelExport();
        DispatchSemaphore done;
        session->exportAsynchronouslyWithCompletionHandler([&] { done.signal(); });
        ASSERT_TRUE(done.wait(std::chrono::seconds(20)));
        EXPECT_EQ(session->status(), test.status) << test.why;
        EXPECT_EQ(session->error().empty(), test.status != Status::failed) << test.why;
        const std::string written = fs::exists(out) ? contentOf(out) : std::string();
        EXPECT_EQ(written.find("FRAMES AND SOUND") != std::string::npos, test.status == Status::completed) << test.why;
        EXPECT_EQ(written.find("SECRET") != std::string::npos, test.keepsIdentifier) << test.why;
    }
}

}  // namespace
}  // namespace tessaly::test
