#include <fcntl.h>

#include <cstdio>
#include <iostream>

#include "../photos/LibraryFixture.h"
#include "InMemory.h"
#include "KilledChild.h"
#include "support/WebServer.h"

// A library whose photos are on a server, killed while it fetches one, or finds out what was renamed there.
namespace tessaly::test {
namespace {

namespace fs = std::filesystem;
using photos::PhotoLibrary;

class RemoteKill : private InMemory, public testing::Test {
protected:
    void SetUp() override {
        if (!WebServer::hasWebDav()) GTEST_SKIP() << "there is no web server with WebDAV";
        if (!canTraceChildren()) GTEST_SKIP() << "this system does not let a child be traced";
        server_ = std::make_unique<WebServer>("location /photos/ { dav_ext_methods PROPFIND OPTIONS; }");
        for (int i = 1; i <= 4; ++i)
            server_->add("photos/" + std::to_string(i) + ".jpg",
                         std::string(photo(i, TiffBuilder(), 1000 * static_cast<std::size_t>(i)).text()));
    }

    [[nodiscard]] std::string at(const std::string& name) const { return (folder_.path() / name).string(); }
    [[nodiscard]] fs::path there(const std::string& name) const { return server_->file("photos/" + name); }
    /// In a child: here are no threads of a library, nor its connections.
    ChildEnd with(const std::function<void(PhotoLibrary&)>& work, std::optional<std::size_t> killAt = {}) const {
        return runChild(
            [&] {
                std::string error;
                const auto library = PhotoLibrary::open(at("library"), error);
                EXPECT_TRUE(library) << error;
                PHPhotoLibrary::setSharedPhotoLibrary(library);
                if (library) work(*library);
                std::cout.flush();
                if (HasFailure()) ::_exit(1);
            },
            killAt);
    }
    [[nodiscard]] PHAsset assetAt(const PhotoLibrary& library, const std::string& name) const {
        PHAsset asset;
        asset.localIdentifier = library.identifierOfFile(at("cloud/" + name)).value_or("none");
        return asset;
    }
    void fetch(const PhotoLibrary& library, const std::string& name) const {
        const auto content =
            library.content(assetAt(library, name).localIdentifier, PHAssetResourceTypePhoto, true, {});
        EXPECT_EQ(content.error, "") << name;
    }
    void expectWhole(PhotoLibrary& library) const {
        library.scan();
        PHFetchOptions favorites;
        favorites.predicate = NSPredicate::predicateWithFormat("favorite == YES");
        EXPECT_EQ(library.assets(PHFetchOptions()).count(), 4U);
        ASSERT_EQ(library.assets(favorites).count(), 1U);
        EXPECT_EQ(library.assets(favorites).firstObject()->localIdentifier, assetAt(library, "5.jpg").localIdentifier);
        for (const auto& entry : fs::directory_iterator(at("cloud")))
            EXPECT_EQ(contentOf(entry.path()), contentOf(there(entry.path().filename().string()))) << entry.path();
        for (const auto& entry : fs::recursive_directory_iterator(at("library/pending")))
            EXPECT_TRUE(entry.is_directory()) << entry.path();
        EXPECT_FALSE(library.scan().changedAnything());
    }

    const TemporaryFolder folder_;
    std::unique_ptr<WebServer> server_;
};

TEST_F(RemoteKill, RenamesAreFollowedAndNoPartIsLeft) {
    const auto prepared = with([&](PhotoLibrary& library) {
        EXPECT_EQ(library.addFolder(at("cloud"), server_->url("/photos")), "");
        EXPECT_EQ(library.scan().added, 4U);
        EXPECT_TRUE(library.performChangesAndWait(
            [&] { PHAssetChangeRequest::changeRequestForAsset(assetAt(library, "1.jpg")).setFavorite(true); }));
        fetch(library, "2.jpg");
    });
    ASSERT_EQ(prepared.status, 0);
    // What was fetched has the server's times, which a link keeps.
    const auto copy = [&](const std::string& from, const std::string& to) {
        const auto links = from.ends_with("cloud") ? fs::copy_options::create_hard_links : fs::copy_options::none;
        fs::remove_all(at(to));
        fs::copy(at(from), at(to), fs::copy_options::recursive | links);
    };
    copy("library", "was-library"), copy("cloud", "was-cloud");
    fs::rename(there("1.jpg"), there("5.jpg"));
    ASSERT_EQ(::renameat2(AT_FDCWD, there("2.jpg").c_str(), AT_FDCWD, there("3.jpg").c_str(), RENAME_EXCHANGE), 0);
    const std::function<void(PhotoLibrary&)> tasks[] = {[](PhotoLibrary& library) { library.scan(); },
                                                        [&](PhotoLibrary& library) { fetch(library, "4.jpg"); }};
    for (const auto& task : tasks)
        for (std::size_t step = 1, isKilled = 1; isKilled && !HasFailure(); ++step) {
            copy("was-library", "library"), copy("was-cloud", "cloud");
            isKilled = with(task, step).isKilled ? 1 : 0;
            EXPECT_EQ(with([&](PhotoLibrary& library) { expectWhole(library); }).status, 0) << "killed at " << step;
        }
}

}  // namespace
}  // namespace tessaly::test
