#pragma once
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace tessaly::test {

/// A folder that is there as long as the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    /// Writes a file, with the folders that its name has, and returns its path.
    std::string write(const std::string& name, std::string_view content) const;
    std::string write(const std::string& name, std::span<const std::byte> content) const;

private:
    std::filesystem::path path_;
};

[[nodiscard]] std::string contentOf(const std::filesystem::path& path);

}  // namespace tessaly::test
