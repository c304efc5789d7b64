#include <QCoreApplication>
#include <gmock/gmock.h>

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    // Running child processes needs an application object.
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
