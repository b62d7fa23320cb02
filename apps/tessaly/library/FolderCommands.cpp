#include "../CommandLine.h"
#include "../Json.h"
#include "../Output.h"
#include "../Utf8.h"
#include "LibraryAssets.h"

namespace tessaly::cli {
namespace {

int add(const LibraryOptions& options) {
    const auto library = openedLibrary();
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
    const auto library = openedLibrary();
    if (!library) return kFailure;
    if (library->folders().empty()) {
        complain("the library has no folder yet; 'tessaly library add FOLDER' gives it one");
        return kFailure;
    }
    const auto result = [&] {
        StatusLine line;
        return library->scan([&line](const photos::ScanProgress& progress) {
            line.show(progress.toRead == 0 ? std::to_string(progress.seen) + " files found"
                                           : std::to_string(progress.read) + " of " + std::to_string(progress.toRead) +
                                                 " new or changed files read");
            return true;
        });
    }();
    for (const auto& problem : result.problems) complain(problem.path, problem.why);
    Output::standard() << std::to_string(result.seen) + " files: " + std::to_string(result.added) + " new, " +
                              std::to_string(result.changed) + " changed, " + std::to_string(result.moved) +
                              " moved, " + std::to_string(result.removed) + " gone" +
                              (result.away > 0 ? ", " + std::to_string(result.away) + " away" : "") +
                              (result.returned > 0 ? ", " + std::to_string(result.returned) + " back" : "") + "\n";
    return result.problems.empty() ? kSuccess : kFailure;
}

/// Adding a folder is meant to be followed by what is in it.
int addAndScan(const LibraryOptions& options) {
    const int added = add(options);
    const int scanned = scan();
    return added == kSuccess ? scanned : added;
}

int remove(const LibraryOptions& options) {
    const auto library = openedLibrary();
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
    const auto library = openedLibrary();
    if (!library) return kFailure;
    Array rows;
    for (const auto& folder : library->folders()) {
        if (!options.json) {
            Output::standard() << escaped(folder.path) + (folder.baseURL.empty() ? "" : "  from " + folder.baseURL) +
                                      "  (" + std::to_string(folder.assetCount) + ")\n";
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

}  // namespace

void addFolderCommands(CLI::App& library, const SharedLibraryOptions& options, int& status) {
    CLI::App* adding =
        addLibrarySubcommand(library, "add", "Add folders, and read what is in them", options, status, addAndScan);
    adding->add_option("FOLDER", options->names, "Stays where it is; nothing in it is changed")
        ->required()
        ->type_name("");
    adding
        ->add_option("--remote", options->baseURL,
                     "The photos are on this server, below the address; FOLDER keeps what is fetched")
        ->type_name("URL");
    CLI::App* removing =
        addLibrarySubcommand(library, "remove", "Forget folders; no file is touched", options, status, remove);
    removing->add_option("FOLDER", options->names, "A folder of the library")->required()->type_name("");
    CLI::App* showing =
        addLibrarySubcommand(library, "folders", "Show the library's folders", options, status, folders);
    showing->add_flag("--json", options->json, "As JSON");
    CLI::App* scanning = library.add_subcommand("scan", "Look for new, changed, moved and vanished files");
    scanning->callback([&status] { status = scan(); });
}

}  // namespace tessaly::cli
