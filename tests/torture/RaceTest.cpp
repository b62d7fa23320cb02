#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "../photos/LibraryFixture.h"
#include "InMemory.h"
#include "KilledChild.h"

// Another program that saves its own file at any instant of a change.
namespace tessaly::test {
namespace {

namespace fs = std::filesystem;

class RaceTest : private InMemory, public LibraryTest {
protected:
    void SetUp() override {
        if (!canTraceChildren()) GTEST_SKIP() << "this system does not let a child be traced";
    }
    /// A library with one photo, edited if need be.
    void prepare(bool isEdited) {
        close();
        for (const char* name : {"photos", "library", "data"}) fs::remove_all(folder_.path() / name);
        fs::create_directories(photos());
        write("a.jpg", photo(1));
        reopen();
        ASSERT_EQ(library_->addFolder(photos()), "");
        library_->scan();
        if (isEdited) ASSERT_EQ(change([&] { wishEdit("a.jpg", editedPhoto(1)); }), "");
        close();
    }
    void work(const std::function<void()>& wish) {
        reopen();
        library_->confirmsDeletion = [](const auto&) { return true; };
        static_cast<void>(library_->performChangesAndWait(wish));
        close();
    }
    /// Whether a file with these bytes is in the folder, in the trash or among the originals.
    [[nodiscard]] bool isSomewhere(const ByteString& content) const {
        for (const fs::path& folder : {fs::path(photos()), fs::path(trash()), fs::path(own()) / "originals"}) {
            std::error_code isMissing;
            for (fs::recursive_directory_iterator entry(folder, isMissing), end; !isMissing && entry != end; ++entry)
                if (entry->is_regular_file() && contentOf(entry->path().string()) == content.text()) return true;
        }
        return false;
    }
};

/// Which instants of a change are tried: a sample of them, or all with TESSALY_RACE=all; TESSALY_RACE=SEED draws
/// another sample.
class Instants {
public:
    [[nodiscard]] std::size_t after(std::size_t step) { return step + 1 + (isAll_ ? 0 : random_() % kWidest); }

private:
    static constexpr std::size_t kWidest = 9;
    const std::string wanted_ = std::getenv("TESSALY_RACE") ? std::getenv("TESSALY_RACE") : "";
    const bool isAll_ = wanted_ == "all";
    std::minstd_rand random_{static_cast<unsigned>(std::strtoul(wanted_.c_str(), nullptr, 10)) + 1};
};

TEST_F(RaceTest, NeitherFileIsLost) {
    const struct {
        const char* what;
        bool isEdited;
        std::function<void()> wish;
    } cases[] = {
        {"edit", false, [&] { wishEdit("a.jpg", editedPhoto(1)); }},
        {"edit with another extension", false, [&] { wishEdit("a.jpg", editedPhoto(1), "jpeg"); }},
        {"edit again", true, [&] { wishEdit("a.jpg", editedPhoto(1, 50)); }},
        {"revert", true, [&] { request(asset("a.jpg")).revertAssetContentToOriginal(); }},
        {"trash", false,
         [&] {
             const PHAssetRef photo = find("a.jpg");
             PHAssetChangeRequest::deleteAssets(std::span(&photo, 1));
         }},
    };
    const ByteString theirs = photo(30);
    Instants instants;
    for (const auto& [what, isEdited, wish] : cases)
        for (const std::size_t killAfter : {std::size_t{0}, std::size_t{1}})
            for (std::size_t step = instants.after(0), steps = SIZE_MAX; step <= steps; step = instants.after(step)) {
                prepare(isEdited);
                bool hasSaved = false;
                bool isOursToKeep = false;
                // Over the name, as editors do; of one that is gone at the moment they make a new one.
                const auto save = [&](std::size_t at) {
                    if (at != step) return;
                    // What they replace themselves is theirs to lose.
                    isOursToKeep = contentOf(path("a.jpg")) != photo(1).text();
                    write(".theirs", theirs);
                    fs::rename(path(".theirs"), path("a.jpg"));
                    hasSaved = true;
                };
                const auto end = runChild([&] { work(wish); }, killAfter == 0 ? SIZE_MAX : step + killAfter, save);
                if (!hasSaved) break;
                steps = end.isKilled ? SIZE_MAX : std::min(steps, end.steps);
                reopen();
                library_->scan();
                EXPECT_TRUE(!isOursToKeep || isSomewhere(photo(1)))
                    << what << ", step " << step << ", killed after " << killAfter;
                EXPECT_TRUE(isSomewhere(theirs)) << what << ", step " << step << ", killed after " << killAfter;
                EXPECT_EQ(count("journal"), 0) << what << ", step " << step << ", killed after " << killAfter;
            }
}

}  // namespace
}  // namespace tessaly::test
