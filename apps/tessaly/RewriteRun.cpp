#include "RewriteRun.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <map>

#include "CommandLine.h"
#include "FileCondition.h"
#include "FileWalk.h"
#include "Output.h"
#include "ScratchFile.h"
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

/// Complains about what is left. @param name  under which the file at `path` is told.
bool isClean(const std::string& name, const std::string& path, const MetadataChange& change) {
    // What stands there, whatever was meant to go; and whether the writer, asked once more, would change anything.
    const auto found = auditMetadata(path);
    const auto left = metadataLeft(path, change);
    if (!found || !left) {
        complain(name, "cannot be read again");
        return false;
    }
    const std::vector<MetadataFinding> remains = remaining(*found, change);
    for (const MetadataFinding& finding : remains) complain(name, "not clean: " + finding.block + ": " + finding.name);
    if (remains.empty())
        for (const std::string& what : *left) complain(name, "not clean: " + what);
    return remains.empty() && left->empty();
}

/// A hard link to a photo keeps the old one when the photo is replaced, which whoever cleans it must know.
void noteOtherNames(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || status.st_nlink < 2) return;
    const auto others = status.st_nlink - 1;
    complain(path,
             "has " + std::to_string(others) +
                 (others == 1 ? " other name (a hard link), which keeps" : " other names (hard links), which keep") +
                 " the file as it was");
}

/// The values that stand in one file and not in the other, a line for each block; "+" before what is new.
std::string difference(const std::string& before, const std::string& after) {
    const auto blocks = [](const std::vector<MetadataFinding>& these, const std::vector<MetadataFinding>& those,
                           const char* head) {
        std::map<std::string, std::string> lines;
        for (const MetadataFinding& finding : these) {
            if (std::ranges::find(those, finding) != those.end()) continue;
            std::string& line = lines[finding.block];
            line += (line.empty() ? "" : ", ") + finding.name;
        }
        std::string text;
        for (const auto& [block, names] : lines) text += head + escaped(block + ": " + names) + "\n";
        return text;
    };
    const auto old = auditMetadata(before).value_or(std::vector<MetadataFinding>());
    const auto made = auditMetadata(after).value_or(std::vector<MetadataFinding>());
    const std::string text = blocks(old, made, "  - ") + blocks(made, old, "  + ");
    return text.empty() ? "  nothing that a reader names\n" : text;
}

}  // namespace

void RewriteRun::addOptions(CLI::App& command) {
    command.add_option("FILE", files, "Photos and videos; '-- NAME' for a name that begins with '-'")
        ->required()
        ->type_name("");
    CLI::Option* out = command.add_option("-o,--output", output,
                                          "Write into this folder, under the same names; of one file, the copy");
    out->type_name("OUT");
    CLI::Option* place =
        command.add_flag("--in-place", inPlace, "Replace the files themselves, each in one step")->excludes(out);
    command.add_option("--backup", backup, "Before a file is replaced, put a copy of it into this folder")
        ->needs(place)
        ->type_name("DIR");
    command.add_flag("--dry-run", dryRun, "Tell what would go, file by file, and write nothing");
    command.add_flag("--force", force, "Replace files that exist already");
    command.add_flag("--keep-dates", keepsDates, "Give the new file the time stamps of the old one");
    command.add_flag("-r,--recursive", recursive, "Do what is in folders");
    addConditionOption(command, condition);
}

std::string RewriteRun::targetOf(const NamedFile& file) const {
    if (inPlace) return file.path;
    if (!output.empty()) return meansFolder(output) ? pathBelow(output, file) : output;
    const std::filesystem::path name(file.path);
    std::filesystem::path beside(name);
    beside.replace_filename(name.stem().string() + suffix + name.extension().string());
    return beside.string();
}

std::optional<std::vector<OutputFile>> RewriteRun::plan(bool& failed) const {
    std::vector<OutputFile> planned;
    std::vector<NamedFile> named = namedFilesBelow(files, recursive, failed);
    keepFilesThat(condition, named, failed);
    for (NamedFile& file : named) {
        std::string target = targetOf(file);
        planned.push_back({std::move(file), std::move(target)});
    }
    dropRepeated(planned);
    checkOutput(planned);
    if (complainOfCollisions(planned, !output.empty() && meansFolder(output) ? output : "", inPlace))
        return std::nullopt;
    if (!backup.empty()) {
        std::vector<OutputFile> copies;
        for (const OutputFile& file : planned) copies.push_back({file.input, pathBelow(backup, file.input)});
        if (complainOfCollisions(copies, backup, false)) return std::nullopt;
    }
    return planned;
}

void RewriteRun::checkOutput(const std::vector<OutputFile>& planned) const {
    if (output.empty() || meansFolder(output)) return;
    if (planned.size() > 1) throw CLI::ValidationError("--output: several files need a folder: '" + output + "/'");
    if (!planned.empty() && !haveOneFormat(planned.front().input.path, output))
        throw CLI::ValidationError("--output: a copy has its file's format, and ending: '" + output +
                                   "' does not; a folder of that name is '" + output + "/'");
}

