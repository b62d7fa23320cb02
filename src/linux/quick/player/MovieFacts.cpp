extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <cmath>

#include "linux/quick/player/MovieFile.h"

namespace tessaly::quick {
namespace {

constexpr int kBuffer = 32 << 10;

int read(void* user, std::uint8_t* target, int size) {
    const qint64 count = static_cast<QFile*>(user)->read(reinterpret_cast<char*>(target), size);
    return count > 0 ? static_cast<int>(count) : AVERROR_EOF;
}

std::int64_t seek(void* user, std::int64_t offset, int whence) {
    auto& file = *static_cast<QFile*>(user);
    if (whence == AVSEEK_SIZE) return file.size();
    if (whence == SEEK_CUR) offset += file.pos();
    if (whence == SEEK_END) offset += file.size();
    return file.seek(offset) ? offset : -1;
}

int refuse(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EPERM); }

int rotationOf(const AVStream& stream) {
    const auto* const matrix =
        reinterpret_cast<const std::int32_t*>(av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
    const double degrees = matrix ? av_display_rotation_get(matrix) : 0;
    // It is told counterclockwise.
    return std::isnan(degrees) ? 0 : (360 - static_cast<int>(std::lround(degrees / 90)) * 90) % 360;
}

MovieFacts factsOf(const AVFormatContext& format) {
    MovieFacts facts;
    if (format.duration > 0) facts.duration = format.duration / (AV_TIME_BASE / 1000);
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        if (format.streams[i]->codecpar->codec_type != AVMEDIA_TYPE_VIDEO) continue;
        facts.rotation = rotationOf(*format.streams[i]);
        break;
    }
    return facts;
}

}  // namespace

MovieFacts movieFacts(QFile& file) {
    MovieFacts facts;
    const qint64 before = file.pos();
    AVFormatContext* format = avformat_alloc_context();
    auto* const buffer = static_cast<unsigned char*>(av_malloc(kBuffer));
    AVIOContext* io = buffer ? avio_alloc_context(buffer, kBuffer, 0, &file, read, nullptr, seek) : nullptr;
    if (format && io) {
        format->pb = io;
        format->flags |= AVFMT_FLAG_CUSTOM_IO;
        format->io_open = refuse;  // Other files are none of this one's business.
        // It takes the context away when it fails.
        if (avformat_open_input(&format, nullptr, nullptr, nullptr) == 0) facts = factsOf(*format);
    }
    avformat_close_input(&format);
    if (io) av_freep(&io->buffer);
    avio_context_free(&io);
    file.seek(before);
    return facts;
}

}  // namespace tessaly::quick
