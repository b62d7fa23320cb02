#include "linux/media/MovieTexts.h"

#include <algorithm>
#include <array>
#include <bit>
#include <optional>
#include <string>
#include <vector>

#include "linux/imageio/Text.h"
#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/blocks/XmlTree.h"
#include "linux/imageio/containers/Containers.h"
#include "linux/media/MovieItems.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::media {
namespace {

using imageio::asText;
using imageio::ByteOrder;
using imageio::ByteReader;
using imageio::Bytes;
using imageio::ByteSource;
using imageio::findBox;
using imageio::ImageProperties;
using imageio::IsoBox;
using imageio::IsoBoxes;
using imageio::kFullBoxHead;
using imageio::textValue;
using std::string_view_literals::operator""sv;

constexpr std::uint64_t kMaximumText = 16 * 1024;
constexpr std::uint64_t kMaximumPacket = 16 * 1024 * 1024;
constexpr std::uint32_t kMaximumKeys = 1024;

/// User data items with a common meaning. Cameras write "@" for the copyright sign, too.
struct UserDataName {
    std::string_view code;  ///< Without its first character where that is the sign.
    std::string_view commonKey;
};
constexpr std::array kSignedNames{
    UserDataName{"mak", AVMetadataCommonKeyMake},        UserDataName{"mod", AVMetadataCommonKeyModel},
    UserDataName{"mdl", AVMetadataCommonKeyModel},       UserDataName{"swr", AVMetadataCommonKeySoftware},
    UserDataName{"xyz", AVMetadataCommonKeyLocation},    UserDataName{"day", AVMetadataCommonKeyCreationDate},
    UserDataName{"nam", AVMetadataCommonKeyTitle},       UserDataName{"ART", AVMetadataCommonKeyArtist},
    UserDataName{"cpy", AVMetadataCommonKeyCopyrights},  UserDataName{"des", AVMetadataCommonKeyDescription},
    UserDataName{"cmt", AVMetadataCommonKeyDescription}, UserDataName{"too", AVMetadataCommonKeySoftware},
};
/// 3GPP TS 26.244, 8: version, flags, language, then text.
constexpr std::array kAssetNames{
    UserDataName{"titl", AVMetadataCommonKeyTitle},
    UserDataName{"auth", AVMetadataCommonKeyArtist},
    UserDataName{"cprt", AVMetadataCommonKeyCopyrights},
    UserDataName{"dscp", AVMetadataCommonKeyDescription},
};
/// Six bytes, then text.
constexpr std::array kMakerNames{
    UserDataName{"manu", AVMetadataCommonKeyMake},
    UserDataName{"modl", AVMetadataCommonKeyModel},
};

template <std::size_t Count>
std::string_view nameIn(const std::array<UserDataName, Count>& names, std::string_view code) {
    const auto found = std::ranges::find(names, code, &UserDataName::code);
    return found == names.end() ? std::string_view{} : found->commonKey;
}

bool isSigned(std::string_view type) { return type.starts_with('\xA9') || type.starts_with('@'); }

void addText(AVAsset& asset, std::string_view commonKey, std::string identifier, const Value& text) {
    if (commonKey == AVMetadataCommonKeyCreationDate)
        addCreationDate(asset, std::move(identifier), text.string());
    else
        addItem(asset, commonKey, std::move(identifier), text);
}

std::string identifierOf(std::string_view place, std::string_view type) {
    return std::string(place) + "/" +
           (type.starts_with('\xA9') ? "\xC2\xA9" + std::string(type.substr(1)) : imageio::toUtf8(type));
}

class MovieTexts {
public:
    MovieTexts(ByteSource& source, AVAsset& asset) : source_(source), asset_(asset) {}

