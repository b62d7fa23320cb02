#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <semaphore>
#include <sstream>
#include <thread>

#include "LibraryFixture.h"
#include "acquisition/ExifManager.h"
#include "platform/Foundation/NSTimeZone.h"
#include "platform/Photos/PHAssetResource.h"

// What a scan makes of folders that others change as they like.
namespace tessaly::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using enum TiffBuilder::Directory;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double kNewYear = 1577836800;  // 2020-01-01 00:00:00 UTC
constexpr auto kPatience = 60s;

class LibraryScan : public LibraryTest {
protected:
    /// Makes a photo known by what only the library remembers of it.
    void mark(const std::string& name) {
        ASSERT_EQ(change([&] {
                      const PHAssetRef marked = find(name);
                      request(*marked).setFavorite(true);
                      wishAlbum("Album").addAssets(std::span(&marked, 1));
                  }),
                  "");
        marked_ = asset(name).localIdentifier;
    }
    void expectMarked(const std::string& name, const std::string& when) const {
        const PHAsset found = asset(name);
        EXPECT_EQ(found.localIdentifier, marked_) << when;
        EXPECT_TRUE(found.favorite) << when;
        const auto albums = library_->collections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny, {});
        EXPECT_THAT(names(library_->assets(*albums.firstObject(), {})), ElementsAre(name)) << when;
    }

    std::string marked_;
};

TEST_F(LibraryScan, SeesWhatIsNewChangedAndGone) {
    write("a.jpg", photo(1));
    write("b.jpg", photo(2));
    write("deep/er/c.jpg", photo(3));
    write("notes.txt", "no photo");
    EXPECT_EQ(library_->scan().added, 3U);
    EXPECT_FALSE(library_->scan().changedAnything());

    // Of the same size, time and inode it is not looked into.
    const auto time = fs::last_write_time(path("a.jpg"));
    const std::string before = contentOf(path("a.jpg"));
    std::fstream(path("a.jpg"), std::ios::in | std::ios::out | std::ios::binary) << std::string(before.size(), '#');
    fs::last_write_time(path("a.jpg"), time);
    EXPECT_FALSE(library_->scan().changedAnything());
    EXPECT_EQ(asset("a.jpg").creationDate->timeIntervalSince1970, kNewYear + 1);

    mark("b.jpg");
    write("b.jpg", photo(40, TiffBuilder().text(first, 0x013B, "longer")));
    EXPECT_EQ(library_->scan().changed, 1U);
    expectMarked("b.jpg", "changed");
    EXPECT_EQ(asset("b.jpg").creationDate->timeIntervalSince1970, kNewYear + 40);
    const double modified = asset("b.jpg").modificationDate->timeIntervalSince1970;
    fs::last_write_time(path("b.jpg"), fs::last_write_time(path("b.jpg")) - 1h);
    EXPECT_EQ(library_->scan().changed, 1U);
    EXPECT_NEAR(asset("b.jpg").modificationDate->timeIntervalSince1970, modified - 3600, 0.01);

    write("notes.txt", photo(5));
    fs::last_write_time(path("notes.txt"), time - 2h);
    EXPECT_EQ(library_->scan().added, 1U) << "what was no photo became one";
    fs::remove(path("b.jpg"));
    write("deep/er/stays.txt", "words");
    fs::remove(path("deep/er/c.jpg"));
    EXPECT_EQ(library_->scan().removed, 2U);
    EXPECT_THAT(names(), ElementsAre("a.jpg", "notes.txt"));
    EXPECT_EQ(count("assets"), 3) << "what has no mark is not remembered";
    write("a.jpg", "a photo no more");
    EXPECT_EQ(library_->scan().removed, 1U);
    EXPECT_THAT(names(), ElementsAre("notes.txt"));
}

TEST_F(LibraryScan, TakesEachNameOfAFileForItself) {
    write("a.jpg", photo(1));
    fs::create_hard_link(path("a.jpg"), path("b.jpg"));
    library_->scan();
    EXPECT_THAT(names(), ElementsAre("a.jpg", "b.jpg"));
    mark("b.jpg");
    fs::create_hard_link(path("a.jpg"), path("c.jpg"));
    fs::create_hard_link(path("a.jpg"), path("d.jpg"));
    fs::remove(path("b.jpg"));
    EXPECT_EQ(library_->scan().moved, 1U);
    EXPECT_THAT(names(), ElementsAre("a.jpg", "c.jpg", "d.jpg"));
    EXPECT_EQ(count("assets WHERE favorite"), 1);
    fs::remove(path("a.jpg"));
    EXPECT_EQ(library_->scan().removed, 1U);
    EXPECT_THAT(names(), ElementsAre("c.jpg", "d.jpg"));
}

