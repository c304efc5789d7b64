#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    const QTemporaryDir home;
    // Offscreen, so that tests need no display.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        QFile screen(home.filePath(QStringLiteral("screen.json")));
        if (!screen.open(QIODevice::WriteOnly))
            return EXIT_FAILURE;
        screen.write(R"({"screens": [{"name": "test", "x": 0, "y": 0, "width": 2560, "height": 1440, "dpr": 1},
            {"name": "sharp", "x": 2560, "y": 0, "width": 2560, "height": 1440, "dpr": 1.5},
            {"name": "sharpest", "x": 5120, "y": 0, "width": 2560, "height": 1440, "dpr": 2}]})");
        screen.close();
        qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + screen.fileName().toUtf8());
    }
    qputenv("QT_QUICK_CONTROLS_STYLE", "Basic");
    // Tests do not share settings, caches or state with the user.
    qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_STATE_HOME", home.filePath(QStringLiteral("state")).toUtf8());
    // The trash belongs to the home folder, and to its disk.
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
    QCoreApplication::setOrganizationName(QStringLiteral("OrvoVideoTests"));
    QCoreApplication::setApplicationName(QStringLiteral("OrvoVideoTests"));
    const QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
