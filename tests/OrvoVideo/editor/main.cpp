#include <QApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    // Tests neither need a display nor open windows on one.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_CONTROLS_STYLE", "Basic");
    // Isolates the tests from the user's cache and settings.
    const QTemporaryDir home;
    qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    QCoreApplication::setOrganizationName(QStringLiteral("OrvoVideoTests"));
    const QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
