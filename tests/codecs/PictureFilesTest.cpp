#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "codecs/Pictures.h"
#include "platform/ImageIO/CGImageSource.h"
#include "support/Containers.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"

// Pictures on their way into files, written small by "thumb".
namespace tessaly::test {
namespace {

using testing::HasSubstr;

CGImageRef decoded(const Data& data) {
    return CGImageSourceCreateImageAtIndex(CGImageSourceCreateWithData(data), 0, {});
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
    EXPECT_EQ(colorsOf(written("out/deep/a.jpg.jpg")), "RGBW");
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
