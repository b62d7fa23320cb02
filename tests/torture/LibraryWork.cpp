#include "LibraryWork.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <vector>

#include "Photographs.h"
#include "linux/photos/Database.h"
#include "linux/photos/PhotoLibrary.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/ImageIO/MetadataRewrite.h"
#include "platform/Photos/PHChangeRequests.h"
#include "support/TemporaryFolder.h"

namespace tessaly::test {
namespace {

using photos::PhotoLibrary;
using Kind = LibraryTask::Kind;

constexpr const char* kAlbum = "Torture";

template <std::size_t Size>
void put(char (&field)[Size], const std::string& text) {
    std::snprintf(field, Size, "%s", text.c_str());
}

class Worker {
public:
    Worker(const std::string& folder, const LibraryTask& task, LibraryReport& report)
        : folder_(folder), task_(task), report_(report) {}

    void run() {
        std::string error;
        library_ = PhotoLibrary::open(folder_, error);
        put(report_.opening, error);
        if (!library_) return;
        library_->confirmsDeletion = [](const auto&) { return true; };
        PHPhotoLibrary::setSharedPhotoLibrary(library_);
        report_.isDone = perform(error);
        put(report_.error, error);
        for (std::size_t i = 0; i < report_.targetCount; ++i) {
            auto& target = report_.targets[i];
            put(target.after, pathOf(target.id));
            target.isDone = target.isDone || report_.isDone;
        }
        describeAssets();
        if (!task_.closes) return;
        PHPhotoLibrary::setSharedPhotoLibrary(nullptr);
        library_ = nullptr;
    }

private:
    [[nodiscard]] std::string pathOf(const std::string& id) const {
        return library_->content(id, PHAssetResourceTypePhoto, false, {}).path;
    }

    struct Known {
        std::string path;
        PHAssetRef asset;
    };
    /// Those with a file, in an order that no accident decides.
    [[nodiscard]] std::vector<Known> assetsThatAreThere() const {
        std::vector<Known> known;
        const auto fetched = library_->assets(PHFetchOptions());
        for (std::size_t i = 0; i < fetched.count(); ++i)
            if (const PHAssetRef asset = fetched.objectAtIndex(i))
                if (std::string path = pathOf(asset->localIdentifier); !path.empty())
                    known.push_back({std::move(path), asset});
        std::ranges::sort(known, {}, &Known::path);
        return known;
    }

    LibraryReport::Target& aim(const Known& known) {
        auto& target = report_.targets[report_.targetCount];
        put(target.id, known.asset->localIdentifier);
        put(target.before, known.path);
        const std::string content = contentOf(known.path);
        target.photo = photoIn(content).value_or(0);
        target.content = std::hash<std::string>()(content);
        target.isDone = false;
        // The parent may look from here on.
        ++report_.targetCount;
        return target;
    }

    bool perform(std::string& error) {
        if (task_.kind == Kind::open) return true;
        if (task_.kind == Kind::scan) return scan();
        if (task_.kind == Kind::create)
            return library_->performChangesAndWait(
                [&] {
                    static_cast<void>(PHAssetChangeRequest::creationRequestForAssetWithData(
                        std::make_shared<const std::vector<std::byte>>(
                            reinterpret_cast<const std::byte*>(task_.content.data()),
                            reinterpret_cast<const std::byte*>(task_.content.data() + task_.content.size())),
                        "made.jpg"));
                },
                &error);
        if (task_.kind == Kind::discard) return discard(error);
        if (task_.kind == Kind::forget) return forget(error);
        std::vector<Known> known = assetsThatAreThere();
        if (task_.kind == Kind::revertAll) return revertAll(known);
        if (task_.kind == Kind::revert)
            std::erase_if(known, [](const Known& each) { return !each.asset->hasAdjustments; });
        if (known.empty()) {
            error = "there is nothing to do it to";
            return false;
        }
        const Known& one = known[task_.choice % known.size()];
        const Known& other = known[(task_.choice + 1) % known.size()];
        aim(one);
        const bool isTwo = task_.kind == Kind::editTwo && &one != &other;
        if (isTwo) aim(other);
        const auto first = edited(one.path, 0);
        const auto second = isTwo ? edited(other.path, 1) : nullptr;
        return library_->performChangesAndWait(
            [&] {
                wish(one, first);
                if (isTwo) wish(other, second);
            },
            &error);
    }

    bool scan() {
        const auto result = library_->scan();
        report_.isScanned = true;
        report_.hasProblems = !result.problems.empty();
        report_.changes = result.added + result.changed + result.moved + result.removed;
        return true;
    }

    /// By the photo that it belongs to, as far as that is known.
    bool discard(std::string& error) {
        auto originals = library_->keptOriginals();
        std::ranges::sort(originals, {}, [](const auto& each) { return std::pair(each.photo, each.size); });
        if (originals.empty()) {
            error = "no original is kept";
            return false;
        }
        const auto& one = originals[task_.choice % originals.size()];
        auto& target = report_.targets[report_.targetCount++];
        put(target.id, one.asset);
        put(target.before, one.photo);
        error = library_->discardOriginal(one.path);
        return error.empty();
    }

    bool forget(std::string& error) {
        PHFetchOptions options;
        options.includesGoneAssets = true;
        options.sortDescriptors = {{"creationDate", true}};
        const auto fetched = library_->assets(options);
        std::vector<PHAssetRef> missing;
        for (std::size_t i = 0; i < fetched.count(); ++i)
            if (const PHAssetRef asset = fetched.objectAtIndex(i); asset && asset->presence != PHAssetPresence::here)
                missing.push_back(asset);
        if (missing.empty()) {
            error = "nothing is missing";
            return false;
        }
        const std::string id = missing[task_.choice % missing.size()]->localIdentifier;
        put(report_.targets[report_.targetCount++].id, id);
        error = library_->forgetAssets({&id, 1});
        return error.empty();
    }

