#pragma once
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tessaly::test {

/// Everything that a person and a library have on a disk: two folders of photos, one with a folder in it that can be a
/// card, the trash, and the library's own. Names are below the root.
class World {
public:
    explicit World(std::string root);

    /// Removes what was there, and makes the folders.
    void reset();
    [[nodiscard]] const std::string& root() const noexcept { return root_; }
    [[nodiscard]] std::string library() const { return root_ + "/library"; }
    [[nodiscard]] std::string path(const std::string& name) const { return root_ + "/" + name; }
    /// The other way round.
    [[nodiscard]] std::string nameOf(const std::string& path) const;

    /// The folders that are there now.
    [[nodiscard]] std::vector<std::string> folders() const;
    /// Takes a folder away as when its disk is taken out, leaving an empty one or none.
    void unmount(const std::string& folder, bool leavesEmpty);
    void mount(const std::string& folder);
    [[nodiscard]] const std::vector<std::string>& unmounted() const noexcept { return unmounted_; }

    [[nodiscard]] std::string read(const std::string& name) const;
    /// Into the file that is there, or a new one.
    void write(const std::string& name, const std::string& content, std::int64_t second) const;
    /// Beside it, and then over it in one step.
    void replace(const std::string& name, const std::string& content, std::int64_t second) const;
    void move(const std::string& from, const std::string& to) const;
    void swap(const std::string& one, const std::string& other) const;
    void remove(const std::string& name) const;
    [[nodiscard]] std::int64_t secondOf(const std::string& name) const;

    /// Every file there is by its name, but for the library's database and what it is making.
    [[nodiscard]] std::map<std::string, std::string> files() const;
    /// What the library was making and nobody finished.
    [[nodiscard]] std::vector<std::string> leftovers() const;

private:
    std::string root_;
    std::vector<std::string> unmounted_;
};

}  // namespace tessaly::test
