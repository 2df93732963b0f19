// Test entry point: a Qt application object for the whole run (timers,
// processes and widgets need one), then every gtest case.

#include <gtest/gtest.h>

#ifdef TALLY_TEST_WIDGETS
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

int main(int argc, char* argv[])
{
    testing::InitGoogleTest(&argc, argv);
    // Death tests re-run this binary for the one test instead of forking a
    // process that already holds Qt's threads and event loop.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TestApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