TEST_F(LibraryScan, PassesOverWhatIsHiddenAndLeadsRound) {
    write(".hidden.jpg", photo(1));
    write(".thumbnails/a.jpg", photo(2));
    write("b.jpg", photo(3));
    fs::create_directory_symlink(photos(), path("round"));
    fs::create_symlink("self.jpg", path("self.jpg"));
    fs::create_symlink("nowhere.jpg", path("dangling.jpg"));
    ::mkfifo(path("pipe.jpg").c_str(), 0600);
    const photos::ScanResult result = library_->scan();
    EXPECT_THAT(result.problems, IsEmpty());
    EXPECT_THAT(names(), ElementsAre("b.jpg"));
}

// As somebody who may not read everything: a photo stays one while nobody may look at it.
TEST_F(LibraryScan, KeepsWhatMayNotBeRead) {
    write("a.jpg", photo(1));
    write("shut/b.jpg", photo(2));
    write("c.jpg", photo(3));
    library_->scan();
    mark("a.jpg");
    constexpr uid_t kNobody = 65534;
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) {
        for (const auto& entry : fs::recursive_directory_iterator(folder_.path()))
            ASSERT_EQ(::chown(entry.path().c_str(), kNobody, kNobody), 0);
        ASSERT_EQ(::chown(folder_.path().c_str(), kNobody, kNobody), 0);
        ASSERT_EQ(::seteuid(kNobody), 0);
    }
    write("a.jpg", photo(10, TiffBuilder().text(first, 0x013B, "longer")));
    fs::permissions(path("a.jpg"), fs::perms::none);
    fs::permissions(path("shut"), fs::perms::none);
    fs::remove(path("c.jpg"));
    write("d.jpg", photo(4));
    const photos::ScanResult result = library_->scan();
    const Names known = names();
    fs::permissions(path("a.jpg"), fs::perms::owner_all);
    fs::permissions(path("shut"), fs::perms::owner_all);
    const photos::ScanResult later = library_->scan();
    ASSERT_TRUE(!isRoot || ::seteuid(0) == 0);
    EXPECT_EQ(result.problems.size(), 2U);
    EXPECT_EQ(result.removed, 1U);
    EXPECT_THAT(known, ElementsAre("a.jpg", "b.jpg", "d.jpg"));
    EXPECT_EQ(later.changed, 1U);
    EXPECT_THAT(later.problems, IsEmpty());
    expectMarked("a.jpg", "readable again");
    EXPECT_EQ(asset("a.jpg").creationDate->timeIntervalSince1970, kNewYear + 10);
}

TEST_F(LibraryScan, RefusesFoldersThatOverlap) {
    fs::create_directories(path("inner"));
    fs::create_directory_symlink(photos(), folder_.path() / "link");
    const std::string file = write("a.jpg", photo(1));
    for (const std::string& wrong : {photos(), photos() + "/", path("inner"), folder_.path().string(),
                                     (folder_.path() / "link").string(), file, path("missing"), std::string("/")})
        EXPECT_NE(library_->addFolder(wrong), "") << wrong;
    EXPECT_EQ(library_->folders().size(), 1U);
    fs::create_directories(photos() + "2");
    EXPECT_EQ(library_->addFolder(photos() + "2"), "") << "only begins the same";
    EXPECT_EQ(library_->removeFolder(photos()), "");
    EXPECT_TRUE(fs::exists(file));
}

ByteString livePhoto(int second, const std::string& contentIdentifier) {
    const ByteString note = ByteString("Apple iOS\0\0\1MM"_z)
                                .add(TiffBuilder(false).text(first, 17, contentIdentifier).directory(first, 14));
    return photo(second, TiffBuilder().raw(exif, 0x927C, 7, static_cast<std::uint32_t>(note.size()), note));
}

