#include <gtest/gtest.h>

#include <QProcess>
#include <QTest>
#include <filesystem>

#include "support/Containers.h"
#include "support/TemporaryFolder.h"

namespace tessaly::test {
namespace {

constexpr int kPatience = 30'000;

/// The program itself, in a session of its own, without photos in its library.
class Program {
public:
    Program(const TemporaryFolder& session, const QStringList& arguments) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"XDG_RUNTIME_DIR", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "HOME"})
            environment.insert(name, QString::fromStdString(session.path()));
        environment.insert("TESSALY_LOG", "1");
        process_.setProcessEnvironment(environment);
        process_.start(TESSALY_VIEWER, arguments);
    }
    ~Program() {
        process_.kill();
        process_.waitForFinished();
    }
    /// Until it has said that; only once for all of it.
    [[nodiscard]] bool says(const QByteArray& text) {
        return QTest::qWaitFor(
            [&] {
                said_ += process_.readAllStandardError();
                const auto at = said_.indexOf(text);
                if (at >= 0) said_.remove(0, at + text.size());
                return at >= 0;
            },
            kPatience);
    }
    /// -1 while it runs.
    [[nodiscard]] int status() {
        return process_.waitForFinished(kPatience) && process_.exitStatus() == QProcess::NormalExit
                   ? process_.exitCode()
                   : -1;
    }

private:
    QProcess process_;
    QByteArray said_;
};

TEST(RunningWindow, ShowsTheFilesOfALaterStart) {
    const TemporaryFolder session;
    std::filesystem::permissions(session.path(), std::filesystem::perms::owner_all);
    const QString photo = QString::fromStdString(session.write("lake.jpg", contentOf(TESSALY_SAMPLE)));
    Program first(session, {"--app"});
    ASSERT_TRUE(first.says("first frame"));
    EXPECT_EQ(Program(session, {"--app", photo + ".missing"}).status(), 0);
    EXPECT_TRUE(first.says("lake.jpg.missing")) << "and why it shows nothing";
    EXPECT_EQ(Program(session, {"--app", photo}).status(), 0);
    EXPECT_TRUE(first.says("first page")) << "though the library does not have it";
    EXPECT_EQ(Program(session, {}).status(), 0) << "only raises it";
}

}  // namespace
}  // namespace tessaly::test
