#pragma once
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "LibraryWork.h"
#include "World.h"

namespace tessaly::test {

/// What went wrong, in words.
class Loss : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Knows every content that ever was, and what became of each photo; throws a Loss where the world is otherwise.
class Model {
public:
    using Files = std::map<std::string, std::string>;

    /// `areAlike`: photos cannot be told apart by what they say of themselves.
    Model(World& world, bool areAlike) : world_(world), areAlike_(areAlike) {}

    /// What a person did: what they overwrote or deleted was theirs to lose, as far as nothing else keeps it.
    void afterPerson();
    /// The photo's file changed its name, its bytes; or the photo cannot be followed for sure any more.
    void moved(int photo) { photos_[photo].isMoved = true; }
    void rewritten(int photo) { photos_[photo].isRewritten = true; }
    void doubt(int photo) { photos_[photo].isDoubtful = true; }
    /// The bytes of another photo were written into the file: it may be taken for the same, changed elsewhere. Where
    /// its size and time stayed, too, no scan notices.
    void overwritten(int before, int now, bool isNoticed);
    /// A file of the photo is made of those bytes. Only what was gone, and comes back as it was, is surely the same.
    void broughtBack(int photo, const std::string& content);

    /// What the library did, to its end or not.
    void afterLibrary(const LibraryTask& task, const LibraryReport& report, bool isKilled);
    /// After a scan that was not killed.
    void afterScan(const LibraryReport& report);

    [[nodiscard]] const Files& files() const noexcept { return files_; }

private:
    struct Mark {
        bool everSet = false;  ///< By a task that perhaps was killed.
        bool isSet = false;    ///< For sure.
    };
    struct Photo {
        Mark favorite, album, edit;
        std::set<std::size_t> unedited;  ///< What an edit may have begun with, by hash.
        std::string last;                ///< What its file held last.
        bool isDoubtful = false;
        bool isMoved = false;
        bool isRewritten = false;
    };

    void look();
    void require(const std::string& content);
    void takeCreated(const LibraryTask& task, const LibraryReport& report);
    /// A new file under an old name, whose photo is nowhere any more, may be taken for that photo, changed elsewhere.
    void allowInheritance();
    /// Whether no file of the photo is where the library may find it, with that content under its old name.
    [[nodiscard]] bool isNowhere(int photo, const std::string& heir);
    void allowEdits(const LibraryReport& report);
    void requireAll(const LibraryTask& task) const;
    void takeMarks(const LibraryTask& task, const LibraryReport::Target& target, bool isSure);
    void takeName(const LibraryReport::Target& target, bool isDone);
    void checkRevert(const LibraryReport::Target& target) const;
    void checkPlaces(const LibraryReport& report) const;
    void checkMarks(const LibraryReport::Asset& asset);
    [[nodiscard]] std::string contentAt(const Files& files, const std::string& path) const;

    World& world_;
    bool areAlike_;
    Files files_;
    std::map<std::string, std::set<int>> perhapsAt_;  ///< What scans that were killed may have seen at each name.
    std::set<std::string> contents_;                  ///< That must be somewhere.
    std::set<std::size_t> persons_;                   ///< Hashes of what other programs made.
    std::set<std::size_t> tentative_;                 ///< Of results of edits that were killed on the way,
    std::set<std::size_t> librarys_;                  ///< Of results of edits,
    std::set<std::size_t> discardable_;               ///< and of those that were edited again, or reverted, by name.
    std::map<int, std::set<int>> heirs_;              ///< Photos whose bytes were written into another's file.
    std::map<int, Photo> photos_;
    std::map<std::string, int> behind_;   ///< The photo behind each asset as a scan saw it last.
    std::map<std::string, int> shown_;    ///< The same of the last scan alone,
    std::map<std::string, int> shownAt_;  ///< and behind each name.
};

}  // namespace tessaly::test
