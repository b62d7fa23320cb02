#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/Containers.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"
#include "tessaly/Utf8.h"

// "library" as a person calls it, over a library of its own.
namespace tessaly::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class LibraryCommand : public testing::Test {
protected:
    LibraryCommand() {
        photo("one.jpg");
        EXPECT_EQ(run({"add", pictures()}).status, 0);
    }

    ProcessResult run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {TESSALY_PROGRAM, "library"});
        return runProcess(std::move(arguments), {"XDG_DATA_HOME=" + (folder_.path() / "data").string(),
                                                 "XDG_CONFIG_HOME=" + (folder_.path() / "config").string()});
    }
    std::string photo(const std::string& name) const {
        TiffBuilder tiff;
        tiff.text(TiffBuilder::first, 0x013B, "SECRET artist");
        tiff.text(TiffBuilder::gps, 1, "N").rationals(TiffBuilder::gps, 2, {{52, 1}, {31, 1}, {0, 1}});
        tiff.text(TiffBuilder::gps, 3, "E").rationals(TiffBuilder::gps, 4, {{13, 1}, {24, 1}, {0, 1}});
        std::string file(jpegWithExif(tiff.build()).text());
        file.insert(2, jpegSegment(0xFE, "SECRET comment").text());
        return folder_.write("pictures/" + name, file);
    }
    [[nodiscard]] std::string pictures() const { return (folder_.path() / "pictures").string(); }
    [[nodiscard]] std::string path(const std::string& name) const { return pictures() + "/" + name; }

    TemporaryFolder folder_;
};

TEST_F(LibraryCommand, AConditionIsUnderstoodOrRefused) {
    ASSERT_EQ(run({"edit", path("one.jpg"), "--set", "date=2024-05-01 12:30:05"}).status, 0);
    const struct {
        const char* condition;
        const char* says;  ///< A part of the fault, or "" where the photo is found, or "-" where it is not.
    } cases[] = {
        {"creationDate = 2024", ""},
        {"creationDate = 2024-05-01", ""},
        {"creationDate > 2024-05-01", "-"},
        {"creationDate >= 2024-05-01", ""},
        {"creationDate <= 2024-05", ""},
        {"creationDate < 2024-05-01T12:30", "-"},
        {"2024-05-01T12:30 <= creationDate AND creationDate < '2024-05-01T12:31'", ""},
        {"creationDate != 2024-05-01", "-"},
        {"creationDate IN {2023, 2024-05}", ""},
        {"creationDate BETWEEN {2024-05-01, 2024-05-01}", ""},
        {"location != NULL AND favorite = NO", ""},
        {"creatonDate > 2024", "'creatonDate' is not a name that can be asked for; did you mean 'creationDate'?"},
        {"duration > 'long'", "'duration' is a number, and 'long' is none"},
        {"duration IN {1, '2'}", "'duration' is a number, and '2' is none"},
        {"duration > NULL", "'duration' is a number, and NULL is none"},
        {"localIdentifier = 5", "'localIdentifier' is a text, and 5 is none"},
        {"favorite = 'x'", "'favorite' is YES or NO, and 'x' is neither"},
        {"favorite < YES", "'favorite' is YES or NO, to which < does not apply"},
        {"creationDate > 2024-13-01", "'creationDate' is a date, and '2024-13-01' is none; dates are written"},
        {"creationDate > 2023-02-29", "'2023-02-29' is none"},
        {"creationDate > 2024-05-01T25:00", "'2024-05-01T25:00' is none"},
        {"creationDate > 2024-05-0", "is not understood at position 16"},
        {"creationDate CONTAINS 2024", "'creationDate' is a date, to which CONTAINS does not apply"},
        {"location > 3", "'location' is a place, to which > does not apply"},
        {"location = 3", "ask 'location = NULL'"},
        {"duration = creationDate", "'duration' is a number, and 'creationDate' is a date"},
        {"SELF = 1", "SELF stands for nothing here"},
        {"duration > 10 AND", "ends too early at position 18"},
    };
    for (const auto& [condition, says] : cases) {
        SCOPED_TRACE(condition);
        const ProcessResult result = run({"list", "--where", condition});
        const bool isFound = says[0] == '\0';
        const bool isFault = !isFound && says != std::string_view("-");
        EXPECT_EQ(result.status, isFault ? 2 : 0) << result.errors;
        EXPECT_EQ(!result.output.empty(), isFound);
        if (isFault) EXPECT_THAT(result.errors, StartsWith("tessaly: --where: "));
        if (isFault) EXPECT_THAT(result.errors, HasSubstr(says));
    }
    for (const char* limit : {"-1", "0", "many"}) EXPECT_EQ(run({"list", "--limit", limit}).status, 2) << limit;
}

