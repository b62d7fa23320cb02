#include <sys/stat.h>

#include <chrono>
#include <map>

#include "LibraryFixture.h"

// Which photo a file is, whatever was done to the files; and what is kept of those that are not there.
namespace tessaly::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

/// Four photos of one size: 1 is a favorite, 2 is edited, 3 is in an album, 4 is nothing.
class LibraryIdentity : public LibraryTest {
protected:
    void prepare() {
        fs::remove_all(photos());
        fs::create_directories(photos());
        library_->scan();
        std::vector<std::string> old;
        PHFetchOptions all;
        all.includesGoneAssets = true;
        for (const PHAssetRef& each : objects(library_->assets(all))) old.push_back(each->localIdentifier);
        ASSERT_EQ(library_->forgetAssets(old), "");
        fs::remove_all(own() + "/originals");
        fs::create_directories(own() + "/originals");
        for (int i = 1; i <= 4; ++i) write(std::to_string(i) + ".jpg", photo(i));
        library_->scan();
        ASSERT_EQ(change([&] {
                      const PHAssetRef third = find("3.jpg");
                      request(asset("1.jpg")).setFavorite(true);
                      wishEdit("2.jpg", editedPhoto(2));
                      wishAlbum("Album").addAssets(std::span(&third, 1));
                  }),
                  "");
        numbers_.clear();
        for (int i = 1; i <= 4; ++i) numbers_[asset(std::to_string(i) + ".jpg").localIdentifier] = i;
    }
    void rename(const std::string& from, const std::string& to) const {
        fs::create_directories(fs::path(path(to)).parent_path());
        fs::rename(path(from), path(to));
    }
    void copy(const std::string& from, const std::string& to, bool withTime = true) const {
        fs::create_directories(fs::path(to).parent_path());
        fs::copy_file(from, to, fs::copy_options::overwrite_existing);
        if (withTime) fs::last_write_time(to, fs::last_write_time(from));
    }
    [[nodiscard]] std::string aside(const std::string& name) const {
        return (folder_.path() / "aside" / name).string();
    }
    /// As another editor does: into a new file, which then takes the place.
    void saveAs(const std::string& name, const ByteString& content) const {
        write(".saving", content);
        fs::rename(path(".saving"), path(name));
    }
    /// The numbers of the photos by name; 0 for one that was not there before. An edited one is "2e".
    [[nodiscard]] std::map<std::string, std::string> shown() const {
        std::map<std::string, std::string> shown;
        const auto albums = library_->collections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny, {});
        std::set<std::string> inAlbum;
        for (std::size_t i = 0; i < albums.count(); ++i)
            for (const PHAssetRef& each : objects(library_->assets(*albums.objectAtIndex(i), {})))
                inAlbum.insert(each->localIdentifier);
        for (const PHAssetRef& each : objects(library_->assets(PHFetchOptions()))) {
            const auto number = numbers_.find(each->localIdentifier);
            std::string text = std::to_string(number == numbers_.end() ? 0 : number->second);
            if (each->favorite) text += "f";
            if (each->hasAdjustments) text += "e";
            if (inAlbum.contains(each->localIdentifier)) text += "a";
            shown[nameOf(*library_, each)] = text;
        }
        return shown;
    }
    static std::string summaryOf(const photos::ScanResult& scan) {
        const std::pair<const char*, std::size_t> counts[] = {
            {"added", scan.added},           {"changed", scan.changed}, {"moved", scan.moved},
            {"removed", scan.removed},       {"away", scan.away},       {"returned", scan.returned},
            {"faults", scan.problems.size()}};
        std::string text;
        for (const auto& [what, count] : counts)
            if (count > 0) text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + what;
        return text;
    }
    [[nodiscard]] std::string trashed() const {
        std::string all;
        for (const std::string& name : entries(trash() + "/files")) all += contentOf(trash() + "/files/" + name);
        return all;
    }

    std::map<std::string, int> numbers_;
};

