#include <unistd.h>

#include <iostream>
#include <memory>

#include "CommandLine.h"
#include "Commands.h"
#include "Json.h"
#include "Output.h"
#include "RecordJson.h"
#include "linux/photos/PhotoLibrary.h"
#include "platform/Photos/PHChangeRequests.h"

namespace tessaly::cli {
namespace {

using photos::PhotoLibrary;

struct LibraryOptions {
    std::vector<std::string> names;  ///< Folders, or assets by identifier or file.
    std::string baseURL;
    std::string album;
    std::string predicate;
    std::string sort = "created";
    std::size_t limit = 0;
    bool favorites = false;
    bool descending = false;
    bool json = false;
    bool off = false;
    bool yes = false;
    bool fetch = false;
};

/// The user's library; null after a complaint.
std::shared_ptr<PhotoLibrary> opened() {
    std::string error;
    auto library = PhotoLibrary::open(PhotoLibrary::userFolder(), error);
    if (!library) complain(error);
    return library;
}

/// An asset named by its file, its identifier or the beginning of that; null after a complaint.
PHAssetRef assetNamed(const PhotoLibrary& library, const std::string& name) {
    PHFetchOptions options;
    const auto byFile = library.identifierOfFile(name);
    options.predicate = NSPredicate::predicateWithFormat("localIdentifier BEGINSWITH %@", {byFile.value_or(name)});
    const auto found = library.assets(options);
    if (found.count() == 1) return found.firstObject();
    complain(name,
             found.count() == 0 ? "is not in the library" : "stands for several photos; give more of the identifier");
    return nullptr;
}

/// False when one of the names could not be found; those that were are there.
bool findAll(const PhotoLibrary& library, const std::vector<std::string>& names, std::vector<PHAssetRef>& assets) {
    for (const std::string& name : names)
        if (PHAssetRef asset = assetNamed(library, name)) assets.push_back(std::move(asset));
    return assets.size() == names.size();
}

std::int64_t ownResource(const PHAsset& asset) {
    return asset.mediaType == PHAssetMediaTypeVideo ? PHAssetResourceTypeVideo : PHAssetResourceTypePhoto;
}

std::string nameOf(const PhotoLibrary& library, const PHAsset& asset) {
    const auto resources = library.resources(asset.localIdentifier);
    return resources.empty() ? std::string() : resources.front().originalFilename;
}

std::string kindOf(const PHAsset& asset) {
    std::string kind = asset.mediaType == PHAssetMediaTypeVideo ? "video" : "photo";
    if ((asset.mediaSubtypes & PHAssetMediaSubtypePhotoLive) != 0) kind = "live photo";
    if ((asset.mediaSubtypes & PHAssetMediaSubtypePhotoScreenshot) != 0) kind = "screenshot";
    return kind;
}

void appendAsset(std::string& out, const PhotoLibrary& library, const PHAsset& asset) {
    const PHAssetContent content = library.content(asset.localIdentifier, ownResource(asset), false, {});
    Dictionary row;
    row.set("id", asset.localIdentifier);
    row.set("name", nameOf(library, asset));
    if (!content.path.empty()) row.set("path", content.path);
    row.set("kind", kindOf(asset));
    if (asset.creationDate) row.set("created", iso8601(*asset.creationDate));
    if (asset.modificationDate) row.set("modified", iso8601(*asset.modificationDate));
    row.set("width", asset.pixelWidth);
    row.set("height", asset.pixelHeight);
    if (asset.duration > 0) row.set("duration", asset.duration);
    if (asset.location) {
        row.set("latitude", asset.location->coordinate.latitude);
        row.set("longitude", asset.location->coordinate.longitude);
    }
    row.set("favorite", asset.favorite);
    row.set("edited", asset.hasAdjustments);
    row.set("inCloud", content.isInCloud);
    JsonWriter(out).value(Value(row));
}

std::string lineOf(const PhotoLibrary& library, const PHAsset& asset) {
    std::string marks;
    marks += asset.favorite ? '*' : ' ';
    marks += asset.hasAdjustments ? 'e' : ' ';
    marks += asset.location ? '@' : ' ';
    const std::string date = asset.creationDate ? iso8601(*asset.creationDate).substr(0, 16) : std::string(16, ' ');
    return asset.localIdentifier.substr(0, 8) + "  " + date + "  " + marks + "  " + nameOf(library, asset) + "\n";
}

int add(const LibraryOptions& options) {
    const auto library = opened();
    if (!library) return kFailure;
    bool failed = false;
    for (const std::string& folder : options.names)
        if (const std::string why = library->addFolder(folder, options.baseURL); !why.empty()) {
            complain(why);
            failed = true;
        }
    return failed ? kFailure : kSuccess;
}

int scan() {
    const auto library = opened();
    if (!library) return kFailure;
    if (library->folders().empty()) {
        complain("the library has no folder yet; 'tessaly library add FOLDER' gives it one");
        return kFailure;
    }
    const bool isShown = ::isatty(STDERR_FILENO) != 0;
    const auto result = library->scan([&](std::size_t read) {
        if (isShown) std::cerr << "\r" << read << " files read" << std::flush;
        return true;
    });
    if (isShown) std::cerr << "\r\033[K";
    for (const auto& problem : result.problems) complain(problem.path, problem.why);
    Output::standard() << std::to_string(result.seen) + " files: " + std::to_string(result.added) + " new, " +
                              std::to_string(result.changed) + " changed, " + std::to_string(result.moved) +
                              " moved, " + std::to_string(result.removed) + " gone\n";
    return result.problems.empty() ? kSuccess : kFailure;
}

/// Adding a folder is meant to be followed by what is in it.
int addAndScan(const LibraryOptions& options) {
    const int added = add(options);
    const int scanned = scan();
    return added == kSuccess ? scanned : added;
}

int remove(const LibraryOptions& options) {
    const auto library = opened();
    if (!library) return kFailure;
    bool failed = false;
    for (const std::string& folder : options.names)
        if (const std::string why = library->removeFolder(folder); !why.empty()) {
            complain(why);
            failed = true;
        }
    return failed ? kFailure : kSuccess;
}

int folders(const LibraryOptions& options) {
    const auto library = opened();
    if (!library) return kFailure;
    Array rows;
    for (const auto& folder : library->folders()) {
        if (!options.json) {
            Output::standard() << folder.path + (folder.baseURL.empty() ? "" : "  from " + folder.baseURL) + "  (" +
                                      std::to_string(folder.assetCount) + ")\n";
            continue;
        }
        Dictionary row{{"path", folder.path}, {"count", folder.assetCount}};
        if (!folder.baseURL.empty()) row.set("url", folder.baseURL);
        rows.append(row);
    }
    std::string out;
    if (options.json) JsonWriter(out).value(Value(rows));
    Output::standard() << (options.json ? out + "\n" : out);
    return kSuccess;
}

PHFetchOptions fetchOptionsOf(const LibraryOptions& options) {
    PHFetchOptions fetch;
    fetch.fetchLimit = options.limit;
    const bool byModification = options.sort == "modified";
    fetch.sortDescriptors = {{byModification ? "modificationDate" : "creationDate", !options.descending},
                             {byModification ? "creationDate" : "modificationDate", !options.descending}};
    std::string format = options.predicate;
    if (options.favorites) format = format.empty() ? "favorite = YES" : "favorite = YES AND (" + format + ")";
    if (format.empty()) return fetch;
    std::string error;
    fetch.predicate = NSPredicate::predicateWithFormat(format, {}, &error);
    if (!fetch.predicate) throw CLI::ValidationError("--where: " + error);
    return fetch;
}

PHAssetCollectionRef albumNamed(const PhotoLibrary& library, const std::string& title) {
    PHFetchOptions options;
    options.predicate = NSPredicate::predicateWithFormat("title = %@ OR localIdentifier = %@", {title, title});
    for (const std::int64_t type : {PHAssetCollectionTypeAlbum, PHAssetCollectionTypeSmartAlbum})
        if (auto album = library.collections(type, PHAssetCollectionSubtypeAny, options).firstObject()) return album;
    return nullptr;
}

int list(const LibraryOptions& options) {
    const PHFetchOptions fetch = fetchOptionsOf(options);
    const auto library = opened();
    if (!library) return kFailure;
    PHFetchResult<PHAsset> found;
    if (options.album.empty()) {
        found = library->assets(fetch);
    } else {
        const auto album = albumNamed(*library, options.album);
        if (!album) {
            complain(options.album, "there is no such album");
            return kFailure;
        }
        found = library->assets(*album, fetch);
    }
    if (options.json) Output::standard() << "[";
    for (std::size_t i = 0; i < found.count(); ++i) {
        const PHAssetRef asset = found.objectAtIndex(i);
        if (!asset) continue;
        std::string out;
        if (options.json) {
            out = i > 0 ? ",\n" : "";
            appendAsset(out, *library, *asset);
        } else {
            out = lineOf(*library, *asset);
        }
        Output::standard() << out;
    }
    if (options.json) Output::standard() << "]\n";
    return kSuccess;
}

int albums() {
    const auto library = opened();
    if (!library) return kFailure;
    for (const std::int64_t type : {PHAssetCollectionTypeAlbum, PHAssetCollectionTypeSmartAlbum})
        library->collections(type, PHAssetCollectionSubtypeAny, {})
            .enumerateObjectsInRange({0, SIZE_MAX}, [](const PHAssetCollectionRef& album, std::size_t) {
                Output::standard() << album->localizedTitle + "  (" + std::to_string(album->estimatedAssetCount) +
                                          ")\n";
            });
    return kSuccess;
}

int info(const LibraryOptions& options) {
    const auto library = opened();
    if (!library) return kFailure;
    std::vector<PHAssetRef> assets;
    bool failed = !findAll(*library, options.names, assets);
    for (const PHAssetRef& asset : assets) {
        std::string out;
        if (options.fetch) {
            const auto content = library->content(asset->localIdentifier, ownResource(*asset), true, {});
            if (!content.error.empty()) {
                complain(content.error);
                failed = true;
            }
        }
        appendAsset(out, *library, *asset);
        Output::standard() << out + "\n";
    }
    return failed ? kFailure : kSuccess;
}

int evict(const LibraryOptions& options) {
    const auto library = opened();
    if (!library) return kFailure;
    std::vector<PHAssetRef> assets;
    bool failed = !findAll(*library, options.names, assets);
    for (const PHAssetRef& asset : assets)
        if (const std::string why = library->evict(asset->localIdentifier); !why.empty()) {
            complain(nameOf(*library, *asset), why);
            failed = true;
        }
    return failed ? kFailure : kSuccess;
}

/// Changes of one kind to the named assets, all or none.
int change(const LibraryOptions& options, const std::function<void(const std::vector<PHAssetRef>&)>& wishes) {
    const auto library = opened();
    if (!library) return kFailure;
    std::vector<PHAssetRef> assets;
    if (!findAll(*library, options.names, assets)) return kFailure;
    library->confirmsDeletion = [&](const std::vector<PHAssetRef>& deleted) {
        if (options.yes) return true;
        if (::isatty(STDIN_FILENO) == 0) return false;
        std::cerr << "Move " << deleted.size() << (deleted.size() == 1 ? " photo" : " photos")
                  << " to the trash? [y/N] ";
        std::string answer;
        return std::getline(std::cin, answer) && (answer == "y" || answer == "Y" || answer == "yes");
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
    const auto library = opened();
    if (!library) return kFailure;
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

using Options = std::shared_ptr<LibraryOptions>;

CLI::App* subcommand(CLI::App& library, const char* name, const char* what, const Options& options, int& status,
                     int (*run)(const LibraryOptions&)) {
    CLI::App* command = library.add_subcommand(name, what);
    command->callback([options, run, &status] { status = run(*options); });
    return command;
}

void addAssetNames(CLI::App& command, const Options& options) {
    command.add_option("PHOTO", options->names, "Files of the library, or identifiers as 'list' shows them")
        ->required()
        ->type_name("");
}

void addFolderCommands(CLI::App& library, const Options& options, int& status) {
    CLI::App* adding = subcommand(library, "add", "Add folders, and read what is in them", options, status, addAndScan);
    adding->add_option("FOLDER", options->names, "Stays where it is; nothing in it is changed")
        ->required()
        ->type_name("");
    adding
        ->add_option("--remote", options->baseURL,
                     "The photos are on this server, below the address; FOLDER keeps what is fetched")
        ->type_name("URL");
    CLI::App* removing = subcommand(library, "remove", "Forget folders; no file is touched", options, status, remove);
    removing->add_option("FOLDER", options->names, "A folder of the library")->required()->type_name("");
    CLI::App* showing = subcommand(library, "folders", "Show the library's folders", options, status, folders);
    showing->add_flag("--json", options->json, "As JSON");
    CLI::App* scanning = library.add_subcommand("scan", "Look for new, changed, moved and vanished files");
    scanning->callback([&status] { status = scan(); });
}

void addListCommands(CLI::App& library, const Options& options, int& status) {
    CLI::App* listing = subcommand(library, "list", "List photos and videos", options, status, list);
    listing->add_option("--album", options->album, "Only what is in this album")->type_name("TITLE");
    listing->add_flag("--favorites", options->favorites, "Only favorites");
    listing
        ->add_option("--where", options->predicate,
                     "Only what a condition holds for: 'duration > 10', 'location = NULL'")
        ->type_name("CONDITION");
    listing->add_option("--sort", options->sort, "By created (default) or modified date")
        ->check(CLI::IsMember({"created", "modified"}))
        ->type_name("DATE");
    listing->add_flag("--newest", options->descending, "Newest first");
    listing->add_option("--limit", options->limit, "At most so many")->type_name("N");
    listing->add_flag("--json", options->json, "As JSON");
    listing->footer(
        "Keys of a condition: localIdentifier mediaType mediaSubtypes creationDate modificationDate location\n"
        "pixelWidth pixelHeight duration favorite hasAdjustments. Marks of a row: * favorite, e edited, @ has a "
        "place.");
    CLI::App* showing =
        subcommand(library, "info", "Show what the library knows of photos, as JSON", options, status, info);
    addAssetNames(*showing, options);
    showing->add_flag("--fetch", options->fetch, "Fetch what is on a server");
    addAssetNames(*subcommand(library, "evict", "Remove the local copies of photos that are on a server as well",
                              options, status, evict),
                  options);
    CLI::App* titles = library.add_subcommand("albums", "List the albums");
    titles->callback([&status] { status = albums(); });
}

void addChangeCommands(CLI::App& library, const Options& options, int& status) {
    CLI::App* filling = subcommand(library, "album", "Put photos into an album, which is made when there is none",
                                   options, status, album);
    filling->add_option("TITLE", options->album, "The album")->required()->type_name("");
    addAssetNames(*filling, options);
    filling->add_flag("--remove", options->off, "Take them out instead");
    CLI::App* marking = subcommand(library, "favorite", "Mark photos as favorites", options, status, favorite);
    addAssetNames(*marking, options);
    marking->add_flag("--off", options->off, "Take the mark away");
    addAssetNames(
        *subcommand(library, "revert", "Bring edited photos back to their originals", options, status, revert),
        options);
    CLI::App* deleting = subcommand(library, "trash", "Move photos to the trash", options, status, trash);
    addAssetNames(*deleting, options);
    deleting->add_flag("-y,--yes", options->yes, "Without asking");
}

}  // namespace

void addLibraryCommand(CLI::App& program, int& status) {
    const auto options = std::make_shared<LibraryOptions>();
    CLI::App* library = program.add_subcommand("library", "Albums, favorites and edits over your own folders");
    library->require_subcommand(1);
    // Only whoever asks for the library waits until its dozen commands are put together.
    library->preparse_callback([library, options, &status](std::size_t) {
        addFolderCommands(*library, options, status);
        addListCommands(*library, options, status);
        addChangeCommands(*library, options, status);
    });
    library->footer("'tessaly library COMMAND --help' tells more about a command.");
}

}  // namespace tessaly::cli
