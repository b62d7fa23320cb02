#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <string_view>

#include "linux/imageio/containers/HeifItems.h"
#include "linux/imageio/rewrite/BoxWriter.h"
#include "linux/imageio/rewrite/MovieBoxes.h"
#include "linux/imageio/rewrite/Rewriters.h"

// ISO/IEC 23008-12 (HEIF), with the item boxes of ISO/IEC 14496-12, 8.11.
namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kMaximumBlock = 16 * 1024 * 1024;
constexpr std::uint64_t kMaximumTable = 8 * 1024 * 1024;
constexpr auto kXmpContent = "application/rdf+xml"sv;
constexpr std::size_t kMostExtents = 64;  // HeifItems reads no more of one item.

/// Auxiliary pictures that change how the main one shows: transparency (HEIF, AV1 image format) and gain maps.
bool isShownAuxiliary(std::string_view kind) {
    return kind.find("alpha") != std::string_view::npos || kind.find("auxid:1") != std::string_view::npos ||
           kind.find("hdrgainmap") != std::string_view::npos;
}

/// Properties that tell about the recording: a description, times, where the camera stood.
bool isPrivateProperty(std::string_view type) {
    static constexpr std::array properties{"udes"sv, "altt"sv, "crtt"sv, "mdft"sv, "cmex"sv, "uuid"sv, "aebr"sv};
    return std::ranges::find(properties, type) != properties.end();
}

class HeifPlan {
public:
    HeifPlan(ByteSource& source, const BlockChange& change) : source_(source), change_(change) {}

    RewriteResult make(RewriteFault& fault) {
        fault = RewriteFault::damaged;
        IsoBoxes boxes(source_);
        while (const auto box = boxes.next()) all_.push_back(*box);
        const auto meta = std::ranges::find(all_, "meta"sv, &IsoBox::type);
        if (meta == all_.end()) return std::nullopt;
        meta_ = *meta;
        items_.emplace(source_, meta_);
        if (items_->all().empty()) return std::nullopt;
        fault = RewriteFault::unsupported;
        if (std::ranges::any_of(items_->all(), [](const HeifItem& item) {
                return item.constructionMethod > 1 || item.extents.size() >= kMostExtents;
            }))
            return std::nullopt;
        chooseItems();
        if (!changeBlocks()) return std::nullopt;
        fault = RewriteFault::none;
        return joined(fault);
    }

private:
    // --- Which items stay ---

    [[nodiscard]] std::string_view auxiliaryKind(const HeifItem& item) {
        for (const IsoBox& property : items_->propertiesOf(item)) {
            if (property.type() != "auxC"sv) continue;
            return asText(
                source_.bytesUpTo(property.position + kFullBoxHead, std::min<std::uint64_t>(property.length, 128)));
        }
        return {};
    }

    [[nodiscard]] static bool isMetadata(const HeifItem& item) {
        return item.type == "Exif" || item.type == "mime" || item.type == "uri ";
    }

    void chooseItems() {
        for (const HeifItem& item : items_->all()) kept_.insert(item.id);
        if (!change_.removesEverything()) return;
        for (const HeifItem& item : items_->all())
            if (isMetadata(item)) kept_.erase(item.id);
        for (const HeifReference& reference : items_->references()) {
            if (reference.type == "thmb") kept_.erase(reference.from);
            const HeifItem* from = items_->find(reference.from);
            if (reference.type == "auxl" && from && !isShownAuxiliary(auxiliaryKind(*from))) kept_.erase(from->id);
        }
        dropUnreachable();
        dropOrphanTiles();
    }

    /// Pictures derived from ones that are gone go as well.
    void dropUnreachable() {
        for (bool again = true; std::exchange(again, false);)
            for (const HeifReference& reference : items_->references()) {
                const bool isDescribed = reference.type == "dimg" || reference.type == "auxl";
                const bool loses =
                    std::ranges::any_of(reference.to, [&](std::uint32_t to) { return !kept_.contains(to); });
                if (isDescribed && loses && kept_.erase(reference.from) != 0) again = true;
            }
    }

