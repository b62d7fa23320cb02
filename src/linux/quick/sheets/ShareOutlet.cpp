#include "linux/quick/sheets/ShareOutlet.h"

#include <QUrl>
#include <QVariantMap>

#include "linux/quick/sheets/SavePortal.h"

namespace tessaly::quick {
namespace {

using Kind = desktop::ShareTarget::Kind;

QString iconOf(Kind kind) {
    switch (kind) {
        case Kind::save:
        case Kind::folder:
        case Kind::otherFolder:
            return QStringLiteral("folder");
        case Kind::mail:
            return QStringLiteral("mail");
        case Kind::copyImage:
        case Kind::copyText:
            return QStringLiteral("copy");
        case Kind::application:
            break;
    }
    return {};
}

}  // namespace

ShareOutlet::ShareOutlet(std::shared_ptr<UIActivityViewController> controller, QObject* parent)
    : QObject(parent), sharing_(std::make_shared<desktop::Sharing>(std::move(controller), SavePortal::onSessionBus())) {
    auto view = std::make_shared<UIImageView>();
    view->setImage(sharing_->preview());
    view->setContentMode(UIViewContentMode::scaleAspectFill);
    preview_ = new ImageOutlet(std::move(view), this);
    observation_ = sharing_->observe([this] {
        listTargets();
        emit changed();
    });
    sharing_->begin();
}

void ShareOutlet::listTargets() {
    targets_.clear();
    for (const desktop::ShareTarget& target : sharing_->targets()) {
        const QString file = toQt(target.iconFile);
        targets_.append(QVariantMap{
            {QStringLiteral("title"), toQt(target.title)},
            {QStringLiteral("icon"), iconOf(target.kind)},
            {QStringLiteral("picture"), file.isEmpty() ? QUrl() : QUrl::fromLocalFile(file)},
            {QStringLiteral("opens"), target.kind == Kind::application},
        });
    }
}

}  // namespace tessaly::quick
