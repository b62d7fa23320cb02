#include "OutputFiles.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unicode/unistr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <unordered_map>

#include "Output.h"
#include "linux/foundation/AtomicFile.h"

namespace tessaly::cli {
namespace {

namespace fs = std::filesystem;
using std::string_view_literals::operator""sv;

constexpr std::array kEndings{
    "jpg"sv, "jpeg"sv, "jpe"sv, "png"sv, "apng"sv, "gif"sv, "webp"sv, "tif"sv, "tiff"sv, "bmp"sv, "heic"sv, "heif"sv,
    "hif"sv, "avif"sv, "jp2"sv, "jpx"sv, "j2k"sv,  "jxl"sv, "psd"sv,  "psb"sv, "dng"sv,  "cr2"sv, "cr3"sv,  "crw"sv,
    "nef"sv, "nrw"sv,  "arw"sv, "sr2"sv, "srf"sv,  "raf"sv, "orf"sv,  "rw2"sv, "raw"sv,  "pef"sv, "srw"sv,  "3fr"sv,
    "fff"sv, "iiq"sv,  "mrw"sv, "erf"sv, "mos"sv,  "mef"sv, "kdc"sv,  "dcr"sv, "rwl"sv,  "x3f"sv, "mov"sv,  "mp4"sv,
    "m4v"sv, "3gp"sv,  "3g2"sv, "mkv"sv, "webm"sv, "avi"sv, "mts"sv,  "m2ts"sv};

std::string folded(const std::string& name) {
    std::string result;
    icu::UnicodeString::fromUTF8(name).foldCase().toUTF8String(result);
    return result;
}

/// Whether two names there that differ in their letters' case are one file.
bool ignoresCase(const std::string& folder) {
    struct statfs system {};
    if (::statfs(folder.c_str(), &system) != 0) return false;
    // What phones, cards and other systems' disks have; behind FUSE may stand any of them.
    constexpr std::array<unsigned long, 9> kIgnoring{
        MSDOS_SUPER_MAGIC, EXFAT_SUPER_MAGIC,   0x5346544EUL /* ntfs */, 0x7366746EUL /* ntfs3 */, CIFS_SUPER_MAGIC,
        SMB2_SUPER_MAGIC,  0x482BUL /* hfs+ */, 0x4244UL /* hfs */,      FUSE_SUPER_MAGIC};
    if (std::ranges::find(kIgnoring, static_cast<unsigned long>(system.f_type) & 0xFFFFFFFFUL) != kIgnoring.end())
        return true;
    const int file = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) return false;
    int flags = 0;
    const bool folds = ::ioctl(file, FS_IOC_GETFLAGS, &flags) == 0 && (flags & FS_CASEFOLD_FL) != 0;
    ::close(file);
    return folds;
}

/// Gives each path the name under which the file system has its file, or will have it.
class TrueNames {
public:
    std::string of(const std::string& path) {
        fs::path file = fs::path(path).lexically_normal();
        std::error_code error;
        // A link may lead to nothing yet: what is written through it stands where it leads.
        for (int i = 0; i < 40 && fs::is_symlink(file, error); ++i) {
            const fs::path goal = fs::read_symlink(file, error);
            if (error) break;
            file = (file.parent_path() / goal).lexically_normal();
        }
        const Folder& folder = folderOf(file.parent_path().string());
        const std::string name = folder.path + "/" + file.filename().string();
        return folder.ignoresCase ? folded(name) : name;
    }

private:
    struct Folder {
        std::string path;
        bool ignoresCase = false;
    };

    const Folder& folderOf(const std::string& path) {
        const auto [found, isNew] = folders_.try_emplace(path);
        if (!isNew) return found->second;
        std::error_code error;
        const fs::path whole = fs::weakly_canonical(path.empty() ? fs::path(".") : fs::path(path), error);
        fs::path existing = whole;
        while (!fs::exists(existing, error) && existing.has_relative_path()) existing = existing.parent_path();
        found->second = {whole == "/" ? "" : whole.string(), cli::ignoresCase(existing.string())};
        return found->second;
    }

