#include <algorithm>
#include <atomic>
#include <fstream>
#include <map>
#include <mutex>
#include <set>

#include "linux/photos/PhotoLibrary.h"
#include "photos/ImageManagerFixture.h"
#include "photos/RemoteFixture.h"

namespace tessaly::photos {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using test::RudeServer;
using test::TemporaryFolder;
using test::WebServer;
using testing::HasSubstr;
using testing::StartsWith;

/// Longer than a download waits for a server that has fallen silent.
constexpr auto kPatience = 60s;

std::string textOf(const Data& data) {
    return data ? std::string(reinterpret_cast<const char*>(data->data()), data->size()) : std::string();
}

/// Shown `width` x `height`, which it is stored turned; `mark` makes it differ from others.
std::string jpegOf(std::size_t width, std::size_t height, std::size_t mark = 0) {
    return textOf(orientedJpeg(height, width, 6)) + std::string(mark, '+');
}

bool canDecode() { return tessaly::jpegOf(8, 8) != nullptr; }

constexpr const char* kIndexed = R"(
    location /photos/ { autoindex on; autoindex_format json; }
    location /moved/ { rewrite ^/moved/(.*)$ /photos/$1 permanent; }
    location /slow/ { alias FOLDER/files/photos/; autoindex on; autoindex_format json; limit_rate 400k; }
    location /private/ { alias FOLDER/files/photos/; autoindex on; autoindex_format json;
                         auth_basic "photos"; auth_basic_user_file FOLDER/files/users; }
)";
constexpr const char* kWebDav = R"(
    location /photos/ { dav_ext_methods PROPFIND OPTIONS; }
    location /moved/ { rewrite ^/moved/(.*)$ /photos/$1 permanent; }
    location /slow/ { alias FOLDER/files/photos/; dav_ext_methods PROPFIND OPTIONS; limit_rate 400k; }
    location /private/ { alias FOLDER/files/photos/; dav_ext_methods PROPFIND OPTIONS;
                         auth_basic "photos"; auth_basic_user_file FOLDER/files/users; }
)";

enum class Kind : std::uint8_t { index, webDav };

class RemoteFolder : public testing::TestWithParam<Kind> {
protected:
    void SetUp() override {
        if (!WebServer::isInstalled()) GTEST_SKIP() << "nginx is not installed";
        if (GetParam() == Kind::webDav && !WebServer::hasWebDav())
            GTEST_SKIP() << "the WebDAV module of nginx is not installed";
        if (!canDecode()) GTEST_SKIP() << "no JPEG encoder is installed";
        server = std::make_unique<WebServer>(GetParam() == Kind::webDav ? kWebDav : kIndexed);
        std::string error;
        library = PhotoLibrary::open(data.path() / "library", error);
        ASSERT_TRUE(library) << error;
        PHPhotoLibrary::setSharedPhotoLibrary(library);
    }
    void TearDown() override { PHPhotoLibrary::setSharedPhotoLibrary(nullptr); }

    void addPhoto(const std::string& name, const std::string& content) const { server->add("photos/" + name, content); }
    /// The library's folder of what is at that path of the server, which is scanned.
    ScanResult join(const std::string& path = "/photos/") {
        EXPECT_EQ(library->addFolder(local(), server->url(path)), "");
        return library->scan();
    }
    [[nodiscard]] std::string local() const { return data.path() / "fetched"; }
    [[nodiscard]] PHAssetRef assetNamed(const std::string& name) const {
        const auto identifier = library->identifierOfFile(local() + "/" + name);
        if (!identifier) return nullptr;
        const std::vector identifiers{*identifier};
        return library->assets(identifiers, {}).firstObject();
    }
    [[nodiscard]] std::size_t assetCount() const { return library->assets(PHFetchOptions()).count(); }
    [[nodiscard]] std::size_t renditionCount() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(data.path() / "library/renditions"), fs::directory_iterator()));
    }
    [[nodiscard]] bool isHere(const std::string& name) const { return fs::exists(local() + "/" + name); }

    TemporaryFolder data;
    std::unique_ptr<WebServer> server;
    std::shared_ptr<PhotoLibrary> library;
    PHImageManager manager;
};

