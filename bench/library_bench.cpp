#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "linux/photos/AssetRows.h"
#include "linux/photos/PhotoLibrary.h"
#include "reading_bench.h"

namespace tessaly::bench {
namespace {

constexpr std::size_t kAssets = 100'000;

/// A library of kAssets photos, four a minute, in no particular order; made on first use, removed at the end.
class LargeLibrary {
public:
    static const std::string& folder() {
        static const LargeLibrary library;
        return library.folder_;
    }
    LargeLibrary(const LargeLibrary&) = delete;
    LargeLibrary& operator=(const LargeLibrary&) = delete;
    ~LargeLibrary() { std::filesystem::remove_all(folder_); }

private:
    LargeLibrary() : folder_(std::filesystem::temp_directory_path() / "tessaly-bench-library") {
        std::filesystem::remove_all(folder_);
        photos::LibraryStore store(folder_);
        store.write([](const photos::Database& database) {
            photos::Transaction transaction(database);
            photos::AssetFacts facts;
            facts.mediaType = PHAssetMediaTypeImage;
            for (std::size_t i = 0; i < kAssets; ++i) {
                facts.created = NSDate{1.4e9 + static_cast<double>(i * 7919 % kAssets) * 15};
                photos::insertAsset(database, photos::newIdentifier(photos::kAssetSuffix), facts, {1000, 0, 0});
            }
            transaction.commit();
        });
    }

    std::string folder_;
};

PHFetchOptions byDate() {
    PHFetchOptions options;
    options.sortDescriptors = {{"creationDate", false}, {"modificationDate", false}};
    return options;
}

/// What any program must do that wants the rows of a table in the order of a date: SQLite by itself.
void floorOfOpening(benchmark::State& state) {
    const std::string path = LargeLibrary::folder() + "/library.db";
    for (auto _ : state) {
        sqlite3* database = nullptr;
        sqlite3_stmt* rows = nullptr;
        sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READONLY, nullptr);
        sqlite3_prepare_v2(database, "SELECT id FROM assets ORDER BY created DESC", -1, &rows, nullptr);
        std::int64_t sum = 0;
        while (sqlite3_step(rows) == SQLITE_ROW) sum += sqlite3_column_int64(rows, 0);
        benchmark::DoNotOptimize(sum);
        sqlite3_finalize(rows);
        sqlite3_close(database);
    }
}

void openSorted(benchmark::State& state) {
    const std::string& folder = LargeLibrary::folder();
    for (auto _ : state) {
        std::string error;
        const auto library = photos::PhotoLibrary::open(folder, error);
        const auto assets = library->assets(byDate());
        benchmark::DoNotOptimize(assets.objectAtIndex(assets.count() / 2));
    }
}

void fetchByPredicate(benchmark::State& state) {
    std::string error;
    const auto library = photos::PhotoLibrary::open(LargeLibrary::folder(), error);
    PHFetchOptions options = byDate();
    options.predicate = NSPredicate::predicateWithFormat("(creationDate > %@) AND (creationDate < %@)",
                                                         {NSDate{1.4005e9}, NSDate{1.4005e9 + 60}});
    for (auto _ : state) benchmark::DoNotOptimize(library->assets(options).count());
}

}  // namespace

void registerLibrary() {
    benchmark::RegisterBenchmark("library/open 100,000 by date/floor", floorOfOpening);
    benchmark::RegisterBenchmark("library/open 100,000 by date/tessaly", openSorted);
    benchmark::RegisterBenchmark("library/a minute of 100,000", fetchByPredicate);
}

}  // namespace tessaly::bench
