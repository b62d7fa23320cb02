#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>

#include "platform/Foundation/PropertyList.h"
#include "support/Containers.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using enum TiffBuilder::Directory;

/// The program with settings of its own.
class CommandLine : public testing::Test {
protected:
    ProcessResult run(std::vector<std::string> arguments, std::vector<std::string> environment = {}) const {
        arguments.insert(arguments.begin(), TESSALY_PROGRAM);
        environment.push_back("XDG_CONFIG_HOME=" + (folder.path() / "config").string());
        return runProcess(std::move(arguments), environment);
    }
    std::string photo(const std::string& name, std::string_view make = "Maker") const {
        TiffBuilder tiff;
        tiff.text(first, 0x010F, make).rationals(exif, 0x829D, {{28, 10}}).text(exif, 0x9003, "2018:06:15 15:04:05");
        return folder.write(name, jpegWithExif(tiff.build()));
    }
    static std::vector<std::string> lines(const std::string& text) {
        std::vector<std::string> found;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) found.push_back(line);
        return found;
    }
    /// The output as a value; JSON's null, which property lists do not know, as a text.
    static Value json(std::string text) {
        for (auto at = text.find(":null"); at != std::string::npos; at = text.find(":null", at))
            text.replace(at, 5, ":\"null\"");
        const auto value = valueFromPropertyList(text);
        EXPECT_TRUE(value) << text;
        return value.value_or(Value());
    }

    TemporaryFolder folder;
};

TEST_F(CommandLine, ShowsAPageByDefault) {
    const ProcessResult result = run({TESSALY_SAMPLE});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, HasSubstr("1500 x 1000 (178 KB)\n"));
    EXPECT_THAT(result.output, HasSubstr("  Aperture (F-number)        f/5.6\n"));
    EXPECT_THAT(result.output, HasSubstr("geo:46.559300,8.561400\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("\x1b"))) << "no colours where nobody can see them";
    EXPECT_EQ(run({"show", TESSALY_SAMPLE}).output, result.output);
    EXPECT_THAT(run({photo("bare.jpg")}).output, Not(HasSubstr("Map"))) << "no map without a place";
}

TEST_F(CommandLine, AnswersWrongUsageWithTwo) {
    struct Case {
        std::vector<std::string> arguments;
        std::string hint;
    };
    const Case cases[] = {
        {{}, "--help"},
        {{"show"}, "no file was given"},
        {{"shwo"}, "did you mean 'show'?"},
        {{"--jsno", "x.jpg"}, "did you mean '--json'?"},
        {{"--json", "--csv", "x.jpg"}, "excludes"},
        {{"--keys", "Mkae", "x.jpg"}, "did you mean 'Make'?"},
        {{"--keys", "PixelXDimensoin", "x.jpg"}, "did you mean 'PixelXDimension'?"},
        {{"--keys", "Exif.LensModle", "x.jpg"}, "did you mean 'Exif.LensModel'?"},
        {{"--keys", "{Exf}.LensModel", "x.jpg"}, "did you mean 'Exif.LensModel'?"},
        {{"--keys", "Iptc.", "x.jpg"}, "'Iptc.' is not the name of a key"},
        {{"--raw", "--precise", "x.jpg"}, "excludes"},
        {{"scan"}, "DIR"},
        {{"scan", ".", "--shard", "3/2"}, "1 <= K <= N"},
        {{"scan", ".", "--jobs", "0"}, "jobs"},
        {{"settings", "set", "isDarkModeOn", "perhaps"}, "true or false"},
        {{"settings", "set", "dateFormatString", ""}, "'yyyy-MM-dd HH:mm'"},
        {{"settings", "get", "isDarkMode"}, "did you mean 'isDarkModeOn'?"},
        {{"show", "--jsn", "x"}, "unknown option '--jsn'; did you mean '--json'?"},
        {{"thumb", "x.jpg", "-o", "x.gif"}, "written as .jpg or .png, not as .gif"},
        {{"keys", "photos", "show"}, "did you mean 'photo'?"},
        {{"keys", "photo", "move", "Make", "99"}, "1 to 66"},
        {{"keys", "photo", "hide", "Nothing"}, "is not in the list"},
    };
    for (const auto& [arguments, hint] : cases) {
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.status, 2) << hint;
        EXPECT_EQ(result.output, "") << hint;
        EXPECT_THAT(result.errors, StartsWith("tessaly: ")) << hint;
        EXPECT_THAT(result.errors, HasSubstr(hint));
    }
}

