#include <algorithm>
#include <charconv>
#include <memory>
#include <thread>

#include "CommandLine.h"
#include "Commands.h"
#include "FileCondition.h"
#include "FileWalk.h"
#include "OrderedWork.h"
#include "Output.h"
#include "RecordJson.h"
#include "Shard.h"

namespace tessaly::cli {
namespace {

constexpr std::size_t kBatch = 64;
constexpr std::size_t kMostJobs = 256;

struct ScanOptions {
    std::string folder;
    std::size_t jobs = 0;
    std::string shard;
    std::string condition;
};

Shard shardOf(const std::string& text) {
    if (text.empty()) return {};
    const auto shard = Shard::parse(text);
    if (!shard) throw CLI::ValidationError("--shard takes K/N with 1 <= K <= N, such as 2/8, not '" + text + "'");
    return *shard;
}

struct Batch {
    std::vector<std::string> paths;
    std::string lines;
    std::vector<std::pair<std::string, std::string_view>> errors;
};

void readBatch(Batch& batch, const KeySelection& selection, const FileCondition* condition) {
    for (const std::string& path : batch.paths) {
        const MediaFile file = MediaFile::read(path);
        if (file.record && condition && !condition->holds(path, file)) continue;
        if (!file.record) batch.errors.emplace_back(path, describe(file.fault));
        appendJson(batch.lines, path, file, selection);
        batch.lines += '\n';
    }
}

/// The output is the same for any number of jobs: batches are written in the order in which the tree was walked.
class Scan {
public:
    Scan(const ScanOptions& options, const Shard& shard)
        : folder_(options.folder),
          shard_(shard),
          selection_(KeySelection::usersOwn(false)),
          condition_(FileCondition::of(options.condition)),
          work_(
              options.jobs, [this](Batch& batch) { readBatch(batch, selection_, condition_.get()); },
              [this](const Batch& batch) { write(batch); }) {}

    int run() {
        bool listed = true;
        walkTree(
            folder_, [this](const std::string& path) { return visit(path); },
            [&listed](const std::string& path, const std::string& why) {
                complain(path, why);
                listed = false;
            });
        if (!batch_.paths.empty()) work_.add(std::move(batch_));
        work_.finish();
        return listed && !failed_ ? kSuccess : kFailure;
    }

private:
    bool visit(const std::string& path) {
        if (!shard_.holds(std::string_view(path).substr(std::min(path.size(), folder_.size())))) return true;
        batch_.paths.push_back(path);
        if (batch_.paths.size() == kBatch) {
            work_.add(std::move(batch_));
            batch_ = {};
        }
        return true;
    }

    void write(const Batch& batch) {
        Output::standard() << batch.lines;
        for (const auto& [path, error] : batch.errors) complain(path, error);
        failed_ = failed_ || !batch.errors.empty();
    }

    const std::string& folder_;
    Shard shard_;
    KeySelection selection_;
    std::unique_ptr<const FileCondition> condition_;
    bool failed_ = false;
    Batch batch_;
    OrderedWork<Batch> work_;
};

int scan(ScanOptions options) {
    const Shard shard = shardOf(options.shard);
    if (options.jobs == 0) options.jobs = std::max(1U, std::thread::hardware_concurrency());
    while (options.folder.size() > 1 && options.folder.ends_with('/')) options.folder.pop_back();
    return Scan(options, shard).run();
}

}  // namespace

void addScanCommand(CLI::App& program, int& status) {
    auto options = std::make_shared<ScanOptions>();
    CLI::App* command = program.add_subcommand("scan", "Read a whole tree: one JSON object a line");
    command->add_option("DIR", options->folder, "The folder")->required()->type_name("");
    command->add_option("-j,--jobs", options->jobs, "Files read at the same time (a processor each)")
        ->check(CLI::Range(std::size_t{1}, kMostJobs))
        ->type_name("N");
    command->add_option("--shard", options->shard, "Only part K of N; all N parts together are the whole tree")
        ->type_name("K/N");
    addConditionOption(*command, options->condition);
    command->footer(
        "Parts are made by the path of a file inside DIR, so every machine cuts a tree alike.\n"
        "Memory does not grow with the number of files.");
    command->callback([options, &status] { status = scan(*options); });
}

}  // namespace tessaly::cli
