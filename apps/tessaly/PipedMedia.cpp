#include "PipedMedia.h"

namespace tessaly::cli {

PipedFile PipedFile::of(const std::string& argument) {
    if (!isPiped(argument)) return {argument, argument, {}, nullptr};
    PipedFile piped{{}, argument == "-" || argument == "/dev/stdin" ? "standard input" : argument, {}, nullptr};
    piped.kept = std::make_unique<ScratchFile>();
    piped.why = readPiped(argument, *piped.kept);
    piped.path = piped.kept->path();
    return piped;
}

PipedMedia PipedMedia::read(const std::string& argument) {
    const PipedFile piped = PipedFile::of(argument);
    if (!piped.why.empty()) return {piped.name, piped.why, {}};
    return {piped.name, {}, MediaFile::read(piped.path)};
}

}  // namespace tessaly::cli
