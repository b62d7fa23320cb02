#pragma once
#include <tiffio.h>

#include "linux/codecs/ImageCodec.h"

namespace tessaly::codecs {

/// A TIFF as libtiff sees it through our input. Silent; takes no piece of memory beyond the limit.
class TiffInput {
public:
    /// @param memoryLimit of one piece of memory; 0 for none.
    TiffInput(PixelInput& input, std::uint64_t memoryLimit) : input_(input), memoryLimit_(memoryLimit) {}
    TiffInput(const TiffInput&) = delete;
    TiffInput& operator=(const TiffInput&) = delete;
    ~TiffInput();

    /// At one of its pages. `isMapped` reads through a mapping of the file, so that a strip of a hundred megabytes is
    /// not in memory as a whole; false where there is no file to map, and what was open before stays open then.
    [[nodiscard]] bool open(std::size_t page, bool isMapped);
    /// Null before it was opened and where that failed.
    [[nodiscard]] TIFF* tiff() const noexcept { return tiff_; }
    /// Lets go of the pages of the mapping that were read, each time that some megabytes of pixels came out of them.
    void forgetAfter(std::size_t bytes) const;

private:
    static tmsize_t read(thandle_t handle, void* target, tmsize_t length);
    static tmsize_t write(thandle_t, void*, tmsize_t) { return 0; }
    static toff_t seek(thandle_t handle, toff_t offset, int whence);
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t handle);
    static int map(thandle_t handle, void** base, toff_t* size);
    static void unmap(thandle_t, void*, toff_t) {}

    [[nodiscard]] bool mapFile();
    void closeTiff();

    PixelInput& input_;
    std::uint64_t memoryLimit_;
    std::uint64_t offset_ = 0;
    TIFF* tiff_ = nullptr;
    void* base_ = nullptr;  ///< Of the mapping, which has the length of the input.
    mutable std::size_t unpacked_ = 0;
};

}  // namespace tessaly::codecs
