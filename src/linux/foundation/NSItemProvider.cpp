#include <algorithm>
#include <array>

#include "platform/AVFoundation/AVAsset.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSExtensionContext.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly {
namespace {

/// The movies among the types that files are told to have; every other one is a picture's.
constexpr std::array<std::string_view, 8> kMovieTypes{
    "com.apple.quicktime-movie", "public.mpeg-4",        "public.3gpp",         "public.3gpp2",
    "org.matroska.mkv",          "org.webmproject.webm", "com.apple.m4v-video", "public.movie"};

std::string typeOfSource(const CGImageSourceRef& source) {
    return source ? std::string(CGImageSourceGetType(source)) : std::string();
}

std::string typeOfMovie(const AVAsset& movie) {
    if (movie.fault != AVAssetFault::none || movie.typeIdentifier.empty()) return {};
    return UTTypeConformsTo(movie.typeIdentifier, kUTTypeMovie) ? movie.typeIdentifier : std::string(kUTTypeMovie);
}

struct TypeOf {
    std::string operator()(std::monostate) const { return {}; }
    std::string operator()(const NSURL& url) const {
        std::string type = typeOfSource(CGImageSourceCreateWithURL(url.path()));
        return type.empty() ? typeOfMovie(*AVAsset::assetWithURL(url.path())) : type;
    }
    std::string operator()(const Data& data) const {
        std::string type = typeOfSource(CGImageSourceCreateWithData(data));
        return type.empty() ? typeOfMovie(*AVAsset::assetWithData(data)) : type;
    }
    std::string operator()(const UIImageRef& image) const { return image ? std::string(kUTTypeImage) : std::string(); }
};

}  // namespace

bool UTTypeConformsTo(std::string_view type, std::string_view conformsTo) noexcept {
    if (type.empty()) return false;
    if (type == conformsTo) return true;
    const bool isMovie = std::ranges::find(kMovieTypes, type) != kMovieTypes.end();
    return conformsTo == (isMovie ? kUTTypeMovie : kUTTypeImage);
}

std::string_view NSItemProvider::typeIdentifier() const {
    if (!typeIsKnown_) {
        type_ = std::visit(TypeOf{}, item_);
        typeIsKnown_ = true;
    }
    return type_;
}

void NSItemProvider::loadItemForTypeIdentifier(std::string_view type, CompletionHandler completionHandler) const {
    const bool conforms = hasItemConformingToTypeIdentifier(type);
    DispatchQueue::global().async([item = conforms ? item_ : Item(), conforms, handler = std::move(completionHandler)] {
        handler(item, conforms ? "" : "no item of that type");
    });
}

}  // namespace tessaly
