#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "linux/desktop/MimeTypes.h"
#include "linux/desktop/SharedFiles.h"
#include "linux/foundation/AtomicFile.h"
#include "platform/Foundation/Utf8.h"

// Names of shared files, and saving them where the user wants them.
namespace tessaly::desktop {
namespace {

constexpr std::size_t kLongestName = 255;
/// Room for " 999" and for what a half-written file's name has in addition.
constexpr std::size_t kReserve = 24;
constexpr std::size_t kLongestEnding = 16;
constexpr int kMostNumbers = 10000;

std::size_t endingAt(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    const bool isEnding = dot != std::string_view::npos && dot > 0 && name.size() - dot <= kLongestEnding;
    return isEnding ? dot : name.size();
}

/// At most `size` bytes, without half a character at the end.
std::string_view shortened(std::string_view text, std::size_t size) {
    if (text.size() <= size) return text;
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U) --size;
    return text.substr(0, size);
}

std::string withoutForbidden(std::string_view name) {
    std::string clean;
    for (std::size_t i = 0; i < name.size();) {
        const std::size_t length = utf8SequenceLength(name, i);
        const auto byte = static_cast<unsigned char>(name[i]);
        // Bytes that are no text would be no name for the portal either.
        if (length == 0 || byte < 0x20 || byte == 0x7F || byte == '/')
            clean += '_';
        else
            clean += name.substr(i, length);
        i += std::max<std::size_t>(length, 1);
    }
    return clean;
}

Data bytesOf(const std::string& text) {
    const auto bytes = std::as_bytes(std::span(text));
    return std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
}

/// 0, or errno.
int writeFile(const Data& data, const std::string& path, AtomicFile::Existing existing) {
    auto file = AtomicFile::create(path);
    if (!file || (data && !file->write(*data)) || !file->commit(existing)) return errno ? errno : EIO;
    return 0;
}

/// A dangling link would be followed to where it points.
bool isTaken(const std::string& path) {
    struct stat facts {};
    return ::lstat(path.c_str(), &facts) == 0;
}

/// The path in `path`; 0, or errno.
int writeUnderFreeName(const SharedFile& file, const std::string& folder, std::string& path) {
    const std::string name = safeFileName(file.name, mimeTypeOf(file.data));
    for (int number = 1; number < kMostNumbers; ++number) {
        path = folder + '/' + numberedName(name, number);
        if (isTaken(path)) continue;
        const int error = writeFile(file.data, path, AtomicFile::Existing::kept);
        if (error != EEXIST) return error;
    }
    return EEXIST;
}

}  // namespace

std::string safeFileName(std::string_view name, std::string_view mimeType) {
    std::string clean = withoutForbidden(name);
    const std::size_t visible = clean.find_first_not_of(". ");
    clean.erase(0, std::min(visible, clean.size()));
    while (clean.ends_with(' ') || clean.ends_with('.')) clean.pop_back();
    if (clean.empty()) return "Image" + std::string(extensionOf(mimeType));
    const std::string ending = clean.substr(endingAt(clean));
    const std::string_view stem = std::string_view(clean).substr(0, clean.size() - ending.size());
    return std::string(shortened(stem, kLongestName - kReserve - ending.size())) + ending;
}

std::string numberedName(const std::string& name, int number) {
    if (number < 2) return name;
    const std::size_t ending = endingAt(name);
    return name.substr(0, ending) + ' ' + std::to_string(number) + name.substr(ending);
}

std::string textOf(std::span<const UIActivityItem> items) {
    std::string all;
    for (const UIActivityItem& item : items) {
        const auto* const text = std::get_if<std::string>(&item.content);
        if (!text || text->empty()) continue;
        if (!all.empty()) all += "\n\n";
        all += *text;
    }
    return all;
}

std::vector<SharedFile> filesOf(std::span<const UIActivityItem> items) {
    std::vector<SharedFile> files;
    for (const UIActivityItem& item : items)
        if (const auto* const data = std::get_if<Data>(&item.content); data && *data && !(*data)->empty())
            files.push_back({*data, item.suggestedName});
    if (files.empty())
        if (const std::string text = textOf(items); !text.empty()) files.push_back({bytesOf(text), "Exif.txt"});
    return files;
}

WrittenFiles saveInFolder(std::span<const SharedFile> files, const std::string& folder) {
    WrittenFiles written;
    for (const SharedFile& file : files) {
        std::string path;
        written.error = writeUnderFreeName(file, folder, path);
        if (written.error != 0) {
            for (const std::string& done : written.paths) ::unlink(done.c_str());
            written.paths.clear();
            return written;
        }
        written.paths.push_back(std::move(path));
    }
    return written;
}

WrittenFiles saveToPaths(std::span<const SharedFile> files, std::span<const std::string> paths) {
    WrittenFiles written;
    if (files.size() != paths.size()) return {{}, EINVAL};
    for (std::size_t i = 0; i < files.size() && written.error == 0; ++i)
        written.error = writeFile(files[i].data, paths[i], AtomicFile::Existing::replaced);
    if (written.error == 0) written.paths.assign(paths.begin(), paths.end());
    return written;
}

}  // namespace tessaly::desktop
