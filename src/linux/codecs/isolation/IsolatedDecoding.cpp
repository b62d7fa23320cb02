#include "linux/codecs/isolation/IsolatedDecoding.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <csignal>

#include "linux/codecs/Pixels.h"
#include "linux/codecs/isolation/Answers.h"
#include "linux/codecs/isolation/DecoderProcess.h"
#include "platform/Foundation/Log.h"

namespace tessaly::codecs {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds kShortestLimit{20};
constexpr seconds kLongestLimit{120};
constexpr std::uint64_t kBytesASecond = std::uint64_t{2} << 20;
/// From an answer to the end of who gave it.
constexpr seconds kEndLimit{5};
constexpr int kMostLost = 5;
constexpr int kMostKilled = 2;

enum class Outcome : std::uint8_t {
    answered,
    failed,
    killed,  ///< The copy that decoded it, from outside: by a person, or by the kernel for want of memory.
    lost,    ///< With the whole process.
};

/// Memory that a program can share: only what is closed is no file any more.
Descriptor memoryFile(const char* name) { return Descriptor(::memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING)); }

/// The source as a file that nobody can change: its own where it is one, else a copy of the memory.
Descriptor sealedCopy(imageio::ByteSource& source) {
    Descriptor copy = memoryFile("tessaly-input");
    std::array<std::byte, 64 * 1024> piece;
    for (std::uint64_t offset = 0; copy && offset < source.size();) {
        const std::size_t count = source.copyTo(offset, piece);
        if (count == 0 ||
            ::pwrite(copy.get(), piece.data(), count, static_cast<off_t>(offset)) != static_cast<ssize_t>(count))
            return {};
        offset += count;
    }
    constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
    if (copy && ::fcntl(copy.get(), F_ADD_SEALS, kSeals) != 0) return {};
    return copy;
}

/// One picture, asked for once.
class Attempt {
public:
    Attempt(const Order& order, milliseconds time, int input, int file)
        : order_(order), time_(time), input_(input), file_(file) {}

    [[nodiscard]] Outcome run(const DecoderProcess& process, DecodedPixels& picture, CGImageFault& fault) {
        Channel channel = Channel::open();
        memory_ = memoryFile("tessaly-pixels");
        if (!channel.one || !memory_) return fail(fault, CGImageFault::outOfMemory);
        const std::array sent{channel.other.get(), input_, memory_.get(), file_};
        if (!process.order(order_, std::span(sent).first(file_ >= 0 ? 4 : 3))) return Outcome::lost;
        channel.other.close();
        if (!waitFor(channel.one.get(), time_)) {
            // Closing our end is what ends the decoder.
            log("tessaly-decoder: a picture took too long");
            return fail(fault, CGImageFault::damaged);
        }
        Answer answer;
        if (receive(channel.one.get(), answer) != Received::message) return Outcome::lost;
        if (answer.kind == Answer::Kind::ended) return ended(answer, fault);
        return take(answer, channel.one.get(), picture, fault);
    }

private:
    static Outcome fail(CGImageFault& fault, CGImageFault why) {
        fault = why;
        return Outcome::failed;
    }

    /// A picture's own faults end with other signals than these.
    static Outcome ended(const Answer& answer, CGImageFault& fault) {
        log("tessaly-decoder: a picture ended it, signal %ld", static_cast<long>(answer.signal));
        const bool isFromOutside = answer.signal == SIGKILL || answer.signal == SIGTERM || answer.signal == SIGINT;
        return isFromOutside ? Outcome::killed : fail(fault, CGImageFault::damaged);
    }

    Outcome take(const Answer& answer, int channel, DecodedPixels& picture, CGImageFault& fault) {
        if (answer.kind != Answer::Kind::decoded || answer.fault > DecodeFault::outOfMemory)
            return fail(fault, CGImageFault::damaged);
        if (answer.fault != DecodeFault::none) return fail(fault, faultOf(answer.fault));
        if (!isSound(answer, order_) || (answer.isInFile && !hasEnded(channel))) {
            log("tessaly-decoder: an answer that cannot be");
            return fail(fault, CGImageFault::damaged);
        }
        const Descriptor file(answer.isInFile ? ::fcntl(file_, F_DUPFD_CLOEXEC, 0) : -1);
        picture.image = answer.isInFile ? takeFromFile(answer, file) : takeFromMemory(answer, memory_);
        if (!picture.image.pixels) return fail(fault, CGImageFault::damaged);
        picture.profile = takeProfile(answer, answer.isInFile ? file : memory_);
        fault = CGImageFault::none;
        return Outcome::answered;
    }

    /// A file cannot be sealed: it is trusted when the process that could write to it is gone.
    static bool hasEnded(int channel) {
        Answer end;
        return waitFor(channel, kEndLimit) && receive(channel, end) == Received::message &&
               end.kind == Answer::Kind::ended;
    }

    const Order& order_;
    milliseconds time_;
    int input_;
    int file_;
    Descriptor memory_;
};

Order orderOf(Codec codec, const imageio::ByteSource& source, const DecodeRequest& request, seconds limit, double time,
              int file) {
    return {.codec = codec,
            .keepsProfile = request.keepsProfile,
            .inputSize = source.size(),
            .index = request.index,
            .longerSide = request.longerSide,
            .pixelLimit = request.pixelLimit,
            .memoryLimit = request.memoryLimit,
            .fileLimit = file >= 0 ? request.fileLimit : 0,
            .time = time,
            .cpuSeconds = static_cast<std::uint32_t>(2 * limit.count())};
}

}  // namespace

seconds timeLimit(std::uint64_t bytes) noexcept {
    const auto needed = kShortestLimit + seconds(std::min<std::uint64_t>(bytes / kBytesASecond, 1000));
    return std::min<seconds>(needed, kLongestLimit);
}

DecodedPixels decodeIsolated(const CodecOfFamily& codec, imageio::ByteSource& source, const DecodeRequest& request,
                             CGImageFault& fault, double time, int file) {
    fault = CGImageFault::none;
    Descriptor copy;
    if (source.descriptor() < 0) copy = sealedCopy(source);
    const int input = copy ? copy.get() : source.descriptor();
    if (input < 0) {
        fault = CGImageFault::outOfMemory;
        return {};
    }
    const seconds limit = request.timeLimit != 0 ? seconds(request.timeLimit) : timeLimit(source.size());
    const Order order = orderOf(codec.codec, source, request, limit, time, file);
    DecodedPixels picture;
    int lost = 0;
    int killed = 0;
    while (lost < kMostLost && killed < kMostKilled) {
        const auto process = DecoderProcess::running(codec.family);
        if (!process) break;
        const Outcome outcome = Attempt(order, limit, input, file).run(*process, picture, fault);
        if (outcome == Outcome::answered || outcome == Outcome::failed) return picture;
        if (outcome == Outcome::lost) process->forget();
        ++(outcome == Outcome::lost ? lost : killed);
    }
    fault = killed == kMostKilled ? CGImageFault::outOfMemory : CGImageFault::noDecoder;
    return picture;
}

}  // namespace tessaly::codecs