TEST_F(LibraryIdentity, StaysWithThePhoto) {
    struct Case {
        const char* why;
        std::function<void()> happens;
        std::map<std::string, std::string> expected;
        std::string told;  ///< By the last scan.
    };
    const std::map<std::string, std::string> asBefore{
        {"1.jpg", "1f"}, {"2.jpg", "2e"}, {"3.jpg", "3a"}, {"4.jpg", "4"}};
    const auto with = [&](std::map<std::string, std::string> changes) {
        changes.insert(asBefore.begin(), asBefore.end());
        std::erase_if(changes, [](const auto& each) { return each.second.empty(); });
        return changes;
    };
    const auto swap = [&](const std::string& a, const std::string& b) { rename(a, "t"), rename(b, a), rename("t", b); };
    const auto sameTimes = [&] {
        for (const std::string& name : entries(photos())) fs::last_write_time(path(name), fs::file_time_type(1h));
    };
    const Case cases[] = {
        {"a chain of renames", [&] { rename("3.jpg", "5.jpg"), rename("2.jpg", "3.jpg"), rename("1.jpg", "2.jpg"); },
         with({{"1.jpg", ""}, {"2.jpg", "1f"}, {"3.jpg", "2e"}, {"5.jpg", "3a"}}), "3 moved"},
        {"a chain over the last one",
         [&] { rename("3.jpg", "4.jpg"), rename("2.jpg", "3.jpg"), rename("1.jpg", "2.jpg"); },
         {{"2.jpg", "1f"}, {"3.jpg", "2e"}, {"4.jpg", "3a"}},
         "3 moved, 1 removed"},
        {"a swap", [&] { swap("1.jpg", "2.jpg"); }, with({{"1.jpg", "2e"}, {"2.jpg", "1f"}}), "2 moved"},
        {"a swap of files of one size and time", [&] { sameTimes(), library_->scan(), swap("1.jpg", "4.jpg"); },
         with({{"1.jpg", "4"}, {"4.jpg", "1f"}}), "2 moved"},
        {"a cycle", [&] { swap("1.jpg", "2.jpg"), swap("2.jpg", "3.jpg"); },
         with({{"1.jpg", "2e"}, {"2.jpg", "3a"}, {"3.jpg", "1f"}}), "3 moved"},
        {"into another folder, and its name used again",
         [&] { rename("2.jpg", "deep/5.jpg"), write("2.jpg", photo(40)); }, with({{"2.jpg", "0"}, {"5.jpg", "2e"}}),
         "1 added, 1 moved"},
        {"deleted, and the name used again", [&] { fs::remove(path("2.jpg")), write("2.jpg", photo(40)); },
         with({{"2.jpg", "0"}}), "1 added, 1 removed"},
        {"a favorite's name used again", [&] { fs::remove(path("1.jpg")), write("1.jpg", photo(40)); },
         with({{"1.jpg", "0"}}), "1 added, 1 removed"},
        {"another one moved over it", [&] { rename("4.jpg", "2.jpg"); }, with({{"4.jpg", ""}, {"2.jpg", "4"}}),
         "1 moved, 1 removed"},
        {"an edit overwritten by another photo", [&] { copy(path("4.jpg"), path("2.jpg")); }, with({{"2.jpg", "0"}}),
         "1 added, 1 removed"},
        {"saved by another editor", [&] { saveAs("1.jpg", editedPhoto(1)), saveAs("2.jpg", editedPhoto(2, 100)); },
         asBefore, "2 changed"},
        {"written into by another editor", [&] { write("2.jpg", editedPhoto(2, 100)); }, asBefore, "1 changed"},
        {"saved by another editor that keeps the old file",
         [&] { rename("1.jpg", "1.jpg_original"), write("1.jpg", editedPhoto(1)); }, with({{"1.jpg_original", "0"}}),
         "1 added, 1 changed"},
        {"saved by an editor that removes the date", [&] { saveAs("1.jpg", jpeg({})); }, asBefore, "1 changed"},
        {"saved by another editor, as one without a date goes",
         [&] {
             saveAs("4.jpg", jpeg({})), library_->scan();
             fs::remove(path("4.jpg")), saveAs("1.jpg", editedPhoto(1));
         },
         with({{"4.jpg", ""}}), "1 changed, 1 removed"},
        {"a date that comes from nowhere",
         [&] { saveAs("1.jpg", jpeg({})), library_->scan(), saveAs("1.jpg", photo(40)); }, with({{"1.jpg", "0"}}),
         "1 added, 1 removed"},
        {"restored under its name",
         [&] {
             for (const char* name : {"1.jpg", "2.jpg"}) {
                 copy(path(name), aside(name)), fs::remove(path(name));
                 copy(aside(name), path(name));
             }
         },
         asBefore, ""},
        {"restored under another's name",
         [&] {
             copy(path("1.jpg"), aside("1")), copy(path("2.jpg"), aside("2"));
             fs::remove(path("1.jpg")), fs::remove(path("2.jpg"));
             copy(aside("1"), path("2.jpg"), false), copy(aside("2"), path("1.jpg"), false);
         },
         with({{"1.jpg", "2e"}, {"2.jpg", "1f"}}), "2 changed, 2 moved"},
        {"gone, and back after a scan",
         [&] {
             for (const char* name : {"1.jpg", "2.jpg", "3.jpg"}) {
                 copy(path(name), aside(name)), fs::remove(path(name));
             }
             library_->scan();
             for (const char* name : {"1.jpg", "2.jpg", "3.jpg"})
                 copy(aside(name), path("b" + std::string(name)), false);
         },
         {{"b1.jpg", "1f"}, {"b2.jpg", "2e"}, {"b3.jpg", "3a"}, {"4.jpg", "4"}},
         "3 changed, 3 returned"},
        {"gone, its name used again, and back",
         [&] {
             rename("2.jpg", "../aside-2.jpg"), write("2.jpg", photo(40)), library_->scan();
             rename("../aside-2.jpg", "5.jpg");
         },
         with({{"2.jpg", "0"}, {"5.jpg", "2e"}}), "1 returned"},
        {"saved by another editor, one of a burst",
         [&] {
             write("5.jpg", photo(2, TiffBuilder(), 50)), library_->scan();
             saveAs("2.jpg", editedPhoto(2, 100));
         },
         with({{"2.jpg", "2"}, {"5.jpg", "0"}}), "1 changed"},
        {"its name used again, and the date in the library's hands",
         [&] {
             ASSERT_EQ(change([&] { request(asset("2.jpg")).setCreationDate(*asset("2.jpg").creationDate); }), "");
             fs::remove(path("2.jpg")), write("2.jpg", photo(40));
         },
         with({{"2.jpg", "0"}}), "1 added, 1 removed"},
        {"its name used by one of two without a date, and back",
         [&] {
             saveAs("4.jpg", jpeg({})), library_->scan();
             rename("1.jpg", "../aside-1.jpg"), fs::remove(path("4.jpg"));
             write("1.jpg", jpeg({jpegSegment(0xFE, "other")})), library_->scan();
             rename("../aside-1.jpg", "5.jpg");
         },
         {{"1.jpg", "0"}, {"2.jpg", "2e"}, {"3.jpg", "3a"}, {"5.jpg", "1f"}},
         "1 returned"},
        {"a copy beside it", [&] { copy(path("2.jpg"), path("5.jpg")); }, with({{"5.jpg", "0"}}), "1 added"},
        {"a copy in its stead", [&] { copy(path("1.jpg"), path("5.jpg"), false), fs::remove(path("1.jpg")); },
         with({{"1.jpg", ""}, {"5.jpg", "1f"}}), "1 changed, 1 moved"},
        {"to a name that is no UTF-8", [&] { rename("1.jpg", "\xFF\xFE.jpg"); },
         with({{"1.jpg", ""}, {"\xFF\xFE.jpg", "1f"}}), "1 moved"},
        {"onto a file that was no photo",
         [&] {
             write("note.txt", "words"), library_->scan();
             copy(path("1.jpg"), path("note.txt")), fs::remove(path("1.jpg"));
         },
         with({{"1.jpg", ""}, {"note.txt", "1f"}}), "1 moved"},
        {"to another folder of the library",
         [&] {
             ASSERT_EQ(library_->addFolder(fs::path(folder_.write("second/6.jpg", photo(60).text())).parent_path()),
                       "");
             rename("2.jpg", "../second/5.jpg");
         },
         with({{"2.jpg", ""}, {"5.jpg", "2e"}, {"6.jpg", "0"}}), "1 added, 1 moved"},
    };
    for (const auto& [why, happens, expected, told] : cases) {
        SCOPED_TRACE(why);
        prepare();
        happens();
        EXPECT_EQ(summaryOf(library_->scan()), told);
        EXPECT_EQ(shown(), expected);
        EXPECT_FALSE(library_->scan().changedAnything());
        EXPECT_EQ(shown(), expected) << "after another scan";
        const auto kept = library_->keptOriginals();
        ASSERT_EQ(kept.size(), 1U);
        EXPECT_EQ(contentOf(kept.front().path), photo(2).text());
        for (const auto& [name, state] : expected)
            if (state == "2e") {
                ASSERT_EQ(change([&] { request(asset(name)).revertAssetContentToOriginal(); }), "");
                EXPECT_EQ(contentOf(library_->content(asset(name).localIdentifier, 1, false, {}).path),
                          photo(2).text());
                EXPECT_THAT(library_->keptOriginals(), IsEmpty());
            }
    }
}