TEST_F(LibraryScan, JoinsLivePhotos) {
    struct Case {
        const char* why;
        std::string photoName, videoName;
        ByteString photoFile, videoFile;
        bool isLive;
    };
    const Case cases[] = {
        {"by name", "a.jpg", "a.mov", photo(1), movie(3), true},
        {"by name, the video first", "a.jpg", "a.MOV", photo(1), movie(3), true},
        {"by content identifier", "a.jpg", "z.mov", livePhoto(1, "ID-1"), movie(30, "ID-1"), true},
        {"by content identifier, the video first", "b.jpg", "a.mov", livePhoto(1, "ID-1"), movie(3, "ID-1"), true},
        {"other identifiers under the same name", "a.jpg", "a.mov", livePhoto(1, "ID-1"), movie(3, "ID-2"), false},
        {"a long video", "a.jpg", "a.mov", photo(1), movie(11), false},
        {"no QuickTime", "a.jpg", "a.mp4", photo(1), movie(3, "", "mp42"), false},
        {"another name", "a.jpg", "a.b.mov", photo(1), movie(3), false},
        {"another folder", "a.jpg", "x/a.mov", photo(1), movie(3), false},
    };
    for (const auto& [why, photoName, videoName, photoFile, videoFile, isLive] : cases) {
        for (const bool inOneScan : {true, false}) {
            for (const bool videoComesFirst : {false, true}) {
                if (!videoComesFirst) write(photoName, photoFile);
                if (videoComesFirst || inOneScan) write(videoName, videoFile);
                library_->scan();
                write(photoName, photoFile);
                write(videoName, videoFile);
                library_->scan();
                const PHAsset live = asset(photoName);
                const auto parts = library_->resources(live.localIdentifier);
                EXPECT_EQ(live.mediaSubtypes, isLive ? PHAssetMediaSubtypePhotoLive : 0U) << why;
                ASSERT_EQ(parts.size(), isLive ? 2U : 1U) << why;
                EXPECT_EQ(count("assets"), isLive ? 1 : 2) << why;
                if (isLive) {
                    EXPECT_EQ(parts[1].originalFilename, fs::path(videoName).filename()) << why;
                    EXPECT_EQ(parts[1].type, PHAssetResourceTypePairedVideo) << why;
                    const auto content =
                        library_->content(live.localIdentifier, PHAssetResourceTypePairedVideo, false, {});
                    EXPECT_EQ(content.path, path(videoName)) << why;
                    EXPECT_EQ(content.offset, 0U) << why;
                }
                fs::remove(path(photoName));
                library_->scan();
                EXPECT_EQ(asset(fs::path(videoName).filename().string()).mediaType, PHAssetMediaTypeVideo) << why;
                write(photoName, photoFile);
                library_->scan();
                fs::remove(path(videoName));
                library_->scan();
                EXPECT_EQ(asset(photoName).mediaSubtypes, 0U) << why;
                fs::remove(path(photoName));
                write("other.jpg", photo(9));  // An empty folder would count as not mounted.
                library_->scan();
                fs::remove(path("other.jpg"));
                write("other.txt", "");
                library_->scan();
                std::vector<std::string> away;
                for (const PHAssetRef& each : objects(library_->assets({}))) away.push_back(each->localIdentifier);
                EXPECT_EQ(library_->forgetAssets(away), "") << "the last of a folder: " << why;
                ASSERT_EQ(count("assets"), 0) << why;
            }
        }
    }
}

TEST_F(LibraryScan, JoinsEachCopyOfALivePhotoForItself) {
    for (const std::string at : {"one/", "two/"}) {
        write(at + "a.jpg", livePhoto(1, "ID"));
        write(at + "a.mov", movie(3, "ID"));
    }
    write("three/a.jpg", photo(1));
    write("three/a.mov", movie(3));
    library_->scan();
    EXPECT_THAT(names(), ElementsAre("a.jpg", "a.jpg", "a.jpg"));
    for (const PHAssetRef& each : objects(library_->assets({}))) {
        const std::string& id = each->localIdentifier;
        EXPECT_EQ(fs::path(library_->content(id, 9, false, {}).path).parent_path(),
                  fs::path(library_->content(id, 1, false, {}).path).parent_path());
    }
    write("three/a.jpg", "a photo no more");
    library_->scan();
    EXPECT_THAT(names(), ElementsAre("a.jpg", "a.jpg", "a.mov"));
}

