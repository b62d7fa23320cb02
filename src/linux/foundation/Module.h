#pragma once
#include <string>
#include <string_view>

namespace tessaly {

/// The symbol of one of the program's own shared objects ("tessaly-pixels.so"), which is loaded on the first question
/// and then stays: programs that ask for no pixel never pay for the libraries behind it. Null, with a line in the log,
/// when it is not installed.
[[nodiscard]] const void* moduleSymbol(std::string_view module, const char* symbol);

/// The path of one of the program's own files beside its modules: "" when it is not installed.
[[nodiscard]] std::string moduleFile(const std::string& name);

template <class Table>
[[nodiscard]] const Table* moduleTable(std::string_view module, const char* symbol) {
    return static_cast<const Table*>(moduleSymbol(module, symbol));
}

}  // namespace tessaly
