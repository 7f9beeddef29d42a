// The main function of test programs that show widgets. Without QT_QPA_PLATFORM they are drawn offscreen.

#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
