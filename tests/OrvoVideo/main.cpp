#include "OtherProcesses.h"
#include "TestSupport/TemporaryFolder.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    const orvo::test::TemporaryFolder home; // Isolates the tests from the settings of the user.
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString((home / "config").string()));
    QCoreApplication::setOrganizationName(QStringLiteral("OrvoVideoTests"));
    QCoreApplication::setApplicationName(QStringLiteral("OrvoVideoTests"));
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    // Some tests start this program again as another process of the application.
    if (arguments.value(1) == QLatin1String("--single-instance"))
        return orvo::test::runSingleInstance(arguments.mid(2));
    if (arguments.value(1) == QLatin1String("--edit"))
        return orvo::test::runEdits(arguments.mid(2));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
