#include <unistd.h>

#include <cerrno>
#include <sstream>

#include "DesktopFixture.h"
#include "linux/desktop/DesktopEntries.h"
#include "linux/desktop/Launch.h"

// Which programs open a picture, and how they are started.
namespace tessaly::test {
namespace {

using desktop::Application;
using desktop::commandsFor;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Arguments = std::vector<std::string>;

TEST_F(DesktopTest, EntriesAreOfferedWhenTheirProgramCanBeStarted) {
    const struct {
        const char* why;
        const char* lines;
        bool isOffered;
    } kCases[] = {
        {"a plain one", "", true},
        {"not in menus, yet there for files", "NoDisplay=true\n", true},
        {"deleted by its user", "Hidden=true\n", false},
        {"wants a terminal", "Terminal=true\n", false},
        {"what it tries is there", "TryExec=viewer\n", true},
        {"what it tries is not", "TryExec=gone\n", false},
        {"its program is not there", "Exec=gone %U\n", false},
        {"no program at all", "Exec=\n", false},
        {"a quotation that does not end", "Exec=viewer \"%U\n", false},
        {"of what stands twice the first counts", "Type=Link\n", true},
        {"other files", "MimeType=image/png;\n", false},
        {"among several, without the last semicolon", "MimeType=image/png;image/jpeg\n", true},
    };
    for (const auto& [why, lines, isOffered] : kCases) {
        entry("system/applications/one.desktop", "One", lines);
        EXPECT_THAT(idsFor("image/jpeg"), isOffered ? Arguments{"one.desktop"} : Arguments{}) << why;
    }
    write("system/applications/one.desktop", "Type=Application\nExec=viewer\nMimeType=image/jpeg;");
    EXPECT_THAT(idsFor("image/jpeg"), IsEmpty()) << "no group";
}

TEST_F(DesktopTest, AUsersEntryStandsBeforeTheSystemsOfTheSameName) {
    entry("system/applications/kde/view.desktop", "System's");
    entry("system/applications/other.desktop", "Other");
    EXPECT_THAT(idsFor("image/jpeg"), ElementsAre("kde-view.desktop", "other.desktop")) << "named by its folders";
    entry("user/applications/kde-view.desktop", "User's");
    EXPECT_EQ(desktop::DesktopEntries().applicationsFor("image/jpeg").front().name, "User's");
    entry("user/applications/kde-view.desktop", "User's", "MimeType=image/png;\n");
    EXPECT_THAT(idsFor("image/jpeg"), ElementsAre("other.desktop")) << "it says what it opens, too";
    entry("user/applications/kde-view.desktop", "User's", "Hidden=true\n");
    EXPECT_THAT(idsFor("image/jpeg"), ElementsAre("other.desktop")) << "it hides";
}

TEST_F(DesktopTest, ListsSayWhatIsTheDefaultAndWhatIsTakenAway) {
    for (const char* name : {"a", "b", "c"}) entry("system/applications/" + std::string(name) + ".desktop", name);
    entry("system/applications/text.desktop", "text", "MimeType=text/plain;\n");
    using Files = std::map<std::string, std::string>;
    const std::string user = "config/mimeapps.list", system = "system/applications/mimeapps.list";
    const std::string own = "config/gnome-mimeapps.list", site = "etc/mimeapps.list";
    const auto is = [](const char* group, const char* ids) {
        return "[" + std::string(group) + "]\nimage/jpeg=" + ids + "\n";
    };
    const char *defaults = "Default Applications", *added = "Added Associations", *removed = "Removed Associations";
    const struct {
        const char* why;
        Files files;
        Arguments ids;
    } kCases[] = {
        {"no list", {}, {"a.desktop", "b.desktop", "c.desktop"}},
        {"the default is first", {{user, is(defaults, "c.desktop;")}}, {"c.desktop", "a.desktop", "b.desktop"}},
        {"one that is not there is passed over",
         {{user, is(defaults, "gone.desktop;b.desktop")}},
         {"b.desktop", "a.desktop", "c.desktop"}},
        {"the user's before the system's",
         {{user, is(defaults, "b.desktop")}, {system, is(defaults, "c.desktop")}},
         {"b.desktop", "c.desktop", "a.desktop"}},
        {"the desktop's own before all desktops'",
         {{own, is(defaults, "c.desktop")}, {user, is(defaults, "b.desktop")}},
         {"c.desktop", "b.desktop", "a.desktop"}},
        {"added though it does not claim the type",
         {{user, is(added, "text.desktop")}},
         {"text.desktop", "a.desktop", "b.desktop", "c.desktop"}},
        {"taken away", {{user, is(removed, "a.desktop;b.desktop;")}}, {"c.desktop"}},
        {"taken away from a less important list's default, too",
         {{user, is(removed, "a.desktop")}, {site, is(defaults, "a.desktop")}},
         {"b.desktop", "c.desktop"}},
        {"added by the user, taken away by the system: the user wins",
         {{user, is(added, "c.desktop")}, {system, is(removed, "c.desktop")}},
         {"c.desktop", "a.desktop", "b.desktop"}},
        {"a name that leads out of the folder",
         {{user, is(defaults, "../a.desktop")}},
         {"a.desktop", "b.desktop", "c.desktop"}},
    };
    for (const auto& [why, files, ids] : kCases) {
        for (const std::string& list : {user, system, own, site}) std::filesystem::remove(path(list));
        for (const auto& [file, content] : files) write(file, content);
        EXPECT_THAT(idsFor("image/jpeg"), ElementsAreArray(ids)) << why;
    }
}

TEST_F(DesktopTest, ACacheIsBelievedOnlyWhileItIsFreshAndTrue) {
    entry("system/applications/a.desktop", "A");
    entry("system/applications/b.desktop", "B");
    const std::string cache = write("system/applications/mimeinfo.cache",
                                    "[MIME Cache]\nimage/jpeg=b.desktop;gone.desktop;text.desktop;a.desktop;\n");
    entry("system/applications/text.desktop", "Text", "MimeType=text/plain;\n");
    EXPECT_THAT(idsFor("image/jpeg"), ElementsAre("b.desktop", "a.desktop"));
    const auto longAgo = std::filesystem::last_write_time(cache) - std::chrono::hours(1);
    std::filesystem::last_write_time(cache, longAgo);
    EXPECT_THAT(idsFor("image/jpeg"), ElementsAre("a.desktop", "b.desktop")) << "the folder has changed since";
}

TEST_F(DesktopTest, TypesHaveOtherNamesAndKinds) {
    write("system/mime/subclasses", "image/x-canon-cr2 image/x-dcraw\nimage/x-dcraw image/tiff\n");
    write("system/mime/aliases", "image/heic image/heif\n");
    entry("system/applications/raw.desktop", "Raw", "MimeType=image/x-dcraw;\n");
    entry("system/applications/tiff.desktop", "Tiff", "MimeType=image/tiff;\n");
    entry("system/applications/heic.desktop", "Heic", "MimeType=image/heic;\n");
    EXPECT_THAT(idsFor("image/x-canon-cr2"), ElementsAre("raw.desktop", "tiff.desktop"));
    EXPECT_THAT(idsFor("image/heif"), ElementsAre("heic.desktop"));
    write("config/mimeapps.list", "[Removed Associations]\nimage/x-canon-cr2=tiff.desktop\n");
    EXPECT_THAT(idsFor("image/x-canon-cr2"), ElementsAre("raw.desktop")) << "does not come back as a TIFF";
    write("system/mime/subclasses", "a/a b/b\nb/b a/a\n");
    EXPECT_THAT(idsFor("a/a"), IsEmpty()) << "a circle ends";
}

TEST_F(DesktopTest, SeveralFilesNeedAProgramForEachOfTheirTypes) {
    entry("system/applications/all.desktop", "All", "MimeType=image/png;image/jpeg;\n");
    entry("system/applications/jpeg.desktop", "Jpeg");
    const std::string_view types[] = {"image/jpeg", "image/jpeg", "image/png"};
    const auto found = desktop::DesktopEntries().applicationsForAll(types);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found.front().id, "all.desktop");
}

TEST_F(DesktopTest, IconsAreFilesOfTheThemeEverybodyHas) {
    const std::string scalable = write("system/icons/hicolor/scalable/apps/vector.svg", "<svg/>");
    write("system/icons/hicolor/48x48/apps/vector.png", "png");
    const std::string pixmap = write("system/pixmaps/old.png", "png");
    const std::string placed = write("anywhere.png", "png");
    const std::pair<std::string, std::string> kCases[] = {
        {"vector", scalable}, {"old", pixmap}, {placed, placed}, {"none", ""}, {"", ""}, {"../old", ""},
    };
    for (const auto& [icon, file] : kCases) {
        Application one;
        one.icon = icon;
        EXPECT_EQ(desktop::DesktopEntries().iconFile(one), file) << icon;
    }
}

TEST_F(DesktopTest, ExecIsExpandedByItsOwnRules) {
    const Arguments two{"/a b/1.jpg", "/2;$(x).jpg"};
    const struct {
        const char* why;
        const char* exec;
        std::vector<Arguments> commands;
    } kCases[] = {
        {"all files", "v %F", {{"v", "/a b/1.jpg", "/2;$(x).jpg"}}},
        {"all URLs", "v %U -x", {{"v", "file:///a%20b/1.jpg", "file:///2%3B$(x).jpg", "-x"}}},
        {"one file a start", "v %f", {{"v", "/a b/1.jpg"}, {"v", "/2;$(x).jpg"}}},
        {"one URL a start", "v --open=%u", {{"v", "--open=file:///a%20b/1.jpg"}, {"v", "--open=file:///2%3B$(x).jpg"}}},
        {"within a word even the codes of several mean one", "v f=%F", {{"v", "f=/a b/1.jpg"}, {"v", "f=/2;$(x).jpg"}}},
        {"nothing said of files", "v -q", {{"v", "-q", "/a b/1.jpg"}, {"v", "-q", "/2;$(x).jpg"}}},
        {"icon, name, entry", "v %i %c %k %F", {{"v", "--icon", "pic", "My View", "/e.desktop", two[0], two[1]}}},
        {"a percent sign", "v 100%% %F", {{"v", "100%", two[0], two[1]}}},
        {"deprecated and unknown codes", "v %d %D %n %N %v %m %z a%zb %F", {{"v", "ab", two[0], two[1]}}},
        {"quotes", R"(v "a b" "c\"d\$e" "" %F)", {{"v", "a b", "c\"d$e", "", two[0], two[1]}}},
        {"a code in quotes could be part of a script", R"(sh -c "v %f %%" %F)", {{"sh", "-c", "v  %", two[0], two[1]}}},
        {"shell signs mean nothing", "v > $HOME `x` %F", {{"v", ">", "$HOME", "`x`", two[0], two[1]}}},
        {"a single one at the end", "v %F %", {{"v", two[0], two[1], "%"}}},
        {"malformed", "v \"%F", {}},
        {"empty", " ", {}},
    };
    for (const auto& [why, exec, commands] : kCases) {
        Application application;
        application.name = "My View";
        application.icon = "pic";
        application.path = "/e.desktop";
        application.exec = exec;
        EXPECT_EQ(commandsFor(application, two), commands) << why;
    }
    Application iconless;
    iconless.exec = "v %i %F";
    EXPECT_THAT(commandsFor(iconless, two), ElementsAre(ElementsAre("v", two[0], two[1])));
}

