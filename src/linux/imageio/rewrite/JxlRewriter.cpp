#include <algorithm>
#include <array>
#include <string_view>

#include "linux/imageio/Inflate.h"
#include "linux/imageio/rewrite/BoxWriter.h"
#include "linux/imageio/rewrite/Rewriters.h"

// JPEG XL: ISO/IEC 18181-2, 9. JPEG 2000: ISO/IEC 15444-1, annex I.
namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kMaximumBlock = 16 * 1024 * 1024;
constexpr auto kExifBox = "JpgTiffExif->JP2"sv;
constexpr auto kIptcBox = "\x33\xC7\xA4\xD2\xB8\x1D\x47\x23\xA0\xBA\xF1\xA3\xE0\x97\xAD\x38"sv;

ByteVector contentOf(ByteSource& source, const IsoBox& box) {
    if (box.length > kMaximumBlock) return {};
    const auto bytes = source.bytes(box.position, box.length);
    return bytes ? copyOf(*bytes) : ByteVector();
}

class JxlPlan {
public:
    JxlPlan(ByteSource& source, const BlockChange& change) : source_(source), change_(change) {}

    RewriteResult make() {
        IsoBoxes boxes(source_);
        boxes.setLimit(100'000);
        while (const auto box = boxes.next()) place(*box);
        if (!hasImage_) return std::nullopt;
        RewritePlan plan = std::move(head_);
        if (const auto exif = change_.exif(exif_)) {
            ByteWriter content;
            content.write(std::uint32_t{0}).bytes(*exif);  // The offset of the TIFF header, from behind itself.
            plan.add(boxBytes("Exif", content.view()));
        }
        if (const auto xmp = change_.xmp(xmp_)) plan.add(boxBytes("xml ", *xmp));
        plan.append(std::move(furtherXmp_), 0);
        plan.append(std::move(rest_), 0);
        return plan;
    }

private:
    void place(const IsoBox& box) {
        const std::string_view type = box.type();
        if (type == "Exif"sv) return noteExif(contentOf(source_, box));
        if (type == "xml "sv) return noteXmp(contentOf(source_, box));
        if (type == "brob"sv) return noteCompressed(box);
        if (type == "JXL "sv || type == "ftyp"sv || type == "jxll"sv) return copyBox(head_, box);
        static constexpr std::array shown{"jxlc"sv, "jxlp"sv, "jxli"sv, "jhgm"sv};
        const bool isShown = std::ranges::find(shown, type) != shown.end();
        hasImage_ |= type == "jxlc"sv || type == "jxlp"sv;
        // How to get the original JPEG back, byte for byte: with its metadata, or not at all.
        const bool isRecipe = type == "jbrd"sv;
        if (isShown || !(change_.removesEverything() || (isRecipe && change_.removesPlace()))) copyBox(rest_, box);
    }

    void noteCompressed(const IsoBox& box) {
        const ByteVector content = contentOf(source_, box);
        if (content.size() < 5) return;
        const std::string_view type = asText(content).substr(0, 4);
        if (type == "Exif"sv) return noteExif(brotliDecoded(Bytes(content).subspan(4)));
        if (type == "xml "sv) return noteXmp(brotliDecoded(Bytes(content).subspan(4)));
        if (!change_.removesEverything()) copyBox(rest_, box);
    }

    void noteExif(const ByteVector& content) {
        if (!exif_.empty() || content.size() < 4) return;
        const auto offset = loadInteger<std::uint32_t>(content.data(), ByteOrder::big);
        const Bytes block = Bytes(content).subspan(4);
        exif_ = copyOf(offset < block.size() ? block.subspan(offset) : block);
    }

    void noteXmp(ByteVector content) {
        if (xmp_.empty())
            xmp_ = std::move(content);
        else if (const auto further = change_.furtherXmp(content))
            furtherXmp_.add(boxBytes("xml ", *further));
    }

    ByteSource& source_;
    const BlockChange& change_;
    RewritePlan head_, furtherXmp_, rest_;
    ByteVector exif_, xmp_;
    bool hasImage_ = false;
};

class Jp2Plan {
public:
    Jp2Plan(ByteSource& source, const BlockChange& change) : source_(source), change_(change) {}

