#include <gtest/gtest.h>

#include <QGuiApplication>

#include "linux/quick/window/ViewerWindow.h"

/// Whole stacks: who lost what the toolkit allocated stands far below.
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier)
    return "fast_unwind_on_malloc=0";
}

namespace {

/// What the toolkit warns of is a fault of ours: a binding loop, a file that cannot be loaded, a name that is not
/// there.
void failOnWarnings(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    // Letters that come from another font of the machine are no fault.
    const bool isOfFonts = text.contains(QStringLiteral("OpenType support missing"));
    const bool isFault = type != QtDebugMsg && type != QtInfoMsg && !isOfFonts;
    if (isFault) ADD_FAILURE() << (context.category ? context.category : "") << ": " << text.toStdString();
}

}  // namespace

int main(int argc, char** argv) {
    tessaly::quick::ViewerWindow::prepareApplication();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    // The leak checker overlooks what passed through that event loop.
    qputenv("QT_NO_GLIB", "1");
    // Neither the desktop's settings nor its dialogs have a part in the tests.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    const QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    qInstallMessageHandler(failOnWarnings);
    const int status = RUN_ALL_TESTS();
    qInstallMessageHandler(nullptr);
    return status;
}
