#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "linux/imageio/IsoBox.h"

namespace tessaly::imageio {

/// One item of a HEIF file (ISO/IEC 14496-12, 8.11).
struct HeifItem {
    std::uint32_t id = 0;
    std::string type;         ///< "hvc1", "av01", "grid", "Exif", "mime", ...
    std::string contentType;  ///< Of a "mime" item.
    bool hidden = false;
    /// Places in the list of properties, in the order of association, which is the order in which transforms apply.
    std::vector<std::uint16_t> properties;

    struct Extent {
        std::uint64_t position, length;
    };
    int constructionMethod = 0;  ///< 0 from the file, 1 from "idat", 2 from another item.
    std::vector<Extent> extents;
};

/// A reference between items: `from` describes, is made of, or is an auxiliary of each of `to`.
struct HeifReference {
    std::string type;
    std::uint32_t from = 0;
    std::vector<std::uint32_t> to;
};

/// The items of a "meta" box, with all that belongs to each.
class HeifItems {
public:
    HeifItems(ByteSource& source, const IsoBox& meta);

    [[nodiscard]] std::uint32_t primary() const noexcept { return primary_; }
    [[nodiscard]] const std::vector<HeifItem>& all() const noexcept { return items_; }
    [[nodiscard]] const std::vector<HeifReference>& references() const noexcept { return references_; }
    [[nodiscard]] const HeifItem* find(std::uint32_t id) const noexcept;
    /// The boxes of an item's properties.
    [[nodiscard]] std::vector<IsoBox> propertiesOf(const HeifItem& item) const;
    /// The items that refer to `to` in that way ("cdsc", "auxl", "thmb", "dimg"), in the order of the references.
    [[nodiscard]] std::vector<const HeifItem*> referringTo(std::uint32_t to, std::string_view type) const;

    /// The bytes of an item, at most `limit`; nothing where they are not all there.
    /// One extent is viewed, several are joined in `storage`, which must outlive the view.
    [[nodiscard]] std::optional<Bytes> bytesOf(const HeifItem& item, std::uint64_t limit,
                                               std::vector<std::byte>& storage) const;

private:
    HeifItem* find(std::uint32_t id) noexcept;
    void readInfo(const IsoBox& box);
    void readInfoEntry(const IsoBox& box);
    void readLocations(const IsoBox& box);
    void readReferences(const IsoBox& box);
    void readProperties(const IsoBox& box);
    void readAssociations(const IsoBox& box);

    ByteSource& source_;
    std::uint32_t primary_ = 0;
    IsoBox idat_;
    std::vector<HeifItem> items_;
    std::vector<HeifReference> references_;
    std::vector<IsoBox> properties_;
};

}  // namespace tessaly::imageio
