#pragma once
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "linux/imageio/rewrite/ByteWriter.h"

namespace tessaly::imageio {

/// How a property stands in a packet (ISO 16684-1, 7.5 to 7.8).
enum class XmpForm : std::uint8_t { simple, bag, seq, alternative };

/// One property with its new value, under the customary prefix of its namespace. Without values it is only removed.
struct XmpProperty {
    std::string_view prefix;
    std::string_view name;
    XmpForm form = XmpForm::simple;
    std::vector<std::string> values;
};

struct XmpRules {
    /// Whether a property, or a field of a structure inside one, goes. By customary prefix (else the packet's own) and
    /// name. Empty: none.
    std::function<bool(std::string_view prefix, std::string_view name)> removes;
    /// Whether a value goes, whatever its name: of an attribute, an element or an item of a list. What has lost all its
    /// items goes with them. Empty: none.
    std::function<bool(std::string_view text)> removesText;
    std::vector<XmpProperty> sets;
    /// Whether a packet stays that has no property left.
    bool keepsEmptyPacket = false;
    /// Whether the name of the program that wrote the packet last goes.
    bool removesToolkit = false;
    /// Whether a packet that loses nothing and gains nothing stays byte for byte.
    bool keepsUnchanged = false;
    /// Whole descriptions to add, as text.
    std::string descriptions;
};

/// The packet with the rules applied, written anew in UTF-8, between header and trailer if it had them or is new. Empty
/// when nothing is left; what is not well formed, and whatever stands outside its elements, is not taken over. `packet`
/// may be empty.
[[nodiscard]] std::string changedXmpPacket(Bytes packet, const XmpRules& rules);

}  // namespace tessaly::imageio
