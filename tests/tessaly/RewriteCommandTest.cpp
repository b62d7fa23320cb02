#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <set>

#include "support/Containers.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"
#include "tessaly/EditValues.h"
#include "tessaly/Json.h"

// "strip" and "edit" as a person calls them: where the files go, what is said, and that nothing is ever lost.
namespace tessaly::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class Rewriting : public testing::Test {
protected:
    ProcessResult run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), TESSALY_PROGRAM);
        return runProcess(std::move(arguments), {"XDG_CONFIG_HOME=" + (folder.path() / "config").string()});
    }
    /// A photo with a name in it and `size` bytes of picture.
    std::string photo(const std::string& name, std::size_t size = 100) const {
        TiffBuilder tiff;
        tiff.text(TiffBuilder::first, 0x013B, "SECRET artist").text(TiffBuilder::gps, 1, "N");
        std::string file(jpegWithExif(tiff.build()).text());
        file.insert(file.size() - 2, std::string(size, 'p'));
        return folder.write(name, file);
    }
    std::set<std::string> names() const {
        std::set<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            if (entry.path().filename() != "config") found.insert(entry.path().filename().string());
        return found;
    }

    TemporaryFolder folder;
};

TEST_F(Rewriting, WritesACopyBesideAndLeavesTheOriginal) {
    const std::string original = photo("a.jpg");
    const std::string before = contentOf(original);
    const ProcessResult result = run({"strip", original});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(contentOf(original), before);
    EXPECT_EQ(names(), (std::set<std::string>{"a.jpg", "a-clean.jpg"}));
    EXPECT_THAT(contentOf(folder.path() / "a-clean.jpg"), Not(HasSubstr("SECRET")));
    const ProcessResult again = run({"strip", original});
    EXPECT_EQ(again.status, 1);
    EXPECT_THAT(again.errors, HasSubstr("a-clean.jpg: there is a file already"));
    EXPECT_EQ(run({"strip", "--force", original}).status, 0);
}

TEST_F(Rewriting, GoesOnAfterAFailureAndEndsInASummary) {
    const std::string good = photo("good.jpg"), last = photo("last.jpg");
    const std::string bad = folder.write("bad.jpg", "not a photo");
    const std::string out = (folder.path() / "out" / "deep").string();
    const ProcessResult result = run({"strip", "--check", "-o", out, good, bad, "missing.jpg", last});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("good.jpg: clean\n"));
    EXPECT_THAT(result.output, HasSubstr("2 of 4 files cleaned; the others are as they were\n"));
    EXPECT_THAT(result.errors, HasSubstr("bad.jpg: is not a photo or video of a known format"));
    EXPECT_THAT(result.errors, HasSubstr("missing.jpg: no such file"));
    EXPECT_TRUE(std::filesystem::exists(out + "/last.jpg"));
}

// One name in two folders, one result through a link, results of the last run: nothing is written over anything.
TEST_F(Rewriting, WritesNoOutputOverAnother) {
    const auto path = [this](const char* name) { return (folder.path() / name).string(); };
    for (const char* name : {"tree/a", "tree/b", "in"}) std::filesystem::create_directories(path(name));
    for (const char* name : {"tree/a/x.jpg", "tree/b/x.jpg", "tree/y.jpg", "in/p.jpg", "in/p-clean.jpg"}) photo(name);
    EXPECT_EQ(run({"strip", "-r", "-o", path("out"), path("tree")}).status, 0);
    for (const char* name : {"out/a/x.jpg", "out/b/x.jpg", "out/y.jpg"})
        EXPECT_TRUE(std::filesystem::exists(path(name))) << name;
    EXPECT_EQ(run({"strip", "-o", path("one.jpg"), path("tree/y.jpg")}).status, 0);
    EXPECT_TRUE(std::filesystem::is_regular_file(path("one.jpg")));
    std::filesystem::create_directories(path("links"));
    std::filesystem::create_symlink("y.jpg", path("links/x.jpg"));

    struct Row {
        std::vector<std::string> arguments;
        const char *one, *other;
    };
    const Row rows[] = {
        {{"strip", "--force", "-o", path("new"), path("tree/a/x.jpg"), path("tree/b/x.jpg")}, "a/x.jpg", "b/x.jpg"},
        {{"edit", "--set", "artist=A", "-o", path("new"), path("tree/a/x.jpg"), path("tree/b/x.jpg")}, "a/x", "b/x"},
        {{"thumb", "--force", "-o", path("new/"), path("tree/a/x.jpg"), path("tree/b/x.jpg")}, "a/x.jpg", "b/x.jpg"},
        {{"strip", "--force", "-o", path("links"), path("tree/a/x.jpg"), path("tree/y.jpg")}, "a/x.jpg", "y.jpg"},
        {{"strip", "--force", "-o", path("tree"), path("tree/y.jpg")}, "y.jpg", "made of it"},
        {{"strip", "--force", "-r", path("in")}, "in/p.jpg", "in/p-clean.jpg"},
        {{"strip", "-r", "-o", path("in"), path("in")}, "in/p.jpg", "made of it"},
        {{"strip", "-o", path("new.png"), path("tree/y.jpg")}, "new.png", "ending"},
        {{"strip", "-o", path("new.jpg"), path("tree/y.jpg"), path("in/p.jpg")}, "new.jpg", "several"},
    };
    for (const Row& row : rows) {
        const ProcessResult result = run(row.arguments);
        EXPECT_EQ(result.status, 2) << row.one << result.output;
        EXPECT_THAT(result.errors, AllOf(HasSubstr(row.one), HasSubstr(row.other)));
    }
    for (const char* name : {"new", "new.png", "new.jpg", "links/y.jpg"})
        EXPECT_FALSE(std::filesystem::exists(path(name))) << name;
    EXPECT_THAT(contentOf(path("in/p-clean.jpg")), HasSubstr("SECRET"));
}

