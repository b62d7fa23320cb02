#include "platform/ImageIO/CGImageDestination.h"

#include <algorithm>
#include <array>
#include <set>

#include "linux/imageio/SourceBytes.h"
#include "linux/rewriting/FileRewriter.h"
#include "platform/ImageIO/CGImageProperties.h"

namespace tessaly {

using namespace imageio;

class CGImageDestination {
public:
    CGImageDestination(MutableData target, std::string_view type, std::size_t count)
        : target_(std::move(target)), type_(type), count_(count) {}

    void add(const CGImageSourceRef& source, std::size_t index, const Dictionary& properties) {
        if (!source || indices_.size() >= count_) return;
        isMixed_ |= source_ && source_ != source;
        if (!source_) {
            source_ = source;
            properties_ = properties;
        }
        indices_.insert(index);
    }

    bool finalize() {
        if (!source_ || isMixed_ || CGImageSourceGetType(source_) != type_) return false;
        MetadataChange change = changeOf(CGImageSourceCopyPropertiesAtIndex(source_, 0, {}).value_or(Dictionary()));
        change.firstImageOnly = indices_ == std::set<std::size_t>{0} && CGImageSourceGetCount(source_) > 1;
        RewriteFailure failure;
        const auto plan = rewritePlan(bytesOf(source_), change, failure);
        if (!plan) return false;
        *target_ = plan->bytes(bytesOf(source_));
        return true;
    }

private:
    /// What differs between the properties that are wanted and those that the source has.
    [[nodiscard]] MetadataChange changeOf(const Dictionary& present) const {
        MetadataChange change;
        struct Section {
            std::string_view name;
            bool MetadataChange::Dictionaries::*flag;
        };
        static constexpr std::array sections{
            Section{kCGImagePropertyExifDictionary, &MetadataChange::Dictionaries::exif},
            Section{kCGImagePropertyTIFFDictionary, &MetadataChange::Dictionaries::tiff},
            Section{kCGImagePropertyGPSDictionary, &MetadataChange::Dictionaries::gps},
            Section{kCGImagePropertyIPTCDictionary, &MetadataChange::Dictionaries::iptc},
        };
        for (const auto& [name, flag] : sections) {
            if (!properties_.contains(name)) continue;
            if (properties_[name].isNull())
                change.removes.*flag = true;
            else
                addValues(name, present[name].dictionary(), change.values);
        }
        addValues(kCGImagePropertyExifAuxDictionary, present[kCGImagePropertyExifAuxDictionary].dictionary(),
                  change.values);
        if (change.removes.any()) change.removal = MetadataChange::Removal::dictionaries;
        const Value& orientation = properties_[kCGImagePropertyOrientation];
        if (orientation.isNumber() && !(orientation == present[kCGImagePropertyOrientation])) {
            Dictionary tiff = change.values[kCGImagePropertyTIFFDictionary].dictionary();
            tiff.set("Orientation", orientation);
            change.values.set(kCGImagePropertyTIFFDictionary, tiff);
        }
        return change;
    }

    void addValues(std::string_view name, const Dictionary& present, Dictionary& values) const {
        Dictionary wanted;
        for (const Dictionary::Entry& entry : properties_[name].dictionary()) {
            if (entry.value.isNull())
                wanted.set(entry.key(), "");
            else if (!(entry.value == present[entry.key()]))
                wanted.set(entry.key(), entry.value);
        }
        if (!wanted.empty()) values.set(name, wanted);
    }

    MutableData target_;
    std::string type_;
    std::size_t count_;
    CGImageSourceRef source_;
    Dictionary properties_;
    std::set<std::size_t> indices_;
    bool isMixed_ = false;
};

CGImageDestinationRef CGImageDestinationCreateWithData(const MutableData& target, std::string_view typeIdentifier,
                                                       std::size_t count) {
    const bool isRaw = typeIdentifier.find("raw-image") != std::string_view::npos;
    if (!target || count == 0 || isRaw || !canRewrite(typeIdentifier)) return nullptr;
    return std::make_shared<CGImageDestination>(target, typeIdentifier, count);
}

void CGImageDestinationAddImageFromSource(const CGImageDestinationRef& destination, const CGImageSourceRef& source,
                                          std::size_t index, const Dictionary& properties) {
    if (destination) destination->add(source, index, properties);
}

bool CGImageDestinationFinalize(const CGImageDestinationRef& destination) {
    return destination && destination->finalize();
}

}  // namespace tessaly
