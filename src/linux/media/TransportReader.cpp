#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <vector>

#include "linux/media/CameraMessages.h"
#include "linux/media/Movie.h"
#include "linux/media/SequenceHeader.h"

// ISO/IEC 13818-1; with four bytes of arrival time before each packet, as camcorders and discs write it.
namespace tessaly::media {
namespace {

using imageio::ByteOrder;
using imageio::Bytes;
using imageio::ByteSource;
using imageio::loadInteger;

constexpr std::size_t kPacket = 188;
constexpr std::uint8_t kSync = 0x47;
/// So much is looked through for the tables and the first picture, and at the end for the last time stamp.
constexpr std::uint64_t kHead = 4 * 1024 * 1024;
constexpr std::array<std::uint64_t, 2> kTails{256 * 1024, 4 * 1024 * 1024};
constexpr std::size_t kBlock = 192 * 188 * 2;
constexpr std::size_t kFirstPicture = 1024 * 1024;
constexpr double kClock = 90'000;
constexpr std::uint64_t kClockRound = std::uint64_t{1} << 33;

/// Stream types (table 2-34).
enum class Coding : std::uint8_t { none = 0, mpeg1 = 0x01, mpeg2 = 0x02, h264 = 0x1B };

struct Packet {
    std::uint16_t identifier = 0;
    bool isStart = false;  ///< Of a table or of a packet of the stream.
    Bytes payload;
};

/// 2.4.3.2 and 2.4.3.4.
std::optional<Packet> packetOf(Bytes bytes) {
    const auto at = [&](std::size_t i) { return std::to_integer<unsigned>(bytes[i]); };
    if (at(0) != kSync) return std::nullopt;
    Packet packet{static_cast<std::uint16_t>((at(1) & 0x1FU) << 8U | at(2)), (at(1) & 0x40U) != 0, {}};
    std::size_t head = 4;
    if ((at(3) & 0x20U) != 0) head += 1 + at(4);
    if ((at(3) & 0x10U) != 0 && head < bytes.size()) packet.payload = bytes.subspan(head);
    return packet;
}

/// 2.4.3.7: the presentation time, and where the payload of the stream starts.
struct StreamHead {
    std::optional<std::uint64_t> time;
    std::size_t length = 0;
};
std::optional<StreamHead> streamHeadOf(Bytes bytes) {
    const auto at = [&](std::size_t i) { return std::to_integer<std::uint64_t>(bytes[i]); };
    if (bytes.size() < 9 || at(0) != 0 || at(1) != 0 || at(2) != 1) return std::nullopt;
    StreamHead head{std::nullopt, 9 + static_cast<std::size_t>(at(8))};
    if ((at(7) & 0x80U) != 0 && bytes.size() >= 14)
        head.time = (at(9) >> 1U & 7U) << 30U | at(10) << 22U | at(11) >> 1U << 15U | at(12) << 7U | at(13) >> 1U;
    return head;
}

class TransportWalk {
public:
    TransportWalk(ByteSource& source, AVAsset& asset) : source_(source), asset_(asset) {}

    void read() {
        stride_ = transportStride(source_);
        if (stride_ == 0) return;
        walk(0, kHead, [this](const Packet& packet) { return take(packet); });
        describe();
        if (!first_) return;
        std::uint64_t last = *first_;
        for (const std::uint64_t tail : kTails) {
            const std::uint64_t start = source_.size() > tail ? source_.size() - tail : 0;
            walk(start - start % stride_, tail + stride_, [&](const Packet& packet) {
                if (const auto time = timeOf(packet)) last = std::max(last, sinceFirst(*time) + *first_);
                return true;
            });
            if (last != *first_ || start == 0) break;
        }
        const float rate = asset_.tracks.empty() ? 0 : asset_.tracks.front().nominalFrameRate;
        asset_.durationInSeconds = static_cast<double>(last - *first_) / kClock + (rate > 0 ? 1 / double(rate) : 0);
    }

private:
    /// Every packet from `start` on, until `each` wants no more.
    template <class Each>
    void walk(std::uint64_t start, std::uint64_t length, Each each) {
        std::vector<std::byte> block(kBlock);
        const std::size_t before = stride_ - kPacket;
        for (std::uint64_t at = start; at < start + length && at < source_.size();) {
            const std::size_t count = source_.copyTo(at, block) / stride_ * stride_;
            if (count == 0) return;
            for (std::size_t i = 0; i < count; i += stride_) {
                const auto packet = packetOf(Bytes(block).subspan(i + before, kPacket));
                if (packet && !each(*packet)) return;
            }
            at += count;
        }
    }

    /// 33 bits run over after a day; the first of a picture's times is not always the least.
    [[nodiscard]] std::uint64_t sinceFirst(std::uint64_t time) const {
        const std::uint64_t since = (time + kClockRound - *first_) % kClockRound;
        return since > kClockRound / 2 ? 0 : since;
    }

    [[nodiscard]] std::optional<std::uint64_t> timeOf(const Packet& packet) const {
        if (packet.identifier != video_ || !packet.isStart) return std::nullopt;
        const auto head = streamHeadOf(packet.payload);
        return head ? head->time : std::nullopt;
    }

