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

    explicit Model(World& world) : world_(world) {}

    /// What a person did: what they overwrote or deleted was theirs to lose, as far as nothing else keeps it.
    void afterPerson();
    /// The photo's file changed its name, its bytes; or the photo cannot be followed for sure any more.
    void moved(int photo) { photos_[photo].isMoved = true; }
    void rewritten(int photo) { photos_[photo].isRewritten = true; }
    void doubt(int photo) { photos_[photo].isDoubtful = true; }

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
        std::set<std::string> unedited;  ///< What an edit may have begun with.
        bool isDoubtful = false;
        bool isMoved = false;
        bool isRewritten = false;
    };

    void look();
    /// A new file under an old name, whose photo is nowhere any more, may be taken for that photo, changed elsewhere.
    void allowInheritance();
    void allowEdits(const LibraryTask& task, const LibraryReport& report);
    void requireAll(const LibraryTask& task) const;
    void takeMarks(const LibraryTask& task, const LibraryReport::Target& target, bool isSure);
    void checkRevert(const LibraryReport::Target& target, const Files& before) const;
    void checkPlaces(const LibraryReport& report) const;
    void checkMarks(const LibraryReport::Asset& asset);
    [[nodiscard]] std::string contentAt(const Files& files, const std::string& path) const;

    World& world_;
    Files files_;
    std::set<std::string> contents_;     ///< That must be somewhere.
    std::set<std::string> made_;         ///< By the library's edits.
    std::set<std::string> discardable_;  ///< Results of edits that were edited again, or reverted, by name.
    std::map<int, Photo> photos_;
    std::map<std::string, int> shown_;    ///< The photo behind each asset as the last scan saw it,
    std::map<std::string, int> shownAt_;  ///< and behind each name.
};

}  // namespace tessaly::test