TEST_F(Rewriting, TellsAndKeepsWhatGoes) {
    const std::string path = photo("a.jpg"), backup = (folder.path() / "before").string();
    const std::string before = contentOf(path);
    std::filesystem::create_hard_link(path, folder.path() / "b.jpg");
    const ProcessResult told = run({"strip", "--dry-run", "--in-place", path});
    EXPECT_EQ(told.status, 0) << told.errors;
    EXPECT_THAT(told.output, AllOf(HasSubstr("TIFF: Artist"), HasSubstr("GPS: LatitudeRef")));
    EXPECT_EQ(contentOf(path), before);
    const ProcessResult result = run({"strip", "--in-place", "--backup", backup, path});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.errors, HasSubstr("1 other name (a hard link)"));
    EXPECT_EQ(contentOf(backup + "/a.jpg"), before);
    folder.write("a.jpg", before);
    EXPECT_EQ(run({"edit", "--set", "artist=B", "--in-place", "--backup", backup, path}).status, 1);
    EXPECT_EQ(contentOf(path), before) << "a second backup would have replaced the first";
}

TEST_F(Rewriting, CleansWhatComesThroughAPipe) {
    const std::string path = photo("a.jpg"), program = TESSALY_PROGRAM;
    ASSERT_EQ(run({"strip", path}).status, 0);
    const std::string clean = contentOf(folder.path() / "a-clean.jpg");
    for (const std::string& call :
         {"cat " + path + " | " + program + " strip --check -", program + " strip - < " + path,
          "cat " + path + " | " + program + " strip /dev/stdin", "cat " + path + " | " + program + " strip /dev/fd/0",
          program + " strip -o - " + path})
        EXPECT_EQ(runProcess({"/bin/sh", "-c", call}).output, clean) << call;
    EXPECT_EQ(runProcess({"/bin/sh", "-c", program + " strip - < /dev/null"}).status, 1);
    EXPECT_EQ(run({"strip", "-", path}).status, 2);
    EXPECT_EQ(names(), (std::set<std::string>{"a.jpg", "a-clean.jpg"}));
}

TEST_F(Rewriting, InPlaceKeepsModeAttributesAndOnRequestTimes) {
    const std::string path = photo("a.jpg");
    const std::string link = (folder.path() / "link.jpg").string();
    std::filesystem::create_symlink("a.jpg", link);
    ::chmod(path.c_str(), 0640);
    const bool hasAttributes = ::setxattr(path.c_str(), "user.note", "kept", 4, 0) == 0;
    const timespec then[2] = {{1'000'000, 0}, {1'000'000, 0}};
    ::utimensat(AT_FDCWD, path.c_str(), then, 0);
    EXPECT_EQ(run({"strip", "--in-place", "--keep-dates", link}).status, 0);
    EXPECT_THAT(contentOf(path), Not(HasSubstr("SECRET")));
    EXPECT_TRUE(std::filesystem::is_symlink(link)) << "the photo is replaced, not the link to it";
    struct stat status {};
    ::stat(path.c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'000'000);
    std::string note(4, ' ');
    if (hasAttributes) {
        EXPECT_EQ(::getxattr(path.c_str(), "user.note", note.data(), 4), 4);
        EXPECT_EQ(note, "kept");
    }
}

