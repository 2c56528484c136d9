// GoogleTest with a QApplication on the offscreen platform, for the desktop program's tests.
#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setOrganizationName("tavrel");
    QApplication::setApplicationName("tavrel-tests");
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