// Before a scan has found out, nobody's bytes are changed for another's.
TEST_F(LibraryIdentity, IsVerifiedBeforeEveryChange) {
    struct Case {
        const char* why;
        std::function<void()> happens;
    };
    const Case cases[] = {
        {"renamed", [&] { rename("2.jpg", "3.jpg"), rename("1.jpg", "2.jpg"); }},
        {"deleted, and the name used again", [&] { fs::remove(path("2.jpg")), write("2.jpg", photo(40)); }},
        {"changed by another editor", [&] { saveAs("2.jpg", editedPhoto(2, 100)); }},
    };
    for (const auto& [why, happens] : cases) {
        prepare();
        library_->confirmsDeletion = [](const auto&) { return true; };
        happens();
        const std::string there = contentOf(path("2.jpg"));
        const PHAssetRef second = find("2.jpg");
        for (const auto& wish :
             {std::function<void()>([&] { request(*second).revertAssetContentToOriginal(); }),
              std::function<void()>([&] { wishEdit(*library_, *second, editedPhoto(9)); }),
              std::function<void()>([&] { PHAssetChangeRequest::deleteAssets(std::span(&second, 1)); })})
            EXPECT_THAT(change(wish), AllOf(HasSubstr(path("2.jpg")), HasSubstr("is not the photo"))) << why;
        EXPECT_EQ(contentOf(path("2.jpg")), there) << why;
        EXPECT_EQ(library_->keptOriginals().size(), 1U) << why;
    }
    // A copy of the same bytes is as good.
    prepare();
    copy(path("2.jpg"), aside("2")), fs::remove(path("2.jpg")), copy(aside("2"), path("2.jpg"), false);
    EXPECT_EQ(change([&] { request(asset("2.jpg")).revertAssetContentToOriginal(); }), "");
    EXPECT_EQ(contentOf(path("2.jpg")), photo(2).text());
}