INSTANTIATE_TEST_SUITE_P(Servers, RemoteFolder, testing::Values(Kind::index, Kind::webDav),
                         [](const auto& kind) { return kind.param == Kind::index ? "Index" : "WebDav"; });

TEST_P(RemoteFolder, ListsEverythingBelow) {
    const std::vector<std::string> names{
        "a.jpg",
        "b c+d.jpg",
        "sommer 2020/ärger & \"öl\" 100%.jpg",
        "sommer 2020/50%25/a?b#c;d='e'.jpg",
        "x/y/z/<deep>.txt",
        "naïve/日本.heic",
    };
    Files expected;
    for (std::size_t i = 0; i < names.size(); ++i) {
        addPhoto(names[i], std::string(i + 1, 'x'));
        expected[names[i]] = i + 1;
    }
    addPhoto(".thumbnails/a.jpg", "x");
    addPhoto("x/.hidden.jpg", "x");
    addPhoto("empty", "");
    server->add("users", "me@home:{PLAIN}se/cret\n");
    for (const std::string& url : {server->url("/photos/"), server->url("/photos"), server->url("/moved"),
                                   server->url("/private/", "me%40home:se%2Fcret@")}) {
        SCOPED_TRACE(url);
        std::string fault;
        EXPECT_EQ(filesAt(url, fault), expected);
        EXPECT_EQ(fault, "");
    }
    for (const auto& [url, why] :
         {std::pair{server->url("/private/", "me:wrong@"), "(401)"}, std::pair{server->url("/nowhere/"), "(404)"}}) {
        std::string fault;
        EXPECT_THAT(filesAt(url, fault), IsEmpty());
        EXPECT_THAT(fault, HasSubstr(why));
    }
}