    /// QuickTime File Format, "Metadata Structure": names in "keys", their values in "ilst" by index.
    void readKeys(const IsoBox& meta) {
        const std::uint64_t head = headOf(meta);
        const auto keys = findBox(source_, meta, "keys"sv, head);
        const auto list = findBox(source_, meta, "ilst"sv, head);
        if (!keys || !list) return;
        const std::vector<std::string> names = keyNames(*keys);
        IsoBoxes values(source_, *list);
        while (const auto value = values.next()) {
            const auto index =
                imageio::loadInteger<std::uint32_t>(std::as_bytes(std::span(value->code)).data(), ByteOrder::big);
            if (index < 1 || index > names.size()) continue;
            const std::string& name = names[index - 1];
            addText(asset_, commonKeyOfName(name), "mdta/" + name, dataOf(*value));
        }
    }

    /// The list that music players keep in user data.
    void readPlayerList(const IsoBox& userData) {
        const auto meta = findBox(source_, userData, "meta"sv);
        if (!meta) return;
        if (findBox(source_, *meta, "keys"sv, headOf(*meta))) return readKeys(*meta);
        const auto list = findBox(source_, *meta, "ilst"sv, headOf(*meta));
        if (!list) return;
        IsoBoxes items(source_, *list);
        while (const auto item = items.next()) {
            if (!isSigned(item->type())) continue;
            const std::string_view commonKey = nameIn(kSignedNames, item->type().substr(1));
            addText(asset_, commonKey, identifierOf("itsk", item->type()), dataOf(*item));
        }
    }

    void readUserData(const IsoBox& userData) {
        IsoBoxes items(source_, userData);
        while (const auto item = items.next()) readUserDataItem(*item);
    }

    void readPackets(const IsoBox& userData) {
        if (const auto packet = findBox(source_, userData, "XMP_"sv)) readPacket(*packet);
    }

    void readPacket(const IsoBox& box) {
        if (box.length > kMaximumPacket) return;
        const auto bytes = source_.bytes(box.position, box.length);
        if (!bytes) return;
        ImageProperties properties;
        imageio::readXmp(*bytes, properties);
        adopt(properties, "xmp");
    }

    static bool isXmp(const IsoBox& box) { return imageio::isUserBox(box, imageio::kXmpUserType); }

    /// A "meta" box of the file holds XML of Sony's: device and creation date.
    void readXml(const IsoBox& meta) {
        const auto box = findBox(source_, meta, "xml "sv, headOf(meta));
        if (!box || box->length <= kFullBoxHead || box->length > kMaximumPacket) return;
        const auto text = source_.bytes(box->position + kFullBoxHead, box->length - kFullBoxHead);
        if (!text) return;
        const std::string_view trimmed = imageio::trimmed(asText(*text));
        const imageio::XmlTree tree(trimmed);
        if (!tree.root() || tree.root().name() != "NonRealTimeMeta"sv) return;
        const auto device = tree.root().firstChild("Device");
        addItem(asset_, AVMetadataCommonKeyMake, "xml/manufacturer", textValue(device.attribute("manufacturer")));
        addItem(asset_, AVMetadataCommonKeyModel, "xml/modelName", textValue(device.attribute("modelName")));
        addCreationDate(asset_, "xml/CreationDate", tree.root().firstChild("CreationDate").attribute("value"));
    }

private:
    /// QuickTime's "meta" is a plain box, MP4's a full one: it is plain when a box stands at its start.
    std::uint64_t headOf(const IsoBox& meta) {
        const auto type = source_.bytes(meta.position + 4, 4);
        return type && asText(*type) == "hdlr"sv ? 0 : kFullBoxHead;
    }

    std::vector<std::string> keyNames(const IsoBox& keys) {
        ByteReader reader(source_.bytesUpTo(keys.position, std::min(keys.length, kMaximumText)));
        reader.skip(kFullBoxHead);
        const std::uint32_t count = std::min(reader.read<std::uint32_t>().value_or(0), kMaximumKeys);
        std::vector<std::string> names;
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t size = reader.read<std::uint32_t>().value_or(0);
            if (size < 8 || !reader.skip(4)) break;  // The name space.
            const auto name = reader.take(size - 8);
            if (!name) break;
            names.push_back(imageio::toUtf8(imageio::trimmed(asText(*name))));
        }
        return names;
    }

