#include "RewriteRun.h"

#include <cstring>
#include <filesystem>

#include "CommandLine.h"
#include "FileWalk.h"
#include "Output.h"
#include "Utf8.h"
#include "acquisition/MediaFile.h"

namespace tessaly::cli {

std::string describe(const RewriteFailure& failure) {
    using enum RewriteFailure::Kind;
    switch (failure.kind) {
        case cannotRead:
            return std::string(tessaly::describe(failure.fault));
        case unsupported:
            return "this kind of file cannot be rewritten without loss; it is left as it is";
        case damaged:
            return "the file is damaged; it is left as it is";
        case tooLarge:
            return "the metadata would not fit into this format";
        case exists:
            return "there is a file already (--force replaces it)";
        case cannotWrite:
            return std::string("cannot be written: ") + std::strerror(failure.error);
        case none:
            break;
    }
    return {};
}

void RewriteRun::addOptions(CLI::App& command) {
    command.add_option("FILE", files, "Photos and videos; '-- NAME' for a name that begins with '-'")
        ->required()
        ->type_name("");
    CLI::Option* out = command.add_option("-o,--output", folder, "Write into this folder, under the same names");
    out->type_name("DIR");
    command.add_flag("--in-place", inPlace, "Replace the files themselves, each in one step")->excludes(out);
    command.add_flag("--force", force, "Replace files that exist already");
    command.add_flag("--keep-dates", keepsDates, "Give the new file the time stamps of the old one");
    command.add_flag("-r,--recursive", recursive, "Do what is in folders");
}

std::string RewriteRun::targetOf(const std::string& path) const {
    if (inPlace) return path;
    const std::filesystem::path name(path);
    if (!folder.empty()) return (std::filesystem::path(folder) / name.filename()).string();
    std::filesystem::path beside(name);
    beside.replace_filename(name.stem().string() + suffix + name.extension().string());
    return beside.string();
}

bool RewriteRun::isClean(const std::string& path, const MetadataChange& change) const {
    const auto left = metadataLeft(path, change);
    if (!left) {
        complain(path, "cannot be read again");
        return false;
    }
    for (const std::string& what : *left) complain(path, "not clean: " + what);
    return left->empty();
}

int RewriteRun::run(const ChangeFor& changeFor, const char* done) const {
    bool failed = false;
    const std::vector<std::string> named = namedFiles(files, recursive, failed);
    if (!folder.empty()) {
        std::error_code error;
        std::filesystem::create_directories(folder, error);
        if (error) {
            complain(folder, error.message());
            return kFailure;
        }
    }
    std::size_t succeeded = 0;
    Progress progress(named.size());
    for (const std::string& path : named) {
        progress.advance();
        const auto change = changeFor(path);
        const std::string target = targetOf(path);
        const RewriteFailure failure =
            change ? rewriteMetadata(path, target, *change, {inPlace || force, keepsDates}) : RewriteFailure{};
        if (failure) complain(failure.kind == RewriteFailure::Kind::exists ? target : path, describe(failure));
        if (!change || failure || (check && !isClean(target, *change))) {
            failed = true;
            continue;
        }
        ++succeeded;
        Output::standard() << escaped(target) + (check ? ": clean\n" : "\n");
    }
    if (named.size() > 1)
        Output::standard() << std::to_string(succeeded) + " of " + std::to_string(named.size()) + " files " + done +
                                  (succeeded < named.size() ? "; the others are as they were\n" : "\n");
    return failed ? kFailure : kSuccess;
}

}  // namespace tessaly::cli
