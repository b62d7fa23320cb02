#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <map>

#include "LibraryFixture.h"
#include "platform/Photos/PHAssetResource.h"

// What the program asks of the library, and what it does to it.
namespace tessaly::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class LibraryFetches : public LibraryTest {
protected:
    void SetUp() override {
        TiffBuilder placed;
        placed.text(TiffBuilder::gps, 1, "N").rationals(TiffBuilder::gps, 2, {{50, 1}, {0, 1}, {0, 1}});
        placed.text(TiffBuilder::gps, 3, "E").rationals(TiffBuilder::gps, 4, {{10, 1}, {0, 1}, {0, 1}});
        write("a.jpg", photo(1));
        write("b.jpg", photo(2, placed));
        write("c.jpg", photo(2));
        write("d.mov", movie(30));
        write("e.mov", movie(5));
        write("f.jpg", photo(6, placed));
        write("Screenshot.jpg", photo(7));
        library_->scan();
        ASSERT_EQ(change([&] {
                      for (const char* name : {"c.jpg", "e.mov", "f.jpg"}) request(asset(name)).setFavorite(true);
                      wishEdit("a.jpg", editedPhoto(1));
                  }),
                  "");
        // A row of an earlier version may lack a date.
        database(photos::Database::Mode::readWrite)
            .run("UPDATE assets SET created = NULL WHERE local_identifier = ?", asset("e.mov").localIdentifier);
    }

    static Value valueOf(const PHAsset& asset, std::string_view key) {
        const auto date = [](const std::optional<NSDate>& value) { return value ? Value(*value) : Value(); };
        if (key == "localIdentifier") return asset.localIdentifier;
        if (key == "mediaType") return asset.mediaType;
        if (key == "mediaSubtypes") return asset.mediaSubtypes;
        if (key == "creationDate") return date(asset.creationDate);
        if (key == "modificationDate") return date(asset.modificationDate);
        if (key == "location") return asset.location ? Value(true) : Value();
        if (key == "pixelWidth") return asset.pixelWidth;
        if (key == "duration") return asset.duration;
        if (key == "favorite") return asset.favorite;
        return key == "hasAdjustments" ? Value(asset.hasAdjustments) : Value();
    }
};

TEST_F(LibraryFetches, GiveWhatThePredicateIsTrueFor) {
    const auto all = objects(library_->assets(PHFetchOptions()));
    ASSERT_EQ(all.size(), 7U);
    const std::string id = all[2]->localIdentifier;
    const NSDate second{1577836802};
    struct Case {
        const char* format;
        std::vector<Value> arguments;
        std::optional<std::size_t> count;
    };
    const Case cases[] = {
        {"location == NULL && favorite = YES && (mediaType == %d || mediaType == %d)", {1, 2}, 2},
        {"location != nil AND favorite == NO", {}, 1},
        {"localIdentifier contains %@", {id.substr(3, 8)}, 1},
        {"localIdentifier CONTAINS ''", {}, {}},
        {"localIdentifier BEGINSWITH %@", {id.substr(0, 12)}, 1},
        {"localIdentifier BEGINSWITH ''", {}, {}},
        {"localIdentifier ENDSWITH '/L0/001'", {}, 7},
        {"localIdentifier == %@", {id}, 1},
        {"localIdentifier < %@", {id}, {}},
        {"localIdentifier ==[c] %@", {id.substr(0, 4) + "x"}, 0},
        {"localIdentifier LIKE %@", {id.substr(0, 5) + "*"}, {}},
        {"localIdentifier LIKE[c] 'a*'", {}, {}},
        {"localIdentifier MATCHES '[0-9A-F-]{36}/L0/001'", {}, 7},
        {"creationDate > %@", {second}, {}},
        {"creationDate < %@", {second}, 1},
        {"creationDate >= %@ AND creationDate <= %@", {second, second}, 2},
        {"creationDate == %@", {second}, 2},
        {"creationDate != %@", {second}, 5},
        {"creationDate > 5", {}, 0},
        {"creationDate != 5", {}, {}},
        {"duration < %@", {second}, 0},
        {"favorite == 'YES'", {}, {}},
        {"creationDate == NULL", {}, 1},
        {"creationDate != NULL", {}, 6},
        {"NULL == creationDate", {}, 1},
        {"NOT creationDate < %@", {second}, 6},
        {"NOT (creationDate > %@ OR creationDate < %@)", {second, second}, 3},
        {"NOT NOT creationDate < %@", {second}, 1},
        {"NOT (creationDate < %@ AND favorite == YES)", {second}, 7},
        {"creationDate < NULL", {}, 0},
        {"NOT creationDate < NULL", {}, 7},
        {"creationDate == modificationDate", {}, {}},
        {"mediaType IN {1, 5}", {}, 5},
        {"NOT mediaType IN {1}", {}, 2},
        {"mediaType IN {}", {}, 0},
        {"NOT creationDate IN {%@}", {second}, 5},
        {"localIdentifier IN {%@, 'none'}", {id}, 1},
        {"mediaType IN {'1'}", {}, 0},
        {"duration BETWEEN {4, 6}", {}, 1},
        {"duration > 4.5 && pixelWidth = 0", {}, {}},
        {"hasAdjustments == YES", {}, 1},
        {"NOT hasAdjustments == YES", {}, 6},
        {"mediaSubtypes == 4", {}, 1},
        {"location == YES", {}, {}},
        {"TRUEPREDICATE", {}, 7},
        {"FALSEPREDICATE OR 1 == 1", {}, 7},
    };
    for (const auto& [format, arguments, expected] : cases) {
        std::string error;
        PHFetchOptions options;
        options.predicate = NSPredicate::predicateWithFormat(format, std::span(arguments), &error);
        ASSERT_TRUE(options.predicate) << format << ": " << error;
        Names judged;
        for (const PHAssetRef& each : all)
            if (options.predicate->evaluateWithObject([&](std::string_view key) { return valueOf(*each, key); }))
                judged.push_back(nameOf(*library_, each));
        EXPECT_EQ(names(library_->assets(options)), judged) << format;
        EXPECT_EQ(judged.size(), expected.value_or(judged.size())) << format;
        options.fetchLimit = 2;
        EXPECT_EQ(library_->assets(options).count(), std::min<std::size_t>(2, judged.size())) << format;
    }
}

