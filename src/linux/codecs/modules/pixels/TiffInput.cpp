#include "linux/codecs/modules/pixels/TiffInput.h"

#include <sys/mman.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace tessaly::codecs {
namespace {

/// Pixels that come out between two times that what was read of a mapping is let go of.
constexpr std::size_t kForgottenAfter = std::size_t{8} << 20;
/// A single piece of memory that libtiff may ask for in a page's directory, however small the limit on pixels is.
constexpr std::uint64_t kDirectoryBytes = std::uint64_t{16} << 20;

struct OptionsFreer {
    void operator()(TIFFOpenOptions* options) const noexcept { TIFFOpenOptionsFree(options); }
};

int ignore(TIFF*, void*, const char*, const char*, va_list) { return 1; }

}  // namespace

TiffInput::~TiffInput() {
    closeTiff();
    if (base_) ::munmap(base_, static_cast<std::size_t>(input_.size()));
}

void TiffInput::closeTiff() {
    if (tiff_) TIFFClose(tiff_);
    tiff_ = nullptr;
}

bool TiffInput::open(std::size_t page, bool isMapped) {
    if (isMapped && !mapFile()) return false;
    closeTiff();
    const std::unique_ptr<TIFFOpenOptions, OptionsFreer> options(TIFFOpenOptionsAlloc());
    if (!options) return false;
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<tmsize_t>::max());
    if (memoryLimit_ != 0)
        TIFFOpenOptionsSetMaxSingleMemAlloc(
            options.get(), static_cast<tmsize_t>(std::min(kMost, std::max(memoryLimit_, kDirectoryBytes))));
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), ignore, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignore, nullptr);
    offset_ = 0;
    tiff_ = TIFFClientOpenExt("image", isMapped ? "rM" : "rm", this, read, write, seek, close, size, map, unmap,
                              options.get());
    if (tiff_ && page > 0 && !TIFFSetDirectory(tiff_, static_cast<tdir_t>(page))) closeTiff();
    return tiff_ != nullptr;
}

bool TiffInput::mapFile() {
    if (base_) return true;
    if (input_.descriptor() < 0 || input_.size() == 0) return false;
    void* base =
        ::mmap(nullptr, static_cast<std::size_t>(input_.size()), PROT_READ, MAP_SHARED, input_.descriptor(), 0);
    if (base == MAP_FAILED) return false;
    base_ = base;
    return true;
}

void TiffInput::forgetAfter(std::size_t bytes) const {
    unpacked_ += bytes;
    if (!base_ || unpacked_ < kForgottenAfter) return;
    unpacked_ = 0;
    // Of a file's mapping: what is needed again is read again.
    ::madvise(base_, static_cast<std::size_t>(input_.size()), MADV_DONTNEED);
}

tmsize_t TiffInput::read(thandle_t handle, void* target, tmsize_t length) {
    auto* self = static_cast<TiffInput*>(handle);
    if (length <= 0) return 0;
    const std::size_t count =
        self->input_.read(self->offset_, std::span(static_cast<std::byte*>(target), static_cast<std::size_t>(length)));
    self->offset_ += count;
    return static_cast<tmsize_t>(count);
}

toff_t TiffInput::seek(thandle_t handle, toff_t offset, int whence) {
    auto* self = static_cast<TiffInput*>(handle);
    if (whence == SEEK_CUR) offset += self->offset_;
    if (whence == SEEK_END) offset += self->input_.size();
    self->offset_ = offset;
    return offset;
}

toff_t TiffInput::size(thandle_t handle) { return static_cast<TiffInput*>(handle)->input_.size(); }

int TiffInput::map(thandle_t handle, void** base, toff_t* size) {
    const auto* self = static_cast<TiffInput*>(handle);
    *base = self->base_;
    *size = self->input_.size();
    return self->base_ != nullptr ? 1 : 0;
}

}  // namespace tessaly::codecs
