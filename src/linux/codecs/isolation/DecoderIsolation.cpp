#include "platform/ImageIO/DecoderIsolation.h"

#include "linux/codecs/isolation/DecoderProcess.h"

namespace tessaly {
namespace {

constexpr std::chrono::seconds kStartLimit{5};

void append(std::string& list, std::string_view separator, const std::string& item) {
    if (!list.empty()) list += separator;
    list += item;
}

DecoderIsolation described(const codecs::Isolation& isolation) {
    std::string held, missing;
    append(isolation.hasFilter ? held : missing, isolation.hasFilter ? ", " : " and ", "seccomp");
    if (isolation.landlock > 0)
        append(held, ", ", "Landlock " + std::to_string(isolation.landlock));
    else
        append(missing, " and ", "Landlock");
    append(isolation.hasNamespaces ? held : missing, isolation.hasNamespaces ? ", " : " and ", "namespaces");
    if (!isolation.hasFilter)
        return {false, "NOT isolated: the kernel refuses " + missing +
                           (held.empty() ? std::string() : "; there is only " + held)};
    return {true, "isolated (" + held + ")" +
                      (missing.empty() ? std::string() : ", without " + missing + ", which the kernel refuses")};
}

}  // namespace

DecoderIsolation decoderIsolation() {
    const auto process = codecs::DecoderProcess::start("pixels");
    codecs::Isolation isolation;
    if (!process) return {false, "none: tessaly-decoder is not installed, so no picture is decoded"};
    if (!process->waitForIsolation(isolation, kStartLimit))
        return {false, "none: tessaly-decoder does not start, so no picture is decoded"};
    return described(isolation);
}

}  // namespace tessaly