TEST_P(RemoteFolder, TellsWhenAFileWasChanged) {
    addPhoto("a.jpg", "x");
    const auto time = std::chrono::sys_seconds(1445412480s);  // 2015-10-21 07:28:00
    fs::last_write_time(server->file("photos/a.jpg"), std::chrono::file_clock::from_sys(time));
    std::int64_t changed = 0;
    EXPECT_EQ(listRemoteFolder(server->url("/photos/"), [&](const RemoteFile& file) { changed = file.changed; }), "");
    EXPECT_EQ(changed, 1445412480'000000000);
}

TEST_P(RemoteFolder, BecomesAssetsWithSmallPictures) {
    addPhoto("bäch 1+1.jpg", jpegOf(800, 600));
    addPhoto("Screenshots/small 100%.jpg", jpegOf(40, 30));
    addPhoto("notes.txt", "no photo");
    addPhoto("broken.jpg", jpegOf(800, 600).substr(0, 400));
    addPhoto("film.mp4", test::contentOf(std::string(TESSALY_CODEC_FILES) + "/sideways.mp4"));
    const ScanResult first = join();
    EXPECT_THAT(first.problems, IsEmpty());
    EXPECT_EQ(first.seen, 5U);
    const PHAssetRef large = assetNamed("bäch 1+1.jpg");
    const PHAssetRef small = assetNamed("Screenshots/small 100%.jpg");
    ASSERT_TRUE(large && small);
    EXPECT_EQ(large->pixelWidth, 800U);
    EXPECT_EQ(large->pixelHeight, 600U);
    EXPECT_EQ(small->mediaSubtypes, PHAssetMediaSubtypePhotoScreenshot) << "known by its folder";
    EXPECT_EQ(assetNamed("notes.txt"), nullptr);
    EXPECT_TRUE(fs::is_empty(local())) << "reading leaves nothing behind";
    for (const auto& entry : fs::recursive_directory_iterator(data.path() / "library/pending"))
        EXPECT_TRUE(entry.is_directory()) << entry.path();
    for (const auto& [asset, size] : {std::pair{large, CGSize{512, 384}}, std::pair{small, CGSize{40, 30}}}) {
        const auto picture = UIImage::imageWithContentsOfFile(library->rendition(asset->localIdentifier));
        ASSERT_TRUE(picture);
        EXPECT_TRUE(picture->size() == size) << picture->size().width;
        EXPECT_EQ(picture->imageOrientation(), UIImageOrientation::up);
    }
    const PHAssetRef film = assetNamed("film.mp4");
    ASSERT_TRUE(film);
    const auto frame = UIImage::imageWithContentsOfFile(library->rendition(film->localIdentifier));
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->size().width < frame->size().height, film->pixelWidth < film->pixelHeight);
    const std::string half = data.write("fetched/deep/.tessaly-999999999-1.part", "a download that was killed");
    EXPECT_FALSE(library->scan().changedAnything()) << "nothing is read twice";
    EXPECT_FALSE(fs::exists(half));

    const std::size_t before = renditionCount();
    addPhoto("bäch 1+1.jpg", jpegOf(300, 200));
    fs::remove(server->file("photos/Screenshots/small 100%.jpg"));
    addPhoto("new.jpg", jpegOf(20, 10));
    addPhoto("notes.txt", "still no photo");
    const ScanResult second = library->scan();
    EXPECT_EQ(second.added, 1U);
    EXPECT_EQ(second.changed, 1U);
    EXPECT_EQ(second.removed, 1U);
    EXPECT_EQ(assetNamed("bäch 1+1.jpg")->localIdentifier, large->localIdentifier);
    const auto picture = UIImage::imageWithContentsOfFile(library->rendition(large->localIdentifier));
    EXPECT_TRUE(picture && (picture->size() == CGSize{300, 200})) << "of what it is now";
    EXPECT_EQ(library->rendition(small->localIdentifier), "");
    EXPECT_EQ(renditionCount(), before) << "one went, one came";
    EXPECT_EQ(library->removeFolder(local()), "");
    EXPECT_EQ(renditionCount(), 0U);
}

TEST_P(RemoteFolder, StaysInTheLibraryWhenItsServerGoes) {
    constexpr int kMany = 260;  // More than are read at a time.
    const std::string photo = jpegOf(4, 3);
    for (int i = 0; i < kMany; ++i) addPhoto(std::to_string(1000 + i) + ".jpg", photo + std::to_string(i));
    EXPECT_EQ(library->addFolder(local(), server->url("/photos/", "me:secret@")), "");
    const ScanResult cut = library->scan([&](const photos::ScanProgress& progress) {
        if (progress.read > 0) server->stop();
        return true;
    });
    const std::size_t known = assetCount();
    EXPECT_GT(known, 0U);
    EXPECT_LT(known, static_cast<std::size_t>(kMany));
    ASSERT_EQ(cut.problems.size(), 1U) << "of a server that is away every file would be one";
    EXPECT_THAT(cut.problems[0].path, StartsWith(server->url("/photos/")));
    EXPECT_THAT(cut.problems[0].why, HasSubstr("cannot be reached"));
    const ScanResult down = library->scan();
    EXPECT_EQ(assetCount(), known);
    EXPECT_EQ(renditionCount(), known);
    ASSERT_EQ(down.problems.size(), 1U);
    EXPECT_EQ(down.problems[0].path, server->url("/photos/")) << "without the password";
    EXPECT_THAT(down.problems[0].why, HasSubstr("cannot be reached"));
    PHFetchOptions away;
    away.predicate = NSPredicate::predicateWithFormat("isAway = YES");
    EXPECT_EQ(library->assets(away).count(), known);
}

