#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "../CommandLine.h"
#include "../EditValues.h"
#include "../Output.h"
#include "../RewriteRun.h"
#include "../Utf8.h"
#include "LibraryAssets.h"
#include "acquisition/AssetEditing.h"
#include "platform/Foundation/Dispatch.h"
#include "settings/AppDomain.h"

// Changes of the photos' own files that 'revert' takes back: what the screens do, one file after the other.
namespace tessaly::cli {
namespace {

/// The library that edits are made in, as long as the object.
class SharedLibrary {
public:
    explicit SharedLibrary(const std::shared_ptr<photos::PhotoLibrary>& library) {
        PHPhotoLibrary::setSharedPhotoLibrary(library);
    }
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;
    ~SharedLibrary() { PHPhotoLibrary::setSharedPhotoLibrary(nullptr); }
};

/// An edit that rewrites the file's metadata and leaves the rest of it alone.
AssetEdit rewriting(const MetadataChange& change, const std::string& mark) {
    AssetEdit edit;
    edit.adjustmentData = {std::string(AppDomainPrefix) + ".tessaly." + mark, "1.0", nullptr};
    edit.removesLocation = change.removesPlace();
    edit.rewrite = [change](const std::string& source, const std::string& target, std::string& error) {
        const RewriteFailure failure = rewriteMetadata(source, target, change, {});
        error = describe(failure);
        return !failure;
    };
    return edit;
}

std::string pathOf(const photos::PhotoLibrary& library, const PHAsset& asset) {
    return library.content(asset.localIdentifier, ownResource(asset), false, {}).path;
}

/// What to say of a file where the edit itself gave no reason.
std::string whyUnchangeable(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return std::strerror(errno);
    ::close(file);
    return "this file cannot be changed";
}

/// Waits for the edit. "" or why it was not made.
std::string madeEdit(const photos::PhotoLibrary& library, const PHAssetRef& asset, const AssetEdit& edit) {
    DispatchSemaphore done(0);
    std::string why;
    editAsset(asset, edit, [&](bool success, const std::string& error) {
        if (!success) why = error.empty() ? whyUnchangeable(pathOf(library, *asset)) : error;
        done.signal();
    });
    done.wait();
    return why;
}

/// "PATH: what is wrong", where what is wrong does not begin with the path itself.
void complainOf(const std::string& name, const std::string& why) {
    why.starts_with("/") ? complain(why) : complain(name, why);
}

int editAll(const LibraryOptions& options, const AssetEdit& edit) {
    const auto library = openedLibrary();
    if (!library) return kFailure;
    const SharedLibrary shared(library);
    bool failed = false;
    for (const std::string& name : options.names) {
        const PHAssetRef asset = assetNamed(*library, name);
        const std::string why = asset ? madeEdit(*library, asset, edit) : std::string();
        if (!why.empty()) complainOf(name, why);
        failed = failed || !asset || !why.empty();
        if (asset && why.empty()) Output::standard() << escaped(pathOf(*library, *asset)) + "\n";
    }
    return failed ? kFailure : kSuccess;
}

int strip(const LibraryOptions& options) {
    const auto removal = options.location ? MetadataChange::Removal::place : MetadataChange::Removal::everything;
    AssetEdit edit = rewriting({.removal = removal, .removes = {}, .values = {}}, "removeLocation");
    // What the screens know as theirs, but told as the command line tells what cannot be done.
    if (!options.location) edit.adjustmentData = AssetEdit::completeRemoval().adjustmentData;
    return editAll(options, edit);
}

int edit(const LibraryOptions& options) {
    const MetadataChange change{
        .removal = MetadataChange::Removal::nothing, .removes = {}, .values = editValues(options.sets)};
    return editAll(options, rewriting(change, "editExif"));
}

}  // namespace

void addEditCommands(CLI::App& library, const SharedLibraryOptions& options, int& status) {
    CLI::App* stripping = addLibrarySubcommand(
        library, "strip", "Remove the metadata of photos in place; 'revert' brings it back", options, status, strip);
    addAssetNames(*stripping, options);
    stripping->add_flag("--location", options->location, "Remove only what tells the place");
    stripping->footer("The library keeps the unedited files; 'tessaly library originals' shows them.");
    CLI::App* editing = addLibrarySubcommand(
        library, "edit", "Write values into photos in place; 'revert' takes them back", options, status, edit);
    addAssetNames(*editing, options);
    editing
        ->add_option("--set", options->sets, "A value to write; an empty one removes it. May be given more than once")
        ->required()
        ->allow_extra_args(false)
        ->type_name("KEY=VALUE");
    editing->footer(editKeysHelp() + "\nThe library keeps the unedited files; 'tessaly library originals' shows them.");
}

}  // namespace tessaly::cli
