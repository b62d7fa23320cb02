#pragma once
#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "linux/photos/PhotoLibrary.h"

/// What the library's commands share: their options, and assets by the names that people give them.
namespace tessaly::cli {

struct LibraryOptions {
    std::vector<std::string> names;  ///< Folders, or assets by identifier or file.
    std::vector<std::string> sets;
    std::string baseURL;
    std::string album;
    std::string predicate;
    std::string sort = "created";
    std::string folder;
    std::size_t limit = 0;
    bool favorites = false;
    bool descending = false;
    bool gone = false;
    bool json = false;
    bool location = false;
    bool off = false;
    bool yes = false;
    bool fetch = false;
};
using SharedLibraryOptions = std::shared_ptr<LibraryOptions>;

/// The user's library; null after a complaint.
[[nodiscard]] std::shared_ptr<photos::PhotoLibrary> openedLibrary();

/// Whether a name is long enough to be taken for the beginning of an identifier: the empty name of a variable that was
/// not set, or the "b" of a slip, must not stand for whichever photo happens to fit.
[[nodiscard]] bool mayBeginIdentifier(std::string_view name) noexcept;
/// An asset named by its file, its identifier or the beginning of that, also one that is away or gone; null after a
/// complaint.
[[nodiscard]] PHAssetRef assetNamed(const photos::PhotoLibrary& library, const std::string& name);
/// False when one of the names could not be found; those that were are there.
[[nodiscard]] bool findAll(const photos::PhotoLibrary& library, const std::vector<std::string>& names,
                           std::vector<PHAssetRef>& assets);
/// The resource that is the photo or video itself.
[[nodiscard]] std::int64_t ownResource(const PHAsset& asset);
/// Its file's name, without a folder.
[[nodiscard]] std::string fileNameOf(const photos::PhotoLibrary& library, const PHAsset& asset);
/// Asks on the terminal; no where there is none.
[[nodiscard]] bool isConfirmed(const std::string& question);

/// Adds a command that is run with the options as they were parsed.
CLI::App* addLibrarySubcommand(CLI::App& library, const char* name, const char* what,
                               const SharedLibraryOptions& options, int& status, int (*run)(const LibraryOptions&));
/// Adds PHOTO..., which is required.
void addAssetNames(CLI::App& command, const SharedLibraryOptions& options);

/// One file a theme; each adds its commands.
void addFolderCommands(CLI::App& library, const SharedLibraryOptions& options, int& status);
void addListCommands(CLI::App& library, const SharedLibraryOptions& options, int& status);
void addChangeCommands(CLI::App& library, const SharedLibraryOptions& options, int& status);
void addEditCommands(CLI::App& library, const SharedLibraryOptions& options, int& status);
void addOriginalsCommands(CLI::App& library, const SharedLibraryOptions& options, int& status);

}  // namespace tessaly::cli