    bool revertAll(const std::vector<Known>& known) {
        for (const Known& each : known) {
            if (!each.asset->hasAdjustments) continue;
            auto& target = aim(each);
            std::string why;
            target.isDone = library_->performChangesAndWait(
                [&] { PHAssetChangeRequest::changeRequestForAsset(*each.asset).revertAssetContentToOriginal(); }, &why);
            put(target.error, why);
        }
        return false;
    }

    /// The bytes that the file is to become; null for a task that edits nothing.
    [[nodiscard]] Data edited(const std::string& path, int more) const {
        MetadataChange change;
        switch (task_.kind) {
            case Kind::strip:
                change.removal = MetadataChange::Removal::everything;
                break;
            case Kind::stripPlace:
                change.removal = MetadataChange::Removal::place;
                break;
            case Kind::setArtist:
            case Kind::editTwo: {
                Dictionary tiff;
                tiff.set(kCGImagePropertyTIFFArtist, "Artist " + std::to_string(task_.number + more));
                change.values.set(kCGImagePropertyTIFFDictionary, tiff);
                break;
            }
            default:
                return nullptr;
        }
        return rewriteMetadata(NSFileManager::contentsAtPath(path), change);
    }

    void wish(const Known& known, const Data& content) const {
        const auto request = PHAssetChangeRequest::changeRequestForAsset(*known.asset);
        const PHAssetRef& asset = known.asset;
        switch (task_.kind) {
            case Kind::revert:
                return request.revertAssetContentToOriginal();
            case Kind::favorite:
            case Kind::unfavorite:
                return request.setFavorite(task_.kind == Kind::favorite);
            case Kind::trash:
                return PHAssetChangeRequest::deleteAssets({&asset, 1});
            case Kind::intoAlbum:
            case Kind::outOfAlbum:
                return wishAlbum(asset);
            case Kind::editTwo:
                request.setFavorite(true);
                break;
            default:
                break;
        }
        if (!content) return;
        PHContentEditingInput input;
        input.fullSizeImageURL = NSURL::fileURLWithPath(known.path);
        PHContentEditingOutput output(input);
        // An editor may choose another extension.
        if (task_.kind == Kind::setArtist && task_.number == 2)
            output.renderedContentURL = NSURL::fileURLWithPath(library_->newPendingFile("jpeg"));
        output.adjustmentData = {"org.example.editor", "1", nullptr};
        std::ofstream(output.renderedContentURL.path(), std::ios::binary)
            .write(reinterpret_cast<const char*>(content->data()), static_cast<std::streamsize>(content->size()));
        request.setContentEditingOutput(output);
        // As the screens and the command line do it.
        if (task_.kind != Kind::strip && task_.kind != Kind::stripPlace) return;
        request.setLocation(std::nullopt);
        if (asset->creationDate) request.setCreationDate(*asset->creationDate);
    }

    void wishAlbum(const PHAssetRef& asset) const {
        const PHAssetCollectionRef known = album();
        if (task_.kind == Kind::outOfAlbum) {
            if (known)
                PHAssetCollectionChangeRequest::changeRequestForAssetCollection(*known).removeAssets({&asset, 1});
            return;
        }
        const auto request = known ? PHAssetCollectionChangeRequest::changeRequestForAssetCollection(*known)
                                   : PHAssetCollectionChangeRequest::creationRequestForAssetCollectionWithTitle(kAlbum);
        request.addAssets(std::span(&asset, 1));
    }
    [[nodiscard]] PHAssetCollectionRef album() const {
        return library_->collections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny, {}).firstObject();
    }

    void describeAssets() {
        std::vector<std::string> inAlbum;
        if (const auto known = album()) {
            const auto fetched = library_->assets(*known, {});
            for (std::size_t i = 0; i < fetched.count(); ++i)
                if (const PHAssetRef asset = fetched.objectAtIndex(i)) inAlbum.push_back(asset->localIdentifier);
        }
        const auto fetched = library_->assets(PHFetchOptions());
        for (std::size_t i = 0; i < fetched.count() && i < LibraryReport::kMost; ++i) {
            const PHAssetRef asset = fetched.objectAtIndex(i);
            if (!asset) continue;
            auto& row = report_.assets[report_.assetCount++];
            put(row.id, asset->localIdentifier);
            put(row.path, pathOf(asset->localIdentifier));
            const auto original = library_->original(asset->localIdentifier);
            put(row.original, original ? original->path : std::string());
            row.favorite = asset->favorite;
            row.edited = asset->hasAdjustments;
            row.inAlbum = std::ranges::find(inAlbum, asset->localIdentifier) != inAlbum.end();
        }
        const photos::Database database(folder_ + "/library.db", photos::Database::Mode::readOnly);
        report_.isWhole = database.text("PRAGMA quick_check(1)") == "ok";
    }

    const std::string& folder_;
    const LibraryTask& task_;
    LibraryReport& report_;
    std::shared_ptr<PhotoLibrary> library_;
};

}  // namespace

const char* nameOf(LibraryTask::Kind kind) {
    static constexpr const char* kNames[] = {
        "open",      "scan",     "strip",      "strip the place",      "set the artist",
        "revert",    "favorite", "unfavorite", "into the album",       "out of the album",
        "trash",     "create",   "edit two",   "discard the original", "forget",
        "revert all"};
    return kNames[static_cast<std::size_t>(kind)];
}

void work(const std::string& library, const LibraryTask& task, LibraryReport& report) {
    Worker(library, task, report).run();
}

}  // namespace tessaly::test
