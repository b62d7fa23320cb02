#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

// The least that a window costs: tessaly_viewer_floor [PICTURE] shows an empty one, or one with nothing but a picture,
// and says when its first frame was drawn. It stays until it is ended.
namespace {

constexpr const char* kWindow = R"(
import QtQuick
Window {
    width: 390
    height: 844
    property alias picture: image.source
    Image { id: image; anchors.fill: parent; fillMode: Image.PreserveAspectCrop; sourceSize.width: 780 }
})";

}  // namespace

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(kWindow, QUrl());
    const std::unique_ptr<QObject> made(component.create());
    auto* const window = qobject_cast<QQuickWindow*>(made.get());
    if (!window) return EXIT_FAILURE;
    if (argc > 1) window->setProperty("picture", QUrl::fromLocalFile(QString::fromLocal8Bit(argv[1])));
    bool isFirst = true;
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&isFirst] {
        if (std::exchange(isFirst, false)) std::fputs("first frame\n", stderr);
    });
    window->show();
    return QGuiApplication::exec();
}