TEST_F(LibraryIdentity, KeepsWhatOthersMadeOfAnEditedPhoto) {
    prepare();
    saveAs("2.jpg", editedPhoto(2, 100));
    library_->scan();
    ASSERT_EQ(change([&] { wishEdit("2.jpg", editedPhoto(2, 200)); }), "");
    EXPECT_EQ(trashed(), editedPhoto(2, 100).text());
    write("2.jpg", editedPhoto(2, 300));
    library_->scan();
    ASSERT_EQ(change([&] { request(asset("2.jpg")).revertAssetContentToOriginal(); }), "");
    EXPECT_EQ(contentOf(path("2.jpg")), photo(2).text());
    EXPECT_THAT(trashed(), AllOf(HasSubstr(editedPhoto(2, 300).text()), HasSubstr(editedPhoto(2, 100).text())));
    // One that never had a date is no twin of itself.
    write("undated.jpg", jpeg({}));
    library_->scan();
    ASSERT_EQ(change([&] { wishEdit("undated.jpg", jpeg({jpegSegment(0xFE, "edited")})); }), "");
    saveAs("undated.jpg", jpeg({jpegSegment(0xFE, "edited again")}));
    library_->scan();
    EXPECT_TRUE(asset("undated.jpg").hasAdjustments);
    // What takes the name of an edited photo has an original of its own.
    prepare();
    fs::remove(path("2.jpg"));
    write("2.jpg", photo(40));
    library_->scan();
    ASSERT_EQ(change([&] { wishEdit("2.jpg", editedPhoto(40)); }), "");
    EXPECT_EQ(library_->keptOriginals().size(), 2U);
    ASSERT_EQ(change([&] { request(asset("2.jpg")).revertAssetContentToOriginal(); }), "");
    EXPECT_EQ(contentOf(path("2.jpg")), photo(40).text());
    EXPECT_EQ(contentOf(library_->keptOriginals().front().path), photo(2).text());
}

