#include "Intake.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>

#include "AppURL.h"
#include "StandardInput.h"
#include "acquisition/MediaFile.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/ImageIO/CGImageSource.h"

namespace tessaly::viewer {
namespace {

namespace fs = std::filesystem;

constexpr const char* kStandardInput = "-";
constexpr std::string_view kNothingKnown = "is not a photo or video of a known format";
constexpr std::string_view kMissing = localizable("%@ cannot be found.");
constexpr std::string_view kForeign = localizable("%@ is not a photo or video that can be shown here.");
constexpr std::string_view kEmpty = localizable("%@ is empty.");
constexpr std::string_view kNoPhotosInside = localizable("There are no photos or videos in %@.");
/// Beyond one a core, for files that have to be waited for.
constexpr std::size_t kThreadsPerCore = 2;

/// A file on its way to become an attachment.
struct Candidate {
    NamedFile file;
    std::size_t argument;
    bool isStandardInput = false;
    std::shared_ptr<NSItemProvider> provider;  ///< Null where there is a fault.
    std::string fault;                         ///< "" also for what folders may hold beside photos.
    std::string_view label{};
};

bool isShown(const fs::directory_entry& entry) {
    std::error_code ignored;
    return !entry.path().filename().native().starts_with('.') && entry.is_regular_file(ignored);
}

std::vector<NamedFile> filesOfFolder(const std::string& name, const std::string& path,
                                     std::vector<Complaint>& complaints) {
    std::vector<NamedFile> files;
    std::error_code error;
    const std::string slash = name.ends_with('/') ? "" : "/";
    for (fs::directory_iterator entry(path, error), end; !error && entry != end; entry.increment(error)) {
        if (isShown(*entry))
            files.push_back({name + slash + entry->path().filename().native(), entry->path().native(), true});
    }
    if (error) complaints.push_back({name, error.message()});
    std::ranges::sort(files, {}, &NamedFile::path);
    return files;
}

/// Why a file is no attachment. Folders hold other things, too, and nobody asked for those.
std::string faultOf(const NamedFile& file) {
    CGImageSourceFault fault{};
    static_cast<void>(CGImageSourceCreateWithURL(file.path, &fault));
    if (fault == CGImageSourceFault::none) fault = CGImageSourceFault::unknownFormat;
    const bool isOther = fault == CGImageSourceFault::unknownFormat || fault == CGImageSourceFault::empty;
    return file.isInFolder && isOther ? std::string() : std::string(describe(fault));
}

void lookIntoFile(Candidate& candidate) {
    auto provider = std::make_shared<NSItemProvider>(NSURL::fileURLWithPath(candidate.file.path));
    if (provider->typeIdentifier().empty()) {
        std::error_code ignored;
        const bool isThere = fs::exists(candidate.file.path, ignored);
        candidate.fault = faultOf(candidate.file);
        const bool isEmpty = candidate.fault == describe(CGImageSourceFault::empty);
        candidate.label = !isThere ? kMissing : isEmpty ? kEmpty : kForeign;
    } else {
        candidate.provider = std::move(provider);
    }
}

/// A picture is handed on as bytes; players and the movie readers want a file.
void lookIntoStandardInput(Candidate& candidate, ScratchFolder& scratch) {
    StandardInput input = readStandardInput();
    if (!input.data) {
        candidate.fault = std::move(input.fault);
        return;
    }
    auto provider = std::make_shared<NSItemProvider>(input.data);
    if (provider->hasItemConformingToTypeIdentifier(kUTTypeMovie)) {
        candidate.file.path = scratch.write(input.data);
        if (candidate.file.path.empty())
            candidate.fault = "there is no room for it in the folder of temporary files";
        else
            lookIntoFile(candidate);
    } else if (provider->typeIdentifier().empty()) {
        candidate.fault = kNothingKnown;
        candidate.label = kForeign;
    } else {
        candidate.provider = std::move(provider);
    }
}

std::vector<Candidate> candidatesOf(const std::vector<std::string>& arguments,
                                    std::vector<std::vector<Complaint>>& complaints) {
    std::vector<Candidate> candidates;
    bool isInputTaken = false;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        if (arguments[at] != kStandardInput) {
            for (NamedFile& file : filesOfArgument(arguments[at], complaints[at]))
                candidates.push_back({std::move(file), at, false, nullptr, {}, {}});
        } else if (std::exchange(isInputTaken, true)) {
            complaints[at].push_back({kStandardInput, "standard input can be shown once only"});
        } else {
            candidates.push_back({{kStandardInput, {}, false}, at, true, nullptr, {}, {}});
        }
    }
    return candidates;
}

void lookIntoAll(std::vector<Candidate>& candidates, ScratchFolder& scratch) {
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t at = next++; at < candidates.size(); at = next++) {
            Candidate& candidate = candidates[at];
            candidate.isStandardInput ? lookIntoStandardInput(candidate, scratch) : lookIntoFile(candidate);
        }
    };
    const std::size_t most = kThreadsPerCore * std::max(1U, std::thread::hardware_concurrency());
    DispatchGroup group;
    for (std::size_t others = std::min(most, candidates.size()); others > 1; --others)
        group.async(DispatchQueue::global(), work);
    work();
    group.wait();
}

}  // namespace

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    if (!folder_.empty()) fs::remove_all(folder_, ignored);
}

