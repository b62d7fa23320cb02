#pragma once
#include <CLI/CLI.hpp>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "OutputFiles.h"
#include "platform/ImageIO/MetadataRewrite.h"

namespace tessaly::cli {

/// Where rewritten files go, and how a batch of them is done: the same for every command that writes.
struct RewriteRun {
    std::vector<std::string> files;
    std::string output;  ///< "" beside each file, under a name of its own; else a folder, or the copy of a single file.
    std::string suffix;  ///< Of that name: "photo-clean.jpg".
    bool inPlace = false;
    bool force = false;
    bool keepsDates = false;
    bool recursive = false;
    bool check = false;
    bool dryRun = false;
    std::string condition;  ///< Of the files that are done; "" for all.
    std::string backup;     ///< The folder that keeps what is replaced in place; "" for none.

    /// Adds the options of this structure.
    void addOptions(CLI::App& command);

    /// The change for one file; nullopt when it has complained itself.
    using ChangeFor = std::function<std::optional<MetadataChange>(const std::string& path)>;
    /// Does all files, says what became of each and, of several, a summary. @return the exit status.
    [[nodiscard]] int run(const ChangeFor& changeFor, const char* done) const;

private:
    [[nodiscard]] std::string targetOf(const NamedFile& file) const;
    /// What is to be done; nullopt when it was refused and complained about. `failed` as of namedFiles().
    [[nodiscard]] std::optional<std::vector<OutputFile>> plan(bool& failed) const;
    void checkOutput(const std::vector<OutputFile>& planned) const;
    [[nodiscard]] bool rewrite(const OutputFile& file, const MetadataChange& change) const;
    [[nodiscard]] bool preview(const OutputFile& file, const MetadataChange& change) const;
    [[nodiscard]] bool keepBackup(const NamedFile& file) const;
    [[nodiscard]] int runPiped(const ChangeFor& changeFor) const;
};

/// The failure in words, as they stand behind a path.
[[nodiscard]] std::string describe(const RewriteFailure& failure);

}  // namespace tessaly::cli