TEST_F(CommandLine, TakesOnlyWhatAConditionHoldsFor) {
    TemporaryFolder folder;
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x0110, "X100").text(TiffBuilder::exif, 0x9003, "2024:05:01 12:30:05");
    tiff.rationals(TiffBuilder::exif, 0x829D, {{28, 10}});
    const std::string path = folder.write("a.jpg", jpegWithExif(tiff.build()).text());
    const struct {
        const char* condition;
        const char* fault;  ///< "" where it holds, "-" where it does not.
    } cases[] = {
        {"dateTaken = 2024-05 AND FNumber < 2.9", ""},
        {"Model BEGINSWITH[c] 'x1' AND TIFF.Model = 'X100'", ""},
        {"mediaType = 'image' AND location = NULL AND path ENDSWITH 'a.jpg'", ""},
        {"FNumber > 2.8", "-"},
        {"duration < 1 OR GPS.Model != NULL", "-"},
        {"dateTaken > 2024-05-01", "-"},
        {"FNumbr < 3", "--if: 'FNumbr' is not a name that can be asked for; did you mean 'FNumber'?"},
        {"dateTaken > 'May'", "--if: 'dateTaken' is a date, and 'May' is none"},
        {"width = '100'", "--if: 'width' is a number, and '100' is none"},
    };
    for (const auto& [condition, fault] : cases) {
        SCOPED_TRACE(condition);
        const ProcessResult result = run({"--ndjson", "--if", condition, path});
        const bool isFault = fault[0] == '-' && fault[1] == '-';
        EXPECT_EQ(result.status, isFault ? 2 : 0) << result.errors;
        EXPECT_EQ(!result.output.empty(), fault[0] == '\0');
        if (isFault) EXPECT_THAT(result.errors, HasSubstr(fault));
    }
    EXPECT_EQ(run({"strip", "-o", (folder.path() / "out/").string(), "--if", "FNumber > 3", path}).output, "");
}

TEST_F(CommandLine, HelpsEverywhere) {
    for (const std::vector<std::string>& command : {std::vector<std::string>{"--help"},
                                                    {"help"},
                                                    {"help", "scan"},
                                                    {"show", "--help"},
                                                    {"share", "--help"},
                                                    {"scan", "--help"},
                                                    {"settings", "--help"},
                                                    {"settings", "set", "--help"},
                                                    {"keys", "--help"},
                                                    {"keys", "photo", "move", "--help"}}) {
        const ProcessResult result = run(command);
        EXPECT_EQ(result.status, 0) << command.front();
        EXPECT_THAT(result.output, HasSubstr("Usage:")) << command.front();
    }
    EXPECT_THAT(run({"--version"}).output, StartsWith("tessaly "));
}

TEST_F(CommandLine, GoesOnBehindAFileThatCannotBeRead) {
    const std::string good = photo("good.jpg");
    const std::string text = folder.write("notes.txt", "hello, world");
    const ProcessResult result = run({"--json", "/nowhere.jpg", text, folder.path().string(), good});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(
        lines(result.errors),
        (std::vector<std::string>{
            "tessaly: /nowhere.jpg: no such file", "tessaly: " + text + ": is not a photo or video of a known format",
            "tessaly: " + folder.path().string() + ": is a folder (use -r to read what is in it)"}));
    const Array files = json(result.output).array();
    ASSERT_EQ(files.size(), 4U);
    EXPECT_EQ(files[0].dictionary()["error"], Value("no such file"));
    EXPECT_EQ(files[3].dictionary()["metadata"].dictionary()["{TIFF}"].dictionary()["Make"], Value("Maker"));
}

