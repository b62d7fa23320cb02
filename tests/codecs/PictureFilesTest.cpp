#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "acquisition/ExifManager.h"
#include "acquisition/TemporaryImageFile.h"
#include "codecs/Pictures.h"
#include "platform/Foundation/NSFileManager.h"
#include "support/Containers.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"

// Pictures on their way into files: encoded anew with metadata, copied for other readers, written small by "thumb".
namespace tessaly::test {
namespace {

using testing::HasSubstr;

CGImageRef decoded(const Data& data) {
    return CGImageSourceCreateImageAtIndex(CGImageSourceCreateWithData(data), 0, {});
}

Dictionary metadata() {
    return {
        {"Orientation", 6},
        {"{TIFF}", Dictionary{{"Make", "Maker"}, {"Orientation", 6}}},
        {"{GPS}", Dictionary{{"Latitude", 48.5}, {"LatitudeRef", "N"}, {"Longitude", 2.25}, {"LongitudeRef", "W"}}}};
}

TEST(PictureFiles, EncodesUprightWithTheMetadataOfTheCaller) {
    for (const char* name : {"quadrants.jpg", "quadrants.heic", "deep.tiff"}) {
        const bool turns = std::string_view(name) == "quadrants.jpg";
        const Data original = turns ? withOrientation(fileNamed(name), 6) : fileNamed(name);
        const Data encoded = ExifManager::imageData(original, metadata());
        ASSERT_TRUE(encoded) << name;
        EXPECT_EQ(CGImageSourceGetType(CGImageSourceCreateWithData(encoded)), "public.jpeg") << name;
        EXPECT_EQ(sizeOf(decoded(encoded)), turns ? "32 x 64" : "64 x 32") << name;
        EXPECT_EQ(colorsOf(decoded(encoded)), turns ? "BRWG" : "RGBW") << name;
        const Dictionary found = propertiesOf(bytesOf(encoded));
        EXPECT_EQ(found["Orientation"].integerValue(), 1) << name;
        EXPECT_EQ(found["{TIFF}"].dictionary()["Orientation"].integerValue(), 1) << name;
        EXPECT_EQ(found["{TIFF}"].dictionary()["Make"].string(), "Maker") << name;
        EXPECT_NEAR(found["{GPS}"].dictionary()["Latitude"].doubleValue(), 48.5, 1e-6) << name;
        EXPECT_EQ(found["{GPS}"].dictionary()["LongitudeRef"].string(), "W") << name;
    }
    EXPECT_FALSE(ExifManager::imageData(dataOf("nothing"), metadata()));
    EXPECT_FALSE(ExifManager::imageData(nullptr, metadata()));
}

TEST(PictureFiles, FixesTheOrientationOfAnyPicture) {
    const Data fixed = ExifManager::imageDataByFixingOrientationIssue(withOrientation(fileNamed("quadrants.jpg"), 8));
    EXPECT_EQ(colorsOf(decoded(fixed)), "GWRB");
    EXPECT_LE(propertiesOf(bytesOf(fixed))["Orientation"].integerValue(), 1);
    EXPECT_FALSE(ExifManager::imageDataByFixingOrientationIssue(dataOf("nothing")));
    EXPECT_FALSE(ExifManager::imageDataByFixingOrientationIssue(dataOf(png({}))));
}

TEST(PictureFiles, TakesThePlaceOutOfPictureAndMetadata) {
    Dictionary kept = metadata();
    const UIImageRef image = UIImage::imageWithCGImage(quadrants(), 1, UIImageOrientation::right);
    const UIImageRef without = ExifManager::imageByRemovingGeoTagging(image, kept);
    ASSERT_TRUE(without);
    EXPECT_TRUE(kept.contains("{GPS}") && kept["{GPS}"].isNull())
        << "set to nothing, which is not the same as left out";
    EXPECT_EQ(kept["{TIFF}"].dictionary()["Make"].string(), "Maker");
    EXPECT_EQ(colorsOf(without->cgImage()), "BRWG");
    Dictionary untouched = metadata();
    EXPECT_FALSE(ExifManager::imageByRemovingGeoTagging(nullptr, untouched));
    EXPECT_EQ(untouched, metadata());
}

TEST(PictureFiles, CopiesKeepTheLastPartOfTheirNameOnly) {
    const TemporaryFolder folder;
    ::setenv("TMPDIR", folder.path().c_str(), 1);
    const std::string own = folder.path().string() + "/tessaly-" + NSFileManager::userName() + "/";
    struct Row {
        const char* name;
        const char* expected;
    };
    for (const auto& [name, expected] :
         {Row{"photo.jpg", "photo.jpg"}, Row{"../../photo.jpg", "photo.jpg"}, Row{"/etc/passwd", "passwd"},
          Row{"a/..", "tempImage"}, Row{"", "tempImage"}, Row{"folder/", "tempImage"}, Row{".", "tempImage"}}) {
        const NSURL url = temporaryURLForImageNSData(dataOf(std::string("bytes of ") + name), name);
        EXPECT_EQ(url.path(), own + expected) << name;
        EXPECT_EQ(contentOf(own + expected), std::string("bytes of ") + name);
        EXPECT_TRUE(deleteTemporaryFileAtURL(url));
        EXPECT_TRUE(std::filesystem::exists(own + expected)) << "asked, not done";
    }
    ::setenv("TMPDIR", (folder.write("file", "no folder") + "/below").c_str(), 1);
    EXPECT_EQ(temporaryURLForImageNSData(dataOf("bytes")).path(), "");
    ::unsetenv("TMPDIR");
}

class Thumb : public testing::Test {
protected:
    ProcessResult run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {TESSALY_PROGRAM, "thumb"});
        return runProcess(std::move(arguments));
    }
    std::string path(const std::string& name) const { return (folder.path() / name).string(); }
    CGImageRef written(const std::string& name) const { return decoded(dataOf(contentOf(folder.path() / name))); }

