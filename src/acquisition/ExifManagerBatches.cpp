#include <algorithm>
#include <chrono>

#include "acquisition/BatchProgress.h"
#include "acquisition/ExifManager.h"
#include "acquisition/RecordValues.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSPredicate.h"

namespace tessaly {
namespace {

constexpr std::size_t kMostAssets = 1000;
constexpr std::size_t kChunk = 300;

using Records = std::vector<ExifInformationRef>;

std::string textOf(NSRange range) { return formatted("{%lu, %lu}", range.location, range.length); }

class StopWatch {
public:
    [[nodiscard]] double seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

void keepMatching(const std::string& format, Records& records) {
    std::string error;
    const auto predicate = NSPredicate::predicateWithFormat(format, std::span<const Value>(), &error);
    if (!predicate) log("%@: %@", format, error);
    std::erase_if(records, [&](const ExifInformationRef& record) {
        return !predicate ||
               !predicate->evaluateWithObject([&](std::string_view key) { return valueOfRecord(*record, key); });
    });
}

/// The other way round than the flag's name says; that is what the lists are made for. Records without a date are
/// taken to be the oldest.
void sortByDate(bool ascending, Records& records) {
    std::ranges::stable_sort(records, [&](const ExifInformationRef& first, const ExifInformationRef& second) {
        return ascending ? second->dateCreated < first->dateCreated : first->dateCreated < second->dateCreated;
    });
}

}  // namespace

void ExifManager::exifDataArrayInPHFetchResults(const PHFetchResult<PHAsset>& fetched, NSRange inRange,
                                                const BatchProgressHandler& withProgressHandler,
                                                const RecordsBlock& completionBlock) {
    const StopWatch watch;
    Records results(inRange.length);
    for (ExifInformationRef& slot : results) slot = std::make_shared<ExifInformation>();
    const auto progress = std::make_shared<BatchProgress>(inRange.length, withProgressHandler);
    log("ENUMERATE_1  = %f Range = %ld %ld", watch.seconds(), inRange.location, inRange.length);
    fetched.enumerateObjectsInRange(inRange, [&](const PHAssetRef& asset, std::size_t index) {
        if (!asset) log("NIL ASSET");
        const std::size_t slot = index - inRange.location;
        PHProgressHandler handler;
        if (withProgressHandler)
            handler = [progress, slot](double reached, const std::string&, bool&, const Dictionary&) {
                progress->set(slot, reached);
            };
        results[slot] = exifInformationFromPHAssett(asset, handler);
    });
    log("ENUMERATE_2_FINISHED %ld ITEMS, EXECUTION TIME  = %f", results.size(), watch.seconds());
    completionBlock(results);
}

void ExifManager::allExifDataArrayInPHFetchResult(const PHFetchResult<PHAsset>& fetched, const std::string& predicates,
                                                  const std::string&, bool ascending,
                                                  const RecordsBlock& completionBlock) {
    const NSRange range{0, std::min(fetched.count(), kMostAssets)};
    _exifDataArrayInPHFetchResults(fetched, std::make_shared<Records>(), range, [=](Records records) {
        if (!predicates.empty()) keepMatching(predicates, records);
        sortByDate(ascending, records);
        completionBlock(records);
    });
}

void ExifManager::_exifDataArrayInPHFetchResults(const PHFetchResult<PHAsset>& fetched,
                                                 const SharedRecords& withExifDataArray, NSRange inRange,
                                                 const RecordsBlock& completionBlock) {
    log("Method _exifDataArrayInPHFetchResults RANGE = %@", textOf(inRange));
    const std::size_t gathered = withExifDataArray->size();
    const std::size_t missing = inRange.length < gathered ? inRange.length : inRange.length - gathered;
    const NSRange chunk{inRange.location, std::min(missing, kChunk)};
    _exifDataArrayChunkInPHFetchResults(fetched, chunk, [=](const Records& records) {
        withExifDataArray->insert(withExifDataArray->end(), records.begin(), records.end());
        const std::size_t count = withExifDataArray->size();
        if (count == inRange.length) {
            log("Completed %ld items", count);
            return completionBlock(*withExifDataArray);
        }
        log("%ld != %ld", count, inRange.length);
        _exifDataArrayInPHFetchResults(fetched, withExifDataArray, {count, inRange.length}, completionBlock);
    });
}

void ExifManager::_exifDataArrayChunkInPHFetchResults(const PHFetchResult<PHAsset>& fetched, NSRange inRange,
                                                      RecordsBlock completionBlock) {
    // No record will ever arrive to complete an empty range.
    if (inRange.length == 0) return DispatchQueue::main().async([completionBlock] { completionBlock({}); });
    DispatchQueue::global().async([fetched, inRange, completion = std::move(completionBlock)] {
        log("RANGE %@", textOf(inRange));
        log("EnumerationGoingToStart");
        const auto records = std::make_shared<Records>();  // Touched on the main queue alone.
        fetched.enumerateObjectsInRange(inRange, [&](const PHAssetRef& asset, std::size_t index) {
            log("exifInformationFromPHAssett %ld", index);
            exifInformationFromPHAssett(asset, [=](const ExifInformationRef& record) {
                if (record) records->push_back(record);
                log("Check if %ld == %ld", records->size(), inRange.length);
                if (records->size() != inRange.length) return;
                log("Success in Checking %ld == %ld", records->size(), inRange.length);
                completion(*records);
            });
        });
    });
}

}  // namespace tessaly
