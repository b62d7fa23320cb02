#include <gtest/gtest.h>

#include <QGuiApplication>

#include "linux/quick/ViewerWindow.h"

namespace {

/// What the toolkit warns of is a fault of ours: a binding loop, a file that cannot be loaded, a name that is not
/// there.
void failOnWarnings(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type != QtDebugMsg && type != QtInfoMsg) ADD_FAILURE() << text.toStdString();
}

}  // namespace

int main(int argc, char** argv) {
    tessaly::quick::ViewerWindow::prepareApplication();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    // Neither the desktop's settings nor its dialogs have a part in the tests.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    const QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    qInstallMessageHandler(failOnWarnings);
    const int status = RUN_ALL_TESTS();
    qInstallMessageHandler(nullptr);
    return status;
}
