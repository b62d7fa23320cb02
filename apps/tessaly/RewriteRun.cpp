#include "RewriteRun.h"

#include <cctype>
#include <cstring>
#include <filesystem>

#include "CommandLine.h"
#include "FileWalk.h"
#include "Output.h"
#include "Utf8.h"
#include "acquisition/MediaFile.h"
#include "platform/ImageIO/MetadataAudit.h"

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

namespace {

/// Whether the names say one format: endings that differ in case only, or are spellings of one.
bool haveOneFormat(const std::string& one, const std::string& other) {
    const auto endingOf = [](const std::string& path) {
        std::string ending = std::filesystem::path(path).extension().string();
        for (char& letter : ending) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
        if (ending == ".jpeg" || ending == ".jpe") return std::string(".jpg");
        if (ending == ".tiff") return std::string(".tif");
        if (ending == ".heif" || ending == ".hif") return std::string(".heic");
        return ending;
    };
    return endingOf(one).empty() || endingOf(one) == endingOf(other);
}

}  // namespace

void RewriteRun::addOptions(CLI::App& command) {
    command.add_option("FILE", files, "Photos and videos; '-- NAME' for a name that begins with '-'")
        ->required()
        ->type_name("");
    CLI::Option* out = command.add_option("-o,--output", output,
                                          "Write into this folder, under the same names; of one file, the copy");
    out->type_name("OUT");
    command.add_flag("--in-place", inPlace, "Replace the files themselves, each in one step")->excludes(out);
    command.add_flag("--force", force, "Replace files that exist already");
    command.add_flag("--keep-dates", keepsDates, "Give the new file the time stamps of the old one");
    command.add_flag("-r,--recursive", recursive, "Do what is in folders");
}

std::string RewriteRun::targetOf(const NamedFile& file) const {
    if (inPlace) return file.path;
    if (!output.empty()) return meansFolder(output) ? pathBelow(output, file) : output;
    const std::filesystem::path name(file.path);
    std::filesystem::path beside(name);
    beside.replace_filename(name.stem().string() + suffix + name.extension().string());
    return beside.string();
}

bool RewriteRun::isClean(const std::string& path, const MetadataChange& change) const {
    // What stands there, whatever was meant to go; and whether the writer, asked once more, would change anything.
    const auto found = auditMetadata(path);
    const auto left = metadataLeft(path, change);
    if (!found || !left) {
        complain(path, "cannot be read again");
        return false;
    }
    const std::vector<MetadataFinding> remains = remaining(*found, change);
    for (const MetadataFinding& finding : remains) complain(path, "not clean: " + finding.block + ": " + finding.name);
    if (remains.empty())
        for (const std::string& what : *left) complain(path, "not clean: " + what);
    return remains.empty() && left->empty();
}

std::optional<std::vector<OutputFile>> RewriteRun::plan(bool& failed) const {
    std::vector<OutputFile> planned;
    for (NamedFile& file : namedFilesBelow(files, recursive, failed)) {
        std::string target = targetOf(file);
        planned.push_back({std::move(file), std::move(target)});
    }
    dropRepeated(planned);
    const bool toFolder = !output.empty() && meansFolder(output);
    if (!output.empty() && !toFolder) {
        if (planned.size() > 1) throw CLI::ValidationError("--output: several files need a folder: '" + output + "/'");
        if (!planned.empty() && !haveOneFormat(planned.front().input.path, output))
            throw CLI::ValidationError("--output: a copy has its file's format, and ending: '" + output +
                                       "' does not; a folder of that name is '" + output + "/'");
    }
    if (complainOfCollisions(planned, toFolder ? output : "", inPlace)) return std::nullopt;
    return planned;
}

bool RewriteRun::rewrite(const OutputFile& file, const MetadataChange& change) const {
    if (const std::string why = makeFolderOf(file.path); !why.empty()) {
        complain(file.path, why);
        return false;
    }
    const RewriteFailure failure = rewriteMetadata(file.input.path, file.path, change, {inPlace || force, keepsDates});
    if (failure)
        complain(failure.kind == RewriteFailure::Kind::exists ? file.path : file.input.path, describe(failure));
    return !failure && (!check || isClean(file.path, change));
}

int RewriteRun::run(const ChangeFor& changeFor, const char* done) const {
    bool failed = false;
    const auto planned = plan(failed);
    if (!planned) return kUsage;
    std::size_t succeeded = 0;
    Progress progress(planned->size());
    for (const OutputFile& file : *planned) {
        progress.advance();
        const auto change = changeFor(file.input.path);
        if (!change || !rewrite(file, *change)) {
            failed = true;
            continue;
        }
        ++succeeded;
        Output::standard() << escaped(file.path) + (check ? ": clean\n" : "\n");
    }
    if (planned->size() > 1)
        Output::standard() << std::to_string(succeeded) + " of " + std::to_string(planned->size()) + " files " + done +
                                  (succeeded < planned->size() ? "; the others are as they were\n" : "\n");
    return failed ? kFailure : kSuccess;
}

}  // namespace tessaly::cli
