#pragma once
#include <benchmark/benchmark.h>

namespace tessaly::bench {

/// Reading the metadata of each type of file, against the floor and against libexiv2 where it was built in.
/// The files are those below TESSALY_BENCH_FILES, or the sample photo.
void registerReading();
/// From the properties to the record, and from the record to every item's text.
void registerFormatting();
/// Thumbnails by isolated decoders, against the same libraries in the process itself.
void registerDecoding();
/// Opening a library of 100,000 photos, against SQLite by itself, and looking for some of them.
void registerLibrary();

}  // namespace tessaly::bench
