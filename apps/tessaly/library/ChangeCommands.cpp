#include "../CommandLine.h"
#include "../Output.h"
#include "LibraryAlbums.h"
#include "LibraryAssets.h"
#include "platform/Photos/PHChangeRequests.h"

namespace tessaly::cli {
namespace {

/// Changes of one kind to the named assets, all or none.
int change(const LibraryOptions& options, const std::function<void(const std::vector<PHAssetRef>&)>& wishes) {
    const auto library = openedLibrary();
    if (!library) return kFailure;
    std::vector<PHAssetRef> assets;
    if (!findAll(*library, options.names, assets)) return kFailure;
    library->confirmsDeletion = [&](const std::vector<PHAssetRef>& deleted) {
        return options.yes || isConfirmed("Move " + std::to_string(deleted.size()) +
                                          (deleted.size() == 1 ? " photo" : " photos") + " to the trash?");
    };
    std::string error;
    if (library->performChangesAndWait([&] { wishes(assets); }, &error)) return kSuccess;
    complain(error);
    return kFailure;
}

int favorite(const LibraryOptions& options) {
    return change(options, [&](const std::vector<PHAssetRef>& assets) {
        for (const PHAssetRef& asset : assets)
            PHAssetChangeRequest::changeRequestForAsset(*asset).setFavorite(!options.off);
    });
}

int revert(const LibraryOptions& options) {
    return change(options, [](const std::vector<PHAssetRef>& assets) {
        for (const PHAssetRef& asset : assets)
            PHAssetChangeRequest::changeRequestForAsset(*asset).revertAssetContentToOriginal();
    });
}

int trash(const LibraryOptions& options) {
    return change(options, [](const std::vector<PHAssetRef>& assets) { PHAssetChangeRequest::deleteAssets(assets); });
}

/// Adds to the album of that title, which is made when there is none, or takes out of it.
int album(const LibraryOptions& options) {
    const auto library = openedLibrary();
    if (!library) return kFailure;
    if (options.album.empty()) {
        complain("an album needs a title");
        return kFailure;
    }
    const PHAssetCollectionRef known = albumNamed(*library, options.album);
    if (known && known->assetCollectionType == PHAssetCollectionTypeSmartAlbum) {
        complain(options.album, "follows from a rule, and cannot be changed");
        return kFailure;
    }
    if (!known && options.off) {
        complain(options.album, "there is no such album");
        return kFailure;
    }
    return change(options, [&](const std::vector<PHAssetRef>& assets) {
        const auto request =
            known ? PHAssetCollectionChangeRequest::changeRequestForAssetCollection(*known)
                  : PHAssetCollectionChangeRequest::creationRequestForAssetCollectionWithTitle(options.album);
        if (options.off)
            request.removeAssets(assets);
        else
            request.addAssets(assets);
    });
}

}  // namespace

void addChangeCommands(CLI::App& library, const SharedLibraryOptions& options, int& status) {
    CLI::App* filling = addLibrarySubcommand(
        library, "album", "Put photos into an album, which is made when there is none", options, status, album);
    filling->add_option("TITLE", options->album, "The album")->required()->type_name("");
    addAssetNames(*filling, options);
    filling->add_flag("--remove", options->off, "Take them out instead");
    CLI::App* marking =
        addLibrarySubcommand(library, "favorite", "Mark photos as favorites", options, status, favorite);
    addAssetNames(*marking, options);
    marking->add_flag("--off", options->off, "Take the mark away");
    addAssetNames(*addLibrarySubcommand(library, "revert", "Bring edited photos back to their originals", options,
                                        status, revert),
                  options);
    CLI::App* deleting = addLibrarySubcommand(library, "trash", "Move photos to the trash", options, status, trash);
    addAssetNames(*deleting, options);
    deleting->add_flag("-y,--yes", options->yes, "Without asking");
}

}  // namespace tessaly::cli
