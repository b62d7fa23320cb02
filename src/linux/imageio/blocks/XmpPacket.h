#pragma once
#include <functional>
#include <string>
#include <string_view>

#include "linux/imageio/ByteReader.h"
#include "platform/Foundation/Value.h"

namespace tessaly::imageio {

/// Which properties of a packet are wanted: by the customary prefix of their namespace, then by their name in it.
/// Null functions want everything, the fields of structures included; else only plain properties are read.
struct XmpSelection {
    bool (*wantsNamespace)(std::string_view prefix) = nullptr;
    bool (*wants)(std::string_view prefix, std::string_view name) = nullptr;
};

using XmpVisitor = std::function<void(std::string_view qualifiedName, Value value)>;

/// Visits the properties of an XMP packet (ISO 16684-1, 7) by their qualified names with the customary prefix, whatever
/// prefix the packet itself declares: "dc:title". A Bag or Seq is an array, an Alt its x-default (else first) text; the
/// fields of a structure are "parent/field", those of the n-th structure of a list "parent[n]/field".
void visitXmpPacket(Bytes packet, const XmpSelection& selection, const XmpVisitor& visit);

/// The customary prefix of a namespace that is known; "" of any other.
[[nodiscard]] std::string_view customaryPrefix(std::string_view namespaceName) noexcept;
/// The namespace of a customary prefix; "" of any other.
[[nodiscard]] std::string_view namespaceOfPrefix(std::string_view prefix) noexcept;

/// The packet's text from its first "<" on, in UTF-8: `packet` itself, or made into `converted` from UTF-16.
[[nodiscard]] std::string_view xmpText(Bytes packet, std::string& converted);

}  // namespace tessaly::imageio