bool RewriteRun::keepBackup(const NamedFile& file) const {
    const std::string copy = pathBelow(backup, file);
    std::string why = makeFolderOf(copy);
    if (why.empty()) why = copyFileAtomically(file.path, copy);
    if (!why.empty()) complain(copy, "no backup, so the file is left as it is: " + why);
    return why.empty();
}

bool RewriteRun::rewrite(const OutputFile& file, const MetadataChange& change) const {
    if (const std::string why = makeFolderOf(file.path); !why.empty()) {
        complain(file.path, why);
        return false;
    }
    if (inPlace) noteOtherNames(file.input.path);
    if (!backup.empty() && !keepBackup(file.input)) return false;
    const RewriteFailure failure = rewriteMetadata(file.input.path, file.path, change, {inPlace || force, keepsDates});
    if (failure)
        complain(failure.kind == RewriteFailure::Kind::exists ? file.path : file.input.path, describe(failure));
    return !failure && (!check || isClean(file.path, file.path, change));
}

bool RewriteRun::preview(const OutputFile& file, const MetadataChange& change) const {
    std::error_code ignored;
    if (!inPlace && !force && std::filesystem::exists(file.path, ignored)) {
        complain(file.path, "there is a file already (--force replaces it)");
        return false;
    }
    ScratchFile result;
    if (!result.fault().empty()) {
        complain(result.fault());
        return false;
    }
    if (const RewriteFailure failure = rewriteMetadata(file.input.path, result.descriptor(), change)) {
        complain(file.input.path, describe(failure));
        return false;
    }
    if (inPlace) noteOtherNames(file.input.path);
    Output::standard() << escaped(file.input.path) +
                              (inPlace ? std::string(":\n") : " -> " + escaped(file.path) + ":\n") +
                              difference(file.input.path, result.path());
    return !check || isClean(file.path, result.path(), change);
}

int RewriteRun::runPiped(const ChangeFor& changeFor) const {
    const std::string& name = files.front();
    const bool toPipe = output.empty() || output == "-";
    if (inPlace || recursive || (!toPipe && meansFolder(output)))
        throw CLI::ValidationError("'" + name + "' has no name of its own: give the copy one with -o, or a pipe");
    if (toPipe && !dryRun && ::isatty(STDOUT_FILENO) == 1)
        throw CLI::ValidationError("a picture is not written to a terminal: give a pipe, '> FILE' or -o FILE");
    ScratchFile input, result;
    std::string why = isPiped(name) ? readPiped(name, input) : std::string();
    if (why.empty()) why = result.fault();
    if (!why.empty()) {
        complain(name == "-" ? "standard input" : name, why);
        return kFailure;
    }
    const std::string source = isPiped(name) ? input.path() : name;
    if (!condition.empty()) throw CLI::ValidationError("--if chooses among files, not for a pipe");
    const auto change = changeFor(source);
    if (!change) return kFailure;
    if (dryRun) return preview({{source, name, false}, toPipe ? "-" : output}, *change) ? kSuccess : kFailure;
    if (!toPipe) return rewrite({{source, name, false}, output}, *change) ? kSuccess : kFailure;
    if (const RewriteFailure failure = rewriteMetadata(source, result.descriptor(), *change)) {
        complain(name == "-" ? "standard input" : name, describe(failure));
        return kFailure;
    }
    // What is not clean never leaves.
    if (check && !isClean("standard output", result.path(), *change)) return kFailure;
    why = result.writeTo(STDOUT_FILENO);
    if (!why.empty()) complain("standard output", why);
    return why.empty() ? kSuccess : kFailure;
}

int RewriteRun::run(const ChangeFor& changeFor, const char* done) const {
    if (output == "-" || std::ranges::any_of(files, isPiped)) {
        if (files.size() == 1) return runPiped(changeFor);
        throw CLI::ValidationError("standard input, standard output and pipes take one file");
    }
    bool failed = false;
    const auto planned = plan(failed);
    if (!planned) return kUsage;
    std::size_t succeeded = 0;
    Progress progress(planned->size());
    for (const OutputFile& file : *planned) {
        progress.advance();
        const auto change = changeFor(file.input.path);
        if (!change || !(dryRun ? preview(file, *change) : rewrite(file, *change))) {
            failed = true;
            continue;
        }
        ++succeeded;
        if (!dryRun) Output::standard() << escaped(file.path) + (check ? ": clean\n" : "\n");
    }
    if (dryRun)
        Output::standard() << "nothing was written\n";
    else if (planned->size() > 1)
        Output::standard() << std::to_string(succeeded) + " of " + std::to_string(planned->size()) + " files " + done +
                                  (succeeded < planned->size() ? "; the others are as they were\n" : "\n");
    return failed ? kFailure : kSuccess;
}

}  // namespace tessaly::cli
