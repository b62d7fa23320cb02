#include "linux/quick/sheets/OpenPortal.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QUuid>
#include <utility>

#include "linux/desktop/SearchPath.h"
#include "linux/quick/outlets/ViewOutlet.h"
#include "platform/Foundation/NSURL.h"

namespace tessaly::quick {
namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kChooser = QStringLiteral("org.freedesktop.portal.FileChooser");
const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");

std::vector<std::string> pathsOf(const QVariantMap& results) {
    std::vector<std::string> paths;
    for (const QString& uri : results.value(QStringLiteral("uris")).toStringList())
        if (const NSURL url = NSURL::URLWithString(uri.toStdString()); url.isFileURL()) paths.push_back(url.path());
    return paths;
}

QVariantMap optionsFor(OpenPortal::Kind kind, const QString& token) {
    QVariantMap options{{QStringLiteral("handle_token"), token}, {QStringLiteral("modal"), true}};
    options.insert(kind == OpenPortal::Kind::files ? QStringLiteral("multiple") : QStringLiteral("directory"), true);
    // A path is bytes, with a NUL at its end.
    if (const std::string folder = desktop::userFolder("PICTURES"); !folder.empty())
        options.insert(QStringLiteral("current_folder"),
                       QByteArray(folder.c_str(), static_cast<qsizetype>(folder.size()) + 1));
    return options;
}

}  // namespace

OpenPortal::~OpenPortal() { close(); }

void OpenPortal::close() {
    if (!request_.isEmpty()) bus_.send(QDBusMessage::createMethodCall(kService, request_, kRequest, "Close"));
    listenTo({});
}

void OpenPortal::listenTo(const QString& request) {
    if (request == request_) return;
    const auto* const slot = SLOT(responded(uint, QVariantMap));
    if (!request_.isEmpty()) bus_.disconnect(kService, request_, kRequest, "Response", this, slot);
    request_ = request;
    if (!request.isEmpty()) bus_.connect(kService, request, kRequest, "Response", this, slot);
}

void OpenPortal::ask(Kind kind, const std::string& title, Answer answer) {
    close();
    answer_ = std::move(answer);
    if (!bus_.isConnected()) return finish(Result::unavailable);
    const QString token = QStringLiteral("tessaly_") + QUuid::createUuid().toString(QUuid::Id128);
    // Where the answer will come from is known before the question is put, so that none can be missed.
    QString sender = bus_.baseService().mid(1);
    sender.replace(u'.', u'_');
    listenTo(kPath + QStringLiteral("/request/") + sender + u'/' + token);
    QDBusMessage question = QDBusMessage::createMethodCall(kService, kPath, kChooser, QStringLiteral("OpenFile"));
    question << QString() << toQt(title) << optionsFor(kind, token);
    auto* const call = new QDBusPendingCallWatcher(bus_.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        const QDBusPendingReply<QDBusObjectPath> reply = *call;
        call->deleteLater();
        if (reply.isError()) return finish(Result::unavailable);
        // Portals before version 0.9 chose the path themselves.
        if (answer_) listenTo(reply.value().path());
    });
}

void OpenPortal::responded(uint response, const QVariantMap& results) {
    constexpr uint kSuccess = 0;
    constexpr uint kCancelled = 1;
    if (response == kCancelled) return finish(Result::cancelled);
    const std::vector<std::string> paths = pathsOf(results);
    response == kSuccess && !paths.empty() ? finish(Result::chosen, paths) : finish(Result::unavailable);
}

void OpenPortal::finish(Result result, const std::vector<std::string>& paths) {
    listenTo({});
    if (const Answer answer = std::exchange(answer_, nullptr)) answer(result, paths);
}

}  // namespace tessaly::quick