TEST_F(LibraryFetches, SortAndLimit) {
    struct Case {
        const char* why;
        std::vector<NSSortDescriptor> sort;
        std::size_t limit;
        Names expected;
    };
    const Case cases[] = {
        {"nothing comes first, and the last key breaks ties",
         {{"mediaType", true}, {"creationDate", true}},
         0,
         {"a.jpg", "b.jpg", "c.jpg", "f.jpg", "Screenshot.jpg", "e.mov", "d.mov"}},
        {"and last, the other way round",
         {{"mediaType", false}, {"creationDate", false}},
         6,
         {"d.mov", "e.mov", "Screenshot.jpg", "f.jpg", "c.jpg", "b.jpg"}},
        {"by what was edited", {{"hasAdjustments", false}, {"duration", false}}, 3, {"a.jpg", "d.mov", "e.mov"}},
        {"by nothing that there is", {{"colour", true}}, 0, {}},
    };
    for (const auto& [why, sort, limit, expected] : cases) {
        PHFetchOptions options;
        options.sortDescriptors = sort;
        options.fetchLimit = limit;
        EXPECT_EQ(names(library_->assets(options)), expected) << why;
    }
    PHFetchOptions unknown;
    unknown.predicate = NSPredicate::predicateWithFormat("colour == NULL");
    EXPECT_EQ(library_->assets(unknown).count(), 0U);
    EXPECT_EQ(library_->collections(PHAssetCollectionTypeSmartAlbum, PHAssetCollectionSubtypeAny, unknown).count(), 0U);
}

