#pragma once
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "linux/photos/AssetFacts.h"
#include "linux/photos/Database.h"
#include "linux/photos/PhotoLibrary.h"
#include "platform/Photos/PHChangeRequests.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {

/// A JPEG of that moment: seconds since 2020-01-01 00:00:00 UTC.
inline ByteString photo(int second, const TiffBuilder& more = TiffBuilder(), std::size_t padding = 0) {
    TiffBuilder tiff = more;
    const auto digits = [](int number) { return std::to_string(100 + number).substr(1); };
    tiff.text(TiffBuilder::exif, 0x9003,
              "2020:01:01 " + digits(second / 3600) + ":" + digits(second / 60 % 60) + ":" + digits(second % 60));
    const ByteString exif = jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(tiff.build()));
    return padding == 0 ? jpeg({exif}) : jpeg({exif, jpegSegment(0xFE, ByteString(std::string(padding, 'p')))});
}

inline Data dataOf(const ByteString& file) {
    return std::make_shared<std::vector<std::byte>>(file.bytes().begin(), file.bytes().end());
}

/// What an editor makes of one.
inline ByteString editedPhoto(int second, std::size_t padding = 0) {
    return photo(second, TiffBuilder().text(TiffBuilder::first, 0x013B, "EDITED"), padding);
}

/// A QuickTime movie that says which live photo it belongs to.
inline ByteString movie(std::uint32_t seconds, const std::string& contentIdentifier = {},
                        std::string_view brand = "qt  ") {
    ByteString header;
    header.u32(0).u32(0).u32(1).u32(seconds).add(80, '\0');
    ByteString moov = fullBox("mvhd", 0, 0, {header});
    if (!contentIdentifier.empty()) {
        const std::string_view name = "com.apple.quicktime.content.identifier";
        ByteString keys;
        keys.u32(1).u32(static_cast<std::uint32_t>(name.size() + 8)).add("mdta").add(name);
        const ByteString data = box("data", {ByteString().u32(1).u32(0).add(contentIdentifier)});
        moov.add(box("meta", {fullBox("hdlr", 0, 0, {"\0\0\0\0mdta"_z}), fullBox("keys", 0, 0, {keys}),
                              box("ilst", {box("\0\0\0\1"_z.text(), {data})})}));
    }
    return box("ftyp", {ByteString(brand).add("\0\0\0\0"_z)}).add(box("moov", {moov}));
}

/// A library of its own over the folder "photos", with a trash of its own.
class LibraryTest : public testing::Test {
protected:
    using Names = std::vector<std::string>;
    using Library = photos::PhotoLibrary;

    LibraryTest() {
        std::filesystem::create_directories(photos());
        ::setenv("XDG_DATA_HOME", (folder_.path() / "data").c_str(), 1);
        reopen();
        EXPECT_EQ(library_->addFolder(photos()), "");
    }
    ~LibraryTest() override {
        PHPhotoLibrary::setSharedPhotoLibrary(nullptr);
        ::unsetenv("XDG_DATA_HOME");
    }

    [[nodiscard]] std::string photos() const { return (folder_.path() / "photos").string(); }
    [[nodiscard]] std::string own() const { return (folder_.path() / "library").string(); }
    [[nodiscard]] std::string trash() const { return (folder_.path() / "data/Trash").string(); }
    [[nodiscard]] std::string path(const std::string& name) const { return photos() + "/" + name; }
    std::string write(const std::string& name, const ByteString& content) const {
        return folder_.write("photos/" + name, content.text());
    }
    [[nodiscard]] std::shared_ptr<Library> opened() const {
        std::string error;
        auto library = Library::open(own(), error);
        EXPECT_TRUE(library) << error;
        return library;
    }
    void reopen() {
        close();
        library_ = opened();
        PHPhotoLibrary::setSharedPhotoLibrary(library_);
    }
    void close() {
        PHPhotoLibrary::setSharedPhotoLibrary(nullptr);
        library_ = nullptr;
    }
    [[nodiscard]] photos::Database database(photos::Database::Mode mode = photos::Database::Mode::readOnly) const {
        return {own() + "/library.db", mode};
    }
    [[nodiscard]] std::int64_t count(const std::string& what) const {
        return database().integer("SELECT COUNT(*) FROM " + what).value_or(-1);
    }

