#include "OrvoVideo/capture/pointer/PointerMonitor.h"

#include "OrvoVideo/capture/pointer/EvdevPresses.h"
#include "OrvoVideo/capture/pointer/X11PointerMonitor.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/TemporaryFolder.h"
#include "TestSupport/VirtualDisplay.h"

#include <atomic>
#include <fstream>
#include <gtest/gtest.h>
#include <xcb/xcb.h>

namespace orvo::test {

namespace {

class PointerMonitorTests : public testing::Test {
protected:
    PointerMonitorTests() { display.enter(); }

    /// Clicks the button, then the left one, and waits until the reports of both have arrived.
    void clickAndWait(int button)
    {
        const int before = presses;
        ASSERT_TRUE(display.xdotool({"click", QString::number(button), "click", "1"}));
        ASSERT_TRUE(comesToHold([&] { return presses > before + (button == 1 || button == 3 ? 1 : 0); }));
    }

    VirtualDisplay display;
    std::atomic<int> presses = 0;
};

TEST_F(PointerMonitorTests, ReportsPositionAndPressesInAnyApplication)
{
    const auto monitor = PointerMonitor::create();
    EXPECT_TRUE(monitor->seesPresses());
    for (const auto& [x, y] : {std::pair{0, 0}, std::pair{640, 399}, std::pair{1279, 799}}) {
        ASSERT_TRUE(display.xdotool({"mousemove", QString::number(x), QString::number(y)}));
        EXPECT_EQ(monitor->position(), (Point{double(x), double(y)}));
    }

    monitor->onPress([&] { ++presses; });
    clickAndWait(1);
    EXPECT_EQ(presses, 2);
    clickAndWait(3);
    EXPECT_EQ(presses, 4);
    clickAndWait(2);
    EXPECT_EQ(presses, 5) << "the middle button is not reported";
    clickAndWait(4);
    EXPECT_EQ(presses, 6) << "the wheel is not reported";

    monitor->onPress(nullptr);
    std::atomic<int> others = 0;
    ASSERT_TRUE(display.xdotool({"click", "1"}));
    monitor->onPress([&] { ++others; });
    ASSERT_TRUE(display.xdotool({"click", "1"}));
    ASSERT_TRUE(comesToHold([&] { return others > 0; }));
    EXPECT_EQ(presses, 6) << "the replaced function is no longer called";
}

TEST_F(PointerMonitorTests, SeesPressesWhileAnotherProgramGrabsThePointer)
{
    const auto monitor = X11PointerMonitor::open();
    monitor->onPress([&] { ++presses; });
    auto* other = xcb_connect(display.name().toLatin1().constData(), nullptr);
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(other)).data->root;
    auto* grab = xcb_grab_pointer_reply(other,
        xcb_grab_pointer(other, 0, root, XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE,
            XCB_NONE, XCB_CURRENT_TIME),
        nullptr);
    ASSERT_TRUE(grab);
    EXPECT_EQ(grab->status, XCB_GRAB_STATUS_SUCCESS);
    free(grab); // NOLINT(cppcoreguidelines-no-malloc)
    clickAndWait(1);
    EXPECT_EQ(presses, 2);
    xcb_disconnect(other);
}

TEST(PointerMonitorWithoutDisplayTests, ReportsUnknownPositionAndPresses)
{
    const auto before = qgetenv("DISPLAY");
    qputenv("DISPLAY", ":4711");
    const auto monitor = PointerMonitor::create();
    EXPECT_EQ(monitor->position(), std::nullopt);
    EXPECT_FALSE(monitor->seesPresses());
    monitor->onPress([] { });
    qputenv("DISPLAY", before);

    const TemporaryFolder folder;
    std::ofstream(folder / "event0") << "no device";
    EXPECT_EQ(EvdevPresses::open(folder.path()), nullptr);
    EXPECT_EQ(EvdevPresses::open(folder / "missing"), nullptr);
}

} // namespace

} // namespace orvo::test
