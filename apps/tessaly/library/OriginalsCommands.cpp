#include <algorithm>
#include <filesystem>

#include "../CommandLine.h"
#include "../Json.h"
#include "../Output.h"
#include "../Utf8.h"
#include "LibraryAssets.h"
#include "platform/Foundation/NSByteCountFormatter.h"

// Unedited files that the library keeps, and photos that it still remembers.
namespace tessaly::cli {
namespace {

using photos::PhotoLibrary;
using KeptOriginal = PHPhotoLibrary::KeptOriginal;

/// What became of the photo.
std::string stateOf(const KeptOriginal& original) {
    if (!original.isRemembered) return "forgotten";
    switch (original.presence) {
        case PHAssetPresence::here:
            return "edited";
        case PHAssetPresence::away:
            return "away";
        case PHAssetPresence::gone:
            break;
    }
    return "deleted";
}

int listOriginals(const LibraryOptions& options) {
    const auto library = openedLibrary();
    if (!library) return kFailure;
    Array rows;
    for (const KeptOriginal& original : library->keptOriginals()) {
        if (!options.json) {
            const std::string& name = original.photo.empty() ? original.path : original.photo;
            std::string state = stateOf(original);
            state.resize(9, ' ');
            Output::standard() << original.asset.substr(0, 8) + "  " + state + "  " + escaped(name) + "  (" +
                                      stringFromByteCount(original.size) + ")\n";
            continue;
        }
        Dictionary row{{"id", original.asset}, {"path", original.path}};
        if (!original.photo.empty()) row.set("photo", original.photo);
        row.set("size", original.size);
        row.set("state", stateOf(original));
        rows.append(row);
    }
    if (!options.json) return kSuccess;
    std::string out;
    JsonWriter(out).value(Value(rows));
    Output::standard() << out + "\n";
    return kSuccess;
}

/// Those that a name stands for: a photo or where it was, an identifier or its beginning, or the kept file itself.
std::vector<KeptOriginal> originalsNamed(const PhotoLibrary& library, const std::vector<KeptOriginal>& all,
                                         const std::string& name) {
    std::error_code ignored;
    const std::string path = std::filesystem::weakly_canonical(name, ignored).string();
    const PHAssetRef asset = library.assetAtPath(name);
    std::vector<KeptOriginal> named;
    for (const KeptOriginal& each : all)
        if (each.path == path || each.photo == path || (mayBeginIdentifier(name) && each.asset.starts_with(name)) ||
            (asset && asset->localIdentifier == each.asset))
            named.push_back(each);
    if (named.empty()) complain(name, "the library keeps no original of it");
    return named;
}

int exportOriginals(const LibraryOptions& options) {
    const auto library = openedLibrary();
    if (!library) return kFailure;
    std::error_code error;
    std::filesystem::create_directories(options.folder, error);
    if (error) {
        complain(options.folder, error.message());
        return kFailure;
    }
    const std::vector<KeptOriginal> all = library->keptOriginals();
    bool failed = false;
    for (const std::string& name : options.names) {
        const std::vector<KeptOriginal> named = originalsNamed(*library, all, name);
        failed = failed || named.empty();
        for (const KeptOriginal& original : named) {
            const std::string why = library->exportOriginal(original.path, options.folder);
            if (!why.empty()) complain(why);
            failed = failed || !why.empty();
            if (why.empty())
                Output::standard() << escaped((std::filesystem::path(options.folder) /
                                               std::filesystem::path(original.path).filename())
                                                  .string()) +
                                          "\n";
        }
    }
    return failed ? kFailure : kSuccess;
}

int discardOriginals(const LibraryOptions& options) {
    const auto library = openedLibrary();
    if (!library) return kFailure;
    const std::vector<KeptOriginal> all = library->keptOriginals();
    bool failed = false;
    for (const std::string& name : options.names) {
        const std::vector<KeptOriginal> named = originalsNamed(*library, all, name);
        std::string why;
        if (named.size() > 1)
            complain(name, "stands for several originals; give the file of one, as 'originals --json' shows it");
        if (named.size() == 1) why = library->discardOriginal(named.front().path);
        if (!why.empty()) complain(why);
        failed = failed || named.size() != 1 || !why.empty();
    }
    return failed ? kFailure : kSuccess;
}

int forget(const LibraryOptions& options) {
    const auto library = openedLibrary();
    if (!library) return kFailure;
    std::vector<PHAssetRef> assets;
    if (!findAll(*library, options.names, assets)) return kFailure;
    const auto edited = std::ranges::count_if(assets, [](const PHAssetRef& asset) { return asset->hasAdjustments; });
    if (edited > 0 && !options.yes &&
        !isConfirmed(std::to_string(edited) + " of them " + (edited == 1 ? "was" : "were") +
                     " edited, and cannot be reverted once forgotten. Forget all the same?")) {
        complain(
            "nothing was forgotten: what was edited is forgotten with --yes; 'library originals' keeps its original");
        return kFailure;
    }
    std::vector<std::string> identifiers;
    for (const PHAssetRef& asset : assets) identifiers.push_back(asset->localIdentifier);
    const std::string why = library->forgetAssets(identifiers);
    if (why.empty()) return kSuccess;
    complain(why);
    return kFailure;
}

void addOriginalNames(CLI::App& command, const SharedLibraryOptions& options) {
    command.add_option("PHOTO", options->names, "Photos, identifiers, or kept files as 'originals' shows them")
        ->required()
        ->type_name("");
}

}  // namespace

void addOriginalsCommands(CLI::App& library, const SharedLibraryOptions& options, int& status) {
    CLI::App* originals = library.add_subcommand("originals", "List the unedited files that the library keeps");
    originals->require_subcommand(0, 1);
    originals->callback([originals, options, &status] {
        if (originals->get_subcommands().empty()) status = listOriginals(*options);
    });
    originals->add_flag("--json", options->json, "As JSON");
    originals->footer(
        "A row: identifier, whether the photo is edited, away, deleted or forgotten, its file, and a size.");
    CLI::App* exporting =
        addLibrarySubcommand(*originals, "export", "Write copies of them", options, status, exportOriginals);
    addOriginalNames(*exporting, options);
    exporting->add_option("-o,--output", options->folder, "Into this folder; no file is replaced")
        ->required()
        ->type_name("DIR");
    addOriginalNames(
        *addLibrarySubcommand(*originals, "discard", "Move them to the trash; the photos stay as they were edited",
                              options, status, discardOriginals),
        options);
    CLI::App* forgetting = addLibrarySubcommand(
        library, "forget", "Forget photos that are away or gone; no file is touched", options, status, forget);
    addAssetNames(*forgetting, options);
    forgetting->add_flag("-y,--yes", options->yes, "Without asking, also what was edited");
}

}  // namespace tessaly::cli