TEST_F(LibraryFetches, KnowAlbumsAndIdentifiers) {
    struct Case {
        std::int64_t subtype;
        Names expected;
    };
    for (const auto& [subtype, expected] :
         {Case{PHAssetCollectionSubtypeSmartAlbumFavorites, {"c.jpg", "e.mov", "f.jpg"}},
          Case{PHAssetCollectionSubtypeSmartAlbumVideos, {"d.mov", "e.mov"}},
          Case{PHAssetCollectionSubtypeSmartAlbumScreenshots, {"Screenshot.jpg"}},
          Case{PHAssetCollectionSubtypeSmartAlbumLivePhotos, {}},
          Case{PHAssetCollectionSubtypeSmartAlbumUserLibrary, names()}}) {
        const auto albums = library_->collections(PHAssetCollectionTypeSmartAlbum, subtype, {});
        ASSERT_EQ(albums.count(), 1U);
        EXPECT_THAT(names(library_->assets(*albums.firstObject(), {})), testing::UnorderedElementsAreArray(expected));
        EXPECT_EQ(albums.firstObject()->estimatedAssetCount, expected.size());
        const std::string id = albums.firstObject()->localIdentifier;
        EXPECT_EQ(library_->collections(std::span(&id, 1), {}).count(), 1U);
    }
    const Names wanted{asset("f.jpg").localIdentifier, "none", asset("a.jpg").localIdentifier,
                       asset("c.jpg").localIdentifier};
    PHFetchOptions options;
    EXPECT_THAT(names(library_->assets(wanted, options)), ElementsAre("f.jpg", "a.jpg", "c.jpg"));
    options.predicate = NSPredicate::predicateWithFormat("favorite == YES");
    EXPECT_THAT(names(library_->assets(wanted, options)), ElementsAre("f.jpg", "c.jpg"));
    options.sortDescriptors = {{"creationDate", true}};
    EXPECT_THAT(names(library_->assets(wanted, options)), ElementsAre("c.jpg", "f.jpg"));
    options.includeAssetSourceTypes = 2;
    EXPECT_EQ(library_->assets(wanted, options).count(), 0U);
    // What is fetched stays as it was; what has gone is null.
    const auto all = library_->assets(PHFetchOptions());
    const Names before = names(all);
    fs::remove(path("d.mov"));
    library_->scan();
    EXPECT_EQ(all.count(), 7U);
    EXPECT_FALSE(all.objectAtIndex(static_cast<std::size_t>(std::ranges::find(before, "d.mov") - before.begin())));
}

class LibraryChanges : public LibraryTest {
protected:
    void SetUp() override {
        for (int i = 0; i < 3; ++i) write(std::string(1, "abc"[i]) + ".jpg", photo(i));
        library_->scan();
        library_->confirmsDeletion = [](const auto&) { return true; };
    }
    /// Every file below the folder, with its content.
    static std::map<std::string, std::string> contents(const std::string& folder) {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            if (entry.is_regular_file()) files[entry.path().string()] = contentOf(entry.path());
        return files;
    }
};

TEST_F(LibraryChanges, CreatesPhotos) {
    const std::string camera = folder_.write("camera/a.jpg", photo(9).text());
    const std::string clip = folder_.write("camera/clip.mov", movie(2).text());
    std::string placeholder;
    CLLocation place;
    place.coordinate = {3, 4};
    ASSERT_EQ(change([&] {
                  const auto made =
                      PHAssetChangeRequest::creationRequestForAssetFromImageAtFileURL(NSURL::fileURLWithPath(camera));
                  placeholder = made.placeholderForCreatedAsset().localIdentifier;
                  made.setFavorite(true);
                  made.setLocation(place);
                  wishAlbum("New").addAssets(std::span(&made.placeholderForCreatedAsset(), 1));
                  static_cast<void>(
                      PHAssetChangeRequest::creationRequestForAssetFromVideoAtFileURL(NSURL::fileURLWithPath(clip)));
                  for (const char* name : {"a.jpg", "new.jpg", "../../away.jpg", ".hidden.jpg", ""})
                      wishPhoto(photo(10), name);
              }),
              "");
    EXPECT_THAT(entries(photos()), ElementsAre("a 2.jpg", "a 3.jpg", "a.jpg", "away.jpg", "b.jpg", "c.jpg", "clip.mov",
                                               "new.jpg", "photo.hidden.jpg", "photo.jpg"));
    EXPECT_EQ(contentOf(path("a 2.jpg")), photo(9).text());
    EXPECT_EQ(contentOf(path("a.jpg")), photo(0).text());
    EXPECT_TRUE(fs::exists(camera));
    EXPECT_EQ(asset("a 2.jpg").localIdentifier, placeholder);
    EXPECT_TRUE(asset("a 2.jpg").favorite);
    EXPECT_EQ(asset("a 2.jpg").location->coordinate, place.coordinate);
    EXPECT_EQ(asset("clip.mov").duration, 2);
    EXPECT_EQ(count("album_assets"), 1);
    expectWhole();
}

