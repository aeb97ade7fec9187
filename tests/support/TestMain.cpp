// One QApplication for every test of an executable; widgets need it, headless.
#include <QApplication>
#include <gtest/gtest.h>

#include "Wiring.h"

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    tavix::InitResources();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
