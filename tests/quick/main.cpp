#include <gtest/gtest.h>

#include <QGuiApplication>

#include "linux/quick/ViewerWindow.h"

int main(int argc, char** argv) {
    tessaly::quick::ViewerWindow::prepareApplication();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    const QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
