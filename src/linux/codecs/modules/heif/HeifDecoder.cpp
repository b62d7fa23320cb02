#include <libheif/heif.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "linux/codecs/modules/Guarded.h"
#include "linux/codecs/modules/PixelRows.h"
#include "linux/codecs/modules/heif/HeifExtents.h"

/// Stills in the boxes of HEIF, coded as HEVC or AV1.
namespace tessaly::codecs {
namespace {

template <auto Release>
struct Releaser {
    void operator()(auto* object) const { Release(object); }
};

using Context = std::unique_ptr<heif_context, Releaser<&heif_context_free>>;
using Handle = std::unique_ptr<heif_image_handle, Releaser<&heif_image_handle_release>>;
using Image = std::unique_ptr<heif_image, Releaser<&heif_image_release>>;
using Options = std::unique_ptr<heif_decoding_options, Releaser<&heif_decoding_options_free>>;
using CodedProfile = std::unique_ptr<heif_color_profile_nclx, Releaser<&heif_nclx_color_profile_free>>;

/// The place in the input that the library reads next.
struct Cursor {
    PixelInput& input;
    std::uint64_t position = 0;
};

std::int64_t tell(void* user) { return static_cast<std::int64_t>(static_cast<Cursor*>(user)->position); }

int readAt(void* data, std::size_t size, void* user) {
    auto& cursor = *static_cast<Cursor*>(user);
    if (size == 0) return 0;  // The library asks for nothing too, and has no place for it then.
    const auto count = cursor.input.read(cursor.position, {static_cast<std::byte*>(data), size});
    cursor.position += count;
    return count == size ? 0 : -1;
}

int seek(std::int64_t position, void* user) {
    if (position < 0) return -1;
    static_cast<Cursor*>(user)->position = static_cast<std::uint64_t>(position);
    return 0;
}

heif_reader_grow_status waitForSize(std::int64_t size, void* user) {
    const bool isThere = size >= 0 && static_cast<std::uint64_t>(size) <= static_cast<Cursor*>(user)->input.size();
    return isThere ? heif_reader_grow_status_size_reached : heif_reader_grow_status_size_beyond_eof;
}

constexpr heif_reader kReader{1, &tell, &readAt, &seek, &waitForSize};

DecodeFault faultOf(const heif_error& error) {
    switch (error.code) {
        case heif_error_Ok:
            return DecodeFault::none;
        case heif_error_Unsupported_filetype:
        case heif_error_Unsupported_feature:
        case heif_error_Plugin_loading_error:
            return DecodeFault::unsupported;
        case heif_error_Memory_allocation_error:
            return error.subcode == heif_suberror_Security_limit_exceeded ? DecodeFault::tooLarge
                                                                          : DecodeFault::outOfMemory;
        default:
            return DecodeFault::damaged;
    }
}

/// Whether the file says of itself that it is a sequence of pictures. The library knows stills alone, and a sequence
/// need not have any.
bool isSequence(PixelInput& input) {
    std::array<char, 12> start{};
    if (input.read(0, std::as_writable_bytes(std::span(start))) != start.size()) return false;
    const std::string_view brand(start.data() + 8, 4);
    constexpr std::array<std::string_view, 4> kSequences = {"msf1", "hevc", "hevx", "avis"};
    return std::ranges::find(kSequences, brand) != kSequences.end();
}

/// The primary image comes first whatever its place in the file, then the others in their order.
heif_error openImage(heif_context* context, std::size_t index, Handle& handle, heif_item_id& item) {
    heif_image_handle* opened = nullptr;
    heif_item_id primary = 0;
    auto error = heif_context_get_primary_image_ID(context, &primary);
    if (error.code != heif_error_Ok) return error;
    std::vector<heif_item_id> images(
        static_cast<std::size_t>(std::max(0, heif_context_get_number_of_top_level_images(context))));
    const int count =
        heif_context_get_list_of_top_level_image_IDs(context, images.data(), static_cast<int>(images.size()));
    images.resize(static_cast<std::size_t>(std::max(0, count)));
    std::erase(images, primary);
    images.insert(images.begin(), primary);
    if (index >= images.size())
        return {heif_error_Invalid_input, heif_suberror_Nonexisting_item_referenced, "no such image"};
    item = images[index];
    error = heif_context_get_image_handle(context, item, &opened);
    handle.reset(opened);
    return error;
}

bool exceeds(std::uint64_t limit, int width, int height) {
    if (limit == 0 || width <= 0 || height <= 0) return false;
    return static_cast<std::uint64_t>(width) > limit / static_cast<std::uint64_t>(height);
}

/// Both the size that is shown and the one that is coded, as a crop does not spare the decoder anything.
DecodeFault checkSize(const heif_image_handle* handle, std::uint64_t limit) {
    const int width = heif_image_handle_get_width(handle);
    const int height = heif_image_handle_get_height(handle);
    if (width <= 0 || height <= 0) return DecodeFault::damaged;
    const bool isTooLarge = exceeds(limit, width, height) || exceeds(limit, heif_image_handle_get_ispe_width(handle),
                                                                     heif_image_handle_get_ispe_height(handle));
    return isTooLarge ? DecodeFault::tooLarge : DecodeFault::none;
}

/// Bytes a pixel that the decoder's frames and the library's picture take beside ours: HEVC 4.7 (4:4:4), AV1 9.6, of
/// more than 8 bits 14.5 and 18. Alpha is a frame more.
constexpr double kBytes = 9.8, kDeepBytes = 18.2, kAlphaBytes = 1.5, kDeepAlphaBytes = 3;

/// The library has the picture in memory as a whole, whatever size is asked for.
DecodeFault countMemory(const heif_image_handle* handle, const DecodeRequest& request) {
    const auto width = static_cast<std::uint64_t>(
        std::max(heif_image_handle_get_width(handle), heif_image_handle_get_ispe_width(handle)));
    const auto height = static_cast<std::uint64_t>(
        std::max(heif_image_handle_get_height(handle), heif_image_handle_get_ispe_height(handle)));
    const bool isDeep = heif_image_handle_get_luma_bits_per_pixel(handle) > 8;
    const bool hasAlpha = heif_image_handle_has_alpha_channel(handle) != 0;
    const std::size_t part = reduction(width, height, request);
    return MemoryCount()
        .picture(width / part, height / part, isDeep ? 16 : 8)
        .besideEachPixel(width, height,
                         isDeep ? kDeepBytes + (hasAlpha ? kDeepAlphaBytes : 0) : kBytes + (hasAlpha ? kAlphaBytes : 0))
        .fault(request);
}

constexpr heif_chroma kDeepPixels = std::endian::native == std::endian::little ? heif_chroma_interleaved_RRGGBBAA_LE
                                                                               : heif_chroma_interleaved_RRGGBBAA_BE;

heif_error decodeAs(const heif_image_handle* handle, heif_chroma chroma, Image& image) {
    const Options options(heif_decoding_options_alloc());
    if (options) options->convert_hdr_to_8bit = chroma == kDeepPixels ? 0 : 1;
    heif_image* decoded = nullptr;
    const auto error = heif_decode_image(handle, &decoded, heif_colorspace_RGB, chroma, options.get());
    image.reset(decoded);
    return error;
}

/// With all bits that there are, unless the library knows no way from this kind of deep picture to deep RGB.
heif_error decodePixels(const heif_image_handle* handle, Image& image) {
    if (heif_image_handle_get_luma_bits_per_pixel(handle) > 8) {
        const auto error = decodeAs(handle, kDeepPixels, image);
        if (error.code != heif_error_Unsupported_feature) return error;
    }
    return decodeAs(handle, heif_chroma_interleaved_RGBA, image);
}

std::vector<std::byte> profileOf(const heif_image_handle* handle) {
    std::vector<std::byte> profile(heif_image_handle_get_raw_color_profile_size(handle));
    if (!profile.empty() && heif_image_handle_get_raw_color_profile(handle, profile.data()).code != heif_error_Ok)
        profile.clear();
    return profile;
}

/// What the boxes say goes before what the coded picture says.
CodedColors colorsOf(const heif_image_handle* handle, const heif_image* image) {
    heif_color_profile_nclx* found = nullptr;
    if (heif_image_handle_get_nclx_color_profile(handle, &found).code != heif_error_Ok &&
        heif_image_get_nclx_color_profile(image, &found).code != heif_error_Ok)
        return {};
    const CodedProfile profile(found);
    if (!profile) return {};
    return {static_cast<int>(profile->color_primaries), static_cast<int>(profile->transfer_characteristics)};
}

CGImageAlphaInfo alphaOf(const heif_image_handle* handle) {
    if (heif_image_handle_has_alpha_channel(handle) == 0) return CGImageAlphaInfo::noneSkipLast;
    return heif_image_handle_is_premultiplied_alpha(handle) != 0 ? CGImageAlphaInfo::premultipliedLast
                                                                 : CGImageAlphaInfo::last;
}

/// Spreads values of fewer bits over all 16, so that white stays white.
void copyDeepRow(const std::uint8_t* source, std::byte* target, std::size_t components, int bits) {
    const std::uint32_t largest = (1U << bits) - 1;
    for (std::size_t i = 0; i < components; ++i) {
        std::uint16_t value = 0;
        std::memcpy(&value, source + i * 2, 2);
        value = static_cast<std::uint16_t>((std::min<std::uint32_t>(value, largest) * 65535U + largest / 2) / largest);
        std::memcpy(target + i * 2, &value, 2);
    }
}

DecodeFault copyPixels(const heif_image* source, CGImageAlphaInfo alpha, const DecodeRequest& request, CGImage& image) {
    const int columns = heif_image_get_width(source, heif_channel_interleaved);
    const int rows = heif_image_get_height(source, heif_channel_interleaved);
    const int bits = heif_image_get_bits_per_pixel_range(source, heif_channel_interleaved);
    int stride = 0;
    const auto* pixels = heif_image_get_plane_readonly(source, heif_channel_interleaved, &stride);
    const bool isDeep = heif_image_get_chroma_format(source) == kDeepPixels;
    if (pixels == nullptr || columns <= 0 || rows <= 0 || (isDeep && (bits < 1 || bits > 16)))
        return DecodeFault::damaged;
    // The coded picture may be another than its boxes announce.
    if (exceeds(request.pixelLimit, columns, rows)) return DecodeFault::tooLarge;

    const std::size_t components = static_cast<std::size_t>(columns) * CGImage::kComponents;
    PixelRows target;
    const auto fault = target.begin(image, static_cast<std::size_t>(columns), static_cast<std::size_t>(rows),
                                    isDeep ? 16 : 8, alpha, request);
    if (fault != DecodeFault::none) return fault;
    for (int y = 0; y < rows; ++y, pixels += stride) {
        if (isDeep)
            copyDeepRow(pixels, target.next(), components, bits);
        else
            std::memcpy(target.next(), pixels, components);
        target.done();
    }
    target.end();
    return DecodeFault::none;
}

DecodeFault openFile(heif_context* context, Cursor& cursor) {
    const auto error = heif_context_read_from_reader(context, &kReader, &cursor, nullptr);
    if (error.code == heif_error_Invalid_input && error.subcode == heif_suberror_No_meta_box &&
        isSequence(cursor.input))
        return DecodeFault::unsupported;
    return faultOf(error);
}

DecodeFault decode(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    Cursor cursor{input};  // outlives the context, which reads items when they are asked for
    const Context context(heif_context_alloc());
    if (!context) return DecodeFault::outOfMemory;
    if (const auto fault = openFile(context.get(), cursor); fault != DecodeFault::none) return fault;
    Handle handle;
    heif_item_id item = 0;
    if (const auto error = openImage(context.get(), request.index, handle, item); error.code != heif_error_Ok)
        return faultOf(error);
    if (const auto fault = checkSize(handle.get(), request.pixelLimit); fault != DecodeFault::none) return fault;
    if (!liesInFile(input, item)) return DecodeFault::damaged;
    if (const auto fault = countMemory(handle.get(), request); fault != DecodeFault::none) return fault;

    Image image;
    if (const auto error = decodePixels(handle.get(), image); error.code != heif_error_Ok) return faultOf(error);
    decoded.profile = profileOf(handle.get());
    decoded.colors = colorsOf(handle.get(), image.get());
    decoded.isUpright = true;  // The library turns, mirrors and crops.
    return copyPixels(image.get(), alphaOf(handle.get()), request, decoded.image);
}

DecodeFault decodeHeif(PixelInput& input, const DecodeRequest& request, DecodedPixels& decoded) {
    return guarded([&] { return decode(input, request, decoded); });
}

}  // namespace
}  // namespace tessaly::codecs

TESSALY_MODULE_SYMBOL tessaly::codecs::DecodeImage tessaly_decode = &tessaly::codecs::decodeHeif;
