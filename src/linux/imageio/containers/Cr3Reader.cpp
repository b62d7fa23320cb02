#include <string_view>

#include "linux/imageio/IsoBox.h"
#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/blocks/ExifBlock.h"
#include "linux/imageio/containers/Containers.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kMaximumXmp = 16 * 1024 * 1024;
constexpr std::uint16_t kImageWidth = 0x0100;
constexpr std::uint16_t kImageLength = 0x0101;

/// The four TIFF structures that a CR3 keeps apart: first directory, Exif, maker note, GPS.
class CanonBoxes {
public:
    CanonBoxes(ByteSource& source, ImageProperties& properties) : source_(source), properties_(properties) {}

    void read(const IsoBox& parent) {
        IsoBox note;
        IsoBoxes boxes(source_, parent);
        while (const auto box = boxes.next()) {
            if (box->type() == "CMT1"sv) readFirst(*box);
            if (box->type() == "CMT2"sv) readOne(*box, &ExifWalk::readExifDirectory);
            if (box->type() == "CMT3"sv) note = *box;
            if (box->type() == "CMT4"sv) readOne(*box, &ExifWalk::readGpsDirectory);
        }
        if (note.length > 0) readNote(note);
        adoptTiffBasics(properties_);
    }

private:
    void readFirst(const IsoBox& box) {
        ByteSource block = source_.part(box.position, box.length);
        auto header = readTiffHeader(block);
        if (!header) return;
        const TiffDirectory directory = readTiffDirectory(header->context, header->firstDirectory);
        ExifWalk(header->context, properties_).readFirst(directory);
        const auto width = directory.find(kImageWidth);
        const auto height = directory.find(kImageLength);
        if (width && height)
            properties_.setPixelSize(width->integer(header->context).value_or(0),
                                     height->integer(header->context).value_or(0));
    }

    void readOne(const IsoBox& box, void (ExifWalk::*directory)(std::uint64_t)) {
        ByteSource block = source_.part(box.position, box.length);
        auto header = readTiffHeader(block);
        if (!header) return;
        ExifWalk walk(header->context, properties_);
        (walk.*directory)(header->firstDirectory);
    }

    void readNote(const IsoBox& box) {
        ByteSource block = source_.part(box.position, box.length);
        auto header = readTiffHeader(block);
        if (!header) return;
        const auto first = header->firstDirectory;
        readMakerNote(header->context, {first, block.size() > first ? block.size() - first : 0},
                      properties_.tiff[kCGImagePropertyTIFFMake].string(),
                      properties_.tiff[kCGImagePropertyTIFFModel].string(), properties_);
    }

    ByteSource& source_;
    ImageProperties& properties_;
};

}  // namespace

void readCr3(ByteSource& source, ImageProperties& properties) {
    IsoBoxes boxes(source);
    while (const auto box = boxes.next()) {
        if (box->type() == "moov"sv) {
            IsoBoxes inner(source, *box);
            while (const auto part = inner.next())
                if (isUserBox(*part, kCanonBox)) CanonBoxes(source, properties).read(*part);
        }
        if (isUserBox(*box, kXmpUserType) && box->length <= kMaximumXmp)
            if (const auto packet = source.bytes(box->position, box->length)) readXmp(*packet, properties);
    }
}

}  // namespace tessaly::imageio
