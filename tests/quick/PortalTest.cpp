#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QTest>
#include <QTimer>
#include <functional>
#include <optional>

#include "linux/quick/sheets/FileChooserPortal.h"
#include "support/TemporaryFolder.h"

/// The desktop's dialogs, with a portal at the other end of a bus of its own.
namespace tessaly::test {
namespace {

using quick::FileChooserPortal;
using Result = FileChooserPortal::Result;
using testing::ElementsAre;

constexpr int kPatience = 10'000;
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");

/// Answers as the person and the portal's version have it.
class Portal : public QDBusVirtualObject {
public:
    enum class Manner { afterReply, beforeReply, underAnotherPath, refuses, waits };
    Manner manner = Manner::afterReply;
    uint response = 0;
    QStringList uris;
    QString method;
    QVariantMap options;
    QStringList closed;  ///< Requests.

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        if (message.member() == QStringLiteral("Close")) return closed.append(message.path()), true;
        method = message.member();
        options = qdbus_cast<QVariantMap>(message.arguments().at(2));
        if (manner == Manner::refuses) return bus.send(message.createErrorReply(QDBusError::AccessDenied, "no"));
        QString sender = message.service().mid(1);
        sender.replace(u'.', u'_');
        QString request = kPath + "/request/" + sender + "/" + options.value("handle_token").toString();
        if (manner == Manner::underAnotherPath) request = kPath + "/request/old";
        QDBusMessage answer = QDBusMessage::createSignal(request, "org.freedesktop.portal.Request", "Response");
        answer << response << QVariantMap{{"uris", uris}};
        if (manner == Manner::beforeReply) bus.send(answer);
        bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
        // Whoever has to learn the path first needs a moment, as a person does.
        if (manner == Manner::afterReply || manner == Manner::underAnotherPath)
            QTimer::singleShot(100, this, [bus, answer] { bus.send(answer); });
        return true;
    }
};

class PortalTest : public testing::Test {
protected:
    void SetUp() override {
        // Nothing of the machine's starts by itself here.
        const std::string bus = folder_.write(
            "bus.conf", std::string_view("<busconfig><listen>unix:tmpdir=/tmp</listen>"
                                         "<policy context='default'><allow send_destination='*'/>"
                                         "<allow receive_sender='*'/><allow own='*'/></policy></busconfig>"));
        daemon_.start("dbus-daemon", {"--config-file=" + QString::fromStdString(bus), "--nofork", "--print-address"});
        if (!daemon_.waitForStarted()) GTEST_SKIP() << "no dbus-daemon";
        ASSERT_TRUE(daemon_.waitForReadyRead(kPatience));
        const QString address = daemon_.readAllStandardOutput().trimmed();
        desktop_ = QDBusConnection::connectToBus(address, "desktop");
        program_ = QDBusConnection::connectToBus(address, "program");
        ASSERT_TRUE(desktop_.registerVirtualObject(kPath, &portal_, QDBusConnection::SubPath));
        ASSERT_TRUE(desktop_.registerService(kService));
    }
    ~PortalTest() override {
        for (const char* name : {"desktop", "program"}) QDBusConnection::disconnectFromBus(name);
        daemon_.kill();
        daemon_.waitForFinished();
    }
    struct Answered {
        Result result;
        std::vector<std::string> paths;
    };
    FileChooserPortal::Answer take() {
        answered_ = {};
        return [this](Result result, const std::vector<std::string>& paths) { answered_ = {result, paths}; };
    }
    Answered wait() {
        EXPECT_TRUE(QTest::qWaitFor([this] { return answered_.has_value(); }, kPatience));
        return answered_.value_or(Answered{});
    }

