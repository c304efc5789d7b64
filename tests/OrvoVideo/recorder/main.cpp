#include "TestDesktop.h"
#include "TestSupport/PrivateBus.h"
#include "TestSupport/TemporaryFolder.h"

#include <QApplication>
#include <QProcess>
#include <glib.h>
#include <gtest/gtest.h>

namespace orvo::test {

VirtualDisplay& testDesktop()
{
    static VirtualDisplay desktop("1920x800");
    return desktop;
}

const QString& testBus()
{
    static const PrivateBus bus;
    return bus.address();
}

std::filesystem::path testData()
{
    return g_get_user_data_dir(); // Read from the environment once.
}

} // namespace orvo::test

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    const orvo::test::TemporaryFolder home;
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString((home / "config").string()));
    qputenv("XDG_CACHE_HOME", QByteArray::fromStdString((home / "cache").string()));
    qputenv("XDG_DATA_HOME", QByteArray::fromStdString((home / "data").string()));
    orvo::test::testData();
    qunsetenv("WAYLAND_DISPLAY");
    orvo::test::testDesktop().enter();
    orvo::test::testBus();
    // The display's only output must belong to one of them, or it would be a third monitor.
    for (const auto* monitor : {"*right 1280/320x800/200+640+0 screen", "left 640/160x800/200+0+0 none"}) {
        if (QProcess::execute("xrandr", QStringList{"--setmonitor"} + QString(monitor).split(' ')) != 0)
            return EXIT_FAILURE;
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_SCREEN_SCALE_FACTORS", "left=1;right=1.5");
    qputenv("QT_QUICK_BACKEND", "software");
    QCoreApplication::setOrganizationName(QStringLiteral("OrvoVideoTests"));
    QCoreApplication::setApplicationName(QStringLiteral("OrvoVideoTests"));
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
