#pragma once
#include <CLI/CLI.hpp>

namespace tessaly::cli {

/// Each adds one sub-command to `program`. When it is the one that was called, it runs while the arguments are parsed
/// and leaves its exit status in `status`. Wrong usage that only the command can see is thrown as a CLI::ParseError.
void addShowCommand(CLI::App& program, int& status);
void addShareCommand(CLI::App& program, int& status);
void addScanCommand(CLI::App& program, int& status);
void addStripCommand(CLI::App& program, int& status);
void addEditCommand(CLI::App& program, int& status);
void addThumbCommand(CLI::App& program, int& status);
void addLibraryCommand(CLI::App& program, int& status);
void addSettingsCommand(CLI::App& program, int& status);
void addKeysCommand(CLI::App& program, int& status);

}  // namespace tessaly::cli
