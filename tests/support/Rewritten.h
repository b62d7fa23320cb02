#pragma once
#include <string>

#include "platform/ImageIO/MetadataRewrite.h"
#include "support/Bytes.h"

/// Files with their metadata changed.
namespace tessaly::test {

/// Empty where it is refused, which fails the test unless `failure` is asked for.
[[nodiscard]] std::string rewritten(const ByteString& file, const MetadataChange& change,
                                    RewriteFailure* failure = nullptr);
[[nodiscard]] std::string rewritten(const ByteString& file, MetadataChange::Removal removal,
                                    RewriteFailure* failure = nullptr);

/// A checksum for each change of a fixed row, over the bytes of the result and over what our reader finds in them: of
/// all removed, the place, the four dictionaries, values set, values emptied and all but the first image; and one over
/// what becomes of the file cut short at some two hundred places. One that differs from what a test expects says that
/// the result is another: compare the files themselves before the new one is written down.
[[nodiscard]] std::string checksumsOf(const ByteString& file);

}  // namespace tessaly::test
