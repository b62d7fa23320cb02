#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "acquisition/ExifManager.h"
#include "acquisition/MediaFile.h"
#include "codecs/Pictures.h"
#include "metadata/PreciseValues.h"
#include "settings/PersistanceManager.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

using enum TiffBuilder::Directory;

ByteString photo() {
    TiffBuilder tiff;
    tiff.text(first, 0x0110, "iPhone10,3").rationals(exif, 0x829D, {{18, 10}});
    tiff.text(gps, 1, "s").rationals(gps, 2, {{33, 1}, {30, 1}, {0, 1}}).text(gps, 3, "W");
    tiff.rationals(gps, 4, {{70, 1}, {15, 1}, {0, 1}}).raw(gps, 5, 1, 1, "\1").rationals(gps, 6, {{100, 1}});
    tiff.rationals(gps, 13, {{36, 1}}).text(gps, 12, "K").rationals(gps, 17, {{270, 1}});
    return jpegWithExif(tiff.build());
}

TEST(ExifManager, PlacesAPhotoByItsHemispheresAndNothingElse) {
    const auto record = ExifManager::exifInformationFromNSData(dataOf(photo()));
    ASSERT_TRUE(record->location);
    EXPECT_DOUBLE_EQ(record->location->coordinate.latitude, -33.5);
    EXPECT_DOUBLE_EQ(record->location->coordinate.longitude, -70.25);
    EXPECT_EQ(record->location->altitude, 100) << "the reference below sea level is not applied";
    EXPECT_EQ(record->location->speed, 36) << "nor the unit of the speed";
    EXPECT_EQ(record->location->course, 270);
    EXPECT_FALSE(record->location->timestamp);
    EXPECT_EQ(record->fileSizeInBytes, static_cast<std::int64_t>(photo().size()));
    EXPECT_EQ(record->dimensions, (CGSize{64, 48}));

    const TemporaryFolder folder;
    const std::string path = folder.write("a b.jpg", photo());
    const auto ofPath = ExifManager::exifInformationForImageFileAtPath(path);
    EXPECT_EQ(ofPath->imageFilePath, path);
    EXPECT_FALSE(ofPath->location) << "that of a path alone gets none";
    EXPECT_EQ(ofPath->cameraModel, "iPhone X");
}

TEST(ExifManager, NeverFails) {
    const TemporaryFolder folder;
    for (const auto& [path, size] :
         {std::pair(folder.write("broken.jpg", "\xFF\xD8\xFF"), 3), std::pair(folder.write("text.txt", "hello"), 5),
          std::pair((folder.path() / "missing.jpg").string(), 0)}) {
        const auto record = ExifManager::exifinformationFromNSURL(NSURL::fileURLWithPath(path));
        ASSERT_TRUE(record);
        EXPECT_FALSE(record->exifInfoAvailable);
        EXPECT_FALSE(record->gpsInfoAvailable());
        EXPECT_EQ(record->fileSizeInBytes, size) << "what is no picture has a size all the same";
    }
    EXPECT_FALSE(ExifManager::metadataFromImageData(nullptr));
    EXPECT_FALSE(ExifManager::metadataFromImageURL({}));
    EXPECT_FALSE(ExifManager::exifInformationWithMetadataDict(std::nullopt)->exifORTiffInfoAvailable);
}