    /// @return whether more packets are needed.
    bool take(const Packet& packet) {
        if (packet.isStart && packet.identifier == 0) readPrograms(packet.payload);
        if (packet.isStart && packet.identifier == map_ && map_ != 0) readStreams(packet.payload);
        if (video_ == 0 || packet.identifier != video_) return true;
        if (packet.isStart) {
            const auto head = streamHeadOf(packet.payload);
            if (!head) return true;
            if (!picture_.empty() && hasEnough()) return false;
            if (head->time) first_ = first_ ? std::min(*first_, *head->time) : *head->time;
            isReading_ = true;
            const std::size_t length = std::min(head->length, packet.payload.size());
            append(packet.payload.subspan(length));
        } else if (isReading_) {
            append(packet.payload);
        }
        return picture_.size() < kFirstPicture;
    }

    void append(Bytes bytes) { picture_.insert(picture_.end(), bytes.begin(), bytes.end()); }

    /// A recording may start within a group of pictures: its heads come with the next one.
    [[nodiscard]] bool hasEnough() const {
        if (coding_ != Coding::h264) return readMpegSequence(picture_).has_value();
        return readH264Sequence(picture_).has_value();
    }

    /// 2.4.4.3 and 2.4.4.8, behind a pointer.
    static Bytes tableOf(Bytes payload, unsigned identifier) {
        if (payload.empty()) return {};
        const auto pointer = 1 + std::to_integer<std::size_t>(payload[0]);
        if (pointer + 3 > payload.size()) return {};
        const Bytes table = payload.subspan(pointer);
        if (std::to_integer<unsigned>(table[0]) != identifier) return {};
        const std::size_t length = loadInteger<std::uint16_t>(table.data() + 1, ByteOrder::big) & 0xFFFU;
        // Without the checksum at its end.
        return length < 4 ? Bytes() : table.first(std::min(table.size(), 3 + length - 4));
    }

    void readPrograms(Bytes payload) {
        const Bytes table = tableOf(payload, 0);
        for (std::size_t at = 8; at + 4 <= table.size(); at += 4) {
            const auto program = loadInteger<std::uint16_t>(table.data() + at, ByteOrder::big);
            const auto identifier = loadInteger<std::uint16_t>(table.data() + at + 2, ByteOrder::big) & 0x1FFFU;
            if (program == 0 || map_ != 0) continue;
            map_ = static_cast<std::uint16_t>(identifier);
        }
    }

    void readStreams(Bytes payload) {
        const Bytes table = tableOf(payload, 2);
        if (video_ != 0 || table.size() < 12) return;
        std::size_t at = 12 + (loadInteger<std::uint16_t>(table.data() + 10, ByteOrder::big) & 0xFFFU);
        for (; at + 5 <= table.size();
             at += 5 + (loadInteger<std::uint16_t>(table.data() + at + 3, ByteOrder::big) & 0xFFFU)) {
            const auto coding = static_cast<Coding>(std::to_integer<std::uint8_t>(table[at]));
            if (coding != Coding::h264 && coding != Coding::mpeg2 && coding != Coding::mpeg1) continue;
            coding_ = coding;
            video_ =
                static_cast<std::uint16_t>(loadInteger<std::uint16_t>(table.data() + at + 1, ByteOrder::big) & 0x1FFFU);
            return;
        }
    }

    void describe() {
        if (video_ == 0) return;
        const auto sequence = coding_ == Coding::h264 ? readH264Sequence(picture_) : readMpegSequence(picture_);
        AVAssetTrack track;
        track.mediaType = AVMediaType::video;
        if (sequence) {
            track.naturalSize = {double(sequence->width), double(sequence->height)};
            track.nominalFrameRate = static_cast<float>(sequence->framesPerSecond);
        }
        asset_.tracks.push_back(track);
        if (coding_ == Coding::h264) readCameraMessages(picture_, asset_);
    }

    ByteSource& source_;
    AVAsset& asset_;
    std::size_t stride_ = 0;
    std::uint16_t map_ = 0;
    std::uint16_t video_ = 0;
    Coding coding_ = Coding::none;
    bool isReading_ = false;
    std::vector<std::byte> picture_;
    std::optional<std::uint64_t> first_;
};

}  // namespace

std::size_t transportStride(ByteSource& source) {
    constexpr std::size_t kPackets = 4;
    for (const std::size_t before : {std::size_t{0}, std::size_t{4}}) {
        const std::size_t stride = kPacket + before;
        const std::uint64_t packets = std::min<std::uint64_t>(kPackets, source.size() / stride);
        bool fits = packets > 1;
        for (std::uint64_t i = 0; i < packets && fits; ++i)
            fits = source.read<std::uint8_t>(i * stride + before) == kSync;
        if (fits) return stride;
    }
    return 0;
}

void readTransport(ByteSource& source, AVAsset& asset) { TransportWalk(source, asset).read(); }

}  // namespace tessaly::media
