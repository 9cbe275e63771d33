#include <QApplication>

#include <gtest/gtest.h>

// Widgets need an application object for the whole run; the platform is the offscreen one (see the
// test's environment), so no display is needed.
int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
