#pragma once
#include <string>

namespace tessaly {

/// What stands between a photo's bytes and this computer while libraries of others decode them.
struct DecoderIsolation {
    /// Decoders can open no file, reach no network and start nothing.
    bool isIsolated = false;
    /// For people, in English: "isolated (seccomp, Landlock 7, namespaces)", "isolated (seccomp), without Landlock and
    /// namespaces", or "NOT isolated: ..." with the reason.
    std::string description;
};

/// As it is on this machine, now. Starts a decoder to see, which takes some milliseconds.
[[nodiscard]] DecoderIsolation decoderIsolation();

}  // namespace tessaly
