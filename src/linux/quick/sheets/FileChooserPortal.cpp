#include "linux/quick/sheets/FileChooserPortal.h"

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

}  // namespace

FileChooserPortal::~FileChooserPortal() { close(); }

bool FileChooserPortal::isThere() const {
    const QDBusConnectionInterface* const services = bus_.isConnected() ? bus_.interface() : nullptr;
    return services &&
           (services->isServiceRegistered(kService) || services->activatableServiceNames().value().contains(kService));
}

void FileChooserPortal::askToOpen(Kind kind, const std::string& title, Answer answer) {
    const QString many = kind == Kind::files ? QStringLiteral("multiple") : QStringLiteral("directory");
    ask(QStringLiteral("OpenFile"), title, {{many, true}}, std::move(answer));
}

void FileChooserPortal::askToSave(const std::vector<std::string>& names, const std::string& title, Answer answer) {
    const auto exactly = [count = names.size(), answer = std::move(answer)](Result result, const auto& paths) {
        const bool isComplete = result != Result::chosen || paths.size() == count;
        isComplete ? answer(result, paths) : answer(Result::unavailable, {});
    };
    if (names.size() == 1)
        return ask(QStringLiteral("SaveFile"), title, {{QStringLiteral("current_name"), toQt(names.front())}}, exactly);
    qDBusRegisterMetaType<QByteArrayList>();
    QByteArrayList files;
    for (const std::string& name : names) files.append(asBytes(name));
    ask(QStringLiteral("SaveFiles"), title, {{QStringLiteral("files"), QVariant::fromValue(files)}}, exactly);
}

void FileChooserPortal::ask(const QString& method, const std::string& title, QVariantMap options, Answer answer) {
    close();
    answer_ = std::move(answer);
    if (!bus_.isConnected()) return finish(Result::unavailable);
    const QString token = QStringLiteral("tessaly_") + QUuid::createUuid().toString(QUuid::Id128);
    options.insert(QStringLiteral("handle_token"), token);
    options.insert(QStringLiteral("modal"), true);
    if (const std::string folder = desktop::userFolder("PICTURES"); !folder.empty())
        options.insert(QStringLiteral("current_folder"), asBytes(folder));
    // Where the answer will come from is known before the question is put, so that none can be missed.
    QString sender = bus_.baseService().mid(1);
    sender.replace(u'.', u'_');
    listenTo(kPath + QStringLiteral("/request/") + sender + u'/' + token);
    QDBusMessage question = QDBusMessage::createMethodCall(kService, kPath, kChooser, method);
    question << QString() << toQt(title) << options;
    auto* const call = new QDBusPendingCallWatcher(bus_.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, asked = request_] {
        const QDBusPendingReply<QDBusObjectPath> reply = *call;
        call->deleteLater();
        if (request_ != asked) return;  // Answered already, or another question took its place.
        if (reply.isError()) return finish(Result::unavailable);
        // Portals before version 0.9 chose the path themselves.
        listenTo(reply.value().path());
    });
}

void FileChooserPortal::close() {
    // Nobody waits for its answer any more.
    if (!request_.isEmpty())
        bus_.send(QDBusMessage::createMethodCall(kService, request_, kRequest, QStringLiteral("Close")));
    listenTo({});
}

void FileChooserPortal::listenTo(const QString& request) {
    if (request == request_) return;
    const QString signal = QStringLiteral("Response");
    const auto* const slot = SLOT(responded(uint, QVariantMap));
    if (!request_.isEmpty()) bus_.disconnect(kService, request_, kRequest, signal, this, slot);
    request_ = request;
    if (!request.isEmpty()) bus_.connect(kService, request, kRequest, signal, this, slot);
}

void FileChooserPortal::responded(uint response, const QVariantMap& results) {
    constexpr uint kSuccess = 0;
    constexpr uint kCancelled = 1;
    if (response == kCancelled) return finish(Result::cancelled);
    const std::vector<std::string> paths = pathsOf(results);
    response == kSuccess && !paths.empty() ? finish(Result::chosen, paths) : finish(Result::unavailable);
}

void FileChooserPortal::finish(Result result, const std::vector<std::string>& paths) {
    listenTo({});
    if (const Answer answer = std::exchange(answer_, nullptr)) answer(result, paths);
}

}  // namespace tessaly::quick