TEST_F(LibraryChanges, EditsAndReverts) {
    const std::string original = contentOf(path("a.jpg"));
    ::chmod(path("a.jpg").c_str(), 0640);
    const std::int64_t time = nanoseconds(path("a.jpg"));
    const auto other = opened();
    const auto expectEdited = [&](const ByteString& content, const std::string& name) {
        EXPECT_EQ(contentOf(path(name)), content.text());
        struct stat status {};
        ::stat(path(name).c_str(), &status);
        EXPECT_EQ(status.st_mode & 07777U, 0640U) << name;
        const auto kept = other->original(asset(name).localIdentifier);
        ASSERT_TRUE(kept);
        EXPECT_EQ(contentOf(kept->path), original);
        EXPECT_EQ(kept->adjustmentData.formatIdentifier, "org.example.editor");
        EXPECT_TRUE(asset(name).hasAdjustments);
        EXPECT_EQ(other->content(asset(name).localIdentifier, 1, false, {}).path, path(name));
        expectWhole(name);
    };
    const std::string id = asset("a.jpg").localIdentifier;
    for (const int round : {1, 2}) {
        for (const int second : {10, 11}) {
            ASSERT_EQ(change([&] { wishEdit("a.jpg", editedPhoto(second)); }), "");
            expectEdited(editedPhoto(second), "a.jpg");
        }
        ASSERT_EQ(change([&] { wishEdit("a.jpg", editedPhoto(12), "jpeg"); }), "");
        expectEdited(editedPhoto(12), "a.jpeg");
        EXPECT_EQ(asset("a.jpeg").localIdentifier, id);
        EXPECT_FALSE(fs::exists(path("a.jpg")));
        ASSERT_EQ(change([&] { request(asset("a.jpeg")).revertAssetContentToOriginal(); }), "");
        EXPECT_EQ(contentOf(path("a.jpg")), original) << round;
        EXPECT_EQ(nanoseconds(path("a.jpg")), time);
        EXPECT_EQ(asset("a.jpg").localIdentifier, id);
        EXPECT_FALSE(asset("a.jpg").hasAdjustments);
        EXPECT_THAT(entries(photos()), ElementsAre("a.jpg", "b.jpg", "c.jpg"));
        expectWhole("reverted");
    }
    // What is left of an earlier edit does not pass for the original of a later one.
    folder_.write("library/originals/" + id.substr(0, id.find('/')) + "/a.jpg", "left");
    ASSERT_EQ(change([&] { wishEdit("a.jpg", editedPhoto(13)); }), "");
    EXPECT_EQ(contentOf(library_->original(id)->path), original);
}

TEST_F(LibraryChanges, RevertsThePlaceThatWasRemoved) {
    TiffBuilder place;
    place.rationals(TiffBuilder::gps, 2, {{52, 1}, {31, 1}, {0, 1}}).text(TiffBuilder::gps, 1, "N");
    place.rationals(TiffBuilder::gps, 4, {{13, 1}, {24, 1}, {0, 1}}).text(TiffBuilder::gps, 3, "E");
    write("a.jpg", photo(1, place));
    library_->scan();
    const auto edit = [&](const std::optional<CLLocation>& location) {
        return change([&] {
            request(asset("a.jpg")).setLocation(location);
            request(asset("a.jpg")).setCreationDate(*asset("a.jpg").creationDate);
            wishEdit("a.jpg", editedPhoto(1));
        });
    };
    const auto revert = [&] { return change([&] { request(asset("a.jpg")).revertAssetContentToOriginal(); }); };
    ASSERT_EQ(edit(std::nullopt), "");
    EXPECT_FALSE(asset("a.jpg").location);
    ASSERT_EQ(revert(), "");
    ASSERT_TRUE(asset("a.jpg").location);
    EXPECT_DOUBLE_EQ(asset("a.jpg").location->coordinate.longitude, 13.4);
    EXPECT_EQ(count("assets WHERE own_place OR own_created"), 0);
    // A place that a person chose is no matter of the file.
    CLLocation chosen;
    chosen.coordinate = {1, 2};
    ASSERT_EQ(edit(chosen), "");
    ASSERT_EQ(revert(), "");
    ASSERT_TRUE(asset("a.jpg").location);
    EXPECT_EQ(asset("a.jpg").location->coordinate.longitude, 2);
}