// By what the server tells of a file or, where that is the same of several, by what is in it.
TEST_P(RemoteFolder, FollowsWhatIsRenamedThere) {
    std::map<std::string, std::string> contents;
    const auto add = [&](const std::string& name, std::size_t mark) {
        contents[name] = jpegOf(40, 30, mark);
        addPhoto(name, contents[name]);
    };
    const auto file = [&](const std::string& name) { return server->file("photos/" + name); };
    const auto rename = [&](const std::string& from, const std::string& to) {
        fs::create_directories(fs::path(file(to)).parent_path());
        fs::rename(file(from), file(to));
    };
    add("a.jpg", 1), add("b.jpg", 2), add("c.jpg", 3), add("like1.jpg", 14);
    add("e.jpg", 5), add("f.jpg", 6), add("g.jpg", 7), add("h.jpg", 8);
    // The same size and time, and another end.
    addPhoto("like2.jpg", jpegOf(40, 30, 10) + "like");
    fs::last_write_time(file("like2.jpg"), fs::last_write_time(file("like1.jpg")));
    join();
    std::map<std::string, std::string> identifiers;
    for (const char* name : {"a.jpg", "b.jpg", "c.jpg", "e.jpg", "f.jpg", "g.jpg", "h.jpg", "like1.jpg", "like2.jpg"})
        identifiers[name] = assetNamed(name)->localIdentifier;
    for (const char* name : {"a.jpg", "e.jpg", "f.jpg", "h.jpg"})
        EXPECT_EQ(library->content(identifiers[name], 1, true, {}).error, "");
    std::ofstream(local() + "/h.jpg") << "changed here";
    rename("a.jpg", "deep/d.jpg");
    rename("b.jpg", "a.jpg"), rename("c.jpg", "b.jpg"), rename("a.jpg", "c.jpg");
    rename("like1.jpg", "was1.jpg"), rename("like2.jpg", "was2.jpg");
    // Exchanged, where both or one of them was fetched.
    rename("e.jpg", "t"), rename("f.jpg", "e.jpg"), rename("t", "f.jpg");
    rename("g.jpg", "t"), rename("h.jpg", "g.jpg"), rename("t", "h.jpg");
    const ScanResult result = library->scan();
    EXPECT_EQ(result.moved, 9U);
    EXPECT_EQ(result.added + result.removed + result.changed, 0U);
    for (const auto& [now, before] :
         {std::pair{"deep/d.jpg", "a.jpg"}, std::pair{"c.jpg", "b.jpg"}, std::pair{"b.jpg", "c.jpg"},
          std::pair{"was1.jpg", "like1.jpg"}, std::pair{"was2.jpg", "like2.jpg"}, std::pair{"e.jpg", "f.jpg"},
          std::pair{"f.jpg", "e.jpg"}, std::pair{"g.jpg", "h.jpg"}, std::pair{"h.jpg", "g.jpg"}}) {
        ASSERT_TRUE(assetNamed(now)) << now;
        EXPECT_EQ(assetNamed(now)->localIdentifier, identifiers[before]) << now;
    }
    EXPECT_TRUE(isHere("deep/d.jpg")) << "what was fetched went along";
    EXPECT_FALSE(isHere("a.jpg"));
    for (const auto& [now, before] :
         {std::pair{"deep/d.jpg", "a.jpg"}, std::pair{"e.jpg", "f.jpg"}, std::pair{"f.jpg", "e.jpg"}})
        EXPECT_EQ(test::contentOf(local() + "/" + now), contents[before]) << now;
    EXPECT_EQ(test::contentOf(local() + "/g.jpg"), "changed here");
    EXPECT_FALSE(isHere("h.jpg"));
    EXPECT_FALSE(library->scan().changedAnything());
}

/// The data of one request, and what was told on the way.
struct Delivery {
    std::string bytes;
    Dictionary info;
    std::vector<double> progress;
    std::string problem;
};