TEST_F(LibraryCommand, AnEditIsMadeInPlaceAndTakenBack) {
    const std::string original = contentOf(path("one.jpg"));
    const struct {
        const char* why;
        std::vector<std::string> command;
        const char* is;
        const char* isNot;
    } cases[] = {
        {"all of it goes", {"strip", path("one.jpg")}, "edited", "SECRET"},
        {"only the place goes", {"strip", "--location", path("one.jpg")}, "SECRET", "@  one.jpg"},
        {"a value is written", {"edit", path("one.jpg"), "--set", "artist=Ada"}, "Ada", "SECRET artist"},
    };
    const std::string clean = (folder_.path() / "clean").string();
    EXPECT_EQ(runProcess({TESSALY_PROGRAM, "strip", path("one.jpg"), "-o", clean}).status, 0);
    EXPECT_EQ(run({"strip", path("one.jpg")}).status, 0);
    EXPECT_EQ(contentOf(path("one.jpg")), contentOf(clean + "/one.jpg")) << "as the other strip writes it";
    EXPECT_EQ(run({"revert", path("one.jpg")}).status, 0);
    for (const auto& [why, command, is, isNot] : cases) {
        const ProcessResult edited = run(command);
        EXPECT_EQ(edited.status, 0) << why << edited.errors;
        EXPECT_EQ(edited.output, path("one.jpg") + "\n") << why;
        EXPECT_NE(contentOf(path("one.jpg")), original) << why;
        const std::string said = contentOf(path("one.jpg")) + run({"list"}).output + run({"originals"}).output;
        EXPECT_THAT(said, HasSubstr(is)) << why;
        EXPECT_THAT(said, Not(HasSubstr(isNot))) << why;
        EXPECT_EQ(run({"revert", path("one.jpg")}).status, 0) << why;
        EXPECT_EQ(contentOf(path("one.jpg")), original) << why;
    }
}