TEST_F(LibraryChanges, DeletesIntoTheTrash) {
    write("b.mov", movie(2));
    library_->scan();
    ASSERT_EQ(change([&] { wishEdit("a.jpg", editedPhoto(1)); }), "");
    const auto wishDeletion = [&] {
        const std::vector<PHAssetRef> gone{find("a.jpg"), find("b.jpg")};
        PHAssetChangeRequest::deleteAssets(gone);
    };
    for (const bool asks : {true, false}) {
        std::size_t asked = 0;
        library_->confirmsDeletion = nullptr;
        if (asks)
            library_->confirmsDeletion = [&](const std::vector<PHAssetRef>& assets) {
                asked = assets.size();
                return false;
            };
        const auto before = contents(photos());
        EXPECT_THAT(change([&] {
                        wishDeletion();
                        request(asset("c.jpg")).setFavorite(true);
                        wishEdit("c.jpg", editedPhoto(3));
                    }),
                    HasSubstr("not confirmed"));
        EXPECT_EQ(asked, asks ? 2U : 0U);
        EXPECT_EQ(contents(photos()), before);
        EXPECT_FALSE(asset("c.jpg").favorite);
        expectWhole();
    }
    library_->confirmsDeletion = [](const auto&) { return true; };
    ASSERT_EQ(change(wishDeletion), "");
    EXPECT_THAT(entries(photos()), ElementsAre("c.jpg"));
    EXPECT_THAT(entries(trash() + "/files"), ElementsAre("a 2.jpg", "a.jpg", "b.jpg", "b.mov"));
    EXPECT_THAT(contentOf(trash() + "/info/b.jpg.trashinfo"), HasSubstr("Path=" + path("b.jpg") + "\n"));
    EXPECT_EQ(contentOf(trash() + "/files/a 2.jpg"), photo(0).text()) << "the unedited file goes along";
    EXPECT_THAT(names(), ElementsAre("c.jpg"));
    expectWhole();
}

TEST_F(LibraryChanges, KeepsAlbums) {
    const auto albums = [&] {
        return library_->collections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny, {});
    };
    const std::vector<PHAssetRef> some{find("c.jpg"), find("a.jpg")};
    ASSERT_EQ(change([&] {
                  const auto made = wishAlbum("Summer");
                  made.addAssets(some);
                  made.addAssets(some);
              }),
              "");
    ASSERT_EQ(albums().count(), 1U);
    const PHAssetCollection album = *albums().firstObject();
    EXPECT_EQ(album.localizedTitle, "Summer");
    EXPECT_EQ(album.estimatedAssetCount, 2U);
    EXPECT_THAT(names(library_->assets(album, {})), ElementsAre("c.jpg", "a.jpg")) << "in the order they came";
    ASSERT_EQ(change([&] {
                  const auto changed = PHAssetCollectionChangeRequest::changeRequestForAssetCollection(album);
                  changed.setTitle("Winter");
                  changed.removeAssets(std::span(some).first(1));
                  const PHAssetRef more = find("b.jpg");
                  changed.addAssets(std::span(&more, 1));
              }),
              "");
    EXPECT_EQ(albums().firstObject()->localizedTitle, "Winter");
    PHFetchOptions newest;
    newest.sortDescriptors = {{"creationDate", false}};
    EXPECT_THAT(names(library_->assets(album, {})), ElementsAre("a.jpg", "b.jpg"));
    EXPECT_THAT(names(library_->assets(album, newest)), ElementsAre("b.jpg", "a.jpg"));
    ASSERT_EQ(change([&] { wishAlbum("Autumn"), wishAlbum("Spring").addAssets(std::span(some).first(1)); }), "");
    const struct {
        std::string predicate;
        std::vector<NSSortDescriptor> sort;
        std::size_t limit;
        Names expected;
    } cases[] = {
        {"TRUEPREDICATE", {}, 0, {"Winter", "Autumn", "Spring"}},
        {"title == 'Winter' OR localizedTitle == 'Spring'", {{"title", true}}, 0, {"Spring", "Winter"}},
        {"assetCollectionType == 1", {{"estimatedAssetCount", false}}, 2, {"Winter", "Spring"}},
        {"estimatedAssetCount < 2", {{"estimatedAssetCount", true}, {"title", true}}, 1, {"Autumn"}},
        {"localIdentifier == '" + album.localIdentifier + "'", {{"localizedTitle", false}}, 1, {"Winter"}},
        {"assetCollectionSubtype == 99", {}, 0, {}},
    };
    for (const auto& [predicate, sort, limit, expected] : cases) {
        PHFetchOptions options;
        options.predicate = NSPredicate::predicateWithFormat(predicate);
        options.sortDescriptors = sort;
        options.fetchLimit = limit;
        const auto found = library_->collections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny, options);
        Names titles;
        for (std::size_t i = 0; i < found.count(); ++i) titles.push_back(found.objectAtIndex(i)->localizedTitle);
        EXPECT_EQ(titles, expected) << predicate;
    }
    ASSERT_EQ(change([&] {
                  const auto all = albums();
                  const PHAssetCollectionRef gone = all.firstObject();
                  PHAssetCollectionChangeRequest::deleteAssetCollections(std::span(&gone, 1));
              }),
              "");
    EXPECT_EQ(albums().count(), 2U);
    EXPECT_EQ(names().size(), 3U);
}

