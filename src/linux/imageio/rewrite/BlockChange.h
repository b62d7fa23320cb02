#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "linux/imageio/rewrite/IptcChange.h"
#include "linux/imageio/rewrite/TiffEditor.h"
#include "linux/imageio/rewrite/ValueCopies.h"
#include "linux/imageio/rewrite/XmpChange.h"
#include "platform/ImageIO/MetadataChange.h"

namespace tessaly::imageio {

/// What a change makes of the metadata blocks that containers carry. Containers find and place the blocks; what is to
/// stay in them is decided here, the same for every format.
class BlockChange {
public:
    /// Of a raw, everything means names, places, dates and serial numbers: what a converter needs stays.
    enum class Raw : std::uint8_t { none, makers, dng };
    explicit BlockChange(const MetadataChange& change, RemovedTexts removed = {});
    /// The same change of a raw.
    [[nodiscard]] BlockChange of(Raw raw) const;

    [[nodiscard]] bool removesEverything() const noexcept { return change_.removesEverything(); }
    [[nodiscard]] bool removesPlace() const noexcept { return change_.removesPlace(); }
    [[nodiscard]] const MetadataChange& change() const noexcept { return change_; }

    /// An Exif block without its "Exif\0\0", which may be empty for one that is not there; nullopt for none.
    /// A block that cannot be understood is dropped where something is to be removed.
    [[nodiscard]] std::optional<ByteVector> exif(Bytes block, bool containerHasDensity = false) const;
    /// An XMP packet, which may be empty; nullopt for none.
    [[nodiscard]] std::optional<ByteVector> xmp(Bytes packet) const;
    /// The same of a file whose further images and videos were sorted out: what the packet says of them gives way to
    /// `description`, an element of its own or empty.
    [[nodiscard]] std::optional<ByteVector> xmpBeforeImages(Bytes packet, const std::string& description) const;
    /// What stays of an extended packet (XMP part 3, 1.1.3.1).
    [[nodiscard]] std::optional<ByteVector> furtherXmp(Bytes packet) const;
    /// IPTC data sets, which may be empty; empty for none.
    [[nodiscard]] ByteVector iptc(Bytes datasets) const;
    /// Photoshop resources with what they hold of the above, which may be empty; empty for none. `isIptcHome`: new data
    /// sets are put there, because the container has no other place for them.
    [[nodiscard]] ByteVector photoshop(Bytes resources, bool isIptcHome = true) const;

    /// The rules for a TIFF structure that is edited in place.
    [[nodiscard]] TiffRules tiffRules(ByteOrder order) const;

    /// Only what a gain map (Adobe's, Apple's) says about itself; nullopt when the packet has none.
    [[nodiscard]] static std::optional<ByteVector> gainMapXmp(Bytes packet);

private:
    [[nodiscard]] std::optional<ByteVector> changedXmp(Bytes packet, const std::string* description) const;
    [[nodiscard]] bool removesRawField(TiffKind kind, const TiffEntry& entry) const;
    [[nodiscard]] bool removesField(TiffKind kind, const TiffEntry& entry) const;
    [[nodiscard]] XmpRules xmpRules() const;
    [[nodiscard]] bool removesProperty(std::string_view prefix, std::string_view name) const;
    [[nodiscard]] std::optional<ByteVector> furtherIptc(Bytes datasets) const;
    [[nodiscard]] ByteVector changedDataSets(Bytes datasets, std::vector<IptcDataSet> sets) const;
    [[nodiscard]] bool removesDataSet(std::uint8_t number) const;
    [[nodiscard]] std::optional<ByteVector> editedExif(Bytes block) const;
    [[nodiscard]] std::optional<TiffField> changedBlockField(TiffKind kind, const TiffEntry& entry, Bytes value) const;

    const MetadataChange& change_;
    RemovedTexts removed_;
    Raw raw_ = Raw::none;
    std::vector<XmpProperty> xmpSets_;
};

/// Whether a property's name tells a place, in any namespace.
[[nodiscard]] bool namesPlace(std::string_view propertyName);

}  // namespace tessaly::imageio