std::string ScratchFolder::write(const Data& data) {
    std::error_code error;
    std::string folder = fs::temp_directory_path(error) / "tessaly-viewer-XXXXXX";
    if (error || !::mkdtemp(folder.data())) return {};
    folder_ = folder;
    const std::string path = folder + "/standard-input";
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(data->data()), static_cast<std::streamsize>(data->size()));
    return file.flush() ? path : std::string();
}

std::vector<NamedFile> filesOfArgument(const std::string& argument, std::vector<Complaint>& complaints) {
    FileArgument file = fileOfArgument(argument);
    if (file.path.empty()) {
        complaints.push_back({argument, std::move(file.fault)});
        return {};
    }
    std::error_code ignored;
    if (!fs::is_directory(file.path, ignored)) return {{argument, std::move(file.path), false}};
    return filesOfFolder(argument, file.path, complaints);
}

Intake takeIn(const std::vector<std::string>& arguments) {
    Intake intake;
    intake.scratch = std::make_shared<ScratchFolder>();
    std::vector<std::vector<Complaint>> complaints(arguments.size());
    std::vector<Candidate> candidates = candidatesOf(arguments, complaints);
    lookIntoAll(candidates, *intake.scratch);

    std::vector<std::shared_ptr<NSExtensionItem>> items(arguments.size());
    for (auto& item : items) item = std::make_shared<NSExtensionItem>();
    for (Candidate& candidate : candidates) {
        if (candidate.provider)
            items[candidate.argument]->attachments.push_back(std::move(candidate.provider));
        else if (!candidate.fault.empty())
            complaints[candidate.argument].push_back(
                {std::move(candidate.file.name), std::move(candidate.fault), candidate.label});
    }
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        intake.attachments += items[at]->attachments.size();
        if (items[at]->attachments.empty() && complaints[at].empty())
            complaints[at].push_back({arguments[at], "there are no photos or videos in it", kNoPhotosInside});
        if (!items[at]->attachments.empty()) intake.items.push_back(std::move(items[at]));
        std::ranges::move(complaints[at], std::back_inserter(intake.complaints));
    }
    return intake;
}

void takeInBackground(std::vector<std::string> arguments, std::function<void(Intake)> block) {
    DispatchQueue::global(DispatchPriority::high).async([arguments = std::move(arguments), block = std::move(block)] {
        auto intake = std::make_shared<Intake>(takeIn(arguments));
        DispatchQueue::main().async([intake, block] { block(std::move(*intake)); });
    });
}

}  // namespace tessaly::viewer
