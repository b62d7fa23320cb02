#pragma once
#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "FileWalk.h"
#include "acquisition/MediaFile.h"

namespace tessaly::cli {

/// What files have to be for a command to take them, over the members of the JSON ("dateTaken >= 2024-05 AND location
/// != NULL") and the names of properties ("FNumber < 2", "TIFF.Model = 'X100'"). Any number of threads may ask it.
class FileCondition {
public:
    /// Throws CLI::ValidationError naming "--if" and the fault.
    explicit FileCondition(const std::string& text);
    ~FileCondition();
    FileCondition(const FileCondition&) = delete;
    FileCondition& operator=(const FileCondition&) = delete;

    /// Of a file that could be read.
    [[nodiscard]] bool holds(const std::string& path, const MediaFile& file) const;

    /// Null for an empty text: everything is taken.
    [[nodiscard]] static std::unique_ptr<const FileCondition> of(const std::string& text);

private:
    struct Parsed;
    std::unique_ptr<const Parsed> parsed_;
};

/// Adds "--if CONDITION".
void addConditionOption(CLI::App& command, std::string& text);

/// Leaves out the files for which the condition does not hold. One that cannot be read is complained about, left out,
/// and sets `failed`.
void keepFilesThat(const std::string& condition, std::vector<NamedFile>& files, bool& failed);

}  // namespace tessaly::cli
