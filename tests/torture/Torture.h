#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "LibraryWork.h"
#include "Model.h"
#include "Photographs.h"
#include "World.h"

namespace tessaly::test {

/// One random sequence of what a person does to their files and a library does with them, some of it killed on the way.
/// Everything follows from the seed.
class Torture {
public:
    /// `root` is an existing folder that the sequences have for themselves, one after the other.
    Torture(const std::string& root, std::uint64_t seed);
    ~Torture();
    Torture(const Torture&) = delete;
    Torture& operator=(const Torture&) = delete;

    /// "" or what was lost.
    [[nodiscard]] std::string run();
    /// Whether its photos differ in nothing that they say of themselves.
    [[nodiscard]] bool areAlike() const noexcept { return areAlike_; }
    /// What was done, a line a step.
    [[nodiscard]] const std::vector<std::string>& steps() const noexcept { return steps_; }

private:
    void play();
    void finish();
    void fillEmptyFolders();
    void personStep();
    void libraryStep();
    LibraryReport doTask(const LibraryTask& task, bool mayBeKilled);
    void scan();

    void writeOver(const std::string& name, const std::string& content, std::int64_t second);

    using Act = bool (Torture::*)();
    bool takePhoto();
    bool rename();
    bool swap();
    bool shift();
    bool rotate();
    bool overwriteWithNew();
    bool replaceByNew();
    bool editElsewhere();
    bool copy();
    bool copyOver();
    bool remove();
    bool removeAndBringBack();
    bool backUp();
    bool restore();
    bool takeFromTrash();
    bool unmount();
    bool mount();

    void note(const std::string& step) { steps_.push_back(step); }
    [[nodiscard]] std::vector<std::string> usersFiles() const;
    [[nodiscard]] std::string someFile();
    [[nodiscard]] std::string freeName();
    [[nodiscard]] std::int64_t someSecond() { return 1'600'000'000 + static_cast<std::int64_t>(random_.below(3)); }
    [[nodiscard]] int photoAt(const std::string& name) const;

    World world_;
    Decisions random_;
    bool areAlike_;
    Photographs photographs_;
    Model model_;
    std::vector<std::string> steps_;
    LibraryReport* report_;  ///< Shared with the children.
    struct Copy {
        std::string name, content;
        std::int64_t second;
    };
    std::vector<Copy> backups_;
};

}  // namespace tessaly::test
