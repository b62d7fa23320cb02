#include "Model.h"

#include <algorithm>
#include <optional>

#include "Photographs.h"

namespace tessaly::test {
namespace {

using Kind = LibraryTask::Kind;

bool isEdit(Kind kind) {
    return kind == Kind::strip || kind == Kind::stripPlace || kind == Kind::setArtist || kind == Kind::editTwo;
}
bool isRevert(Kind kind) { return kind == Kind::revert || kind == Kind::revertAll; }

bool isUsers(const std::string& name) { return name.starts_with("A/") || name.starts_with("B/"); }

std::set<std::string> contentsOf(const Model::Files& files) {
    std::set<std::string> contents;
    for (const auto& [name, content] : files) contents.insert(content);
    return contents;
}

std::string numbered(int photo) { return "photo " + std::to_string(photo); }

}  // namespace

void Model::look() { files_ = world_.files(); }

std::string Model::contentAt(const Files& files, const std::string& path) const {
    const auto file = files.find(world_.nameOf(path));
    return file == files.end() ? std::string() : file->second;
}

void Model::afterPerson() {
    const std::set<std::string> before = contentsOf(files_);
    look();
    const std::set<std::string> now = contentsOf(files_);
    for (const std::string& content : before)
        if (!now.contains(content)) contents_.erase(content);
    for (const std::string& content : now)
        if (!discardable_.contains(content)) contents_.insert(content);
}

void Model::afterLibrary(const LibraryTask& task, const LibraryReport& report, bool isKilled) {
    if (report.opening[0] != '\0') throw Loss(std::string("the library does not open: ") + report.opening);
    if (isEdit(task.kind) || isRevert(task.kind)) allowEdits(task, report);
    const Files before = files_;
    look();
    requireAll(task);
    const std::set<std::string> known = contentsOf(before);
    for (const auto& [name, content] : files_) {
        if (known.contains(content) || contents_.contains(content)) continue;
        if (!photoIn(content)) throw Loss(name + " holds " + describe(content));
        if (content != task.content) made_.insert(content);
        if (!discardable_.contains(content)) contents_.insert(content);
    }
    allowInheritance();
    if (!isKilled && !report.isWhole) throw Loss("the database is damaged");
    for (std::size_t i = 0; i < report.targetCount; ++i) {
        const auto& target = report.targets[i];
        const auto photo = photoIn(contentAt(before, target.before));
        if (photo) {
            const auto shown = shown_.find(target.id);
            const Photo& state = photos_[*photo];
            const bool isCurrent =
                shown != shown_.end() && shown->second == *photo && !state.isMoved && !state.isRewritten;
            const bool isDone = !isKilled && target.isDone;
            takeMarks(task, target, isDone && isCurrent);
            if (isDone && isRevert(task.kind)) checkRevert(target, before);
            if (!isKilled && !isDone && isRevert(task.kind) && isCurrent && state.edit.isSet && !state.isDoubtful)
                throw Loss(world_.nameOf(target.before) + " is not reverted: " + target.error + report.error);
            if (shown != shown_.end() && shown->second != *photo) takeMarks(task, target, false);
            if (isEdit(task.kind)) photos_[*photo].unedited.insert(contentAt(before, target.before));
        }
    }
}

void Model::allowInheritance() {
    std::set<int> present;
    for (const auto& [name, content] : files_)
        if (const auto photo = photoIn(content); photo && (isUsers(name) || name.starts_with("away/")))
            present.insert(*photo);
    for (const auto& [name, before] : shownAt_) {
        const auto file = files_.find(name);
        const auto now = file == files_.end() ? std::nullopt : photoIn(file->second);
        if (!now || present.contains(before)) continue;
        const bool isKnown = std::ranges::any_of(shown_, [&](const auto& each) { return each.second == *now; });
        Photo& heir = photos_[*now];
        if (isKnown && !heir.isDoubtful) continue;
        heir.favorite.everSet |= photos_[before].favorite.everSet;
        heir.album.everSet |= photos_[before].album.everSet;
    }
}

/// The result of an edit that is edited again or reverted may go: whoever asked for that named it.
void Model::allowEdits(const LibraryTask&, const LibraryReport& report) {
    for (std::size_t i = 0; i < report.targetCount; ++i) {
        const std::string content = contentAt(files_, report.targets[i].before);
        if (!made_.contains(content)) continue;
        discardable_.insert(content);
        contents_.erase(content);
    }
}

void Model::requireAll(const LibraryTask& task) const {
    const std::set<std::string> now = contentsOf(files_);
    for (const std::string& content : contents_)
        if (!now.contains(content))
            throw Loss("LOST after '" + std::string(nameOf(task.kind)) + "': " + describe(content));
}

void Model::takeMarks(const LibraryTask& task, const LibraryReport::Target& target, bool isSure) {
    std::vector<int> photos;
    if (const auto there = photoIn(contentAt(files_, target.before))) photos.push_back(*there);
    if (const auto shown = shown_.find(target.id); shown != shown_.end()) photos.push_back(shown->second);
    for (const int number : photos) {
        Photo& photo = photos_[number];
        const auto set = [&](Mark& mark) {
            mark.everSet = true;
            if (isSure) mark.isSet = true;
        };
        switch (task.kind) {
            case Kind::favorite:
                set(photo.favorite);
                break;
            case Kind::unfavorite:
                photo.favorite.isSet = false;
                break;
            case Kind::intoAlbum:
                set(photo.album);
                break;
            case Kind::outOfAlbum:
                photo.album.isSet = false;
                break;
            case Kind::editTwo:
                set(photo.favorite);
                set(photo.edit);
                break;
            case Kind::strip:
            case Kind::stripPlace:
            case Kind::setArtist:
                set(photo.edit);
                break;
            case Kind::revert:
            case Kind::revertAll:
                photo.edit.isSet = false;
                break;
            case Kind::trash:
                photo.isDoubtful = true;
                break;
            default:
                break;
        }
    }
}

void Model::checkRevert(const LibraryReport::Target& target, const Files& before) const {
    const std::string was = contentAt(before, target.before);
    const std::string is = contentAt(files_, target.after);
    const std::string name = world_.nameOf(target.before);
    const auto photo = photoIn(was);
    if (photoIn(is) != photo) throw Loss(name + " was " + describe(was) + ", and is reverted to " + describe(is));
    if (!photos_.at(*photo).unedited.contains(is))
        throw Loss(name + " is reverted to " + describe(is) + ", which is not what was edited");
}

void Model::afterScan(const LibraryReport& report) {
    if (!report.isScanned) throw Loss("there was no scan");
    shown_.clear();
    shownAt_.clear();
    checkPlaces(report);
    std::map<int, int> copies;
    for (const auto& [name, content] : files_)
        if (isUsers(name))
            if (const auto photo = photoIn(content)) ++copies[*photo];
    for (auto& [number, photo] : photos_) {
        // What has two files, or has changed its name and its bytes at once, may be taken for either.
        if (copies[number] > 1 || (photo.isMoved && photo.isRewritten)) photo.isDoubtful = true;
    }
    for (std::size_t i = 0; i < report.assetCount; ++i)
        if (report.assets[i].path[0] != '\0') checkMarks(report.assets[i]);
    for (const auto& [name, content] : files_)
        if (const auto photo = photoIn(content); photo && isUsers(name))
            photos_[*photo].isMoved = photos_[*photo].isRewritten = false;
}

/// Every photo has an asset of its own, at its place.
void Model::checkPlaces(const LibraryReport& report) const {
    std::map<std::string, int> assets;
    for (std::size_t i = 0; i < report.assetCount; ++i)
        if (report.assets[i].path[0] != '\0') ++assets[world_.nameOf(report.assets[i].path)];
    for (const auto& [name, content] : files_)
        if (isUsers(name) && name.find("/.") == std::string::npos && assets[name] != 1)
            throw Loss(name + " has " + std::to_string(assets[name]) + " assets after a scan");
}

void Model::checkMarks(const LibraryReport::Asset& asset) {
    const std::string name = world_.nameOf(asset.path);
    const auto number = photoIn(contentAt(files_, asset.path));
    if (!number) throw Loss(name + " holds " + describe(contentAt(files_, asset.path)));
    shown_[asset.id] = *number;
    shownAt_[name] = *number;
    const auto found = photos_.find(*number);
    static const Photo kUntouched;
    const Photo& photo = found == photos_.end() ? kUntouched : found->second;
    const auto check = [&](const Mark& mark, bool isSet, const std::string& what) {
        if (isSet && !mark.everSet)
            throw Loss(name + ": " + numbered(*number) + " is " + what + ", and never was made so");
        if (!isSet && mark.isSet && !photo.isDoubtful)
            throw Loss(name + ": " + numbered(*number) + " was " + what + ", and is not now");
    };
    check(photo.favorite, asset.favorite, "a favorite");
    check(photo.album, asset.inAlbum, "in the album");
    check(photo.edit, asset.edited, "edited");
    if (!asset.edited) return;
    const auto original = photoIn(world_.read(world_.nameOf(asset.original)));
    if (original != number)
        throw Loss(name + ": " + numbered(*number) + " is edited, and its original is " +
                   (original ? numbered(*original) : std::string("not there")));
}

}  // namespace tessaly::test