    TemporaryFolder folder;
};

TEST_F(Thumb, WritesOnePictureUprightAndSmall) {
    const Data sideways = withOrientation(fileNamed("quadrants.jpg"), 6);
    const std::string photo = folder.write("photo.jpg", *sideways);
    ProcessResult result = run({photo, "-o", path("small.jpg"), "--size", "16"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output, path("small.jpg") + "\n");
    EXPECT_EQ(sizeOf(written("small.jpg")), "8 x 16");
    EXPECT_EQ(colorsOf(written("small.jpg"), 60), "BRWG");
    EXPECT_TRUE(propertiesOf(contentOf(folder.path() / "small.jpg"))["{Exif}"].dictionary()["UserComment"].isNull());

    result = run({photo, "-o", path("small.jpg")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("small.jpg: there is a file already"));
    EXPECT_EQ(sizeOf(written("small.jpg")), "8 x 16") << "left as it was";
    EXPECT_EQ(run({photo, "-o", path("small.jpg"), "--force"}).status, 0);
    EXPECT_EQ(sizeOf(written("small.jpg")), "32 x 64") << "never enlarged";

    EXPECT_EQ(run({photo, "-o", path("small.png")}).status, 0);
    EXPECT_TRUE(contentOf(folder.path() / "small.png").starts_with("\x89PNG"));
    EXPECT_EQ(run({photo, "-o", path("named.png"), "--format", "jpg", "--quality", "40"}).status, 0);
    EXPECT_TRUE(contentOf(folder.path() / "named.png").starts_with("\xFF\xD8"));
}

TEST_F(Thumb, FillsAFolderAndGoesOnAfterAFailure) {
    const std::string bad = folder.write("bad.jpg", "not a photo");
    const std::string cut = folder.write("cut.png", png({}));
    const ProcessResult result = run({"-o", path("out") + "/", "--format", "png", pathOfFileNamed("quadrants.heic"),
                                      bad, cut, "missing.jpg", pathOfFileNamed("sideways.mp4")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(sizeOf(written("out/quadrants.heic.png")), "64 x 32");
    EXPECT_EQ(colorsOf(written("out/sideways.mp4.png")), "GWRB");
    EXPECT_THAT(result.errors, HasSubstr("bad.jpg: "));
    EXPECT_THAT(result.errors, HasSubstr("cut.png: the picture is damaged"));
    EXPECT_THAT(result.errors, HasSubstr("missing.jpg: no such file"));
    EXPECT_FALSE(std::filesystem::exists(path("out/bad.jpg.png")));
    folder.write("tree/deep/a.jpg", *fileNamed("quadrants.jpg"));
    EXPECT_EQ(run({"-r", "-o", path("out"), path("tree")}).status, 0);
    EXPECT_EQ(colorsOf(written("out/a.jpg.jpg")), "RGBW");
}

TEST_F(Thumb, RefusesWrongUsage) {
    const std::string photo = pathOfFileNamed("quadrants.jpg");
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{photo},
                                                      {photo, photo, "-o", path("one.jpg")},
                                                      {photo, "-o", path("a.jpg"), "--size", "0"},
                                                      {photo, "-o", path("a.jpg"), "--quality", "101"},
                                                      {photo, "-o", path("a.jpg"), "--format", "gif"},
                                                      {"-o", path("a.jpg")}})
        EXPECT_EQ(run(arguments).status, 2) << testing::PrintToString(arguments);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace
}  // namespace tessaly::test
