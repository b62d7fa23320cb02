#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "FileWalk.h"

namespace tessaly::cli {

/// A file and the one that is made of it.
struct OutputFile {
    NamedFile input;
    std::string path;
};

/// Whether "-o NAME" means a folder: it is one, or ends in a slash, or its ending is no picture's or movie's.
[[nodiscard]] bool meansFolder(const std::string& output);

/// `input` with its way below the argument that led to it, under `folder`, and `ending` behind its name.
[[nodiscard]] std::string pathBelow(const std::string& folder, const NamedFile& input, std::string_view ending = {});

/// Leaves out what is done twice: one file, reached in two ways, that has one output.
void dropRepeated(std::vector<OutputFile>& files);

/// Why these files must not be written, a sentence each that names both; empty when they may. No two have one output,
/// no output is another's input, and what was found in a folder does not lie in the one that is written into, or every
/// run would take its own results for new files. Links are followed, and letters are one whatever their case where the
/// file system says so. An output that is its own input is refused unless `inPlace`.
/// @param folder  the one that is written into; "" for none.
[[nodiscard]] std::vector<std::string> collisions(const std::vector<OutputFile>& files, const std::string& folder,
                                                  bool inPlace);

/// Complains about all of them. @return whether there was any.
[[nodiscard]] bool complainOfCollisions(const std::vector<OutputFile>& files, const std::string& folder, bool inPlace);

/// Makes the folder in which `path` is to stand. @return "" or why that failed.
[[nodiscard]] std::string makeFolderOf(const std::string& path);

/// A whole copy with mode and times, or none; what exists is never replaced. @return "" or why that failed.
[[nodiscard]] std::string copyFileAtomically(const std::string& from, const std::string& to);

}  // namespace tessaly::cli