// The system refuses or kills at every length in turn: what stands there is the old file or the new one, whole.
TEST_F(Rewriting, AFullDiskAtAnyInstantLeavesTheOriginal) {
    const std::string path = photo("a.jpg", 20'000);
    const std::string original = contentOf(path);
    ASSERT_EQ(run({"strip", path}).status, 0);
    const std::string clean = contentOf(folder.path() / "a-clean.jpg");
    std::filesystem::remove(folder.path() / "a-clean.jpg");
    for (std::size_t limit = 1; limit < clean.size() + 300; limit += 997) {
        for (const char* action : {"trap '' XFSZ; ", ""}) {
            const std::string command = std::string(action) + "exec prlimit --fsize=" + std::to_string(limit) + " " +
                                        TESSALY_PROGRAM + " strip --in-place " + path;
            const ProcessResult result = runProcess({"/bin/sh", "-c", command});
            const std::string now = contentOf(path);
            ASSERT_TRUE(now == original || now == clean) << "at " << limit;
            ASSERT_EQ(now == clean, limit >= clean.size()) << "at " << limit << ": " << result.errors;
            ASSERT_EQ(names(), std::set<std::string>{"a.jpg"}) << "at " << limit;
            if (now == clean) folder.write("a.jpg", original);
        }
    }
}

TEST_F(Rewriting, AKillAtAnyInstantLeavesAWholeFile) {
    const std::string path = photo("a.jpg", 3'000'000);
    const std::string original = contentOf(path);
    ASSERT_EQ(run({"strip", path}).status, 0);
    const std::string clean = contentOf(folder.path() / "a-clean.jpg");
    for (int round = 0; round < 40; ++round) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::freopen("/dev/null", "w", stdout);
            ::execl(TESSALY_PROGRAM, "tessaly", "strip", "--in-place", path.c_str(), nullptr);
            ::_exit(127);
        }
        ::usleep(static_cast<useconds_t>(300 * round));
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        const std::string now = contentOf(path);
        ASSERT_TRUE(now == original || now == clean) << "round " << round;
        if (now == clean) folder.write("a.jpg", original);
    }
}

TEST_F(Rewriting, KeepsWhatIsAskedFor) {
    const std::string path = photo("a.jpg");
    EXPECT_EQ(run({"strip", "--in-place", "--keep", "artist", path}).status, 0);
    const ProcessResult shown = run({"show", "--json", path});
    EXPECT_THAT(shown.output, HasSubstr("SECRET artist"));
    const ProcessResult wrong = run({"strip", "--keep", "Artits", path});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_THAT(wrong.errors, HasSubstr("did you mean 'Artist'?"));
}

TEST_F(Rewriting, EditsWhatTheShortKeysMean) {
    const std::string path = photo("a.jpg");
    const ProcessResult result = run({"edit", "--in-place", path, "--set", "date=2024-02-29 08:09", "--set",
                                      "gps=-12.5,45.25", "--set", "keywords=a b, c", "--set", "artist="});
    EXPECT_EQ(result.status, 0) << result.errors;
    const std::string json = run({"show", "--json", path}).output;
    EXPECT_THAT(json, HasSubstr("2024:02:29 08:09:00"));
    EXPECT_THAT(json, HasSubstr("\"a b\""));
    EXPECT_THAT(json, HasSubstr("-12.5"));
    EXPECT_THAT(json, Not(HasSubstr("SECRET")));
}

// A reader that knows far more tags than this one finds none of the private kind in any format.
TEST_F(Rewriting, LeavesNothingThatAnotherReaderFinds) {
    const std::string reader = "/usr/bin/exiftool";
    if (!std::filesystem::exists(reader)) GTEST_SKIP() << "needs exiftool";
    std::size_t checked = 0;
    std::vector<std::string> files{TESSALY_SAMPLE};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(TESSALY_SEEDS))
        if (entry.is_regular_file()) files.push_back(entry.path().string());
    for (const std::string& file : files) {
        const std::string out = (folder.path() / "out").string();
        if (run({"strip", "--force", "-o", out, file}).status != 0) continue;  // No photo, or refused.
        const std::string clean = out + "/" + std::filesystem::path(file).filename().string();
        const ProcessResult found = runProcess({reader, "-a", "-G1", "-s", "-ee", "-m", clean});
        for (const char* name : {"SerialNumber", "Artist ", "OwnerName", "[GPS]", "[IPTC", "[XMP-", "DateTimeOriginal ",
                                 "ThumbnailImage ", "UserComment", "Copyright "})
            EXPECT_THAT(found.output, Not(HasSubstr(name))) << file;
        ++checked;
    }
    EXPECT_GT(checked, 10U);
}

struct EditRow {
    std::string_view key, text;
    std::string_view values;  ///< As JSON; "" for a refusal.
};