TEST_F(LibraryIdentity, AwayIsNotGone) {
    write("card/a.jpg", photo(10));
    write("card/deep/b.jpg", photo(11));
    write("c.jpg", photo(12));
    library_->scan();
    ASSERT_EQ(change([&] {
                  request(asset("a.jpg")).setFavorite(true);
                  wishEdit("b.jpg", editedPhoto(11));
              }),
              "");
    const std::string first = asset("a.jpg").localIdentifier;
    const std::string aside = (folder_.path() / "aside").string();
    PHFetchOptions options;
    options.predicate = NSPredicate::predicateWithFormat("isAway = YES");
    for (const auto& [gone, away] : {std::pair{path("card"), "2 away"}, std::pair{photos(), "3 away, 1 faults"}})
        for (const bool isEmpty : {true, false}) {
            SCOPED_TRACE(away);
            fs::rename(gone, aside);
            if (isEmpty) fs::create_directories(gone);
            EXPECT_EQ(summaryOf(library_->scan()), away);
            EXPECT_EQ(asset("a.jpg").presence, PHAssetPresence::away);
            EXPECT_EQ(library_->assets(options).count(), away[0] - '0');
            EXPECT_FALSE(library_->scan().changedAnything()) << "it is still away";
            EXPECT_THAT(change([&] { request(asset("b.jpg")).revertAssetContentToOriginal(); }),
                        HasSubstr("is not there"));
            fs::remove(gone);
            fs::rename(aside, gone);
            EXPECT_EQ(summaryOf(library_->scan()), std::string(1, away[0]) + " returned");
            EXPECT_EQ(library_->assets(options).count(), 0U);
            EXPECT_EQ(asset("a.jpg").localIdentifier, first);
            EXPECT_TRUE(asset("a.jpg").favorite);
            EXPECT_TRUE(asset("b.jpg").hasAdjustments);
        }
    EXPECT_NE(library_->forgetAssets(std::span(&first, 1)), "") << "it is there";
    fs::remove_all(path("card"));
    library_->scan();
    EXPECT_EQ(library_->forgetAssets(std::vector{first, asset("b.jpg").localIdentifier}), "");
    EXPECT_EQ(names(), Names{"c.jpg"});
    ASSERT_EQ(library_->keptOriginals().size(), 1U) << "forgotten is not discarded";
    EXPECT_FALSE(library_->keptOriginals().front().isRemembered);
    write("card/a.jpg", photo(10));
    EXPECT_EQ(library_->scan().added, 1U);
    EXPECT_FALSE(asset("a.jpg").favorite);
}