ByteString littleEndian(std::uint32_t value) {
    ByteString bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes.u8(value >> shift & 0xFFU);
    return bytes;
}

/// The trailer of a maker: one entry, and the table that says how far before it the entry is.
ByteString trailer(const ByteString& movie) {
    const std::string_view name = "MotionPhoto_Data";
    ByteString entry("\0\0\x30\x0a"_z);
    entry.add(littleEndian(static_cast<std::uint32_t>(name.size()))).add(name).add(movie);
    ByteString table("SEFH\x6b\0\0\0"_z);
    table.add(littleEndian(1)).add("\0\0\x30\x0a"_z);
    table.add(littleEndian(static_cast<std::uint32_t>(entry.size())));
    table.add(littleEndian(static_cast<std::uint32_t>(entry.size())));
    return entry.add(table).add(littleEndian(static_cast<std::uint32_t>(table.size()))).add("SEFT");
}

// By what the photo says of itself; a movie's brand somewhere in the bytes says nothing.
TEST_F(LibraryScan, FindsTheMovieInAMotionPhoto) {
    const auto xmpSegment = [](const std::string& attributes, const std::string& elements = {}) {
        return jpegSegment(0xE1, ByteString("http://ns.adobe.com/xap/1.0/\0"_z)
                                     .add(xmp("xmlns:GCamera=\"http://ns.google.com/photos/1.0/camera/\" "
                                              "xmlns:Container=\"http://ns.google.com/photos/1.0/container/\" "
                                              "xmlns:Item=\"http://ns.google.com/photos/1.0/container/item/\" " +
                                                  attributes,
                                              elements)));
    };
    const ByteString film = movie(2, "", "mp42");
    const std::string length = std::to_string(film.size());
    const auto directory = [&](const std::string& items) {
        return xmpSegment("GCamera:MotionPhoto=\"1\"",
                          "<Container:Directory><rdf:Seq><rdf:li "
                          "rdf:parseType=\"Resource\"><Container:Item "
                          "Item:Semantic=\"Primary\" Item:Length=\"0\"/></rdf:li>" +
                              items + "</rdf:Seq></Container:Directory>");
    };
    const auto item = [](const std::string& semantic, const std::string& bytes) {
        return "<rdf:li rdf:parseType=\"Resource\"><Container:Item Item:Semantic=\"" + semantic + "\" Item:Length=\"" +
               bytes + "\"/></rdf:li>";
    };
    const std::string offset = "GCamera:MicroVideo=\"1\" GCamera:MicroVideoOffset=\"" + length + "\"";
    const TiffBuilder samsung = TiffBuilder().text(first, 0x010F, "samsung");
    struct Case {
        const char* why;
        ByteString still;
        ByteString before, after;  ///< Around the movie.
        bool isFound;
    };
    const ByteString packed = trailer(film);
    const std::size_t filmInTrailer = 8 + 16;
    const ByteString head = ByteString(packed.text().substr(0, filmInTrailer));
    const ByteString tail = ByteString(packed.text().substr(filmInTrailer + film.size()));
    // A picture that is nothing but its metadata, and the movie in a box of its own behind it.
    const auto heif = [](const std::string& attributes) {
        const ByteString words = xmp("xmlns:GCamera=\"http://ns.google.com/photos/1.0/camera/\" " + attributes);
        const auto size = static_cast<std::uint32_t>(words.size());
        return box("ftyp", {"heic\0\0\0\0mif1heic"_z})
            .add(fullBox(
                "meta", 0, 0,
                {fullBox("hdlr", 0, 0, {"\0\0\0\0pict"_z}), fullBox("pitm", 0, 0, {ByteString().u16(1)}),
                 fullBox("iinf", 0, 0,
                         {ByteString().u16(2), fullBox("infe", 2, 0, {ByteString().u16(1).u16(0).add("hvc1\0"_z)}),
                          fullBox("infe", 2, 0, {ByteString().u16(2).u16(0).add("mime\0application/rdf+xml\0"_z)})}),
                 fullBox("iloc", 1, 0,
                         {ByteString().u16(0x4440).u16(1).u16(2).u16(1).u16(0).u32(0).u16(1).u32(0).u32(size)}),
                 fullBox("iref", 0, 0, {box("cdsc", {ByteString().u16(2).u16(1).u16(1)})}),
                 box("iprp", {box("ipco", {fullBox("ispe", 0, 0, {ByteString().u32(64).u32(48)})}),
                              fullBox("ipma", 0, 0, {ByteString().u32(1).u16(1).u8(1).u8(1)})}),
                 box("idat", {words})}));
    };
    const auto free = [](int count) {
        ByteString boxes;
        while (count-- > 0) boxes.add(box("free", {"123"}));
        return boxes;
    };
    const auto boxHead = [](std::size_t content, std::string_view type) {
        return ByteString().u32(static_cast<std::uint32_t>(content + 8)).add(type);
    };
    const std::string moves = "GCamera:MotionPhoto=\"1\"";
    const Case cases[] = {
        {"box", heif(moves), boxHead(film.size(), "mpvd"), "", true},
        {"box behind many others, before another", heif(moves), free(61).add(boxHead(film.size(), "mpvd")), free(1),
         true},
        {"box behind too many", heif(moves), free(62).add(boxHead(film.size(), "mpvd")), "", false},
        {"a box of a picture that says nothing", heif(""), boxHead(film.size(), "mpvd"), "", false},
        {"a box that holds no movie", heif(moves), boxHead(film.size() + 4, "mpvd").add("1234"), "", false},
        {"a box that lies", heif(moves), boxHead(99'999, "mpvd"), "", false},
        {"offset", jpeg({xmpSegment(offset)}), "", "", true},
        {"offset, another movie before", jpeg({xmpSegment(offset)}), film, "", true},
        {"offset to elsewhere", jpeg({xmpSegment(offset)}), "", "more", false},
        {"not so", jpeg({xmpSegment("GCamera:MicroVideo=\"0\" GCamera:MicroVideoOffset=\"" + length + "\"")}), "", "",
         false},
        {"says nothing", jpeg({}), "", "", false},
        {"no offset", jpeg({xmpSegment("GCamera:MotionPhoto=\"1\"")}), "", "", false},
        {"directory", jpeg({directory(item("MotionPhoto", length))}), "", "", true},
        {"behind a gain map", jpeg({directory(item("GainMap", "5") + item("MotionPhoto", length))}), "12345", "", true},
        {"before another item", jpeg({directory(item("MotionPhoto", length) + item("Depth", "3"))}), "", "123", true},
        {"a directory that lies", jpeg({directory(item("MotionPhoto", "99999999"))}), "", "", false},
        {"trailer", photo(1, samsung), head, tail, true},
        {"a trailer that is cut", photo(1, samsung), head, ByteString(tail.text().substr(0, tail.size() - 1)), false},
    };
    int number = 0;
    for (const auto& [why, still, before, after, isFound] : cases) {
        const std::string name = std::to_string(number++) + ".jpg";
        write(name, ByteString(still).add(before).add(film).add(after));
        library_->scan();
        const PHAsset motion = asset(name);
        EXPECT_EQ(motion.mediaSubtypes, isFound ? PHAssetMediaSubtypePhotoLive : 0U) << why;
        const auto content = library_->content(motion.localIdentifier, PHAssetResourceTypePairedVideo, false, {});
        EXPECT_EQ(content.path, isFound ? path(name) : "") << why;
        EXPECT_EQ(content.offset, isFound ? still.size() + before.size() : 0U) << why;
        EXPECT_EQ(library_->resources(motion.localIdentifier).size(), isFound ? 2U : 1U) << why;
    }
    write("0.jpg", jpeg({}));
    library_->scan();
    EXPECT_EQ(asset("0.jpg").mediaSubtypes, 0U) << "not any more";
}

TEST_F(LibraryScan, KnowsScreenshots) {
    struct Case {
        std::string name;
        const char* make;
        const char* comment;
        bool isScreenshot;
    };
    const Case cases[] = {
        {"Screenshot from 2020.jpg", "", "", true}, {"Screen Shot 1.jpg", "", "", true},
        {"Bildschirmfoto.jpg", "", "", true},       {"Screenshots/a.jpg", "", "", true},
        {"b.jpg", "", "Screenshot", true},          {"Screenshot.jpg", "Maker", "Screenshot", false},
        {"my screenshot.jpg", "", "", false},       {"Screenshots/deeper/c.jpg", "", "", false},
        {"d.jpg", "", "Screenshot of mine", false},
    };
    for (const auto& [name, make, comment, isScreenshot] : cases) {
        TiffBuilder tiff;
        if (*make) tiff.text(first, 0x010F, make);
        const ByteString text = ByteString("ASCII\0\0\0"_z).add(comment);
        if (*comment) tiff.raw(exif, 0x9286, 7, static_cast<std::uint32_t>(text.size()), text);
        write(name, photo(1, tiff));
    }
    library_->scan();
    for (const auto& [name, make, comment, isScreenshot] : cases)
        EXPECT_EQ(asset(fs::path(name).filename().string()).mediaSubtypes,
                  isScreenshot ? PHAssetMediaSubtypePhotoScreenshot : 0U)
            << name;
}

// Ten in the morning stays ten in the morning; what is an instant stays that.
TEST_F(LibraryScan, KeepsTheTimeOfDayInEveryTimeZone) {
    TiffBuilder offset;
    offset.text(exif, 0x9011, "-05:00");
    write("photo.jpg", photo(36000, offset));
    write("movie.mov", movie(5));
    write("undated.jpg", jpeg({}));
    library_->scan();
    const auto film = asset("movie.mov").creationDate;
    const auto undated = asset("undated.jpg").creationDate;
    for (const char* zone : {"Asia/Tokyo", "America/St_Johns", "UTC"}) {
        NSTimeZone::setDefaultTimeZone(zone);
        reopen();
        const auto record = ExifManager::exifinformationFromNSURL(NSURL::fileURLWithPath(path("photo.jpg")));
        EXPECT_EQ(asset("photo.jpg").creationDate, record->dateTaken) << zone;
        EXPECT_EQ(asset("movie.mov").creationDate, film) << zone;
        EXPECT_EQ(asset("undated.jpg").creationDate, undated) << zone;
        EXPECT_EQ(library_->scan().changed, 0U) << zone;
    }
    EXPECT_EQ(asset("photo.jpg").creationDate->timeIntervalSince1970, kNewYear + 36000);
}

/// What the library says of a photo, but for its names and marks.
std::string factsOf(const PHAsset& asset) {
    std::ostringstream text;
    text << (asset.mediaType == PHAssetMediaTypeVideo ? "video " : "photo ") << asset.pixelWidth << " x "
         << asset.pixelHeight << " for " << asset.duration << " s";
    if (asset.creationDate != asset.modificationDate)
        text << ", made at " << asset.creationDate->timeIntervalSince1970 - kNewYear;
    if (const auto& at = asset.location)
        text << ", at " << at->coordinate.latitude << " " << at->coordinate.longitude << " " << at->altitude << " m to "
             << at->course;
    return text.str();
}

/// Of every kind of value one of its own, in a file and in the one that takes its name after it.
TEST_F(LibraryScan, ReadsWhatAFileSaysOfItself) {
    const auto pictured = [](const TiffBuilder& tiff, unsigned width, unsigned height) {
        return jpeg({jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(tiff.build()))}, width, height);
    };
    const auto placed = [](TiffBuilder tiff, const char* north, const char* east, unsigned below,
                           unsigned degree = 50) {
        tiff.text(gps, 1, north).rationals(gps, 2, {{degree, 1}, {30, 1}, {0, 1}});
        tiff.text(gps, 3, east).rationals(gps, 4, {{10, 1}, {0, 1}, {0, 1}});
        return tiff.raw(gps, 5, 1, 1, ByteString().u8(below)).rationals(gps, 6, {{123, 2}});
    };
    const TiffBuilder taken = TiffBuilder().text(exif, 0x9003, "2020:01:01 02:00:00").text(exif, 0x9291, "25");
    const TiffBuilder also = TiffBuilder(taken).text(exif, 0x9004, "2020:01:01 01:00:00").text(exif, 0x9011, "+02:00");
    const std::string film = contentOf(std::string(TESSALY_SEEDS) + "/movie/movie.mov");
    const std::string sideways = contentOf(std::string(TESSALY_CODEC_FILES) + "/sideways.mp4");
    const struct {
        const char* why;
        ByteString file;
        std::string facts;
    } cases[] = {
        {"nothing", jpeg({}, 40, 30), "photo 40 x 30 for 0 s"},
        {"a place in the north east", pictured(placed(also, "N", "E", 0), 41, 31),
         "photo 41 x 31 for 0 s, made at 7200.25, at 50.5 10 61.5 m to -1"},
        {"in the south west, below the sea", pictured(placed(taken, "S", "w", 1), 42, 32),
         "photo 42 x 32 for 0 s, made at 7200.25, at -50.5 -10 -61.5 m to -1"},
        {"where the camera looked", pictured(placed(taken, "N", "E", 0).rationals(gps, 17, {{67, 2}}), 43, 33),
         "photo 43 x 33 for 0 s, made at 7200.25, at 50.5 10 61.5 m to 33.5"},
        {"nowhere on earth", pictured(placed(taken, "N", "E", 0, 95), 44, 34),
         "photo 44 x 34 for 0 s, made at 7200.25"},
        {"half a place", pictured(TiffBuilder().text(gps, 1, "N").rationals(gps, 2, {{5, 1}}), 45, 35),
         "photo 45 x 35 for 0 s"},
        {"on its side", pictured(TiffBuilder().shorts(first, 0x0112, {6}), 46, 36), "photo 36 x 46 for 0 s"},
        {"upside down", pictured(TiffBuilder().shorts(first, 0x0112, {4}), 47, 37), "photo 47 x 37 for 0 s"},
        {"when it was scanned", pictured(TiffBuilder().text(exif, 0x9004, "2020:01:01 00:00:04"), 48, 38),
         "photo 48 x 38 for 0 s, made at 4"},
        {"when it was changed", pictured(TiffBuilder().text(first, 0x0132, "2020:01:01 00:00:05"), 49, 39),
         "photo 49 x 39 for 0 s, made at 5"},
        {"no number of hundredths",
         pictured(TiffBuilder().text(exif, 0x9003, "2020:01:01 00:00:06").text(exif, 0x9291, "x2"), 50, 40),
         "photo 50 x 40 for 0 s, made at 6"},
        {"a film", film, "video 1080 x 1920 for 2 s, made at 90245, at 51.4169 -0.0806 0 m to -1"},
        {"a film on its side", sideways, "video 32 x 64 for 1 s"},
    };
    // Were they not one after the other under a name, the second half would be about new photos only.
    for (const char* name : {"new", "same"})
        for (int number = 0; const auto& [why, file, facts] : cases) {
            const std::string at = name + (*name == 'n' ? std::to_string(number++) : std::string()) + ".jpg";
            write(at, file);
            library_->scan();
            EXPECT_EQ(factsOf(asset(at)), facts) << why << ", " << name;
        }

    const ByteString before = pictured(placed(taken, "N", "E", 0), 64, 48);
    for (const char* name : {"ne.jpg", "sw.jpg"}) write(name, before);
    library_->scan();
    CLLocation own;
    own.coordinate = {1, 2};
    ASSERT_EQ(change([&] {
                  request(asset("ne.jpg")).setLocation(own);
                  request(asset("ne.jpg")).setCreationDate({42});
                  request(asset("ne.jpg")).setFavorite(true);
                  request(asset("sw.jpg")).setLocation(std::nullopt);
              }),
              "");
    for (const char* name : {"ne.jpg", "sw.jpg"}) write(name, pictured(placed(taken, "N", "W", 0), 64, 49));
    EXPECT_EQ(library_->scan().changed, 2U);
    EXPECT_EQ(asset("ne.jpg").location->coordinate, own.coordinate);
    EXPECT_EQ(asset("ne.jpg").creationDate->timeIntervalSince1970, 42);
    EXPECT_TRUE(asset("ne.jpg").favorite);
    EXPECT_FALSE(asset("sw.jpg").location);
}

TEST_F(LibraryScan, SharesTheLibraryWithOtherPrograms) {
    const auto other = opened();
    write("a.jpg", photo(1));
    EXPECT_EQ(other->scan().added, 1U);
    EXPECT_THAT(names(), ElementsAre("a.jpg"));
    EXPECT_FALSE(library_->scan().changedAnything());
    ASSERT_EQ(changeIn(*other, [&] { request(asset("a.jpg")).setFavorite(true); }), "");
    EXPECT_TRUE(asset("a.jpg").favorite);
    ASSERT_EQ(change([&] { wishEdit("a.jpg", editedPhoto(2)); }), "");
    EXPECT_TRUE(other->assets(PHFetchOptions()).firstObject()->hasAdjustments);
    EXPECT_FALSE(other->scan().changedAnything());

    // Both scan, and both make photos, at the same time: nothing is taken twice, or for gone.
    for (int i = 0; i < 300; ++i) write("many/" + std::to_string(i) + ".jpg", photo(i));
    const auto work = [](Library& library) {
        for (int i = 0; i < 10; ++i) {
            library.scan();
            const std::string why = changeIn(library, [&] {
                PHAsset made;
                made.localIdentifier = wishPhoto(photo(i), "made.jpg").placeholderForCreatedAsset().localIdentifier;
                request(made).setFavorite(true);
            });
            EXPECT_EQ(why, "");
        }
    };
    std::thread second([&] { work(*other); });
    work(*library_);
    second.join();
    library_->scan();
    EXPECT_EQ(count("assets"), 321);
    EXPECT_EQ(count("assets WHERE favorite"), 21);
    expectWhole();
}

TEST_F(LibraryScan, LeavesOthersToTheirWork) {
    constexpr int kFiles = 2000;
    write("first.jpg", photo(0));
    library_->scan();
    for (int i = 0; i < kFiles; ++i) write("many/" + std::to_string(i) + ".jpg", photo(i));
    std::atomic<bool> isDone = false;
    std::vector<std::thread> others;
    for (const bool changes : {false, false, true})
        others.emplace_back([&, changes] {
            PHFetchOptions options;
            options.sortDescriptors = {{"creationDate", false}};
            for (bool favorite = true; !isDone; favorite = !favorite) {
                const auto fetched = library_->assets(options);
                for (std::size_t i = 0; i < fetched.count(); i += 97) {
                    const PHAssetRef each = fetched.objectAtIndex(i);
                    ASSERT_TRUE(each);
                    if (changes) static_cast<void>(change([&] { request(*each).setFavorite(favorite); }));
                }
            }
        });
    EXPECT_EQ(library_->scan().added, static_cast<std::size_t>(kFiles));
    isDone = true;
    for (std::thread& other : others) other.join();
    EXPECT_EQ(library_->assets(PHFetchOptions()).count(), kFiles + 1U);
}

TEST_F(LibraryScan, StopsWhereItIsTold) {
    for (int i = 0; i < 600; ++i) write(std::to_string(i) + ".jpg", photo(i));
    library_->scan([](const photos::ScanProgress& progress) { return progress.read == 0; });
    const auto taken = library_->assets(PHFetchOptions()).count();
    EXPECT_GT(taken, 0U);
    EXPECT_LT(taken, 600U);
    EXPECT_EQ(library_->scan().added, 600 - taken);
}

TEST_F(LibraryScan, WatchesItsFolders) {
    write("a.jpg", photo(1));
    library_->scan();
    std::counting_semaphore<1000> changed(0);
    library_->registerChangeObserver([&] { changed.release(); });
    library_->startWatching();
    const auto expectSoon = [&](const char* when, const Names& expected) {
        while (names() != expected) ASSERT_TRUE(changed.try_acquire_for(kPatience)) << when;
    };
    write("b.jpg", photo(2));
    expectSoon("a new file", {"a.jpg", "b.jpg"});
    const std::string aside = (folder_.path() / "aside").string();
    folder_.write("aside/deep/c.jpg", photo(3).text());
    fs::rename(aside, path("in"));
    expectSoon("a folder that was moved in", {"a.jpg", "b.jpg", "c.jpg"});
    write("in/deep/er/notes.txt", "words");
    write("in/deep/er/d.jpg", photo(4));
    expectSoon("a new folder in it", {"a.jpg", "b.jpg", "c.jpg", "d.jpg"});
    fs::remove(path("in/deep/er/d.jpg"));
    fs::remove(path("b.jpg"));
    expectSoon("deletions", {"a.jpg", "c.jpg"});
    close();  // Before the semaphore goes.
}

}  // namespace
}  // namespace tessaly::test