    /// The "data" atom of a list's value: its type, its locale, then text or a number.
    Value dataOf(const IsoBox& item) {
        const auto data = findBox(source_, item, "data"sv);
        if (!data || data->length < 8) return {};
        const std::uint32_t type = source_.read<std::uint32_t>(data->position).value_or(0) & 0xFFFFFFU;
        const Bytes bytes = source_.bytesUpTo(data->position + 8, std::min(data->length - 8, kMaximumText));
        switch (type) {
            case 0:
            case 1:
                return textValue(bytes);
            case 2:
                return textValue(imageio::utf8FromUtf16(bytes, ByteOrder::big));
            case 21:
            case 22:
                return wholeNumber(bytes);
            case 23:
                if (bytes.size() != 4) return {};
                return double{std::bit_cast<float>(imageio::loadInteger<std::uint32_t>(bytes.data(), ByteOrder::big))};
            default:
                return {};
        }
    }

    static Value wholeNumber(Bytes bytes) {
        if (bytes.empty() || bytes.size() > 8) return {};
        std::int64_t number = 0;
        for (const std::byte byte : bytes) number = number << 8 | std::to_integer<std::int64_t>(byte);
        return number;
    }

    void readUserDataItem(const IsoBox& item) {
        const std::string_view type = item.type();
        const Bytes bytes = source_.bytesUpTo(item.position, std::min(item.length, kMaximumText));
        const std::string identifier = identifierOf("udta", type);
        if (isSigned(type)) {
            addText(asset_, nameIn(kSignedNames, type.substr(1)), identifier, internationalText(bytes));
        } else if (const auto assetKey = nameIn(kAssetNames, type); !assetKey.empty() && bytes.size() > 6) {
            addText(asset_, assetKey, identifier, assetText(bytes.subspan(6)));
        } else if (const auto makerKey = nameIn(kMakerNames, type); !makerKey.empty() && bytes.size() > 6) {
            addText(asset_, makerKey, identifier, textValue(bytes.subspan(6)));
        } else if (type == "loci"sv) {
            readPlace(bytes);
        } else if (type == "CNTH"sv) {
            readCanonThumbnail(item);
        } else if (type == "NCDT"sv) {
            if (const auto tags = findBox(source_, item, "NCTG"sv)) readNikonTags(*tags);
        }
    }

    /// Length and language of each translation, of which the first is taken; some cameras write the text alone.
    static Value internationalText(Bytes bytes) {
        if (bytes.size() >= 4) {
            const auto length = imageio::loadInteger<std::uint16_t>(bytes.data(), ByteOrder::big);
            if (length <= bytes.size() - 4 && length > 0) return textValue(bytes.subspan(4, length));
        }
        return textValue(bytes);
    }

    static Value assetText(Bytes bytes) {
        const std::string_view text = asText(bytes);
        if (text.starts_with("\xFE\xFF"sv)) return textValue(imageio::utf8FromUtf16(bytes, ByteOrder::big));
        return textValue(text);
    }

    // 3GPP TS 26.244, 8.10: name, role, then longitude, latitude and altitude as 16.16 fixed point.
    void readPlace(Bytes bytes) {
        if (bytes.size() < 7) return;
        Bytes rest = bytes.subspan(6);
        const bool wide = asText(rest).starts_with("\xFE\xFF"sv);
        std::size_t end = 0;
        if (wide)
            while (end + 1 < rest.size() && (rest[end] != std::byte{0} || rest[end + 1] != std::byte{0})) end += 2;
        else
            end = asText(rest).find('\0');
        if (end == std::string_view::npos) return;
        ByteReader reader(rest.subspan(std::min(rest.size(), end + (wide ? 2 : 1))));
        reader.skip(1);
        const auto longitude = reader.read<std::uint32_t>();
        const auto latitude = reader.read<std::uint32_t>();
        if (!longitude || !latitude) return;
        const auto degrees = [](std::uint32_t fixed) { return std::bit_cast<std::int32_t>(fixed) / 65536.0; };
        addItem(asset_, AVMetadataCommonKeyLocation, "udta/loci", iso6709(degrees(*latitude), degrees(*longitude)));
    }