    const TemporaryFolder folder_;
    QProcess daemon_;
    Portal portal_;
    QDBusConnection desktop_{QString()}, program_{QString()};
    std::optional<Answered> answered_;
};

TEST_F(PortalTest, AsksForFilesFoldersAndNames) {
    FileChooserPortal chooser(program_);
    EXPECT_TRUE(chooser.isThere());
    portal_.uris = {"file:///a%20b/%C3%BC.jpg", "https://example.org/x.jpg", "file:///c.jpg"};
    chooser.askToOpen(FileChooserPortal::Kind::files, "Choose", take());
    EXPECT_THAT(wait().paths, ElementsAre("/a b/ü.jpg", "/c.jpg"));
    EXPECT_EQ(portal_.method, "OpenFile");
    EXPECT_TRUE(portal_.options.value("multiple").toBool() && !portal_.options.contains("directory"));

    portal_.uris = {"file:///folder"};
    chooser.askToOpen(FileChooserPortal::Kind::folder, "Choose", take());
    EXPECT_THAT(wait().paths, ElementsAre("/folder"));
    EXPECT_TRUE(portal_.options.value("directory").toBool() && !portal_.options.contains("multiple"));

    chooser.askToSave({"a.jpg"}, "Save", take());
    EXPECT_THAT(wait().paths, ElementsAre("/folder"));
    EXPECT_EQ(portal_.method, "SaveFile");
    EXPECT_EQ(portal_.options.value("current_name").toString(), "a.jpg");

    chooser.askToSave({"a.jpg", "ü.jpg"}, "Save", take());
    EXPECT_EQ(wait().result, Result::unavailable) << "one path for two files";
    EXPECT_EQ(portal_.method, "SaveFiles");
    EXPECT_EQ(qdbus_cast<QByteArrayList>(portal_.options.value("files")),
              (QByteArrayList{QByteArray("a.jpg\0", 6), QByteArray("\xC3\xBC.jpg\0", 7)}));
}

TEST_F(PortalTest, HearsEveryAnswerOnce) {
    const struct {
        const char* why;
        Portal::Manner manner;
        uint response;
        Result result;
    } cases[] = {
        {"chosen", Portal::Manner::afterReply, 0, Result::chosen},
        {"at once", Portal::Manner::beforeReply, 0, Result::chosen},
        {"under a path of the portal's own", Portal::Manner::underAnotherPath, 0, Result::chosen},
        {"cancelled", Portal::Manner::afterReply, 1, Result::cancelled},
        {"failed", Portal::Manner::afterReply, 2, Result::unavailable},
        {"refused", Portal::Manner::refuses, 0, Result::unavailable},
    };
    portal_.uris = {"file:///c.jpg"};
    for (const auto& [why, manner, response, result] : cases) {
        portal_.manner = manner;
        portal_.response = response;
        FileChooserPortal chooser(program_);
        chooser.askToOpen(FileChooserPortal::Kind::files, "Choose", take());
        const Answered answered = wait();
        EXPECT_EQ(answered.result, result) << why;
        EXPECT_EQ(answered.paths.size(), result == Result::chosen ? 1U : 0U) << why;
    }
    EXPECT_TRUE(portal_.closed.isEmpty()) << "they were all answered";

    portal_.manner = Portal::Manner::waits;
    bool isFirstAnswered = false;
    {
        FileChooserPortal chooser(program_);
        chooser.askToOpen(FileChooserPortal::Kind::files, "First",
                          [&](Result, const auto&) { isFirstAnswered = true; });
        EXPECT_TRUE(QTest::qWaitFor([this] { return portal_.options.contains("handle_token"); }, kPatience));
        chooser.askToOpen(FileChooserPortal::Kind::files, "Second", take());
    }
    EXPECT_TRUE(QTest::qWaitFor([this] { return portal_.closed.size() == 2; }, kPatience)) << "no dialog stays behind";
    EXPECT_FALSE(isFirstAnswered || answered_);

    desktop_.unregisterService(kService);
    FileChooserPortal chooser(program_);
    EXPECT_FALSE(chooser.isThere());
    chooser.askToOpen(FileChooserPortal::Kind::files, "Choose", take());
    EXPECT_EQ(wait().result, Result::unavailable);
    FileChooserPortal without(QDBusConnection(QStringLiteral("none")));
    without.askToOpen(FileChooserPortal::Kind::files, "Choose", take());
    EXPECT_EQ(answered_.value().result, Result::unavailable) << "at once";
}

}  // namespace
}  // namespace tessaly::test