TEST_F(CommandLine, WritesTheWholeRecordAsJson) {
    const Dictionary file =
        json(run({"--json", TESSALY_SAMPLE}, {"TZ=Europe/Berlin"}).output).array().first().dictionary();
    EXPECT_EQ(file["path"], Value(TESSALY_SAMPLE));
    EXPECT_EQ(file["mediaType"], Value("image"));
    EXPECT_EQ(file["fileSizeInBytes"], Value(178'119));
    EXPECT_EQ(file["dimensions"], Value(Array{1500, 1000}));
    EXPECT_EQ(file["dateTaken"], Value("2024-09-14T18:52:07+02:00"));
    EXPECT_NEAR(file["location"].dictionary()["latitude"].doubleValue(), 46.5593, 1e-6);
    EXPECT_EQ(file["duration"], Value("null"));
    EXPECT_EQ(file["exifInfoAvailable"], Value(true));
    EXPECT_EQ(file["isScreenShot"], Value(false));
    EXPECT_EQ(file["items"].array().size(), 62U);
    const Dictionary& item = file["items"].array()[2].dictionary();
    EXPECT_EQ(item, (Dictionary{{"key", "FocalLength"}, {"label", "Focal Length"}, {"value", "35 mm"}, {"raw", "35"}}));
    EXPECT_EQ(lines(run({"--ndjson", TESSALY_SAMPLE, TESSALY_SAMPLE}).output).size(), 2U);
    EXPECT_EQ(run({"--json", "/nowhere"}).output, "[\n{\"path\":\"/nowhere\",\"error\":\"no such file\"}\n]\n");
}

TEST_F(CommandLine, NeverWritesInvalidJson) {
    const std::string path = photo("na\xFFme\n\".jpg", "M\xE9\x01 \"quoted\"\\");
    const ProcessResult result = run({"--json", path});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("na\xEF\xBF\xBDme\\n\\\".jpg"));
    EXPECT_EQ(json(result.output).array().first().dictionary()["metadata"].dictionary()["{TIFF}"].dictionary()["Make"],
              Value("M\xC3\xA9\x01 \"quoted\"\\"));
    const std::string page = run({path}).output;
    EXPECT_THAT(page, Not(HasSubstr("\x01"))) << "a file's text never steers the terminal";
    EXPECT_EQ(page.find('\n'), page.find(".jpg") + 4) << "a name stays on its line";
}

TEST_F(CommandLine, ChoosesRowsByKeysAndSettings) {
    EXPECT_THAT(run({"--csv", "--keys", "Make,ApertureValue,PixelWidth", TESSALY_SAMPLE}).output,
                HasSubstr("path,Make,ApertureValue,PixelWidth\r\n"));
    EXPECT_THAT(run({"--csv", "--keys", "Keywords", TESSALY_SAMPLE}).output,
                HasSubstr(",\"lake,mountains,evening\"\r\n"));
    EXPECT_EQ(run({"--csv", "--keys",
                   "DateTimeOriginal,BodySerialNumber,{Exif}.FNumber,tiff.Make,Iptc.City,PixelWidth,Orientation_TIFF",
                   "--", TESSALY_SAMPLE})
                  .output,
              "path,DateTimeOriginal,BodySerialNumber,{Exif}.FNumber,tiff.Make,Iptc.City,PixelWidth,Orientation_"
              "TIFF\r\n" TESSALY_SAMPLE ",2024:09:14 18:52:07,B-0007,5.6,Tessaly,Not available,1500,1\r\n");
    EXPECT_EQ(run({"--raw", "--csv", "--keys", "DateTaken,ExposureTime,GPSAltitude,ApertureValue,City,Exif.LensMake",
                   TESSALY_SAMPLE})
                  .output,
              "path,DateTaken,ExposureTime,GPSAltitude,ApertureValue,City,Exif.LensMake\r\n" TESSALY_SAMPLE
              ",2024-09-14T18:52:07.25+02:00,0.004,2086,5.6,,Tessaly\r\n");
    EXPECT_THAT(
        run({"--precise", "--keys", "GPSAltitude,ExposureTime,SensitivityType", TESSALY_SAMPLE}, {"LC_ALL=en_IE.UTF-8"})
            .output,
        AllOf(HasSubstr(" 6843.832 ft\n"), HasSubstr(" 1/250 seconds\n"), HasSubstr("Not available")));
    EXPECT_THAT(run({TESSALY_SAMPLE}).output, Not(HasSubstr("Credit"))) << "hidden at first";
    EXPECT_EQ(run({"keys", "photo", "unhide", "Credit"}).status, 0);
    EXPECT_EQ(run({"keys", "photo", "move", "Credit", "2"}).status, 0);
    EXPECT_THAT(run({"keys", "photo", "show"}).output, HasSubstr("  2  Credit\n"));
    EXPECT_THAT(run({TESSALY_SAMPLE}).output, HasSubstr("  Credit\n"));
    run({"settings", "set", "hidesEmptyRows", "true"});
    EXPECT_THAT(run({TESSALY_SAMPLE}).output, Not(HasSubstr("  Credit\n")));
    run({"settings", "set", "hidesEmptyRows", "false"});
    run({"keys", "photo", "reset"});
    EXPECT_EQ(run({"keys", "photo", "hide", "Make", "Model"}).status, 0);
    EXPECT_EQ(run({"keys", "photo", "move", "GPS", "1"}).status, 0);
    const std::string page = run({TESSALY_SAMPLE}).output;
    EXPECT_THAT(page, Not(HasSubstr("Sample Camera")));
    EXPECT_LT(page.find("  GPS "), page.find("  Aperture"));
    EXPECT_THAT(run({"--all", TESSALY_SAMPLE}).output, HasSubstr("Sample Camera"));
    EXPECT_THAT(run({"keys", "photo", "show"}).output, StartsWith("  1  GPS\n"));
    EXPECT_THAT(run({"keys", "photo", "show"}).output, HasSubstr("Make  (hidden)"));
    EXPECT_EQ(run({"keys", "photo", "unhide", "Make"}).status, 0);
    EXPECT_EQ(run({"keys", "photo", "reset"}).status, 0);
    EXPECT_THAT(run({"keys", "photo", "show"}).output, StartsWith("  1  ApertureValue\n"));
}

TEST_F(CommandLine, ChangesWhatIsShownByTheSettings) {
    EXPECT_EQ(run({"settings", "get", "isUsingMetricUnits"}, {"LC_ALL=de_DE.UTF-8"}).output, "true\n");
    EXPECT_EQ(run({"settings", "set", "datePreferenceTimeAgoSinceNow", "false"}).status, 0);
    EXPECT_EQ(run({"settings", "set", "dateFormatString", "yyyy/MM/dd HH:mm"}).status, 0);
    EXPECT_EQ(run({"settings", "set", "shouldShowGPSInDecimalValues", "no"}).status, 0);
    const std::string page = run({TESSALY_SAMPLE}).output;
    EXPECT_THAT(page, HasSubstr("\n2024/09/14 18:52\n"));
    EXPECT_THAT(page, HasSubstr("46\xC2\xB0"
                                "33'33\"N"));
    EXPECT_THAT(page, HasSubstr("meters above sea level"));
    EXPECT_THAT(run({"settings", "list"}).output, HasSubstr("dateFormatString"));
    EXPECT_EQ(lines(run({"settings", "list"}).output).size(), 40U);
    EXPECT_EQ(run({"settings", "reset", "--all"}).status, 0);
    EXPECT_EQ(run({"settings", "get", "shouldShowGPSInDecimalValues"}).output, "true\n");
    EXPECT_THAT(run({TESSALY_SAMPLE}, {"LC_ALL=de_DE.UTF-8"}).output, HasSubstr("vor "));
}

TEST_F(CommandLine, PrintsTheShareText) {
    EXPECT_THAT(run({"share", TESSALY_SAMPLE}).output,
                StartsWith("f/5.6\n1/250 seconds\n35 mm\n52 mm (35 mm format)\nISO 200\n"));
    EXPECT_EQ(run({"share", "/nowhere.jpg"}).status, 1);
    run({"settings", "set", "shouldShareAPPURLWhileSharing", "true"});
    EXPECT_THAT(run({"share", TESSALY_SAMPLE, TESSALY_SAMPLE}).output, HasSubstr("?ct=SharedContent\n\nf/5.6\n"))
        << "an address that ends with its line";
}

TEST_F(CommandLine, ReadsFoldersInOrder) {
    photo("tree/b.jpg", "B");
    photo("tree/a/z.jpg", "Z");
    photo("tree/.hidden/h.jpg", "H");
    folder.write("tree/c.txt", "some text");
    const ProcessResult result = run({"-r", "--csv", "--keys", "Make", (folder.path() / "tree").string()});
    EXPECT_EQ(result.status, 1) << "a file that is no photo is told";
    std::vector<std::string> makes;
    for (const std::string& line : lines(result.output)) makes.push_back(line.substr(line.rfind(',') + 1));
    EXPECT_EQ(makes, (std::vector<std::string>{"Make\r", "H\r", "Z\r", "B\r"}));
}

TEST_F(CommandLine, ScansATreeWholeInPartsAndInParallel) {
    for (int i = 0; i < 150; ++i) photo("tree/" + std::to_string(i % 7) + "/" + std::to_string(i) + ".jpg");
    const std::string tree = (folder.path() / "tree").string();
    const ProcessResult whole = run({"scan", tree, "--jobs", "1"});
    EXPECT_EQ(whole.status, 0);
    EXPECT_EQ(lines(whole.output).size(), 150U);
    EXPECT_EQ(run({"scan", tree + "//", "--jobs", "3"}).output, whole.output)
        << "the same order for any number of jobs";
    std::vector<std::string> parts;
    for (int part = 1; part <= 4; ++part) {
        const auto some = lines(run({"scan", tree, "--shard", std::to_string(part) + "/4"}).output);
        EXPECT_FALSE(some.empty());
        parts.insert(parts.end(), some.begin(), some.end());
    }
    auto all = lines(whole.output);
    std::ranges::sort(all);
    std::ranges::sort(parts);
    EXPECT_EQ(parts, all) << "every file in exactly one part";
    EXPECT_EQ(run({"scan", "/nowhere"}).status, 1);
}

TEST_F(CommandLine, EndsQuietlyWhenItsReaderDoes) {
    for (int i = 0; i < 200; ++i) photo("tree/" + std::to_string(i) + ".jpg");
    const ProcessResult result =
        runProcess({"/bin/sh", "-c",
                    std::string(TESSALY_PROGRAM) + " scan " + folder.path().string() + "/tree | head -n 1 >/dev/null"},
                   {"XDG_CONFIG_HOME=" + folder.path().string()});
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(
        runProcess({"/bin/sh", "-c", std::string(TESSALY_PROGRAM) + " --json " TESSALY_SAMPLE " >/dev/full"}).status,
        1);
}

}  // namespace
}  // namespace tessaly::test
