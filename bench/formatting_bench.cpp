#include <cstdlib>
#include <memory>

#include "acquisition/ExifManager.h"
#include "reading_bench.h"
#include "settings/AppSettings.h"

namespace tessaly::bench {
namespace {

const char* samplePath() { return TESSALY_SAMPLES "/mountain-lake.jpg"; }

void makeRecord(benchmark::State& state) {
    const auto properties = CGImageSourceCopyPropertiesAtIndex(CGImageSourceCreateWithURL(samplePath()), 0, {});
    for (auto _ : state) benchmark::DoNotOptimize(ExifManager::exifInformationWithMetadataDict(properties));
}

/// Every row of the default photo list, as the detail screen asks for them.
void formatItems(benchmark::State& state) {
    const auto record = ExifManager::exifinformationFromNSURL(NSURL::fileURLWithPath(samplePath()));
    const ExifKeys keys = AppSettings::exifKeysDefaultOrderedArray();
    for (auto _ : state)
        for (const ExifKey& key : keys) benchmark::DoNotOptimize(record->performCustomSelector(key.key));
}

void shareText(benchmark::State& state) {
    const auto record = ExifManager::exifinformationFromNSURL(NSURL::fileURLWithPath(samplePath()));
    for (auto _ : state) benchmark::DoNotOptimize(record->shortExifStringsForShare());
}

}  // namespace

void registerFormatting() {
    benchmark::RegisterBenchmark("format/record from properties", makeRecord);
    benchmark::RegisterBenchmark("format/62 items", formatItems);
    benchmark::RegisterBenchmark("format/share text", shareText);
}

}  // namespace tessaly::bench