    std::unordered_map<std::string, Folder> folders_;
};

/// The first two inputs of every output that has several; and outputs that are inputs.
struct Claims {
    std::map<std::string, const OutputFile*> byInput, byOutput;
};

std::string quoted(const std::string& path) { return "'" + path + "'"; }

}  // namespace

bool meansFolder(const std::string& output) {
    if (isFolder(output) || output.ends_with('/')) return true;
    const std::string ending = fs::path(output).extension().string();
    return ending.empty() || std::ranges::find(kEndings, folded(ending.substr(1))) == kEndings.end();
}

std::string pathBelow(const std::string& folder, const NamedFile& input, std::string_view ending) {
    return (fs::path(folder) / input.below).string() + std::string(ending);
}

void dropRepeated(std::vector<OutputFile>& files) {
    TrueNames names;
    std::map<std::string, std::string> outputs;
    std::erase_if(files, [&](const OutputFile& file) {
        const std::string output = names.of(file.path);
        const auto [found, isNew] = outputs.try_emplace(names.of(file.input.path), output);
        return !isNew && found->second == output;
    });
}

std::vector<std::string> collisions(const std::vector<OutputFile>& files, const std::string& folder, bool inPlace) {
    TrueNames names;
    Claims claims;
    std::vector<std::string> found;
    for (const OutputFile& file : files) claims.byInput.try_emplace(names.of(file.input.path), &file);
    const std::string into = folder.empty() ? "" : names.of((fs::path(folder) / "x").string());
    const std::string_view below = std::string_view(into).substr(0, into.empty() ? 0 : into.size() - 1);
    for (const OutputFile& file : files) {
        const std::string input = names.of(file.input.path);
        const std::string output = names.of(file.path);
        const auto [claim, isFirst] = claims.byOutput.try_emplace(output, &file);
        const auto other = claims.byInput.find(output);
        if (!isFirst)
            found.push_back(quoted(claim->second->input.path) + " and " + quoted(file.input.path) +
                            " would both become " + quoted(file.path));
        else if (input == output) {
            if (!inPlace) found.push_back(quoted(file.input.path) + " would be replaced by what is made of it");
        } else if (other != claims.byInput.end())
            found.push_back("what is made of " + quoted(file.input.path) + " would replace " +
                            quoted(other->second->input.path) + ", which is to be read, too");
        else if (!below.empty() && file.input.isFound && input.starts_with(below))
            found.push_back(quoted(file.input.path) + " lies in " + quoted(folder) + ", which is written into");
    }
    return found;
}

bool complainOfCollisions(const std::vector<OutputFile>& files, const std::string& folder, bool inPlace) {
    constexpr std::size_t kTold = 10;
    const std::vector<std::string> found = collisions(files, folder, inPlace);
    for (std::size_t i = 0; i < found.size() && i < kTold; ++i) complain(found[i]);
    if (found.size() > kTold) complain("and " + std::to_string(found.size() - kTold) + " more like these");
    if (!found.empty()) complain("nothing was written");
    return !found.empty();
}

std::string makeFolderOf(const std::string& path) {
    const fs::path folder = fs::path(path).parent_path();
    std::error_code error;
    if (!folder.empty()) fs::create_directories(folder, error);
    return error ? error.message() : std::string();
}

std::string copyFileAtomically(const std::string& from, const std::string& to) {
    const int source = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (source < 0 || ::fstat(source, &status) != 0) return std::strerror(errno);
    auto copy = AtomicFile::create(to);
    const bool isMade = copy && copy->copyFrom(source, 0, static_cast<std::uint64_t>(status.st_size)) &&
                        copy->adopt(source, true) && copy->commit(AtomicFile::Existing::kept);
    const int error = errno;
    ::close(source);
    return isMade ? "" : error == EEXIST ? "there is one already" : std::strerror(error);
}

}  // namespace tessaly::cli
