#include "linux/imageio/rewrite/RewritePlan.h"

#include <algorithm>
#include <utility>

#include "linux/imageio/rewrite/JpegScans.h"

namespace tessaly::imageio {

void RewritePlan::copy(std::uint64_t offset, std::uint64_t length) {
    if (length == 0) return;
    size_ += length;
    if (!pieces_.empty() && pieces_.back().isCopied() && pieces_.back().offset + pieces_.back().length == offset)
        pieces_.back().length += length;
    else
        pieces_.push_back({offset, length, {}, false});
}

void RewritePlan::add(ByteVector bytes) {
    if (bytes.empty()) return;
    size_ += bytes.size();
    const std::uint64_t length = bytes.size();
    pieces_.push_back({0, length, std::move(bytes), false});
}

void RewritePlan::copyPatched(std::uint64_t offset, std::uint64_t length, std::span<const Patch> patches) {
    const std::uint64_t end = offset + length;
    for (const Patch& patch : patches) {
        if (patch.offset < offset || patch.offset >= end) continue;
        copy(offset, patch.offset - offset);
        const auto shown = std::min<std::uint64_t>(patch.bytes.size(), end - patch.offset);
        add(Bytes(patch.bytes).first(static_cast<std::size_t>(shown)));
        offset = patch.offset + shown;
    }
    copy(offset, end - offset);
}

void RewritePlan::append(RewritePlan other, std::uint64_t base) {
    for (Piece& piece : other.pieces_) {
        if (piece.isScans)
            copyScans(base + piece.offset);
        else if (piece.isCopied())
            copy(base + piece.offset, piece.length);
        else
            add(std::move(piece.own));
    }
}

void RewritePlan::copyScans(std::uint64_t offset) { pieces_.push_back({offset, 0, {}, true}); }

RewritePlan RewritePlan::resolved(ByteSource& source) const {
    RewritePlan plan;
    for (const Piece& piece : pieces_) {
        if (piece.isScans)
            for (const JpegScans::Part& part : findJpegScans(source, piece.offset, true).parts)
                plan.copy(part.offset, part.length);
        else if (piece.isCopied())
            plan.copy(piece.offset, piece.length);
        else
            plan.add(Bytes(piece.own));
    }
    return plan;
}

ByteVector RewritePlan::bytes(ByteSource& source) const {
    ByteVector whole;
    const RewritePlan known = resolved(source);
    for (const Piece& piece : known.pieces_) {
        if (piece.isCopied()) {
            const std::size_t at = whole.size();
            const auto length = static_cast<std::size_t>(std::min(piece.length, source.size()));
            whole.resize(at + length);
            whole.resize(at + source.copyTo(piece.offset, std::span(whole).subspan(at)));
        } else {
            whole.insert(whole.end(), piece.own.begin(), piece.own.end());
        }
    }
    return whole;
}

bool RewritePlan::reproduces(ByteSource& source) const {
    const RewritePlan known = resolved(source);
    if (known.size_ != source.size()) return false;
    std::uint64_t at = 0;
    for (const Piece& piece : known.pieces_) {
        if (piece.isCopied()) {
            if (piece.offset != at) return false;
        } else {
            ByteVector there(piece.own.size());
            if (source.copyTo(at, there) != there.size() || there != piece.own) return false;
        }
        at += piece.length;
    }
    return true;
}

}  // namespace tessaly::imageio