    RewriteResult make() {
        IsoBoxes boxes(source_);
        while (const auto box = boxes.next()) place(*box);
        if (!hasImage_) return std::nullopt;
        RewritePlan plan = std::move(head_);
        if (const auto exif = change_.exif(exif_)) addUser(plan, kExifBox, *exif);
        if (const auto xmp = change_.xmp(xmp_)) addUser(plan, kXmpUserType, *xmp);
        plan.append(std::move(furtherXmp_), 0);
        if (const ByteVector iptc = change_.iptc(iptc_); !iptc.empty()) addUser(plan, kIptcBox, iptc);
        plan.append(std::move(rest_), 0);
        return plan;
    }

private:
    void place(const IsoBox& box) {
        const std::string_view type = box.type();
        if (isUserBox(box, kExifBox)) {
            exif_ = contentOf(source_, box);
            if (asText(exif_).starts_with("Exif\0\0"sv)) exif_.erase(exif_.begin(), exif_.begin() + 6);
            return;
        }
        if (isUserBox(box, kXmpUserType)) return noteXmp(contentOf(source_, box));
        if (isUserBox(box, kIptcBox)) return void(iptc_ = contentOf(source_, box));
        static constexpr std::array head{"jP  "sv, "ftyp"sv, "rreq"sv, "jp2h"sv};
        if (std::ranges::find(head, type) != head.end()) return copyBox(head_, box);
        static constexpr std::array shown{"jp2c"sv, "jpch"sv, "jplh"sv, "cgrp"sv,
                                          "ftbl"sv, "comp"sv, "copt"sv, "inst"sv};
        hasImage_ |= type == "jp2c"sv;
        const bool isShown = std::ranges::find(shown, type) != shown.end();
        // Labels, URLs and XML stand for whatever a program likes; with a "uuid" that is GeoTIFF, for a place.
        const bool isForeign = type == "uuid"sv || type == "asoc"sv || type == "xml "sv;
        if (isShown || !(change_.removesEverything() || (isForeign && change_.removesPlace()))) copyBox(rest_, box);
    }

    void noteXmp(ByteVector content) {
        if (xmp_.empty())
            xmp_ = std::move(content);
        else if (const auto further = change_.furtherXmp(content))
            addUser(furtherXmp_, kXmpUserType, *further);
    }

    static void addUser(RewritePlan& plan, std::string_view userType, const ByteVector& content) {
        ByteWriter writer;
        writer.text(userType).bytes(content);
        plan.add(boxBytes("uuid", writer.view()));
    }

    ByteSource& source_;
    const BlockChange& change_;
    RewritePlan head_, furtherXmp_, rest_;
    ByteVector exif_, xmp_, iptc_;
    bool hasImage_ = false;
};

}  // namespace

RewriteResult rewriteJxl(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    const auto head = source.bytes(0, 2);
    if (head && asText(*head) == "\xFF\x0A"sv) {
        // A bare codestream has no place for metadata; with some it has to become a file.
        const auto exif = change.exif({});
        const auto xmp = change.xmp({});
        RewritePlan plan;
        if (exif || xmp) {
            plan.add(
                asBytes("\0\0\0\x0CJXL \r\n\x87\n\0\0\0\x14"
                        "ftypjxl \0\0\0\0jxl "sv));
            if (exif) {
                ByteWriter content;
                content.write(std::uint32_t{0}).bytes(*exif);
                plan.add(boxBytes("Exif", content.view()));
            }
            if (xmp) plan.add(boxBytes("xml ", *xmp));
            plan.add(boxHead("jxlc", source.size()));
        }
        plan.copy(0, source.size());
        fault = RewriteFault::none;
        return plan;
    }
    auto plan = JxlPlan(source, change).make();
    fault = plan ? RewriteFault::none : RewriteFault::damaged;
    return plan;
}

RewriteResult rewriteJp2(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    auto plan = Jp2Plan(source, change).make();
    fault = plan ? RewriteFault::none : RewriteFault::damaged;
    return plan;
}

}  // namespace tessaly::imageio