TEST_F(LibraryCommand, AFileThatCannotBeEditedStopsNoOther) {
    const ProcessResult result = run({"strip", path("none.jpg"), path("one.jpg")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("none.jpg: is not in the library"));
    EXPECT_EQ(result.output, path("one.jpg") + "\n");
    const struct {
        const char* why;
        std::vector<std::string> command;
    } wrong[] = {{"nothing to write", {"edit", path("one.jpg")}},
                 {"no such key", {"edit", path("one.jpg"), "--set", "nonsense=1"}},
                 {"no photo", {"strip"}},
                 {"nowhere to", {"originals", "export", path("one.jpg")}}};
    for (const auto& [why, command] : wrong) EXPECT_EQ(run(command).status, 2) << why;
}

TEST_F(LibraryCommand, KeptOriginalsAreListedExportedAndDiscardedByName) {
    const std::string original = contentOf(path("one.jpg"));
    EXPECT_EQ(run({"originals"}).output, "");
    EXPECT_EQ(run({"strip", path("one.jpg")}).status, 0);
    EXPECT_THAT(run({"originals"}).output, HasSubstr("  edited     " + path("one.jpg")));
    EXPECT_THAT(run({"originals", "--json"}).output, HasSubstr("\"state\":\"edited\""));
    const std::string out = (folder_.path() / "out").string();
    EXPECT_EQ(run({"originals", "export", path("one.jpg"), "-o", out}).output, out + "/one.jpg\n");
    EXPECT_EQ(contentOf(out + "/one.jpg"), original);
    const ProcessResult again = run({"originals", "export", path("one.jpg"), "-o", out});
    EXPECT_EQ(again.status, 1) << "nothing is replaced";
    EXPECT_THAT(again.errors, HasSubstr(out + "/one.jpg"));
    EXPECT_EQ(run({"originals", "discard", path("other.jpg")}).status, 1);
    EXPECT_EQ(run({"originals", "discard", path("one.jpg")}).status, 0);
    EXPECT_EQ(run({"originals"}).output, "");
    EXPECT_EQ(contentOf(folder_.path() / "data/Trash/files/one.jpg"), original) << "even this is in the trash";
    EXPECT_EQ(run({"revert", path("one.jpg")}).status, 1);
}

TEST_F(LibraryCommand, AFolderThatIsAwayIsToldAndForgottenByName) {
    photo("more/two.jpg");
    EXPECT_EQ(run({"scan"}).status, 0);
    EXPECT_EQ(run({"strip", path("more/two.jpg")}).status, 0);
    const ProcessResult there = run({"forget", path("one.jpg")});
    EXPECT_EQ(there.status, 1) << "what is there is not forgotten";
    fs::rename(pictures(), folder_.path() / "elsewhere");
    fs::create_directory(pictures());
    static_cast<void>(run({"scan"}));
    EXPECT_THAT(run({"list"}).output, HasSubstr("one.jpg  (away)\n"));
    EXPECT_THAT(run({"list", "--json"}).output, HasSubstr("\"presence\":\"away\""));
    EXPECT_EQ(run({"forget", path("one.jpg")}).status, 0);
    EXPECT_EQ(run({"forget", path("more/two.jpg")}).status, 1) << "its edit could not be reverted any more";
    EXPECT_EQ(run({"forget", "--yes", path("more/two.jpg")}).status, 0);
    EXPECT_EQ(run({"list", "--gone"}).output, "");
    EXPECT_THAT(run({"originals"}).output, HasSubstr("  forgotten  ")) << "its unedited file stays";
}

TEST_F(LibraryCommand, TooShortANameStandsForNothing) {
    EXPECT_EQ(run({"strip", path("one.jpg")}).status, 0);
    const std::string identifier = run({"list"}).output.substr(0, 8);
    for (const std::string& name : {std::string(), identifier.substr(0, 1), identifier.substr(0, 3)}) {
        EXPECT_EQ(run({"trash", "--yes", name}).status, 1) << name;
        EXPECT_EQ(run({"originals", "discard", name}).status, 1) << name;
    }
    EXPECT_TRUE(fs::exists(path("one.jpg")));
    EXPECT_EQ(run({"revert", identifier.substr(0, 4)}).status, 0);
    EXPECT_EQ(run({"album", "", path("one.jpg")}).status, 1) << "nobody could name it again";
    EXPECT_EQ(run({"list", "--limit", "-3"}).status, 2);
}

TEST_F(LibraryCommand, WhatIsGoneKeepsItsNameInTheList) {
    photo("two.jpg");
    EXPECT_EQ(run({"scan"}).status, 0);
    EXPECT_EQ(run({"favorite", path("one.jpg")}).status, 0);
    fs::remove(path("one.jpg"));
    EXPECT_EQ(run({"scan"}).status, 0);
    EXPECT_THAT(run({"list", "--gone"}).output, HasSubstr("one.jpg  (gone)\n"));
}

TEST_F(LibraryCommand, ALibraryThatDoesNotOpenSaysWhatTheSystemSaid) {
    const fs::path database = folder_.path() / "data/tessaly/library/library.db";
    fs::remove(database);
    fs::create_directory(database);
    const ProcessResult listed = run({"list"});
    EXPECT_EQ(listed.status, 1);
    EXPECT_THAT(listed.errors, EndsWith("unable to open database file: Is a directory\n"));
}

TEST_F(LibraryCommand, APathMayLeadThroughALink) {
    fs::create_directory_symlink(pictures(), folder_.path() / "link");
    for (const std::string& name : {(folder_.path() / "link/one.jpg").string(), pictures() + "/../pictures/one.jpg"})
        EXPECT_THAT(run({"info", name}).output, HasSubstr("\"name\":\"one.jpg\"")) << name;
}

TEST_F(LibraryCommand, NamesDoNotBreakLinesOrSteerTheTerminal) {
    photo("a\nb\x1b[31m.jpg");
    EXPECT_EQ(run({"scan"}).status, 0);
    EXPECT_THAT(run({"list"}).output, HasSubstr("  a\\nb\\x1b[31m.jpg\n"));
    EXPECT_THAT(run({"strip", path("a\nb\x1b[31m.jpg")}).output, EndsWith("/a\\nb\\x1b[31m.jpg\n"));
    EXPECT_THAT(run({"info", "no\nne"}).errors, StartsWith("tessaly: no\\nne: is not"));
    EXPECT_EQ(cli::escaped("Zo\u00EB \xFF\u0085\t"), "Zo\u00EB \\xff\\xc2\\x85\\t");
}

}  // namespace
}  // namespace tessaly::test