// What is kept of photos that were deleted outside is within reach, and goes only by name.
TEST_F(LibraryIdentity, OriginalsOutliveTheirPhotos) {
    prepare();
    fs::remove(path("2.jpg"));
    library_->scan();
    reopen();
    auto kept = library_->keptOriginals();
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept.front().presence, PHAssetPresence::gone);
    EXPECT_EQ(kept.front().photo, path("2.jpg"));
    EXPECT_EQ(kept.front().size, photo(2).size());
    EXPECT_TRUE(kept.front().isRemembered);
    const std::string original = kept.front().path;
    EXPECT_EQ(library_->exportOriginal(original, photos()), "");
    EXPECT_EQ(contentOf(path("2.jpg")), photo(2).text());
    EXPECT_THAT(library_->exportOriginal(original, photos()), HasSubstr("is there already"));
    EXPECT_EQ(library_->exportOriginal(original, aside("")), aside("") + ": No such file or directory");
    EXPECT_NE(library_->exportOriginal(path("1.jpg"), path("9.jpg")), "") << "is no original";
    EXPECT_NE(library_->discardOriginal(path("1.jpg")), "");
    EXPECT_EQ(library_->discardOriginal(original), "");
    EXPECT_EQ(trashed(), photo(2).text());
    EXPECT_THAT(library_->keptOriginals(), IsEmpty());
    // That of a photo which is there leaves the photo as it was edited.
    ASSERT_EQ(change([&] { wishEdit("4.jpg", editedPhoto(4)); }), "");
    ASSERT_EQ(library_->discardOriginal(library_->keptOriginals().front().path), "");
    EXPECT_FALSE(asset("4.jpg").hasAdjustments);
    EXPECT_EQ(contentOf(path("4.jpg")), editedPhoto(4).text());
    // That of a live photo is the still's.
    write("5.mov", movie(3)), write("5.jpg", photo(5));
    library_->scan();
    ASSERT_EQ(change([&] { wishEdit("5.jpg", editedPhoto(5)); }), "");
    EXPECT_EQ(library_->keptOriginals().front().photo, path("5.jpg"));
}

// The card still has the photo as it was taken.
TEST_F(LibraryIdentity, IsKnownByItsUneditedFile) {
    const struct {
        const char* why;
        std::function<void()> happens;
    } cases[] = {
        {"deleted, and copied", [&] { fs::remove(path("2.jpg")); }},
        {"deleted, scanned, and copied", [&] { fs::remove(path("2.jpg")), library_->scan(); }},
        {"put into the trash, and copied",
         [&] {
             const PHAssetRef second = find("2.jpg");
             library_->confirmsDeletion = [](const auto&) { return true; };
             EXPECT_EQ(change([&] { PHAssetChangeRequest::deleteAssets(std::span(&second, 1)); }), "");
         }},
    };
    for (const auto& [why, happens] : cases) {
        SCOPED_TRACE(why);
        prepare();
        ASSERT_EQ(change([&] { request(asset("2.jpg")).setFavorite(true); }), "");
        happens();
        write("9.jpg", photo(2));
        library_->scan();
        EXPECT_EQ(shown(), (std::map<std::string, std::string>{
                               {"1.jpg", "1f"}, {"3.jpg", "3a"}, {"4.jpg", "4"}, {"9.jpg", "2f"}}));
        EXPECT_FALSE(library_->scan().changedAnything());
        EXPECT_NE(change([&] { request(asset("9.jpg")).revertAssetContentToOriginal(); }), "") << "is not edited";
        reopen();
        EXPECT_THAT(library_->keptOriginals(), IsEmpty()) << "the photo has these bytes";
    }
}

TEST_F(LibraryIdentity, IsFoundByAnyPathThatLeadsThere) {
    prepare();
    write("deep/a.jpg", photo(10));
    folder_.write("outside.jpg", photo(11).text());
    fs::create_symlink(folder_.path() / "outside.jpg", path("link.jpg"));
    fs::create_symlink(path("1.jpg"), folder_.path() / "pointer.jpg");
    fs::create_directory_symlink(path("deep"), folder_.path() / "shortcut");
    library_->scan();
    const fs::path here = fs::current_path();
    fs::current_path(path("deep"));
    struct Case {
        std::string path;
        std::string name;
    };
    for (const auto& [at, name] :
         {Case{path("1.jpg"), "1.jpg"}, Case{(folder_.path() / "pointer.jpg").string(), "1.jpg"},
          Case{(folder_.path() / "shortcut/a.jpg").string(), "a.jpg"}, Case{path("link.jpg"), "link.jpg"},
          Case{path("deep/../1.jpg"), "1.jpg"}, Case{"a.jpg", "a.jpg"}, Case{"../1.jpg", "1.jpg"},
          Case{path("none.jpg"), ""}, Case{(folder_.path() / "outside.jpg").string(), ""}, Case{"", ""}}) {
        EXPECT_EQ(nameOf(*library_, library_->assetAtPath(at)), name) << at;
    }
    fs::current_path(here);
}

}  // namespace
}  // namespace tessaly::test