/// Asks for the data, and for an end of that once `stopAt` is reached. The delivery is complete at the signal.
DispatchSemaphore requestData(PHImageManager& manager, const PHAssetRef& asset, bool network, double stopAt,
                              Delivery& delivery) {
    DispatchSemaphore done;
    PHImageRequestOptions options;
    options.networkAccessAllowed = network;
    options.progressHandler = [&delivery, stopAt](double progress, const std::string& error, bool& stop,
                                                  const Dictionary&) {
        delivery.progress.push_back(progress);
        if (!error.empty()) delivery.problem = error;
        stop = progress >= stopAt;
    };
    manager.requestImageDataForAsset(
        asset, options,
        [&delivery, done](const Data& data, const std::string&, UIImageOrientation, const Dictionary& info) mutable {
            delivery.bytes = textOf(data);
            delivery.info = info;
            done.signal();
        });
    return done;
}

Delivery dataOf(PHImageManager& manager, const PHAssetRef& asset, bool network, double stopAt = 2) {
    Delivery delivery;
    EXPECT_TRUE(requestData(manager, asset, network, stopAt, delivery).wait(kPatience));
    return delivery;
}

TEST_P(RemoteFolder, IsFetchedOnceAndStays) {
    const std::string photo = jpegOf(64, 48, 300'000);
    addPhoto("trip/a b%.jpg", photo);
    EXPECT_THAT(join("/slow/").problems, IsEmpty());
    const PHAssetRef asset = assetNamed("trip/a b%.jpg");
    ASSERT_TRUE(asset);

    const Delivery stopped = dataOf(manager, asset, true, 0.01);
    EXPECT_EQ(stopped.bytes, "");
    EXPECT_TRUE(stopped.info[PHImageCancelledKey].boolValue());
    EXPECT_FALSE(isHere("trip/a b%.jpg"));

    const Delivery fetched = dataOf(manager, asset, true);
    EXPECT_TRUE(fetched.bytes == photo);
    EXPECT_EQ(fetched.info[PHImageResultIsInCloudKey].integerValue(), 0);
    EXPECT_FALSE(fetched.info.contains(PHImageErrorKey));
    EXPECT_TRUE(std::ranges::is_sorted(fetched.progress));
    const std::set<double> between(fetched.progress.begin(), fetched.progress.end());
    EXPECT_GE(between.size(), 4U);
    EXPECT_EQ(fetched.progress.back(), 1.0);

    server->stop();
    const auto content = library->content(asset->localIdentifier, PHAssetResourceTypePhoto, false, {});
    EXPECT_EQ(content.path, local() + "/trip/a b%.jpg");
    EXPECT_FALSE(content.isInCloud);
    EXPECT_TRUE(dataOf(manager, asset, false).bytes == photo);
    EXPECT_NE(library->evict(asset->localIdentifier), "") << "nobody can tell whether the server has it";
    EXPECT_TRUE(isHere("trip/a b%.jpg"));
}

TEST_P(RemoteFolder, IsShownSmallWhileItIsElsewhere) {
    addPhoto("a.jpg", jpegOf(1600, 1200));
    EXPECT_THAT(join().problems, IsEmpty());
    const PHAssetRef asset = assetNamed("a.jpg");
    ASSERT_TRUE(asset);
    const Delivery none = dataOf(manager, asset, false);
    EXPECT_EQ(none.bytes, "");
    EXPECT_EQ(none.info[PHImageResultIsInCloudKey].integerValue(), 1);
    EXPECT_FALSE(none.info.contains(PHImageErrorKey));
    EXPECT_THAT(none.progress, IsEmpty());

    using Mode = PHImageRequestOptionsDeliveryMode;
    using Resize = PHImageRequestOptionsResizeMode;
    struct Case {
        bool network;
        bool waits;
        Mode mode;
        Resize resize;
        CGSize target;
        std::vector<std::string> answers;  ///< In the order of their coming.
    };
    const std::string small = "512 x 384 degraded elsewhere";
    const std::vector<Case> cases{
        {false, true, Mode::highQualityFormat, Resize::fast, PHImageManagerMaximumSize, {small}},
        {false, false, Mode::opportunistic, Resize::fast, {1000, 1000}, {small}},
        {false, false, Mode::opportunistic, Resize::fast, {100, 100}, {"100 x 75 degraded elsewhere"}},
        {false, false, Mode::opportunistic, Resize::exact, {600, 600}, {"600 x 450 degraded elsewhere"}},
        {true, false, Mode::fastFormat, Resize::fast, {1000, 1000}, {small}},
        {true, false, Mode::opportunistic, Resize::fast, {1000, 1000}, {small, "1000 x 750"}},
        {true, true, Mode::opportunistic, Resize::fast, {1000, 1000}, {"1000 x 750"}},
        {true, false, Mode::highQualityFormat, Resize::fast, {1000, 1000}, {"1000 x 750"}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.answers.front());
        ASSERT_TRUE(!isHere("a.jpg") || library->evict(asset->localIdentifier).empty());
        PHImageRequestOptions options;
        options.networkAccessAllowed = each.network;
        options.synchronous = each.waits;
        options.deliveryMode = each.mode;
        options.resizeMode = each.resize;
        std::vector<std::string> answers;
        DispatchSemaphore arrived;
        manager.requestImageForAsset(
            asset, each.target, PHImageContentMode::aspectFit, options,
            [&, arrived](const UIImageRef& image, const Dictionary& info) mutable {
                const CGSize size = image ? image->size() : CGSize{};
                answers.push_back(std::to_string(static_cast<int>(size.width)) + " x " +
                                  std::to_string(static_cast<int>(size.height)) +
                                  (info[PHImageResultIsDegradedKey].boolValue() ? " degraded" : "") +
                                  (info[PHImageResultIsInCloudKey].integerValue() == 1 ? " elsewhere" : "") +
                                  std::string(info[PHImageErrorKey].string()));
                arrived.signal();
            });
        for (std::size_t i = 0; i < each.answers.size(); ++i) EXPECT_TRUE(arrived.wait(kPatience));
        EXPECT_EQ(answers, each.answers);
    }
}

TEST_P(RemoteFolder, GivesUpOnlyWhatTheServerHas) {
    for (const char* name : {"a.jpg", "b.jpg", "c.jpg", "d.jpg", "e.jpg"}) addPhoto(name, jpegOf(40, 30));
    EXPECT_THAT(join().problems, IsEmpty());
    std::map<std::string, std::string> identifiers;
    for (const std::string name : {"a.jpg", "b.jpg", "c.jpg", "d.jpg", "e.jpg"}) {
        identifiers[name] = assetNamed(name)->localIdentifier;
        EXPECT_TRUE(name == "e.jpg" || !dataOf(manager, assetNamed(name), true).bytes.empty());
    }
    fs::remove(server->file("photos/b.jpg"));
    addPhoto("c.jpg", jpegOf(40, 30, 1));
    fs::last_write_time(local() + "/d.jpg", fs::file_time_type::clock::now());  // Written to, in place.
    const std::vector<std::pair<std::string, std::string>> cases{
        {"a.jpg", ""},
        {"a.jpg", "nothing of the photo was fetched"},
        {"b.jpg", "(404)"},
        {"c.jpg", "expected size"},
        {"d.jpg", "was changed here"},
        {"e.jpg", "nothing of the photo was fetched"},
    };
    for (const auto& [name, why] : cases) {
        SCOPED_TRACE(name + " " + why);
        const std::string said = library->evict(identifiers[name]);
        EXPECT_EQ(said.empty(), why.empty()) << said;
        EXPECT_THAT(said, HasSubstr(why));
        EXPECT_EQ(isHere(name), name != "a.jpg" && name != "e.jpg");
    }
    EXPECT_NE(library->evict("none"), "");
    EXPECT_FALSE(dataOf(manager, assetNamed("a.jpg"), true).bytes.empty()) << "and can be had again";

    EXPECT_THAT(library->scan().problems, IsEmpty());
    EXPECT_FALSE(isHere("c.jpg")) << "it is another photo by now";
    EXPECT_TRUE(isHere("b.jpg")) << "the last one of its kind";
    EXPECT_TRUE(isHere("d.jpg"));
}

TEST(RemoteFetching, TellsWhyThereIsNothing) {
    if (!canDecode()) GTEST_SKIP() << "no JPEG encoder is installed";
    const std::string photo = jpegOf(64, 48);
    const std::string index =
        answerOf(200, R"([{"name":"a.jpg","type":"file","size":)" + std::to_string(photo.size()) + "}]");
    struct Case {
        std::string answer;
        RudeServer::Then then;
        double stopAt;
        std::string why;
    };
    const std::string half = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(photo.size()) + "\r\n\r\n" +
                             photo.substr(0, photo.size() / 2);
    const std::vector<Case> cases{
        {answerOf(404, ""), RudeServer::Then::cuts, 2, "The server does not have the file (404)"},
        {answerOf(500, ""), RudeServer::Then::cuts, 2, "The server refuses to send the file (500)"},
        {half, RudeServer::Then::cuts, 2, "The connection was lost"},
        {answerOf(200, photo + "+"), RudeServer::Then::cuts, 2, "The file does not have the expected size"},
        {half, RudeServer::Then::isSilent, 2, "The server has stopped sending"},
        {half, RudeServer::Then::isSilent, 0.4, ""},
    };
    // All at once: one of them waits for its server as long as a download does.
    std::vector<std::unique_ptr<TemporaryFolder>> folders;
    std::vector<std::shared_ptr<PhotoLibrary>> libraries;
    std::vector<std::unique_ptr<RudeServer>> servers;
    std::vector<Delivery> deliveries(cases.size());
    std::vector<DispatchSemaphore> pending;
    PHImageManager manager;
    for (std::size_t i = 0; i < cases.size(); ++i) {
        folders.push_back(std::make_unique<TemporaryFolder>());
        auto isScanned = std::make_shared<std::atomic<bool>>(false);
        servers.push_back(std::make_unique<RudeServer>(
            [&, isScanned, i](const std::string& request) {
                if (request.starts_with("PROPFIND")) return answerOf(405, "");
                if (request.starts_with("GET / ")) return index;
                return isScanned->exchange(true) ? cases[i].answer : answerOf(200, photo);
            },
            cases[i].then));
        std::string error;
        libraries.push_back(PhotoLibrary::open(folders[i]->path() / "library", error));
        ASSERT_TRUE(libraries[i]) << error;
        EXPECT_EQ(libraries[i]->addFolder(folders[i]->path() / "fetched", servers[i]->url()), "");
        EXPECT_EQ(libraries[i]->scan().added, 1U);
        PHPhotoLibrary::setSharedPhotoLibrary(libraries[i]);
        const PHAssetRef asset = libraries[i]->assets(PHFetchOptions()).firstObject();
        pending.push_back(requestData(manager, asset, true, cases[i].stopAt, deliveries[i]));
    }
    for (DispatchSemaphore& done : pending) ASSERT_TRUE(done.wait(kPatience));
    PHPhotoLibrary::setSharedPhotoLibrary(nullptr);
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(cases[i].why);
        EXPECT_EQ(deliveries[i].bytes, "");
        EXPECT_TRUE(fs::is_empty(folders[i]->path() / "fetched")) << "a part is no photo";
        const bool isStopped = cases[i].why.empty();
        EXPECT_EQ(deliveries[i].info[PHImageCancelledKey].boolValue(), isStopped);
        if (isStopped) continue;
        EXPECT_EQ(deliveries[i].info[PHImageErrorKey].string(), servers[i]->url() + "a.jpg: " + cases[i].why);
        EXPECT_EQ(deliveries[i].problem, servers[i]->url() + "a.jpg: " + cases[i].why);
        EXPECT_LT(deliveries[i].progress.back(), 1.0);
        EXPECT_EQ(deliveries[i].info[PHImageResultIsInCloudKey].integerValue(), 1);
    }
}

}  // namespace
}  // namespace tessaly::photos
