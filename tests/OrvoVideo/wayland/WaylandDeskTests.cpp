#include "OrvoVideo/recorder/RecordingDesk.h"
#include "OrvoVideo/shell/MainWindow.h"
#include "WaylandFixture.h"

#include <QApplication>
#include <QTest>

namespace orvo::test {

namespace {

/// The application's windows on a tiling compositor, which cannot minimise them.
class WaylandDeskTests : public WaylandFixture {
protected:
    void TearDown() override { model.reset(); }
};

TEST_F(WaylandDeskTests, KeepsTheWindowOutWhenItCannotBeMinimised)
{
    const Film film;
    begin();
    const MainWindow window(*model);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window.window()));
    const RecordingDesk desk(*model->recorder(), [] { return RecordingDesk::WayBack::windowOnly; });
    record();
    EXPECT_TRUE(desk.hidesTheOnlyWay());
    EXPECT_FALSE(desk.hasBar()) << "its place is unknown";
    ASSERT_TRUE(lasts(3));
    model->stopRecording();
    ASSERT_TRUE(idleSoon());
    EXPECT_TRUE(window.window().isVisible());
    const auto shown = frames();
    ASSERT_FALSE(shown.empty());
    Film::expectShown(shown.back()); // The film fills the screen.
}

} // namespace

} // namespace orvo::test

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "wayland");
    qputenv("QT_QUICK_BACKEND", "software");
    qputenv("QT_QUICK_CONTROLS_STYLE", "Basic");
    QCoreApplication::setOrganizationName(QStringLiteral("OrvoVideoTests"));
    QCoreApplication::setApplicationName(QStringLiteral("OrvoVideoTests"));
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
