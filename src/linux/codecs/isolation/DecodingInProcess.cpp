#include "linux/codecs/isolation/DecodingInProcess.h"

#include <map>
#include <mutex>
#include <string>

#include "linux/codecs/Pixels.h"
#include "linux/codecs/isolation/FamilyDecoder.h"

namespace tessaly::codecs {
namespace {

class SourceInput final : public PixelInput {
public:
    explicit SourceInput(imageio::ByteSource& source) : source_(source) {}
    [[nodiscard]] std::uint64_t size() const override { return source_.size(); }
    std::size_t read(std::uint64_t offset, std::span<std::byte> target) override {
        return source_.copyTo(offset, target);
    }

private:
    imageio::ByteSource& source_;
};

const FamilyDecoder& decoderOf(std::string_view family) {
    static std::mutex mutex;
    static std::map<std::string, FamilyDecoder, std::less<>> decoders;
    const std::lock_guard lock(mutex);
    return decoders.try_emplace(std::string(family), family).first->second;
}

}  // namespace

CGImage decodeInProcess(const CodecOfFamily& codec, imageio::ByteSource& source, const DecodeRequest& request,
                        CGImageFault& fault, double time) {
    SourceInput input(source);
    DecodedPixels decoded;
    fault = faultOf(decoderOf(codec.family).decode(codec.codec, input, request, time, decoded));
    return fault == CGImageFault::none ? std::move(decoded.image) : CGImage();
}

}  // namespace tessaly::codecs