    /// Hidden items serve only others: tiles of a thumbnail or of a depth map have nobody left.
    void dropOrphanTiles() {
        for (bool again = true; std::exchange(again, false);)
            for (const HeifItem& item : items_->all()) {
                if (!kept_.contains(item.id) || item.id == items_->primary()) continue;
                bool isPart = false;
                bool isWanted = false;
                for (const HeifReference& reference : items_->references()) {
                    if (reference.type != "dimg" && reference.type != "base") continue;
                    if (std::ranges::find(reference.to, item.id) == reference.to.end()) continue;
                    isPart = true;
                    isWanted |= kept_.contains(reference.from);
                }
                if (isPart && !isWanted) {
                    kept_.erase(item.id);
                    again = true;
                }
            }
    }

    // --- Exif and XMP ---

    bool changeBlocks() {
        const HeifItem* exif = nullptr;
        const HeifItem* xmp = nullptr;
        for (const HeifReference& reference : items_->references()) {
            const HeifItem* item = items_->find(reference.from);
            const bool ofPrimary = std::ranges::find(reference.to, items_->primary()) != reference.to.end();
            if (!item || reference.type != "cdsc" || !ofPrimary) continue;
            if (item->type == "Exif" && !exif) exif = item;
            if (item->type == "mime" && item->contentType == kXmpContent && !xmp) xmp = item;
        }
        for (const HeifItem& item : items_->all()) {
            if (item.type == "Exif" && !exif && !isReferring(item)) exif = &item;
            if (item.type == "mime" && item.contentType == kXmpContent && !xmp && !isReferring(item)) xmp = &item;
        }
        for (const HeifItem& item : items_->all()) {
            if (item.type == "Exif") changeExif(item, &item == exif);
            if (item.type == "mime" && item.contentType == kXmpContent) changeXmp(item, &item == xmp);
        }
        if (!exif && !addItem("Exif", change_.exif({}), true)) return false;
        return xmp || addItem("mime", change_.xmp({}), false);
    }

    [[nodiscard]] bool isReferring(const HeifItem& item) const {
        return std::ranges::any_of(items_->references(),
                                   [&](const HeifReference& reference) { return reference.from == item.id; });
    }

    void replace(const HeifItem& item, std::optional<ByteVector> content) {
        kept_.erase(item.id);
        if (!content) return;
        kept_.insert(item.id);
        replaced_[item.id] = std::move(*content);
    }

    static ByteVector withOffset(const ByteVector& exif) {
        ByteWriter writer;
        return writer.write(std::uint32_t{0}).bytes(exif).take();
    }

    // A.2.1: the offset of the TIFF header, counted from behind itself.
    void changeExif(const HeifItem& item, bool ofPrimary) {
        if (change_.removesEverything() && !ofPrimary) return;
        std::vector<std::byte> storage;
        const auto content = items_->bytesOf(item, kMaximumBlock, storage);
        Bytes block;
        if (content && content->size() > 4) {
            const auto offset = loadInteger<std::uint32_t>(content->data(), ByteOrder::big);
            block = content->subspan(4);
            if (offset < block.size()) block = block.subspan(offset);
        }
        const auto changed = change_.exif(block);
        replace(item, changed ? std::optional(withOffset(*changed)) : std::nullopt);
    }

    void changeXmp(const HeifItem& item, bool ofPrimary) {
        std::vector<std::byte> storage;
        const auto content = items_->bytesOf(item, kMaximumBlock, storage);
        if (ofPrimary) return replace(item, change_.xmp(content.value_or(Bytes())));
        const bool describesKept = std::ranges::any_of(items_->references(), [&](const HeifReference& reference) {
            return reference.from == item.id && reference.type == "cdsc" &&
                   std::ranges::any_of(reference.to, [&](std::uint32_t to) { return kept_.contains(to); });
        });
        // A packet of nothing in particular stays as well where only something of it goes.
        if (!content || (!describesKept && change_.removesEverything())) return void(kept_.erase(item.id));
        replace(item, change_.removesEverything() ? BlockChange::gainMapXmp(*content) : change_.furtherXmp(*content));
    }

    struct NewItem {
        std::uint32_t id;
        std::string_view type;
    };

