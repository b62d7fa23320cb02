#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSExtensionContext.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"

namespace tessaly {
namespace {

using namespace test;

Data dataOf(const ByteString& bytes) {
    return std::make_shared<const std::vector<std::byte>>(bytes.bytes().begin(), bytes.bytes().end());
}

ByteString movie(const ByteString& brands) {
    ByteString header;
    header.u32(0).u32(0).u32(1000).u32(2000).add(80, '\0');
    return box("ftyp", {brands}).add(box("moov", {fullBox("mvhd", 0, 0, {header})}));
}

ByteString picture() {
    return png({pngChunk("IHDR", ByteString().u32(1).u32(1).u8(8).u8(0).u8(0).u8(0).u8(0)), pngChunk("IEND", {})});
}

TEST(ItemProvider, LooksAtTheContentAndNotAtTheName) {
    struct Case {
        const char* name;
        ByteString content;
        std::string_view type;
        bool isImage, isMovie;
    };
    const Case cases[] = {
        {"photo.jpg", jpeg({}), "public.jpeg", true, false},
        {"renamed.mov", jpeg({}), "public.jpeg", true, false},
        {"no-suffix", picture(), "public.png", true, false},
        {"clip.heic", movie("qt  \0\0\0\0qt  "_z), "com.apple.quicktime-movie", false, true},
        {"clip", movie("mp42\0\0\0\0mp42"_z), "public.mpeg-4", false, true},
        {"page.jpg", "<html><body>not found</body></html>", "", false, false},
        {"empty.png", "", "", false, false},
    };
    const TemporaryFolder folder;
    for (const auto& [name, content, type, isImage, isMovie] : cases) {
        const NSItemProvider file(NSURL::fileURLWithPath(folder.write(name, content.bytes())));
        const NSItemProvider bytes(dataOf(content));
        for (const NSItemProvider* provider : {&file, &bytes}) {
            EXPECT_EQ(provider->typeIdentifier(), type) << name;
            EXPECT_EQ(provider->hasItemConformingToTypeIdentifier(kUTTypeImage), isImage) << name;
            EXPECT_EQ(provider->hasItemConformingToTypeIdentifier(kUTTypeMovie), isMovie) << name;
            EXPECT_FALSE(provider->hasItemConformingToTypeIdentifier(kUTTypeHEIC)) << name;
        }
    }
    EXPECT_EQ(NSItemProvider(NSURL::fileURLWithPath("/nowhere/photo.jpg")).typeIdentifier(), "");
    EXPECT_EQ(NSItemProvider(NSItemProvider::Item()).typeIdentifier(), "");
    EXPECT_EQ(NSItemProvider(UIImageRef()).typeIdentifier(), "");
    EXPECT_EQ(NSItemProvider(UIImage::imageMadeOnDemand({4, 3}, [] { return CGImageRef(); })).typeIdentifier(),
              kUTTypeImage);
}

TEST(ItemProvider, LoadsOnAnotherThreadWhatConforms) {
    struct Case {
        std::string_view type;
        bool loads;
        const char* why;
    };
    const Case cases[] = {
        {kUTTypeImage, true, "what it is"},
        {"public.jpeg", true, "exactly what it is"},
        {kUTTypeHEIC, false, "another picture"},
        {kUTTypeMovie, false, "no movie"},
    };
    const Data bytes = dataOf(jpeg({}));
    const NSItemProvider provider(bytes);
    for (const auto& [type, loads, why] : cases) {
        DispatchSemaphore done;
        NSItemProvider::Item loaded;
        std::string problem;
        std::thread::id thread;
        provider.loadItemForTypeIdentifier(type, [&](const NSItemProvider::Item& item, const std::string& error) {
            loaded = item;
            problem = error;
            thread = std::this_thread::get_id();
            done.signal();
        });
        ASSERT_TRUE(done.wait(std::chrono::seconds(5))) << why;
        EXPECT_NE(thread, std::this_thread::get_id()) << why;
        EXPECT_EQ(problem.empty(), loads) << why;
        ASSERT_EQ(std::holds_alternative<Data>(loaded), loads) << why;
        EXPECT_TRUE(!loads || std::get<Data>(loaded) == bytes) << "the same bytes, not a copy";
    }
}

TEST(UniformType, ConformsToItselfAndToItsFamily) {
    struct Case {
        std::string_view type, to;
        bool want;
    };
    const Case cases[] = {
        {"public.heic", kUTTypeHEIC, true},
        {"public.heic", kUTTypeImage, true},
        {"public.heic", kUTTypeMovie, false},
        {"public.image", kUTTypeHEIC, false},
        {"com.apple.quicktime-movie", kUTTypeMovie, true},
        {"com.apple.quicktime-movie", kUTTypeImage, false},
        {"public.movie", kUTTypeMovie, true},
        {"org.webmproject.webm", kUTTypeMovie, true},
        {"", kUTTypeImage, false},
        {"", "", false},
    };
    for (const auto& [type, to, want] : cases) EXPECT_EQ(UTTypeConformsTo(type, to), want) << type << " " << to;
}

}  // namespace
}  // namespace tessaly
