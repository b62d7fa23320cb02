#include "linux/quick/player/MovieFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace tessaly::quick {
namespace {

using namespace std::string_view_literals;

struct Beginning {
    qsizetype offset;
    std::string_view bytes;
};

constexpr Beginning kBeginnings[] = {
    {4, "ftyp"sv},
    {4, "moov"sv},
    {4, "mdat"sv},
    {4, "wide"sv},
    {4, "free"sv},
    {4, "skip"sv},
    {4, "pnot"sv},
    {0, "\x1A\x45\xDF\xA3"sv},  // Matroska, WebM
    {8, "AVI "sv},
    {0, "\0\0\1\xBA"sv},
    {0, "\0\0\1\xB3"sv},  // MPEG
    {0, "\x30\x26\xB2\x75"sv} /* Windows Media */,
    {0, "FLV"sv},
    {0, "OggS"sv},
    {0, "\x47"sv},
    {4, "\x47"sv},  // Transport streams of television and of camcorders
};

bool beginsAsMovie(const QByteArray& head) {
    const std::string_view bytes(head.constData(), static_cast<std::size_t>(head.size()));
    return std::ranges::any_of(kBeginnings, [bytes](const Beginning& beginning) {
        const auto offset = static_cast<std::size_t>(beginning.offset);
        return bytes.size() > offset && bytes.substr(offset).starts_with(beginning.bytes);
    });
}

bool isPlainFile(int descriptor) {
    struct stat facts {};
    return ::fstat(descriptor, &facts) == 0 && S_ISREG(facts.st_mode);
}

}  // namespace

std::unique_ptr<QFile> openMovieFile(const std::string& path, MovieFailure& failure) {
    failure = MovieFailure::missing;
    // Not by the toolkit's names, which have to be text; and a pipe must not be waited for.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return nullptr;
    auto file = std::make_unique<QFile>();
    if (!isPlainFile(descriptor) || !file->open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(descriptor);
        return nullptr;
    }
    failure = beginsAsMovie(file->peek(16)) ? MovieFailure::none : MovieFailure::unplayable;
    return failure == MovieFailure::none ? std::move(file) : nullptr;
}

}  // namespace tessaly::quick