    /// Canon's movies carry a small JPEG whose Exif describes the movie.
    void readCanonThumbnail(const IsoBox& item) {
        const auto box = findBox(source_, item, "CNDA"sv);
        if (!box) return;
        ByteSource jpeg = source_.part(box->position, box->length);
        ImageProperties properties;
        imageio::readJpeg(jpeg, properties);
        adopt(properties, "udta/CNTH");
    }

    /// Nikon's movies: tag, type, count and value, without a directory.
    void readNikonTags(const IsoBox& box) {
        ByteReader reader(source_.bytesUpTo(box.position, std::min(box.length, kMaximumText)));
        while (reader.remaining() >= 8) {
            const std::uint32_t tag = reader.read<std::uint32_t>().value_or(0);
            const auto type = static_cast<imageio::TiffType>(reader.read<std::uint16_t>().value_or(0));
            const std::uint16_t count = reader.read<std::uint16_t>().value_or(0);
            const auto value = reader.take(std::uint64_t{sizeOf(type)} * count);
            if (!value || sizeOf(type) == 0) return;
            if (tag == 1) addItem(asset_, AVMetadataCommonKeyMake, "udta/NCTG/1", textValue(*value));
            if (tag == 2) addItem(asset_, AVMetadataCommonKeyModel, "udta/NCTG/2", textValue(*value));
            if (tag == 3) addItem(asset_, AVMetadataCommonKeySoftware, "udta/NCTG/3", textValue(*value));
        }
    }

    /// What a block of a still image's kind says about the movie.
    void adopt(const ImageProperties& properties, const std::string& place) {
        const Dictionary& tiff = properties.tiff;
        addItem(asset_, AVMetadataCommonKeyMake, place + "/Make", tiff[kCGImagePropertyTIFFMake]);
        addItem(asset_, AVMetadataCommonKeyModel, place + "/Model", tiff[kCGImagePropertyTIFFModel]);
        addItem(asset_, AVMetadataCommonKeySoftware, place + "/Software", tiff[kCGImagePropertyTIFFSoftware]);
        addItem(asset_, AVMetadataCommonKeyArtist, place + "/Artist", tiff[kCGImagePropertyTIFFArtist]);
        addItem(asset_, AVMetadataCommonKeyTitle, place + "/Title", properties.iptc[kCGImagePropertyIPTCObjectName]);
        addCreationDate(asset_, place + "/DateTimeOriginal",
                        properties.exif[kCGImagePropertyExifDateTimeOriginal].string());
    }

    ByteSource& source_;
    AVAsset& asset_;
};

}  // namespace

void readMovieTexts(ByteSource& source, std::span<const IsoBox> boxes, AVAsset& asset) {
    MovieTexts texts(source, asset);
    const auto each = [&](std::string_view type, void (MovieTexts::*read)(const IsoBox&)) {
        for (const IsoBox& box : boxes)
            if (box.type() == type) (texts.*read)(box);
    };
    each("meta"sv, &MovieTexts::readKeys);
    each("udta"sv, &MovieTexts::readUserData);
    each("udta"sv, &MovieTexts::readPlayerList);
    each("udta"sv, &MovieTexts::readPackets);
    for (const IsoBox& box : boxes)
        if (MovieTexts::isXmp(box)) texts.readPacket(box);
}

void readFileTexts(ByteSource& source, const IsoBox& box, AVAsset& asset) {
    MovieTexts texts(source, asset);
    if (MovieTexts::isXmp(box)) texts.readPacket(box);
    if (box.type() == "meta"sv) texts.readXml(box);
}

}  // namespace tessaly::media
