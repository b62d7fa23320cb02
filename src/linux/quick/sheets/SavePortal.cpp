#include "linux/quick/sheets/SavePortal.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
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

/// Paths and names that are bytes end with a NUL.
QByteArray asBytes(const std::string& text) { return {text.c_str(), static_cast<qsizetype>(text.size()) + 1}; }

std::vector<std::string> pathsOf(const QVariantMap& results) {
    std::vector<std::string> paths;
    for (const QString& uri : results.value(QStringLiteral("uris")).toStringList())
        if (const NSURL url = NSURL::URLWithString(uri.toStdString()); url.isFileURL()) paths.push_back(url.path());
    return paths;
}

QVariantMap optionsFor(const std::vector<std::string>& names, const QString& token) {
    QVariantMap options{{QStringLiteral("handle_token"), token}, {QStringLiteral("modal"), true}};
    if (const std::string folder = desktop::userFolder("PICTURES"); !folder.empty())
        options.insert(QStringLiteral("current_folder"), asBytes(folder));
    if (names.size() == 1) {
        options.insert(QStringLiteral("current_name"), toQt(names.front()));
    } else {
        QByteArrayList files;
        for (const std::string& name : names) files.append(asBytes(name));
        options.insert(QStringLiteral("files"), QVariant::fromValue(files));
    }
    return options;
}

}  // namespace

std::unique_ptr<SavePortal> SavePortal::onSessionBus() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()) return nullptr;
    const bool isThere = bus.interface()->isServiceRegistered(kService) ||
                         bus.interface()->activatableServiceNames().value().contains(kService);
    return isThere ? std::make_unique<SavePortal>(bus) : nullptr;
}

SavePortal::~SavePortal() {
    if (request_.isEmpty()) return;
    // The sheet went while the dialog was open: nobody waits for its answer.
    bus_.send(QDBusMessage::createMethodCall(kService, request_, kRequest, QStringLiteral("Close")));
}

void SavePortal::listenTo(const QString& request) {
    if (request == request_) return;
    if (!request_.isEmpty())
        bus_.disconnect(kService, request_, kRequest, QStringLiteral("Response"), this,
                        SLOT(responded(uint, QVariantMap)));
    request_ = request;
    if (!request.isEmpty())
        bus_.connect(kService, request, kRequest, QStringLiteral("Response"), this, SLOT(responded(uint, QVariantMap)));
}

void SavePortal::ask(const std::string& title, const std::vector<std::string>& names, Answer answer) {
    qDBusRegisterMetaType<QByteArrayList>();
    names_ = names;
    answer_ = std::move(answer);
    const QString token = QStringLiteral("tessaly_") + QUuid::createUuid().toString(QUuid::Id128);
    // Where the answer will come from is known before the question is put, so that none can be missed.
    QString sender = bus_.baseService().mid(1);
    sender.replace(u'.', u'_');
    listenTo(kPath + QStringLiteral("/request/") + sender + u'/' + token);
    QDBusMessage question = QDBusMessage::createMethodCall(
        kService, kPath, kChooser, names.size() == 1 ? QStringLiteral("SaveFile") : QStringLiteral("SaveFiles"));
    question << QString() << toQt(title) << optionsFor(names, token);
    auto* const call = new QDBusPendingCallWatcher(bus_.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        called(*call);
        call->deleteLater();
    });
}

void SavePortal::called(const QDBusPendingCallWatcher& call) {
    const QDBusPendingReply<QDBusObjectPath> reply = call;
    if (reply.isError()) return finish(Result::unavailable);
    // Portals before version 0.9 chose the path themselves.
    if (answer_) listenTo(reply.value().path());
}

void SavePortal::responded(uint response, const QVariantMap& results) {
    constexpr uint kSuccess = 0;
    constexpr uint kCancelled = 1;
    if (response == kCancelled) return finish(Result::cancelled);
    const std::vector<std::string> paths = pathsOf(results);
    if (response != kSuccess || paths.size() != names_.size()) return finish(Result::unavailable);
    finish(Result::chosen, paths);
}

void SavePortal::finish(Result result, const std::vector<std::string>& paths) {
    listenTo({});
    if (const Answer answer = std::exchange(answer_, nullptr)) answer(result, paths);
}

}  // namespace tessaly::quick