    /// @return false when there is no number left for it.
    bool addItem(std::string_view type, std::optional<ByteVector> content, bool isExif) {
        if (!content) return true;
        std::uint32_t last = 0;
        for (const HeifItem& item : items_->all()) last = std::max(last, item.id);
        for (const NewItem& item : added_) last = std::max(last, item.id);
        if (last >= 0xFFFF) return false;
        added_.push_back({last + 1, type});
        replaced_[last + 1] = isExif ? withOffset(*content) : std::move(*content);
        return true;
    }

    // --- The tables ---

    Bytes contentOf(const IsoBox& box) { return source_.bytesUpTo(box.position, std::min(box.length, kMaximumTable)); }

    // 8.11.6.
    ByteVector infoBox(const IsoBox& box) {
        const bool isLong = source_.read<std::uint8_t>(box.position) != 0;
        ByteWriter entries;
        std::uint32_t count = 0;
        IsoBoxes infos(source_, box, kFullBoxHead + (isLong ? 4 : 2));
        infos.setLimit(100'000);
        while (const auto info = infos.next()) {
            const auto version = source_.read<std::uint8_t>(info->position).value_or(0);
            const std::uint32_t id = version >= 3 ? source_.read<std::uint32_t>(info->position + 4).value_or(0)
                                                  : source_.read<std::uint16_t>(info->position + 4).value_or(0);
            if (!kept_.contains(id)) continue;
            entries.bytes(source_.bytesUpTo(info->start, info->end() - info->start));
            ++count;
        }
        for (const NewItem& item : added_) {
            ByteWriter info;
            info.write(std::uint32_t{0x02000000}).write(static_cast<std::uint16_t>(item.id)).write(std::uint16_t{0});
            info.text(item.type).zeros(1);
            if (item.type == "mime"sv) info.text(kXmpContent).zeros(1);
            entries.bytes(boxBytes("infe", info.view()));
            ++count;
        }
        ByteWriter content;
        content.write(std::uint32_t{isLong ? 0x01000000U : 0U});
        isLong ? content.write(count) : content.write(static_cast<std::uint16_t>(count));
        content.bytes(entries.view());
        return boxBytes("iinf", content.view());
    }

    // 8.11.12.
    ByteVector referenceBox(const IsoBox* box) {
        const bool isLong = box && source_.read<std::uint8_t>(box->position) != 0;
        ByteWriter content;
        content.write(std::uint32_t{isLong ? 0x01000000U : 0U});
        const auto number = [&](ByteWriter& writer, std::uint32_t id) {
            isLong ? writer.write(id) : writer.write(static_cast<std::uint16_t>(id));
        };
        const auto add = [&](std::string_view type, std::uint32_t from, const std::vector<std::uint32_t>& to) {
            ByteWriter reference;
            number(reference, from);
            reference.write(static_cast<std::uint16_t>(to.size()));
            for (const std::uint32_t id : to) number(reference, id);
            content.bytes(boxBytes(type, reference.view()));
        };
        for (const HeifReference& reference : items_->references()) {
            if (!kept_.contains(reference.from)) continue;
            std::vector<std::uint32_t> to = reference.to;
            if (reference.type != "dimg") std::erase_if(to, [&](std::uint32_t id) { return !kept_.contains(id); });
            if (!to.empty()) add(reference.type, reference.from, to);
        }
        for (const NewItem& item : added_) add("cdsc", item.id, {items_->primary()});
        return content.size() > kFullBoxHead ? boxBytes("iref", content.view()) : ByteVector();
    }

    // 8.11.14. Properties keep their numbers; a private one becomes empty space that nobody is associated with.
    ByteVector propertyBox(const IsoBox& box) {
        ByteWriter content;
        std::set<unsigned> blanked;
        IsoBoxes parts(source_, box);
        while (const auto part = parts.next()) {
            if (part->type() == "ipco"sv)
                content.bytes(propertyContainer(*part, blanked));
            else if (part->type() == "ipma"sv)
                content.bytes(associationBox(*part, blanked));
        }
        return boxBytes("iprp", content.view());
    }

    ByteVector propertyContainer(const IsoBox& box, std::set<unsigned>& blanked) {
        std::set<unsigned> used;
        for (const HeifItem& item : items_->all())
            if (kept_.contains(item.id))
                for (const std::uint16_t property : item.properties) used.insert(property + 1U);
        ByteWriter content;
        unsigned index = 0;
        IsoBoxes properties(source_, box);
        while (const auto property = properties.next()) {
            ++index;
            const bool isGone =
                change_.removesEverything() && (isPrivateProperty(property->type()) || !used.contains(index));
            if (isGone) {
                blanked.insert(index);
                content.bytes(boxBytes("free", {}));
            } else {
                content.bytes(source_.bytesUpTo(property->start, property->end() - property->start));
            }
        }
        return boxBytes("ipco", content.view());
    }

    ByteVector associationBox(const IsoBox& box, const std::set<unsigned>& blanked) {
        ByteReader reader(contentOf(box));
        const std::uint32_t head = reader.read<std::uint32_t>().value_or(0);
        const bool isLong = head >> 24U != 0;
        const bool isWide = (head & 1U) != 0;
        const std::uint32_t count = reader.read<std::uint32_t>().value_or(0);
        ByteWriter rows;
        std::uint32_t kept = 0;
        for (std::uint32_t i = 0; i < count && reader.remaining() > 0; ++i) {
            const std::uint32_t id =
                isLong ? reader.read<std::uint32_t>().value_or(0) : reader.read<std::uint16_t>().value_or(0);
            const std::uint8_t associations = reader.read<std::uint8_t>().value_or(0);
            std::vector<std::uint16_t> values;
            for (unsigned j = 0; j < associations; ++j) {
                const std::uint16_t value =
                    isWide ? reader.read<std::uint16_t>().value_or(0) : reader.read<std::uint8_t>().value_or(0);
                if (!blanked.contains(value & (isWide ? 0x7FFFU : 0x7FU))) values.push_back(value);
            }
            if (!kept_.contains(id)) continue;
            ++kept;
            isLong ? rows.write(id) : rows.write(static_cast<std::uint16_t>(id));
            rows.write(static_cast<std::uint8_t>(values.size()));
            for (const std::uint16_t value : values)
                isWide ? rows.write(value) : rows.write(static_cast<std::uint8_t>(value));
        }
        ByteWriter content;
        content.write(head).write(kept).bytes(rows.view());
        return boxBytes("ipma", content.view());
    }

    // 8.18.3: groups of items, such as a picture and its gain-mapped alternative.
    ByteVector groupBox(const IsoBox& box) {
        ByteWriter content;
        IsoBoxes groups(source_, box);
        while (const auto group = groups.next()) {
            ByteReader reader(contentOf(*group));
            ByteWriter kept;
            kept.bytes(reader.take(8).value_or(Bytes()));
            const std::uint32_t count = reader.read<std::uint32_t>().value_or(0);
            std::vector<std::uint32_t> ids;
            for (std::uint32_t i = 0; i < count; ++i) {
                const auto id = reader.read<std::uint32_t>();
                if (!id) break;
                if (kept_.contains(*id)) ids.push_back(*id);
            }
            if (ids.size() < 2) continue;
            kept.write(static_cast<std::uint32_t>(ids.size()));
            for (const std::uint32_t id : ids) kept.write(id);
            content.bytes(boxBytes(group->type(), kept.view()));
        }
        return content.size() == 0 ? ByteVector() : boxBytes("grpl", content.view());
    }

    // --- Where the data go ---

    [[nodiscard]] ByteRange rangeOf(const HeifItem& item, const HeifItem::Extent& extent) const {
        const bool fromIdat = item.constructionMethod == 1;
        const std::uint64_t start = extent.position + (fromIdat ? idat_.position : 0);
        const std::uint64_t end = fromIdat ? idat_.end() : source_.size();
        const std::uint64_t length = extent.length != 0 || start > end ? extent.length : end - start;
        return {start, std::min(start + length, source_.size())};
    }

    RewriteResult joined(RewriteFault& fault) {
        for (IsoBoxes boxes(source_, meta_, kFullBoxHead); const auto box = boxes.next();)
            if (box->type() == "idat"sv) idat_ = *box;
        keepInnerData();
        ByteRanges data;
        for (const HeifItem& item : items_->all())
            if (kept_.contains(item.id) && !replaced_.contains(item.id) && item.constructionMethod == 0)
                for (const HeifItem::Extent& extent : item.extents) {
                    const ByteRange range = rangeOf(item, extent);
                    if (range.start < range.end) data.add(range.start, range.end - range.start);
                }
        std::optional<MovieBoxes> movie;
        for (const IsoBox& box : all_)
            if (box.type() == "moov"sv) movie.emplace(source_, box, change_);
        if (movie)  // An image sequence: all media data are taken for its own.
            for (const IsoBox& box : all_)
                if (box.type() == "mdat"sv) addFrames(box, data);
        const ByteVector own = ownData();

        const auto destinationless = [](std::uint64_t offset) { return offset; };
        RewritePlan head;
        for (const IsoBox& box : all_)
            if (box.type() == "ftyp"sv) copyBox(head, box);
        const std::uint64_t metaSize = metaBox({}, 0).size();
        const std::uint64_t movieSize = movie ? movie->plan(destinationless, false).size() : 0;
        RewritePlan tail;
        if (!change_.removesEverything()) addOthers(tail);
        const std::uint64_t start = head.size() + metaSize + movieSize + kMediaHead;
        const MovedRanges moved(data.tidy(), start + own.size(), 1);
        RewritePlan plan = std::move(head);
        plan.add(metaBox(moved, start));
        if (plan.size() != start - kMediaHead - movieSize) {
            fault = RewriteFault::unsupported;
            return std::nullopt;
        }
        if (movie)
            plan.append(movie->plan([&](std::uint64_t at) { return moved.destinationOf(at).value_or(at); }, false), 0);
        ByteWriter media;
        const std::uint64_t end = std::max(moved.end(), start + own.size());
        media.write(std::uint32_t{1}).text("mdat"sv).write(end - start + kMediaHead).bytes(own);
        plan.add(media.take());
        moved.addTo(plan);
        plan.append(std::move(tail), 0);
        return plan;
    }

    /// What stands in the table of items itself: descriptions of grids, mostly.
    void keepInnerData() {
        for (const HeifItem& item : items_->all()) {
            if (!kept_.contains(item.id) || replaced_.contains(item.id) || item.constructionMethod != 1) continue;
            innerOffsets_[item.id] = innerData_.size();
            for (const HeifItem::Extent& extent : item.extents) {
                const ByteRange range = rangeOf(item, extent);
                if (range.start >= range.end) continue;
                const Bytes bytes = source_.bytesUpTo(range.start, range.end - range.start);
                innerData_.insert(innerData_.end(), bytes.begin(), bytes.end());
            }
        }
    }

    /// Media data that belong to no item, hence to the sequence.
    void addFrames(const IsoBox& box, ByteRanges& data) {
        ByteRanges all, ofItems;
        all.add(box.position, box.length);
        for (const HeifItem& item : items_->all())
            for (const HeifItem::Extent& extent : item.extents) {
                const ByteRange range = rangeOf(item, extent);
                if (range.start < range.end && item.constructionMethod == 0)
                    ofItems.add(range.start, range.end - range.start);
            }
        // A sequence may share the bytes of the still picture: those of kept items are in `data` already.
        for (const ByteRange& range : all.without(ofItems)) data.add(range.start, range.end - range.start);
    }

    void addOthers(RewritePlan& tail) {
        for (const IsoBox& box : all_) {
            const std::string_view type = box.type();
            if (type == "ftyp"sv || type == "meta"sv || type == "mdat"sv || type == "moov"sv) continue;
            if (type == "uuid"sv && change_.removesPlace())
                tail.append(changedTexts(source_, box, change_), 0);
            else
                copyBox(tail, box);
        }
    }

    ByteVector ownData() {
        ByteVector own;
        for (const auto& [id, content] : replaced_) {
            ownOffsets_[id] = own.size();
            own.insert(own.end(), content.begin(), content.end());
        }
        return own;
    }

    // 8.11.3, version 2 where item numbers need it; offsets and lengths of 8 bytes, so that the box's own length is
    // known.
    ByteVector locationBox(const MovedRanges* moved, std::uint64_t ownStart) {
        std::vector<std::uint32_t> ids;
        for (const HeifItem& item : items_->all())
            if (kept_.contains(item.id)) ids.push_back(item.id);
        for (const NewItem& item : added_) ids.push_back(item.id);
        const bool isLong = std::ranges::any_of(ids, [](std::uint32_t id) { return id > 0xFFFF; });
        ByteWriter content;
        content.write(std::uint32_t{isLong ? 0x02000000U : 0x01000000U}).write(std::uint16_t{0x8800});
        isLong ? content.write(static_cast<std::uint32_t>(ids.size()))
               : content.write(static_cast<std::uint16_t>(ids.size()));
        for (const std::uint32_t id : ids) {
            isLong ? content.write(id) : content.write(static_cast<std::uint16_t>(id));
            const bool isInner = innerOffsets_.contains(id);
            content.write(static_cast<std::uint16_t>(isInner ? 1 : 0)).write(std::uint16_t{0});
            if (const auto own = replaced_.find(id); own != replaced_.end()) {
                content.write(std::uint16_t{1}).write(ownStart + ownOffsets_[id]);
                content.write(static_cast<std::uint64_t>(own->second.size()));
                continue;
            }
            const HeifItem* item = items_->find(id);
            content.write(static_cast<std::uint16_t>(item->extents.size()));
            std::uint64_t inner = isInner ? innerOffsets_[id] : 0;
            for (const HeifItem::Extent& extent : item->extents) {
                const ByteRange range = rangeOf(*item, extent);
                const auto at = moved ? moved->destinationOf(range.start) : std::nullopt;
                const bool isThere = range.start < range.end;
                // What a cut file has lost stays lost: a length of 0 would mean "to the end".
                content.write(isInner ? inner : isThere ? at.value_or(0) : moved ? moved->end() : 0);
                content.write(isThere ? range.end - range.start : std::max<std::uint64_t>(extent.length, 1));
                inner += isThere ? range.end - range.start : 0;
            }
        }
        return boxBytes("iloc", content.view());
    }

    ByteVector metaBox(const std::optional<MovedRanges>& moved, std::uint64_t ownStart) {
        ByteWriter content;
        content.bytes(source_.bytesUpTo(meta_.position, kFullBoxHead));
        bool hasReferences = false;
        IsoBoxes boxes(source_, meta_, kFullBoxHead);
        while (const auto box = boxes.next()) {
            const std::string_view type = box->type();
            if (type == "iinf"sv) {
                content.bytes(infoBox(*box));
            } else if (type == "iloc"sv) {
                content.bytes(locationBox(moved ? &*moved : nullptr, ownStart));
            } else if (type == "iref"sv) {
                hasReferences = true;
                content.bytes(referenceBox(&*box));
            } else if (type == "iprp"sv) {
                content.bytes(propertyBox(*box));
            } else if (type == "grpl"sv) {
                content.bytes(groupBox(*box));
            } else if (type == "idat"sv) {
                content.bytes(boxBytes("idat", innerData_));
            } else if (type == "free"sv || type == "skip"sv) {
                continue;
            } else if (type == "hdlr"sv && change_.removesEverything()) {
                addHandler(*box, content);
            } else if (isNeeded(type) || !change_.removesEverything()) {
                content.bytes(source_.bytesUpTo(box->start, box->end() - box->start));
            }
        }
        if (!hasReferences) content.bytes(referenceBox(nullptr));
        return boxBytes("meta", content.view());
    }

    static bool isNeeded(std::string_view type) { return type == "pitm"sv || type == "dinf"sv || type == "ipro"sv; }

    /// Without its name.
    void addHandler(const IsoBox& box, ByteWriter& content) {
        ByteWriter handler;
        handler.bytes(source_.bytesUpTo(box.position, std::min<std::uint64_t>(box.length, 12))).zeros(13);
        content.bytes(boxBytes("hdlr", handler.view()));
    }

    static constexpr std::uint64_t kMediaHead = 16;

    ByteSource& source_;
    const BlockChange& change_;
    std::vector<IsoBox> all_;
    IsoBox meta_, idat_;
    std::optional<const HeifItems> items_;
    std::set<std::uint32_t> kept_;
    std::map<std::uint32_t, ByteVector> replaced_;
    std::map<std::uint32_t, std::uint64_t> ownOffsets_;
    std::map<std::uint32_t, std::uint64_t> innerOffsets_;
    ByteVector innerData_;
    std::vector<NewItem> added_;
};

}  // namespace

RewriteResult rewriteHeif(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    return HeifPlan(source, change).make(fault);
}

}  // namespace tessaly::imageio
