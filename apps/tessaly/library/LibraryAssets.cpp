#include "LibraryAssets.h"

#include <unistd.h>

#include <iostream>

#include "../Output.h"

namespace tessaly::cli {

using photos::PhotoLibrary;

std::shared_ptr<PhotoLibrary> openedLibrary() {
    std::string error;
    const std::string folder = PhotoLibrary::userFolder();
    if (folder.empty()) {
        // A folder at the root of the system would be everybody's.
        complain("there is no home folder for the library; set HOME or XDG_DATA_HOME");
        return nullptr;
    }
    auto library = PhotoLibrary::open(folder, error);
    if (!library) complain(error);
    return library;
}

bool mayBeginIdentifier(std::string_view name) noexcept {
    constexpr std::size_t kFewest = 4;
    return name.size() >= kFewest;
}

PHAssetRef assetNamed(const PhotoLibrary& library, const std::string& name) {
    if (PHAssetRef asset = library.assetAtPath(name)) return asset;
    if (!mayBeginIdentifier(name)) {
        complain(name, "is not in the library");
        return nullptr;
    }
    PHFetchOptions options;
    options.includesGoneAssets = true;
    options.predicate = NSPredicate::predicateWithFormat("localIdentifier BEGINSWITH %@", {name});
    const auto found = library.assets(options);
    if (found.count() == 1) return found.firstObject();
    complain(name,
             found.count() == 0 ? "is not in the library" : "stands for several photos; give more of the identifier");
    return nullptr;
}

bool findAll(const PhotoLibrary& library, const std::vector<std::string>& names, std::vector<PHAssetRef>& assets) {
    for (const std::string& name : names)
        if (PHAssetRef asset = assetNamed(library, name)) assets.push_back(std::move(asset));
    return assets.size() == names.size();
}

std::int64_t ownResource(const PHAsset& asset) {
    return asset.mediaType == PHAssetMediaTypeVideo ? PHAssetResourceTypeVideo : PHAssetResourceTypePhoto;
}

std::string fileNameOf(const PhotoLibrary& library, const PHAsset& asset) {
    const auto resources = library.resources(asset.localIdentifier);
    return resources.empty() ? std::string() : resources.front().originalFilename;
}

bool isConfirmed(const std::string& question) {
    if (::isatty(STDIN_FILENO) == 0) return false;
    std::cerr << question << " [y/N] ";
    std::string answer;
    return std::getline(std::cin, answer) && (answer == "y" || answer == "Y" || answer == "yes");
}

CLI::App* addLibrarySubcommand(CLI::App& library, const char* name, const char* what,
                               const SharedLibraryOptions& options, int& status, int (*run)(const LibraryOptions&)) {
    CLI::App* command = library.add_subcommand(name, what);
    command->callback([options, run, &status] { status = run(*options); });
    return command;
}

void addAssetNames(CLI::App& command, const SharedLibraryOptions& options) {
    command.add_option("PHOTO", options->names, "Files of the library, or identifiers as 'list' shows them")
        ->required()
        ->type_name("");
}

}  // namespace tessaly::cli