// Before the impossible one stands a wish of every other kind: none of them is granted.
TEST_F(LibraryChanges, DoesAllOrNothing) {
    ASSERT_EQ(change([&] { wishEdit("b.jpg", editedPhoto(1)); }), "");
    PHAsset unknown;
    unknown.localIdentifier = "none";
    PHAssetCollection noAlbum;
    noAlbum.localIdentifier = "none";
    struct Case {
        const char* why;
        std::function<void()> wish;
    };
    const Case cases[] = {
        {"no such photo", [&] { request(unknown).setFavorite(true); }},
        {"no such photo to edit", [&] { wishEdit(*library_, unknown, editedPhoto(1)); }},
        {"no such album",
         [&] { PHAssetCollectionChangeRequest::changeRequestForAssetCollection(noAlbum).setTitle("x"); }},
        {"not edited", [&] { request(asset("c.jpg")).revertAssetContentToOriginal(); }},
        {"edited twice at once", [&] { wishEdit("a.jpg", editedPhoto(3)); }},
        {"no photo", [&] { wishPhoto("words", "a.jpg"); }},
        {"an edit that is no photo", [&] { wishEdit("c.jpg", "words"); }},
        {"no such file",
         [&] {
             static_cast<void>(
                 PHAssetChangeRequest::creationRequestForAssetFromImageAtFileURL(NSURL::fileURLWithPath("/none.jpg")));
         }},
        {"the editor wrote nothing",
         [&] {
             wishEdit("c.jpg", editedPhoto(1));
             for (const std::string& file : pendingFiles())
                 if (contentOf(file) == editedPhoto(1).text()) fs::remove(file);
         }},
        {"edited and deleted",
         [&] {
             const PHAssetRef gone = find("a.jpg");
             PHAssetChangeRequest::deleteAssets(std::span(&gone, 1));
         }},
    };
    const auto before = contents(photos());
    const auto originals = contents(own() + "/originals");
    for (const auto& [why, wish] : cases) {
        EXPECT_NE(change([&] {
                      wishPhoto(photo(8), "new.jpg");
                      wishEdit("a.jpg", editedPhoto(2), "jpeg");
                      request(asset("b.jpg")).revertAssetContentToOriginal();
                      request(asset("c.jpg")).setFavorite(true);
                      wishAlbum("New");
                      wish();
                  }),
                  "")
            << why;
        EXPECT_EQ(contents(photos()), before) << why;
        EXPECT_EQ(contents(own() + "/originals"), originals) << why;
        EXPECT_EQ(count("albums") + count("assets WHERE favorite"), 0) << why;
        EXPECT_EQ(count("assets"), 3) << why;
        expectWhole(why);
    }
    // Deletions come last, and are taken back as well.
    const PHAssetRef gone = find("c.jpg");
    EXPECT_NE(change([&] {
                  PHAssetChangeRequest::deleteAssets(std::span(&gone, 1));
                  PHAssetCollectionChangeRequest::changeRequestForAssetCollection(noAlbum).setTitle("x");
              }),
              "");
    EXPECT_EQ(contents(photos()), before);
    EXPECT_THAT(entries(trash() + "/files"), IsEmpty());
    expectWhole("deletion");
}

