#pragma once
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/Foundation/Value.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly {

/// Bytes that grow, shared with whoever writes them.
using MutableData = std::shared_ptr<std::vector<std::byte>>;

/// An image file to be. Its images come from a source, whose compressed data are copied; only metadata are made anew.
class CGImageDestination;
using CGImageDestinationRef = std::shared_ptr<CGImageDestination>;

/// Will write a file of that type with `count` images into `target`. Null when the type cannot be written: raws are
/// only ever read.
[[nodiscard]] CGImageDestinationRef CGImageDestinationCreateWithData(const MutableData& target,
                                                                     std::string_view typeIdentifier,
                                                                     std::size_t count);

/// Adds image `index` of `source`. In `properties` a null dictionary (Dictionary::setNull) drops its tags wherever the
/// file repeats them, a null value drops one tag, any other value is written; what is not named stays. The properties
/// of the first image added hold for the file.
void CGImageDestinationAddImageFromSource(const CGImageDestinationRef& destination, const CGImageSourceRef& source,
                                          std::size_t index, const Dictionary& properties);

/// Writes the file. False, with nothing written, when no image was added, or when they come from several sources or
/// from one of another type.
[[nodiscard]] bool CGImageDestinationFinalize(const CGImageDestinationRef& destination);

}  // namespace tessaly
