#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "viewer/Intake.h"
#include "viewer/Request.h"
#include "viewer/StandardInput.h"

namespace tessaly::viewer {
namespace {

using namespace test;

ByteString photo() { return jpeg({}); }
ByteString movie() {
    const ByteString movieHeader =
        fullBox("mvhd", 0, 0, {ByteString().u32(0).u32(0).u32(1000).u32(2000).add(80, '\0')});
    return box("ftyp", {"qt  ", ByteString().u32(0), "qt  "}).add(box("moov", {movieHeader})).add(box("mdat", {"x"}));
}

/// What was taken in, as "name:type" an attachment.
std::vector<std::string> attachmentsOf(const Intake& intake) {
    std::vector<std::string> all;
    for (const auto& item : intake.items) {
        for (const auto& provider : item->attachments) {
            const auto* url = std::get_if<NSURL>(&provider->item());
            all.push_back((url ? url->lastPathComponent() : "bytes") + ":" + std::string(provider->typeIdentifier()));
        }
    }
    return all;
}

std::vector<std::string> complaintsOf(const Intake& intake) {
    std::vector<std::string> all;
    for (const Complaint& complaint : intake.complaints) all.push_back(complaint.name + ": " + complaint.what);
    return all;
}

TEST(Intake, TakesWhatIsAPhotoAndNamesTheRest) {
    const TemporaryFolder folder;
    const std::string base = folder.path().string() + "/";
    folder.write("photo.jpg", photo());
    folder.write("a b\xC3\xBC.txt", photo());
    folder.write("movie.dat", movie());
    folder.write("note.jpg", "only text");
    folder.write("empty.jpg", "");
    folder.write("album/2.jpg", photo());
    folder.write("album/1.jpg", photo());
    folder.write("album/notes.txt", "text");
    folder.write("album/nothing.jpg", "");
    folder.write("album/.hidden.jpg", photo());
    folder.write("album/deeper/3.jpg", photo());
    folder.write("texts/notes.txt", "text");
    ASSERT_EQ(::mkfifo((base + "pipe").c_str(), 0600), 0);
    const struct {
        const char* why;
        std::string argument;
        std::vector<std::string> attachments;
        std::string complaint;
    } cases[] = {
        {"a photo", base + "photo.jpg", {"photo.jpg:public.jpeg"}, ""},
        {"a URL; content counts", "file://" + base + "a%20b%C3%BC.txt", {"a b\xC3\xBC.txt:public.jpeg"}, ""},
        {"a movie", base + "movie.dat", {"movie.dat:com.apple.quicktime-movie"}, ""},
        {"a text", base + "note.jpg", {}, "is not a photo or video of a known format"},
        {"empty", base + "empty.jpg", {}, "is empty"},
        {"missing", base + "missing.jpg", {}, "no such file"},
        {"a pipe is not waited for", base + "pipe", {}, "is not a regular file"},
        {"another kind of URL", "https://example.org/a.jpg", {}, "URLs of this kind cannot be opened"},
        {"a folder", base + "album", {"1.jpg:public.jpeg", "2.jpg:public.jpeg"}, ""},
        {"a folder without photos", base + "texts/", {}, "there are no photos or videos in it"},
    };
    std::vector<std::string> arguments, attachments, complaints;
    for (const auto& [why, argument, taken, complaint] : cases) {
        const Intake intake = takeIn({argument});
        EXPECT_EQ(attachmentsOf(intake), taken) << why;
        const auto told = complaint.empty() ? std::vector<std::string>() : std::vector{argument + ": " + complaint};
        EXPECT_EQ(complaintsOf(intake), told) << why;
        arguments.push_back(argument);
        attachments.insert(attachments.end(), taken.begin(), taken.end());
        complaints.insert(complaints.end(), told.begin(), told.end());
    }
    const Intake all = takeIn(arguments);
    EXPECT_EQ(attachmentsOf(all), attachments) << "the usable ones are shown, in their order";
    EXPECT_EQ(complaintsOf(all), complaints);
    EXPECT_EQ(all.items.size(), 4U) << "an input item an argument";
    EXPECT_EQ(all.attachments, 5U);
}

TEST(Intake, NamesWhatMayNotBeRead) {
    if (::geteuid() == 0) GTEST_SKIP() << "nothing is forbidden to root";
    const TemporaryFolder folder;
    const std::string file = folder.write("photo.jpg", photo());
    const std::string album = (folder.path() / "album").string();
    folder.write("album/1.jpg", photo());
    ::chmod(file.c_str(), 0);
    ::chmod(album.c_str(), 0);
    const Intake intake = takeIn({file, album});
    ::chmod(album.c_str(), 0700);
    ASSERT_EQ(intake.complaints.size(), 2U);
    EXPECT_EQ(intake.complaints[0].what, "permission denied");
    EXPECT_EQ(intake.complaints[1].name, album);
    EXPECT_EQ(intake.attachments, 0U);
}

/// Standard input is that file, as long as the object.
class RedirectedInput {
public:
    explicit RedirectedInput(const std::string& path) : before_(::dup(STDIN_FILENO)) {
        const int file = ::open(path.c_str(), O_RDONLY);
        ::dup2(file, STDIN_FILENO);
        ::close(file);
    }
    RedirectedInput(const RedirectedInput&) = delete;
    RedirectedInput& operator=(const RedirectedInput&) = delete;
    ~RedirectedInput() {
        ::dup2(before_, STDIN_FILENO);
        ::close(before_);
    }

private:
    int before_;
};

TEST(Intake, ReadsStandardInput) {
    const TemporaryFolder folder;
    const struct {
        const char* why;
        std::string file;
        std::vector<std::string> attachments;
        std::vector<std::string> complaints;
    } cases[] = {
        {"a photo stays in memory", folder.write("photo", photo()), {"bytes:public.jpeg"}, {}},
        {"a movie needs a file", folder.write("movie", movie()), {"standard-input:com.apple.quicktime-movie"}, {}},
        {"a text", folder.write("text", "text"), {}, {"-: is not a photo or video of a known format"}},
        {"nothing", folder.write("empty", ""), {}, {"-: is empty"}},
    };
    for (const auto& [why, file, attachments, complaints] : cases) {
        const RedirectedInput input(file);
        const Intake intake = takeIn({"-"});
        EXPECT_EQ(attachmentsOf(intake), attachments) << why;
        EXPECT_EQ(complaintsOf(intake), complaints) << why;
    }
    const RedirectedInput input(folder.write("photo", photo()));
    EXPECT_EQ(takeIn({"-", "-"}).complaints.size(), 1U) << "there is only one";
}

TEST(Intake, KeepsAScratchFileAsLongAsTheIntake) {
    const TemporaryFolder folder;
    const RedirectedInput input(folder.write("movie", movie()));
    std::string path;
    {
        const Intake intake = takeIn({"-"});
        ASSERT_EQ(intake.attachments, 1U);
        path = std::get<NSURL>(intake.items[0]->attachments[0]->item()).path();
        EXPECT_EQ(contentOf(path), movie().text());
    }
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(path).parent_path()));
}

TEST(StandardInput, DoesNotWaitForATerminal) {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0) GTEST_SKIP() << "this system has no terminals";
    EXPECT_THAT(readStandardInput(terminal).fault, testing::HasSubstr("terminal"));
    ::close(terminal);
    EXPECT_NE(readStandardInput(-1).fault, "");
}

TEST(Request, EndsOnce) {
    int ends = 0;
    Request request({}, [&] { ++ends; });
    std::vector<bool> expired;
    const auto note = [&](bool was) { expired.push_back(was); };
    request.completeRequestReturningItems({}, note);
    request.completeRequestReturningItems({}, note);
    request.cancelRequestWithError({"Cancelled", 0});
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(expired, (std::vector{false, true}));
}

}  // namespace
}  // namespace tessaly::viewer