// The folder goes away in the middle of it: what was done elsewhere is undone.
TEST_F(LibraryChanges, UndoesWhatCannotBeFinished) {
    struct Case {
        const char* why;
        std::function<void()> breaks;
        std::function<void()> mends;
    };
    const std::string aside = (folder_.path() / "aside").string();
    // A file in the place of a folder.
    const auto blocked = [&](const char* why, const std::string& name, const std::string& at) {
        return Case{why, [=, this] { fs::rename(at, aside), folder_.write(name, "a file"); },
                    [=] { fs::remove(at), fs::rename(aside, at); }};
    };
    const Case cases[] = {
        {"a photo is gone", [&] { fs::rename(path("b.jpg"), aside); }, [&] { fs::rename(aside, path("b.jpg")); }},
        blocked("no originals can be kept", "library/originals", own() + "/originals"),
        blocked("the folder is a file", "photos", photos()),
        {"nothing can be prepared",
         [&] {
             fs::remove_all(own() + "/pending");
             folder_.write("library/pending", "a file");
         },
         [&] {
             fs::remove(own() + "/pending");
             fs::create_directories(own() + "/pending");
         }},
    };
    const auto before = contents(photos());
    for (const auto& [why, breaks, mends] : cases) {
        const std::string elsewhere = folder_.write("elsewhere.jpg", editedPhoto(2).text());
        EXPECT_NE(change([&] {
                      wishPhoto(photo(8), "new.jpg");
                      for (const char* name : {"a.jpg", "b.jpg"}) {
                          PHContentEditingInput input;
                          PHContentEditingOutput output(input);
                          output.renderedContentURL = NSURL::fileURLWithPath(elsewhere);
                          request(asset(name)).setContentEditingOutput(output);
                      }
                      breaks();
                  }),
                  "")
            << why;
        mends();
        EXPECT_EQ(contents(photos()), before) << why;
        EXPECT_EQ(contentOf(elsewhere), editedPhoto(2).text()) << "is not the library's own";
        expectWhole(why);
    }
}

// The system refuses at every length in turn: all of the changes are there, or none.
TEST_F(LibraryChanges, AFullDiskAtAnyInstantLeavesAllOrNothing) {
    write("a.jpg", photo(1, TiffBuilder(), 30'000));
    write("b.jpg", photo(2, TiffBuilder(), 10'000));
    library_->scan();
    ASSERT_EQ(change([&] { wishEdit("b.jpg", editedPhoto(20, 20'000)); }), "");
    ASSERT_EQ(change([&] { wishEdit("c.jpg", editedPhoto(30)); }), "");
    const auto before = contents(photos());
    int failures = 0;
    int successes = 0;
    close();
    // Files of this test are no longer than 40,000 bytes, the database and its log are longer.
    std::vector<rlim_t> limits;
    for (rlim_t limit = 0; limit < 50'000; limit += 1500) limits.push_back(limit);
    for (rlim_t limit = 50'000; limit < 200'000; limit += 4096) limits.push_back(limit);
    for (const rlim_t limit : limits) {
        const pid_t child = ::fork();
        if (child == 0) {
            reopen();
            library_->confirmsDeletion = [](const auto&) { return true; };
            const std::string why = change([&] {
                wishPhoto(photo(8, TiffBuilder(), 25'000), "new.jpg");
                wishEdit("a.jpg", editedPhoto(10, 15'000));
                request(asset("b.jpg")).revertAssetContentToOriginal();
                const PHAssetRef gone = find("c.jpg");
                PHAssetChangeRequest::deleteAssets(std::span(&gone, 1));
                ::signal(SIGXFSZ, SIG_IGN);
                const rlimit full{limit, limit};
                ::setrlimit(RLIMIT_FSIZE, &full);
            });
            ::_exit(why.empty() ? 0 : 1);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFEXITED(status)) << limit;
        reopen();
        const std::string when = "at " + std::to_string(limit);
        const bool isDone = WEXITSTATUS(status) == 0;
        (isDone ? successes : failures)++;
        expectWhole(when);
        ASSERT_EQ(contents(photos()) == before, !isDone) << when;
        if (isDone) {
            ASSERT_THAT(entries(photos()), ElementsAre("a.jpg", "b.jpg", "new.jpg"));
            ASSERT_EQ(change([&] { request(asset("a.jpg")).revertAssetContentToOriginal(); }), "");
            fs::remove(path("new.jpg"));
            write("c.jpg", photo(3));
            library_->scan();
            ASSERT_EQ(change([&] { wishEdit("b.jpg", editedPhoto(20, 20'000)); }), "");
            ASSERT_EQ(change([&] { wishEdit("c.jpg", editedPhoto(30)); }), "");
        }
        close();
        if (HasFailure()) break;
    }
    EXPECT_GT(failures, 10);
    EXPECT_GT(successes, 0);
}

}  // namespace
}  // namespace tessaly::test
