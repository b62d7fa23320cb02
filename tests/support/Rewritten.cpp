#include "support/Rewritten.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <memory>

#include "support/Containers.h"

namespace tessaly::test {
namespace {

using Removal = MetadataChange::Removal;

Dictionary valuesToSet() {
    return {{"{TIFF}", Dictionary{{"Artist", "Zo\xC3\xAB"}, {"Orientation", 3}, {"Software", ""}}},
            {"{Exif}", Dictionary{{"DateTimeOriginal", "2021:02:03 04:05:06"},
                                  {"SubsecTimeOriginal", "07"},
                                  {"OffsetTimeOriginal", "+02:00"},
                                  {"ExposureTime", 0.004},
                                  {"FNumber", 3.14159265358979},
                                  {"ExposureBiasValue", -1.0 / 3},
                                  {"ISOSpeedRatings", Array{100, 200}},
                                  {"LensSpecification", Array{24, 70, 2.8, 4}},
                                  {"UserComment", "gr\xC3\xBC\xC3\x9F dich"}}},
            {"{GPS}", Dictionary{{"Latitude", 12.5},
                                 {"LatitudeRef", "S"},
                                 {"Longitude", -7.0000123},
                                 {"LongitudeRef", "W"},
                                 {"Altitude", 3.25}}},
            {"{IPTC}", Dictionary{{"Keywords", Array{"a & b", "c"}}, {"StarRating", 4}, {"City", ""}}}};
}

Dictionary valuesToEmpty() {
    return {{"{TIFF}", Dictionary{{"Artist", ""}, {"Make", ""}}},
            {"{Exif}", Dictionary{{"DateTimeOriginal", ""}, {"BodySerialNumber", ""}}},
            {"{GPS}", Dictionary{{"Latitude", ""}, {"Altitude", ""}}},
            {"{IPTC}", Dictionary{{"Keywords", ""}, {"Byline", ""}}}};
}

uLong added(uLong sum, std::string_view text) {
    return ::crc32(sum, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size()));
}

}  // namespace

std::string rewritten(const ByteString& file, const MetadataChange& change, RewriteFailure* failure) {
    const auto bytes = file.bytes();
    const Data made =
        rewriteMetadata(std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end()), change, failure);
    if (!made && !failure) ADD_FAILURE() << "refused";
    return made ? std::string(reinterpret_cast<const char*>(made->data()), made->size()) : std::string();
}

std::string rewritten(const ByteString& file, Removal removal, RewriteFailure* failure) {
    return rewritten(file, {.removal = removal, .removes = {}, .values = {}}, failure);
}

std::string checksumsOf(const ByteString& file) {
    std::string all;
    const auto note = [&](uLong sum) {
        char text[16];
        std::snprintf(text, sizeof text, "%s%08lx", all.empty() ? "" : " ", sum);
        all += text;
    };
    RewriteFailure refused;
    const MetadataChange changes[]{
        {.removal = Removal::everything, .removes = {}, .values = {}},
        {.removal = Removal::place, .removes = {}, .values = {}},
        {.removal = Removal::dictionaries, .removes = {true, true, true, true}, .values = {}},
        {.removal = Removal::nothing, .removes = {}, .values = valuesToSet()},
        {.removal = Removal::nothing, .removes = {}, .values = valuesToEmpty(), .firstImageOnly = true},
    };
    for (const MetadataChange& change : changes) {
        const std::string made = rewritten(file, change, &refused);
        note(added(added(0, made), Value(propertiesOf(made)).description()));
    }
    uLong cut = 0;
    constexpr std::size_t kCuts = 199;
    for (std::size_t i = 1; i < kCuts; ++i) {
        const ByteString part(file.text().substr(0, file.size() * i / kCuts));
        for (const Removal removal : {Removal::everything, Removal::place})
            cut = added(cut, rewritten(part, removal, &refused));
    }
    note(cut);
    return all;
}

}  // namespace tessaly::test