TEST(ExifManager, ReadsAMovieIntoTheSameRecord) {
    const auto text = [](std::string_view type, std::string_view content) {
        return box(type, {ByteString().u16(static_cast<unsigned>(content.size())).u16(0).add(content)});
    };
    const TemporaryFolder folder;
    const auto recordOf = [&](const ByteString& items) {
        ByteString header;
        header.u32(0).u32(0).u32(1000).u32(2500).add(80, '\0');
        const ByteString file =
            box("ftyp", {"qt  \0\0\0\0"_z}).add(box("moov", {fullBox("mvhd", 0, 0, {header}), box("udta", {items})}));
        return ExifManager::exifInformationFromVideoURL(NSURL::fileURLWithPath(folder.write("clip.mov", file)));
    };
    const auto record = recordOf(text("\xA9xyz", "+51.4169-000.0806/"));
    EXPECT_EQ(record->mediaType(), PHAssetMediaTypeVideo);
    EXPECT_FALSE(record->exifInfoAvailable || record->exifORTiffInfoAvailable || record->imageResultIsInCloud);
    ASSERT_TRUE(record->location);
    EXPECT_DOUBLE_EQ(record->location->coordinate.latitude, 51.4169);
    EXPECT_DOUBLE_EQ(record->location->coordinate.longitude, -0.0806);
    EXPECT_DOUBLE_EQ(record->duration, 2.5);
    EXPECT_EQ(record->fileNameCached(), "clip.mov");
    EXPECT_TRUE(record->dateTaken) << "without a date of its own, the file's";
    EXPECT_FALSE(recordOf(text("\xA9xyz", "+51.4169"))->location) << "half a place";
    const auto diver = recordOf(text("\xA9xyz", "+51.4169-000.0806-012.300/"));
    EXPECT_EQ(statedValue(*diver, "GPSAltitude"), Value(-12.3));
    EXPECT_EQ(statedValue(*diver, "GPS"), Value(Array{51.4169, -0.0806}));
    struct Case {
        const char *box, *tag;
        bool exif;
    };
    for (const auto& [name, tag, exif] :
         {Case{"\xA9mod", "Model", true}, Case{"\xA9swr", "Software", false}, Case{"\xA9mak", "Make", false}}) {
        const auto tagged = recordOf(text(name, "iPhone10,3"));
        EXPECT_EQ((*tagged->tifDic)[tag], Value("iPhone10,3"));
        EXPECT_EQ(tagged->tifDic->size(), 1U);
        EXPECT_EQ(tagged->cameraModel, exif ? "iPhone10,3" : "") << "as it is stored";
        EXPECT_EQ(tagged->exifInfoAvailable, exif) << "a model counts";
        EXPECT_TRUE(tagged->exifORTiffInfoAvailable);
    }
}

TEST(ExifManager, FiltersByTheUsersSettings) {
    PersistanceManager& settings = PersistanceManager::sharedInstance();
    const auto located = ExifManager::exifInformationFromNSData(dataOf(photo()));
    const auto bare = std::make_shared<ExifInformation>();
    bare->imageResultIsInCloud = false;
    const auto inCloud = std::make_shared<ExifInformation>();
    const std::vector<ExifInformationRef> all{located, bare, inCloud};
    struct Case {
        std::uint64_t filter;
        bool hideBare;
        std::vector<ExifInformationRef> kept;
    };
    const Case cases[] = {
        {0, false, all},      {1, false, {located}}, {2, false, {bare, inCloud}}, {0, true, {located, inCloud}},
        {2, true, {inCloud}}, {7, false, all}};
    for (const auto& [filter, hideBare, kept] : cases) {
        settings.setLocationFilter(filter);
        settings.setShouldHidePhotosWithoutExifDetails(hideBare);
        EXPECT_EQ(ExifManager::exifDataItemsArrayAndFilterFromExifArray(all), kept) << filter << hideBare;
    }
    settings.setLocationFilter(0);
    settings.setShouldHidePhotosWithoutExifDetails(false);
}

TEST(MediaFile, TellsWhatIsWrongWithAFile) {
    const TemporaryFolder folder;
    const std::string pipe = (folder.path() / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::pair<std::string, MediaFault> cases[] = {
        {folder.write("photo.jpg", photo()), MediaFault::none},
        {folder.write("empty", ""), MediaFault::empty},
        {folder.write("notes.txt", "just some text"), MediaFault::unknownFormat},
        {folder.path().string(), MediaFault::isFolder},
        {pipe, MediaFault::notRegularFile},
        {"/dev/null", MediaFault::notRegularFile},
        {"/nowhere/at/all", MediaFault::notFound},
    };
    for (const auto& [path, fault] : cases) {
        EXPECT_EQ(MediaFile::read(path).fault, fault) << path;
        EXPECT_EQ(describe(fault).empty(), fault == MediaFault::none);
    }
    if (::geteuid() != 0) {
        const std::string secret = folder.write("secret.jpg", photo());
        ::chmod(secret.c_str(), 0);
        EXPECT_EQ(MediaFile::read(secret).fault, MediaFault::noPermission);
    }
}

}  // namespace
}  // namespace tessaly::test
