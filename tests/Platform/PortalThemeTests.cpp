#include "Platform/workspace/PortalTheme.h"

#include "TestSupport/FakePortal.h"
#include "TestSupport/PrivateBus.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <chrono>
#include <future>
#include <gtest/gtest.h>

namespace orvo::test {
namespace {

/// Qt's theme for an application created now. The fake portal answers on this thread meanwhile.
QByteArray chosenTheme()
{
    auto chosen = std::async(std::launch::async, [] {
        const PortalTheme theme;
        return qgetenv("QT_QPA_PLATFORMTHEME");
    });
    while (chosen.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready)
        QCoreApplication::processEvents(QEventLoop::AllEvents);
    return chosen.get();
}

TEST(PortalThemeTests, SetsTheThemeWhenThePortalShowsFilePanels)
{
    const PrivateBus bus;
    qunsetenv("QT_QPA_PLATFORMTHEME");
    EXPECT_EQ(chosenTheme(), "") << "no portal";
    FakePortal portal(bus.address());
    EXPECT_EQ(chosenTheme(), "") << "a portal without file panels";
    portal.fileChooser = 4;
    EXPECT_EQ(chosenTheme(), "xdgdesktopportal");
    EXPECT_FALSE(qEnvironmentVariableIsSet("QT_QPA_PLATFORMTHEME")) << "resets the environment";

    qputenv("QT_QPA_PLATFORMTHEME", "gtk3");
    EXPECT_EQ(chosenTheme(), "gtk3") << "keeps the user's choice";
    qunsetenv("QT_QPA_PLATFORMTHEME");
}

} // namespace
} // namespace orvo::test
