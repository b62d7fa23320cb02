#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "LibraryFixture.h"
#include "linux/foundation/AtomicFile.h"
#include "linux/photos/AssetRows.h"
#include "linux/photos/FileChanges.h"

// A program that is killed on the way, and the next one that opens its library.
namespace tessaly::test {
namespace {

namespace fs = std::filesystem;
using photos::FileChange;
using testing::HasSubstr;
using enum FileChange::Kind;

/// What a killed program was writing: no process has so high a number.
const std::string kLeft = ".tessaly-999999999-1.part";

class LibraryCrash : public LibraryTest {
protected:
    static void confirm(Library& library) {
        library.confirmsDeletion = [](const auto&) { return true; };
    }
    static void wishDeletion(const PHAssetRef& asset) { PHAssetChangeRequest::deleteAssets(std::span(&asset, 1)); }

    /// a.jpg, edited if need be, and b.jpg beside it.
    void prepare(bool isEdited) {
        for (const std::string& name : entries(photos())) fs::remove(path(name));
        write("b.jpg", photo(2));
        library_->scan();
        write("a.jpg", photo(1));
        library_->scan();
        if (isEdited) {
            ASSERT_EQ(change([&] { wishEdit("a.jpg", editedPhoto(1)); }), "");
        }
    }
    [[nodiscard]] std::string originalOf(const std::string& identifier, const std::string& name) const {
        return own() + "/originals/" + identifier.substr(0, identifier.find('/')) + "/" + name;
    }
    /// A change as the journal has it before anything was done: of a.jpg, or a new photo.
    [[nodiscard]] FileChange begun(FileChange::Kind kind, const std::string& result) const {
        FileChange made;
        made.kind = kind;
        made.asset = kind == create ? photos::newIdentifier("/L0/001") : asset("a.jpg").localIdentifier;
        if (kind != create) made.current = path("a.jpg");
        const auto kept = library_->original(made.asset);
        if (kind == edit || kind == revert) made.original = kept ? kept->path : originalOf(made.asset, "a.jpg");
        if (kind == FileChange::Kind::trash) return made;
        made.result = path(result);
        made.content = folder_.write("library/pending/content.jpg",
                                     kind == revert ? contentOf(made.original) : editedPhoto(5).text());
        return made;
    }
    void enter(std::vector<FileChange> journal) const {
        static_cast<void>(photos::writeJournal(database(photos::Database::Mode::readWrite), journal));
    }
    static std::string joined(const Names& names) {
        std::string all;
        for (const std::string& name : names) all += (all.empty() ? "" : " ") + name;
        return all;
    }
};

TEST_F(LibraryCrash, OnlyADeadProgramsFilesAreAbandoned) {
    const std::string own = ".tessaly-" + std::to_string(::getpid()) + "-1.part";
    for (const std::string& name : {kLeft, own, std::string(".tessaly-x-1.part"), std::string("a.part")})
        folder_.write("writing/" + name, "bytes");
    removeAbandonedFiles((folder_.path() / "writing").string(), std::chrono::hours(1));
    EXPECT_EQ(entries((folder_.path() / "writing").string()).size(), 4U) << "a program on another machine may live";
    removeAbandonedFiles((folder_.path() / "writing").string());
    EXPECT_EQ(entries((folder_.path() / "writing").string()).size(), 3U);
    EXPECT_FALSE(fs::exists(folder_.path() / "writing" / kLeft));
}

// The journal of a program that was killed before, between and after the steps of each kind of change.
TEST_F(LibraryCrash, TheNextOpenFinishesWhatWasBegun) {
    using Until = std::function<void(const FileChange&)>;
    struct Step {
        const char* why;
        FileChange::Kind kind;
        bool isEdited;
        std::string result;
        Until until;
        std::string expected;
        bool isEditedAfter;
    };
    const auto put = [](const std::string& from, const std::string& to) {
        fs::create_directories(fs::path(to).parent_path());
        fs::copy_file(from, to, fs::copy_options::overwrite_existing);
    };
    const Until nothing = [](const FileChange&) {};
    const Until placed = [&](const FileChange& it) { put(it.content, it.result); };
    const Until kept = [&](const FileChange& it) {
        if (!fs::exists(it.original)) put(it.current, it.original);
    };
    const Until replaced = [&](const FileChange& it) { kept(it), placed(it); };
    const Until renamed = [&](const FileChange& it) { replaced(it), fs::remove(it.current); };
    const Until givenUp = [](const FileChange& it) { fs::remove(it.content); };
    const Until isGone = [](const FileChange& it) { fs::remove(it.current); };
    const Until trashed = [&](const FileChange& it) { put(it.current, trash() + "/files/a.jpg"), isGone(it); };
    // By another program that scans in between.
    const auto scanned = [&](const Until& until) {
        return [&, until](const FileChange& it) { until(it), library_->scan(); };
    };
    const auto toTrash = FileChange::Kind::trash;
    const Step steps[] = {
        {"create: before", create, false, "new.jpg", nothing, "a.jpg b.jpg new.jpg", false},
        {"create: placed", create, false, "new.jpg", placed, "a.jpg b.jpg new.jpg", false},
        {"create: placed, scanned", create, false, "new.jpg", scanned(placed), "a.jpg b.jpg new.jpg", false},
        {"create: given up", create, false, "new.jpg", givenUp, "a.jpg b.jpg", false},
        {"edit: before", edit, false, "a.jpg", nothing, "a.jpg b.jpg", true},
        {"edit: original kept", edit, false, "a.jpg", kept, "a.jpg b.jpg", true},
        {"edit: replaced", edit, false, "a.jpg", replaced, "a.jpg b.jpg", true},
        {"edit: replaced, scanned", edit, false, "a.jpg", scanned(replaced), "a.jpg b.jpg", true},
        {"edit: given up", edit, false, "a.jpg", givenUp, "a.jpg b.jpg", false},
        {"edit: the file was deleted since", edit, false, "a.jpg", isGone, "b.jpg", false},
        {"second edit: before", edit, true, "a.jpg", nothing, "a.jpg b.jpg", true},
        {"second edit: replaced", edit, true, "a.jpg", placed, "a.jpg b.jpg", true},
        {"other extension: before", edit, false, "a.jpeg", nothing, "a.jpeg b.jpg", true},
        {"other extension: placed", edit, false, "a.jpeg", replaced, "a.jpeg b.jpg", true},
        {"other extension: placed, scanned", edit, false, "a.jpeg", scanned(replaced), "a.jpeg b.jpg", true},
        {"other extension: done", edit, false, "a.jpeg", renamed, "a.jpeg b.jpg", true},
        {"revert: before", revert, true, "a.jpg", nothing, "a.jpg b.jpg", false},
        {"revert: replaced", revert, true, "a.jpg", placed, "a.jpg b.jpg", false},
        {"revert: given up", revert, true, "a.jpg", givenUp, "a.jpg b.jpg", true},
        {"revert to another extension: placed", revert, true, "a.jpeg", placed, "a.jpeg b.jpg", false},
        {"revert to another extension: done", revert, true, "a.jpeg", renamed, "a.jpeg b.jpg", false},
        {"trash: before", toTrash, false, "", nothing, "a.jpg b.jpg", false},
        {"trash: done", toTrash, false, "", trashed, "b.jpg", false},
    };
    for (const auto& [why, kind, isEdited, result, until, expected, isEditedAfter] : steps) {
        SCOPED_TRACE(why);
        prepare(isEdited);
        const std::string identifier = asset("a.jpg").localIdentifier;
        const FileChange made = begun(kind, result);
        enter({made});
        write(kLeft, "half of it");
        until(made);
        reopen();
        if (std::string_view(why) == "edit: the file was deleted since") library_->scan();
        expectWhole(why);
        EXPECT_EQ(joined(names()), expected);
        EXPECT_EQ(joined(entries(photos())), expected);
        if (expected == "b.jpg") continue;
        const std::string name = expected.substr(0, expected.find(' '));
        const PHAsset after = asset(name);
        EXPECT_EQ(after.localIdentifier, identifier);
        EXPECT_EQ(after.hasAdjustments, isEditedAfter);
        const std::string content = contentOf(path(name));
        EXPECT_EQ(isEditedAfter ? contentOf(library_->original(identifier)->path) : content, photo(1).text());
        EXPECT_EQ(content.find("EDITED") != std::string::npos, isEditedAfter);
        if (isEditedAfter) {
            ASSERT_EQ(change([&] { request(after).revertAssetContentToOriginal(); }), "");
        }
    }
}

// Between the crash and the next open others go on with their work: what they put there is not part of the change.
TEST_F(LibraryCrash, AFileThatCameSinceIsLeftAlone) {
    struct Case {
        const char* why;
        FileChange::Kind kind;
        std::string result;   ///< What the change makes of a.jpg.
        std::string takes;    ///< Where the other file is.
        bool isOriginalKept;  ///< Before the kill.
        std::string expected;
    };
    const Case cases[] = {
        {"edit", edit, "a.jpg", "a.jpg", false, "a.jpg b.jpg"},
        {"edit, original kept", edit, "a.jpg", "a.jpg", true, "a.jpg b.jpg"},
        {"edit, under the new name", edit, "a.jpeg", "a.jpeg", true, "a.jpeg a.jpg b.jpg"},
        {"revert", revert, "a.jpg", "a.jpg", true, "a.jpg b.jpg"},
        {"create", create, "new.jpg", "new.jpg", false, "a.jpg b.jpg new 2.jpg new.jpg"},
        {"trash", FileChange::Kind::trash, "", "a.jpg", false, "a.jpg b.jpg"},
    };
    for (const auto& [why, kind, result, takes, isOriginalKept, expected] : cases) {
        SCOPED_TRACE(why);
        prepare(kind == revert);
        const FileChange made = begun(kind, result);
        enter({made});
        if (isOriginalKept && kind == edit) {
            fs::create_directories(fs::path(made.original).parent_path());
            fs::copy_file(path("a.jpg"), made.original);
        }
        if (takes == "a.jpg") fs::remove(path("a.jpg"));
        write(takes, photo(40));
        reopen();
        EXPECT_EQ(count("journal"), 0);
        EXPECT_EQ(contentOf(path(takes)), photo(40).text());
        library_->scan();
        EXPECT_EQ(joined(names()), expected);
        EXPECT_EQ(contentOf(path(takes)), photo(40).text());
        if (kind == create) {
            EXPECT_EQ(contentOf(path("new 2.jpg")), editedPhoto(5).text());
        }
        reopen();
        const auto kept = library_->keptOriginals();
        const bool isKept = std::ranges::any_of(kept, [&](const auto& each) {
            return each.asset == made.asset && contentOf(each.path) == photo(1).text();
        });
        EXPECT_EQ(isKept, isOriginalKept && takes == "a.jpg") << "what is nowhere else is within reach";
    }
}

// As long as the folder of one of its photos is missing, or is the empty one that a card was mounted at.
TEST_F(LibraryCrash, WhatCannotBeFinishedWaits) {
    const struct {
        const char* what;
        bool leavesEmpty;
        bool comesBack;
    } cases[] = {{"missing", false, true}, {"empty", true, true}, {"forgotten", true, false}};
    fs::create_directories(path("card"));
    for (const auto& [what, leavesEmpty, comesBack] : cases) {
        SCOPED_TRACE(what);
        write("a.jpg", photo(1));
        write("card/b.jpg", photo(2));
        library_->scan();
        std::vector<FileChange> journal(2);
        for (FileChange& made : journal) {
            const bool isFirst = &made == journal.data();
            made.kind = edit;
            made.asset = asset(isFirst ? "a.jpg" : "b.jpg").localIdentifier;
            made.current = made.result = path(isFirst ? "a.jpg" : "card/b.jpg");
            made.content = folder_.write(isFirst ? "library/pending/1.jpg" : "library/pending/2.jpg",
                                         editedPhoto(isFirst ? 5 : 6).text());
            made.original = originalOf(made.asset, isFirst ? "a.jpg" : "b.jpg");
        }
        enter(journal);
        const std::string aside = (folder_.path() / "aside").string();
        fs::rename(path("card"), aside);
        if (leavesEmpty) fs::create_directories(path("card"));
        reopen();
        confirm(*library_);
        library_->scan();
        EXPECT_EQ(count("journal"), 2);
        EXPECT_TRUE(fs::exists(journal[0].content));
        for (const auto& wish : {std::function<void()>([&] { wishEdit("a.jpg", editedPhoto(7)); }),
                                 std::function<void()>([&] { wishDeletion(find("a.jpg")); })})
            EXPECT_THAT(change(wish), HasSubstr("waits for the files of this folder, to be there again or to be "
                                                "forgotten: " +
                                                path("card")));
        if (comesBack) {
            fs::remove(path("card"));
            fs::rename(aside, path("card"));
        } else {
            const std::string away = asset("b.jpg").localIdentifier;
            ASSERT_EQ(library_->forgetAssets({&away, 1}), "");
        }
        // The next change finds the folder there, or nothing to wait for.
        EXPECT_EQ(change([&] { request(asset("a.jpg")).revertAssetContentToOriginal(); }), "");
        library_->scan();
        EXPECT_EQ(contentOf(path("a.jpg")), photo(1).text());
        EXPECT_EQ(count("journal"), 0);
        if (!comesBack) continue;
        expectWhole();
        EXPECT_EQ(contentOf(path("card/b.jpg")), editedPhoto(6).text());
        ASSERT_EQ(change([&] { request(asset("b.jpg")).revertAssetContentToOriginal(); }), "");
    }
}

// Half of a confirmed deletion is finished: an original without its photo is nobody's.
TEST_F(LibraryCrash, AHalfDoneDeletionIsFinished) {
    write("a.jpg", photo(1));
    write("b.jpg", photo(2));
    library_->scan();
    ASSERT_EQ(change([&] { wishEdit("a.jpg", editedPhoto(1)); }), "");
    const std::string original = library_->original(asset("a.jpg").localIdentifier)->path;
    std::vector<FileChange> deletions(3);
    for (FileChange& each : deletions) {
        each.kind = FileChange::Kind::trash;
        each.asset = asset("a.jpg").localIdentifier;
    }
    deletions[0].current = path("a.jpg");
    deletions[1].current = original;
    deletions[2].asset = asset("b.jpg").localIdentifier;
    deletions[2].current = path("b.jpg");
    enter(deletions);
    fs::remove(path("a.jpg"));
    reopen();
    EXPECT_EQ(names(), Names{"b.jpg"});
    EXPECT_EQ(entries(trash() + "/files"), Names{"a.jpg"});
    expectWhole();
}

// What a killed program left goes, while what another one that is at work has in hand stays.
TEST_F(LibraryCrash, SweepsWhatIsPendingOfTheDead) {
    write("a.jpg", photo(1));
    library_->scan();
    EXPECT_EQ(change([&] {
                  wishEdit("a.jpg", editedPhoto(1));
                  EXPECT_TRUE(opened());
              }),
              "");
    expectWhole();
    const std::string ours = library_->newPendingFile("jpg");
    std::ofstream(ours) << "at work";
    const pid_t child = ::fork();
    if (child == 0) {
        const auto other = opened();
        const std::string download = other->newPendingFile("jpg");
        fs::create_directories(download + "/deep");
        std::ofstream(download + "/deep/a.jpg") << "whole";
        ::kill(::getpid(), SIGKILL);
    }
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(pendingFiles().size(), 2U);
    EXPECT_TRUE(opened());
    EXPECT_EQ(pendingFiles(), Names{ours});
    fs::remove(ours);
    close();
    EXPECT_TRUE(entries(own() + "/pending").empty()) << "nor is a folder left";
    folder_.write("library/pending/left", "while nobody was at work");
    reopen();
    EXPECT_TRUE(entries(own() + "/pending").empty());
}

class LibraryFile : public LibraryTest {};

TEST_F(LibraryFile, IsRefusedWhenNewerOrDamaged) {
    for (int i = 0; i < 200; ++i) write(std::to_string(i) + ".jpg", photo(i));
    library_->scan();
    close();
    const std::string file = own() + "/library.db";
    database(photos::Database::Mode::readWrite).run("UPDATE facts SET value = '0' WHERE name = 'checked'");
    const std::string whole = contentOf(file);
    database(photos::Database::Mode::readWrite).execute("PRAGMA user_version = 99");
    const std::string newer = contentOf(file);
    ASSERT_GT(whole.size(), 50'000U);
    std::string garbled = whole;
    for (std::size_t at = 20'000; at < 40'000; ++at) garbled[at] = '#';
    struct Case {
        const char* why;
        std::string content;
        const char* words;
    };
    for (const auto& [why, content, words] :
         {Case{"newer", newer, "newer version"}, Case{"no database", std::string(10'000, 'x'), "not a database"},
          Case{"garbled", garbled, "damaged"}, Case{"cut off", whole.substr(0, whole.size() / 2), "malformed"}}) {
        folder_.write("library/library.db", content);
        std::string error;
        EXPECT_FALSE(Library::open(own(), error)) << why;
        EXPECT_THAT(error, HasSubstr(words)) << why;
        EXPECT_EQ(contentOf(file), content) << why;
    }
    folder_.write("library/library.db", whole);
    reopen();
    EXPECT_EQ(names().size(), 200U);
}

// One that an earlier version made has all its marks, edits and albums, and finds moved files by what that version
// noted.
TEST_F(LibraryFile, IsBroughtUpFromTheFirstVersion) {
    close();
    fs::remove_all(own());
    const std::string original = folder_.write("library/originals/first/a.jpg", photo(1).text());
    write("a.jpg", editedPhoto(1));
    write("b.jpg", photo(2));
    {
        const photos::Database old = database(photos::Database::Mode::readWrite);
        photos::prepareSchema(old, 1);
        old.run("INSERT INTO folders (id, path) VALUES (1, ?)", photos());
        std::int64_t number = 0;
        for (const char* name : {"a.jpg", "b.jpg"}) {
            const auto stamp = photos::FileStamp::of(path(name)).value();
            // As that version did, of files that are no longer than what it read.
            std::uint64_t head = 0xCBF29CE484222325U ^ stamp.size;
            for (const char byte : contentOf(path(name)))
                head = (head ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
            old.run("INSERT INTO assets (local_identifier, media_type, created, favorite) VALUES (?, 1, ?, 1)",
                    std::string("00000000-0000-0000-0000-00000000000") + name[0] + "/L0/001",
                    photos::AssetFacts::read(path(name), stamp).created.value());
            old.run(
                "INSERT INTO files (folder, path, asset, type, type_identifier, size, changed, inode, head) VALUES "
                "(1, ?, ?, 1, 'public.jpeg', ?, ?, ?, ?)",
                name, ++number, static_cast<std::int64_t>(stamp.size), stamp.changed,
                static_cast<std::int64_t>(stamp.inode), static_cast<std::int64_t>(head));
        }
        old.run(
            "INSERT INTO edits (asset, original, format_identifier, format_version) VALUES (1, ?, 'org.example', '1')",
            original);
    }
    // A copy, so that only its content tells.
    fs::copy_file(path("b.jpg"), path("c.jpg"));
    fs::remove(path("b.jpg"));
    reopen();
    const photos::ScanResult scan = library_->scan();
    EXPECT_EQ(scan.added + scan.removed, 0U);
    EXPECT_EQ(scan.moved, 1U);
    EXPECT_TRUE(asset("a.jpg").favorite);
    EXPECT_TRUE(asset("c.jpg").favorite);
    // Nobody noted what the library itself had written: the edited file goes to the trash.
    ASSERT_EQ(change([&] { request(asset("a.jpg")).revertAssetContentToOriginal(); }), "");
    EXPECT_EQ(contentOf(path("a.jpg")), photo(1).text());
    EXPECT_EQ(contentOf(trash() + "/files/a.jpg"), editedPhoto(1).text());
}

TEST_F(LibraryFile, RemembersWhatIsAllowed) {
    EXPECT_EQ(library_->authorization(), PHAuthorizationStatus::authorized) << "folders were named";
    for (int status = 3; status >= 0; --status) {
        library_->setAuthorization(static_cast<PHAuthorizationStatus>(status));
        reopen();
        EXPECT_EQ(static_cast<int>(library_->authorization()), status);
    }
    for (const char* wrong : {"4", "/", "01", ""}) {
        database(photos::Database::Mode::readWrite).run("UPDATE facts SET value = ? WHERE value = '0'", wrong);
        EXPECT_EQ(library_->authorization(), PHAuthorizationStatus::authorized) << wrong;
        library_->setAuthorization(static_cast<PHAuthorizationStatus>(0));
    }
}

TEST_F(LibraryFile, IsMadeByWhoeverComesFirst) {
    for (int round = 0; round < 15; ++round) {
        const std::string fresh = (folder_.path() / ("fresh" + std::to_string(round))).string();
        std::vector<pid_t> children;
        for (int i = 0; i < 4; ++i) {
            const pid_t child = ::fork();
            if (child == 0) {
                std::string error;
                const auto library = Library::open(fresh, error);
                if (!library) std::fputs((error + "\n").c_str(), stderr);
                ::_exit(library && library->folders().empty() ? 0 : 1);
            }
            children.push_back(child);
        }
        for (const pid_t child : children) {
            int status = -1;
            ::waitpid(child, &status, 0);
            EXPECT_EQ(status, 0) << "round " << round;
        }
    }
}

}  // namespace
}  // namespace tessaly::test