TEST(EditValues, AreOfTheirKindOrRefused) {
    static constexpr std::string_view day = "2024:05:01 12:30:00";
    for (const auto& [key, text, expected] : {
             EditRow{"ExposureTime", "1/125 s", R"({"{Exif}":{"ExposureTime":0.008}})"},
             EditRow{"ExposureTime", "1/0", ""},
             EditRow{"FNumber", "f/5.6", R"({"{Exif}":{"FNumber":5.6}})"},
             EditRow{"FNumber", "abc", ""},
             EditRow{"FNumber", "5,6", ""},
             EditRow{"FNumber", "-2", ""},
             EditRow{"ISOSpeedRatings", "ISO 400", R"({"{Exif}":{"ISOSpeedRatings":[400]}})"},
             EditRow{"ISOSpeedRatings", "4OO", ""},
             EditRow{"ISOSpeedRatings", "65536", ""},
             EditRow{"ExposureBiasValue", "-1/4 EV", R"({"{Exif}":{"ExposureBiasValue":-0.25}})"},
             EditRow{"FocalLength", "35mm", R"({"{Exif}":{"FocalLength":35}})"},
             EditRow{"LensSpecification", "24, 70, 2.8, 4", R"({"{Exif}":{"LensSpecification":[24,70,2.8,4]}})"},
             EditRow{"LensSpecification", "24,70", ""},
             EditRow{"LensSpecification", "24,70,2.8,4,", ""},
             EditRow{"Orientation", "9", ""},
             EditRow{"ExifVersion", "0232", R"({"{Exif}":{"ExifVersion":[2,3,2]}})"},
             EditRow{"OffsetTime", "-0330", R"({"{Exif}":{"OffsetTime":"-03:30"}})"},
             EditRow{"OffsetTime", "+2", ""},
             EditRow{"SubsecTime", "2.5", ""},
             EditRow{"DateStamp", "2024-5-1", R"({"{GPS}":{"DateStamp":"2024:05:01"}})"},
             EditRow{"TimeStamp", "24:00", ""},
             EditRow{"DateCreated", "20240501", R"({"{IPTC}":{"DateCreated":"20240501"}})"},
             EditRow{"TimeCreated", "12:30:00Z", R"({"{IPTC}":{"TimeCreated":"123000+0000"}})"},
             EditRow{"Latitude", "8°30'S", R"({"{GPS}":{"Latitude":8.5,"LatitudeRef":"S"}})"},
             EditRow{"Latitude", "91", ""},
             EditRow{"LongitudeRef", "N", ""},
             EditRow{"date", "yesterday", ""},
             EditRow{"date", "2023-02-29", ""},
             EditRow{"date", "2024-13-01", ""},
             EditRow{"date", "2024-05-01 12:30 PM", ""},
             EditRow{"date", "2024-05-01 12:30+25:00", ""},
             EditRow{"gps", "91,0", ""},
             EditRow{"gps", "1", ""},
             EditRow{"rating", "6", ""},
             EditRow{"StarRating", "2.5", ""},
             EditRow{"altitude", "high", ""},
             EditRow{"Colour", "red", ""},
         }) {
        Dictionary values;
        const std::string fault = cli::addEditValue(key, text, values);
        std::string json;
        cli::JsonWriter(json).value(values);
        std::erase_if(json, [](char c) { return c == '\n'; });
        if (expected.empty()) {
            EXPECT_THAT(fault, HasSubstr(key)) << key << "=" << text;
            EXPECT_EQ(json, "{}") << key << "=" << text;
        } else {
            EXPECT_EQ(fault, "") << key << "=" << text;
            EXPECT_EQ(json, expected) << key << "=" << text;
        }
    }
    Dictionary dates;
    EXPECT_EQ(cli::addEditValue("date", "2024-05-01T12:30:00.25+02:00", dates), "");
    const Dictionary& exif = dates["{Exif}"].dictionary();
    EXPECT_EQ(dates["{TIFF}"].dictionary()["DateTime"].string(), day);
    for (const std::string end : {"", "Original", "Digitized"}) {
        EXPECT_EQ(end.empty() ? day : exif["DateTime" + end].string(), day);
        EXPECT_EQ(exif["OffsetTime" + end].string(), "+02:00");
        EXPECT_EQ(exif["SubsecTime" + end].string(), "25");
    }
}

// Nothing is written where one of many is no value.
TEST_F(Rewriting, RefusesEditsBeforeTheFirstFile) {
    const std::string path = photo("a.jpg");
    const std::string before = contentOf(path);
    const ProcessResult wrong = run({"edit", "--in-place", path, "--set", "artist=Ada", "--set", "FNumber=5,6"});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_THAT(wrong.errors, HasSubstr("'5,6' is no value for FNumber, which is a number from 0 on such as 5.6"));
    EXPECT_EQ(contentOf(path), before);
}

}  // namespace
}  // namespace tessaly::test
