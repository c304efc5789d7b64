#include <QCoreApplication>
#include <gmock/gmock.h>

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    // Programs are started and waited for with its help.
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
