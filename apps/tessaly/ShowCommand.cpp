#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>

#include "CommandLine.h"
#include "Commands.h"
#include "Csv.h"
#include "FileCondition.h"
#include "FileWalk.h"
#include "Output.h"
#include "Page.h"
#include "PipedMedia.h"
#include "Properties.h"
#include "RecordJson.h"
#include "settings/PersistanceManager.h"

namespace tessaly::cli {
namespace {

struct ShowOptions {
    std::vector<std::string> files;
    std::vector<std::string> keys;
    bool all = false;
    bool raw = false;
    bool precise = false;
    bool recursive = false;
    bool json = false;
    bool ndjson = false;
    bool csv = false;
    std::string condition;
};

/// A name that no key has is a mistake of the caller's, not an empty row.
void checkKeys(const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
        if (isKeyName(key)) continue;
        throw CLI::ValidationError("--keys: '" + key + "' is not the name of a key" + suggestionForKey(key));
    }
}

/// One form of output: what comes before, between and after the files.
class Report {
public:
    Report() = default;
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;
    virtual ~Report() = default;
    virtual void begin(std::string& /*out*/) {}
    virtual void add(std::string& out, const std::string& path, const MediaFile& file) = 0;
    virtual void end(std::string& /*out*/) {}
    virtual void addError(std::string& /*out*/, const std::string& /*path*/, std::string_view /*error*/) {}
};

class PageReport final : public Report {
public:
    explicit PageReport(const KeySelection& selection) : selection_(selection) {}
    void add(std::string& out, const std::string& path, const MediaFile& file) override {
        if (!first_) out += '\n';
        first_ = false;
        appendPage(out, path, file, selection_, style_);
    }

private:
    const KeySelection& selection_;
    PageStyle style_ = PageStyle::forStandardOutput();
    bool first_ = true;
};

class JsonReport final : public Report {
public:
    JsonReport(const KeySelection& selection, bool lines) : selection_(selection), lines_(lines) {}
    void begin(std::string& out) override {
        if (!lines_) out += '[';
    }
    void add(std::string& out, const std::string& path, const MediaFile& file) override {
        separate(out);
        appendJson(out, path, file, selection_);
        if (lines_) out += '\n';
    }
    void addError(std::string& out, const std::string& path, std::string_view error) override {
        separate(out);
        appendJsonError(out, path, error);
        if (lines_) out += '\n';
    }
    void end(std::string& out) override {
        if (!lines_) out += first_ ? "]\n" : "\n]\n";
    }

private:
    void separate(std::string& out) {
        if (!lines_) out += first_ ? "\n" : ",\n";
        first_ = false;
    }

    const KeySelection& selection_;
    bool lines_;
    bool first_ = true;
};

class CsvReport final : public Report {
public:
    explicit CsvReport(const KeySelection& selection) : table_(selection) {}
    void begin(std::string& out) override { table_.appendHeader(out); }
    void add(std::string& out, const std::string& path, const MediaFile& file) override {
        table_.appendRow(out, path, *file.record);
    }

private:
    CsvTable table_;
};

std::unique_ptr<Report> reportFor(const ShowOptions& options, const KeySelection& selection) {
    if (options.csv) return std::make_unique<CsvReport>(selection);
    if (options.json || options.ndjson) return std::make_unique<JsonReport>(selection, options.ndjson);
    return std::make_unique<PageReport>(selection);
}

int show(const ShowOptions& options) {
    checkKeys(options.keys);
    if (options.precise) PersistanceManager::sharedInstance().showsPreciseValuesOnThisLaunch = true;
    KeySelection selection =
        options.keys.empty() ? KeySelection::usersOwn(options.all) : KeySelection::named(options.keys);
    selection.isRaw = options.raw;
    bool failed = false;
    const std::vector<std::string> files = namedFiles(options.files, options.recursive, failed);
    const auto report = reportFor(options, selection);
    Output& output = Output::standard();
    Progress progress(files.size());
    std::string text;
    report->begin(text);
    const auto condition = FileCondition::of(options.condition);
    for (const std::string& argument : files) {
        const PipedMedia media = PipedMedia::read(argument);
        const std::string& path = media.name;
        const MediaFile& file = media.file;
        if (!media.why.empty()) {
            complain(path, media.why);
            report->addError(text, path, media.why);
            failed = true;
            continue;
        }
        if (file.record && condition && !condition->holds(path, file)) continue;
        if (file.record) {
            report->add(text, path, file);
        } else {
            complain(path, describe(file.fault));
            report->addError(text, path, describe(file.fault));
            failed = true;
        }
        output << text;
        text.clear();
        progress.advance();
    }
    report->end(text);
    output << text;
    return failed ? kFailure : kSuccess;
}

}  // namespace

void addShowCommand(CLI::App& program, int& status) {
    auto options = std::make_shared<ShowOptions>();
    CLI::App* command = program.add_subcommand("show", "Show what files tell (the default command)");
    command->add_option("FILE", options->files, "Photos and videos; '-- NAME' for a name that begins with '-'")
        ->required()
        ->type_name("");
    command->add_option("--keys", options->keys, "Only these rows, in this order: Make,Exif.LensModel,City")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("A,B");
    command->add_flag("--all", options->all, "Also the rows that you have hidden")->excludes("--keys");
    CLI::Option* raw =
        command->add_flag("--raw", options->raw, "Values as the file has them: plain numbers, ISO dates");
    command->add_flag("--precise", options->precise, "Values as precise as the file; nothing that it does not say")
        ->excludes(raw);
    command->add_flag("-r,--recursive", options->recursive, "Read what is in folders");
    addConditionOption(*command, options->condition);
    CLI::Option* json = command->add_flag("--json", options->json, "One JSON array");
    CLI::Option* ndjson = command->add_flag("--ndjson", options->ndjson, "One JSON object a line");
    CLI::Option* csv = command->add_flag("--csv", options->csv, "A table of comma-separated values");
    json->excludes(ndjson)->excludes(csv);
    ndjson->excludes(csv);
    command->callback([options, &status] { status = show(*options); });
}

}  // namespace tessaly::cli