TEST_F(DesktopTest, EntriesSpeakTheInterfacesLanguage) {
    entry("system/applications/one.desktop", "Viewer", "Name[de]=Betrachter\nIcon=a\\sb\n");
    const auto one = desktop::DesktopEntries().applicationsFor("image/jpeg");
    ASSERT_EQ(one.size(), 1U);
    EXPECT_EQ(one.front().name, "Viewer");
    EXPECT_EQ(one.front().icon, "a b");
}

TEST_F(DesktopTest, AProgramStartsWithHostileNamesAsPlainArguments) {
    const std::string record = recorder("viewer");
    entry("system/applications/one.desktop", "One", "Exec=viewer --files %F --end\n");
    const Arguments hostile{path("$(touch pwned);`id`'\".jpg"), path("-rf \n%F.jpg"), path("a\\ & b|c > d.jpg")};
    const auto commands = commandsFor(desktop::DesktopEntries().applicationsFor("image/jpeg").at(0), hostile);
    ASSERT_EQ(commands.size(), 1U);
    ASSERT_EQ(desktop::launchDetached(commands.front()), 0);
    EXPECT_THAT(recorded(record), ElementsAre("--files", hostile[0], hostile[1], hostile[2], "--end"));
}

TEST_F(DesktopTest, AProgramIsStartedOnItsOwn) {
    const std::string report = path("report");
    program("viewer", "echo $(pwd) $(cut -d' ' -f4,6 /proc/$$/stat) $$ $(ls /proc/$$/fd | tr '\\n' ' ') > '" + report +
                          ".x'; mv '" + report + ".x' '" + report + "'");
    constexpr int kOurs = 77;
    ASSERT_EQ(::dup2(2, kOurs), kOurs);
    ASSERT_EQ(desktop::launchDetached({"viewer"}, path("runtime")), 0);
    ::close(kOurs);
    ASSERT_EQ(recorded(report).size(), 0U);
    std::istringstream words(contentOf(report));
    std::string folder, parent, session, self, descriptors;
    words >> folder >> parent >> session >> self;
    std::getline(words, descriptors);
    EXPECT_EQ(folder, path("runtime"));
    EXPECT_NE(parent, std::to_string(::getpid())) << "not our child";
    EXPECT_NE(session, std::to_string(::getsid(0)));
    EXPECT_THAT(desktop::split(descriptors, ' '),
                testing::AllOf(testing::Contains("0"), testing::Not(testing::Contains(std::to_string(kOurs)))));

    EXPECT_EQ(desktop::launchDetached({"gone"}), ENOENT);
    EXPECT_EQ(desktop::launchDetached({}), ENOENT);
    write("bin/broken", "#!/no/such/shell\n");
    ::chmod(path("bin/broken").c_str(), 0755);
    EXPECT_EQ(desktop::launchDetached({"broken"}), ENOENT) << "told though it fails behind two forks";
}

}  // namespace
}  // namespace tessaly::test