    static std::vector<PHAssetRef> objects(const PHFetchResult<PHAsset>& fetched) {
        std::vector<PHAssetRef> assets;
        for (std::size_t i = 0; i < fetched.count(); ++i) assets.push_back(fetched.objectAtIndex(i));
        return assets;
    }
    [[nodiscard]] static std::string nameOf(const Library& library, const PHAssetRef& asset) {
        const auto resources = asset ? library.resources(asset->localIdentifier) : std::vector<PHAssetResource>();
        return resources.empty() ? std::string() : resources.front().originalFilename;
    }
    [[nodiscard]] Names names(const PHFetchResult<PHAsset>& fetched) const {
        Names names;
        for (const PHAssetRef& asset : objects(fetched)) names.push_back(nameOf(*library_, asset));
        return names;
    }
    [[nodiscard]] Names names() const {
        Names all = names(library_->assets(PHFetchOptions()));
        std::ranges::sort(all);
        return all;
    }
    /// Null for none.
    [[nodiscard]] PHAssetRef find(const std::string& name) const {
        for (const PHAssetRef& asset : objects(library_->assets(PHFetchOptions())))
            if (nameOf(*library_, asset) == name) return asset;
        return nullptr;
    }
    [[nodiscard]] PHAsset asset(const std::string& name) const {
        const PHAssetRef found = find(name);
        EXPECT_TRUE(found) << name;
        return found ? *found : PHAsset();
    }
    [[nodiscard]] static PHAssetChangeRequest request(const PHAsset& asset) {
        return PHAssetChangeRequest::changeRequestForAsset(asset);
    }
    /// "" or why not.
    std::string change(const std::function<void()>& block) const { return changeIn(*library_, block); }
    static std::string changeIn(PHPhotoLibrary& library, const std::function<void()>& block) {
        std::string error;
        const bool isDone = library.performChangesAndWait(block, &error);
        EXPECT_EQ(isDone, error.empty());
        return error;
    }
    /// Utters the wish for a new photo.
    static PHAssetChangeRequest wishPhoto(const ByteString& file, const std::string& name) {
        return PHAssetChangeRequest::creationRequestForAssetWithData(dataOf(file), name);
    }
    static PHAssetCollectionChangeRequest wishAlbum(const std::string& title) {
        return PHAssetCollectionChangeRequest::creationRequestForAssetCollectionWithTitle(title);
    }
    /// Utters the wish to edit, with the edited file written.
    static void wishEdit(const Library& library, const PHAsset& asset, const ByteString& content,
                         const std::string& extension = "jpg") {
        PHContentEditingInput input;
        PHContentEditingOutput output(input);
        output.renderedContentURL = NSURL::fileURLWithPath(library.newPendingFile(extension));
        const std::filesystem::path pending(output.renderedContentURL.path());
        std::filesystem::create_directories(pending.parent_path());
        std::ofstream(pending, std::ios::binary) << content.text();
        output.adjustmentData = {"org.example.editor", "1", nullptr};
        request(asset).setContentEditingOutput(output);
    }
    void wishEdit(const std::string& name, const ByteString& content, const std::string& extension = "jpg") const {
        wishEdit(*library_, asset(name), content, extension);
    }

    static Names entries(const std::string& folder) {
        Names names;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(folder, error))
            names.push_back(entry.path().filename().string());
        std::ranges::sort(names);
        return names;
    }
    static std::int64_t nanoseconds(const std::string& path) { return photos::FileStamp::of(path).value().changed; }

    /// Files that are being made or fetched, also in the folders of programs that run.
    [[nodiscard]] Names pendingFiles() const {
        Names files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(own() + "/pending"))
            if (!entry.is_directory()) files.push_back(entry.path().string());
        return files;
    }

    /// Files and rows agree, nothing is under way, and a scan finds nothing to do.
    void expectWhole(const std::string& when = {}) const {
        EXPECT_EQ(count("journal"), 0) << when;
        EXPECT_THAT(pendingFiles(), testing::IsEmpty()) << when;
        EXPECT_EQ(count("assets WHERE presence < 2 AND 1 <> (SELECT COUNT(*) FROM files WHERE asset = assets.id AND "
                        "type = media_type)"),
                  0)
            << when;
        const photos::Database rows = database();
        photos::Statement file =
            rows.prepare("SELECT folders.path || '/' || files.path, size, changed FROM files, folders");
        while (file.step()) {
            const auto stamp = photos::FileStamp::of(file.text(0));
            ASSERT_TRUE(stamp) << when << ": " << file.text(0);
            EXPECT_EQ(static_cast<std::int64_t>(stamp->size), file.integer(1)) << when << ": " << file.text(0);
            EXPECT_EQ(stamp->changed, file.integer(2)) << when << ": " << file.text(0);
        }
        photos::Statement edit = rows.prepare("SELECT original FROM edits");
        std::size_t originals = 0;
        for (; edit.step(); ++originals) EXPECT_TRUE(std::filesystem::exists(edit.text(0))) << when;
        EXPECT_EQ(entries(own() + "/originals").size(), originals) << when;
        const photos::ScanResult scan = library_->scan();
        EXPECT_FALSE(scan.changedAnything())
            << when << ": " << scan.added << " added, " << scan.changed << " changed, " << scan.removed << " removed";
        EXPECT_THAT(scan.problems, testing::IsEmpty()) << when;
    }

    const TemporaryFolder folder_;
    std::shared_ptr<Library> library_;
};

}  // namespace tessaly::test
