#include "CountedVideo.h"
#include "PlayerRig.h"
#include "PreviewItem.h"
#include "TestSupport/TemporaryFolder.h"

#include <QQuickWindow>

namespace orvo::test {

namespace {

TEST(PreviewItem, ShowsTheFrameFittedAndCentred)
{
    const TemporaryFolder folder;
    CountedVideo{.seconds = 1}.write(folder / "video.mov");
    PlayerRig rig;
    QQuickWindow window;
    window.setColor(Qt::blue);
    window.resize(400, 200);
    PreviewItem item(window.contentItem());
    item.setSize(QSizeF(400, 200));
    item.setPlayer(&rig.player());
    int drawn = 0;
    QObject::connect(&window, &QQuickWindow::afterRendering, &window, [&] { ++drawn; }, Qt::DirectConnection);
    window.show();
    ASSERT_TRUE(rig.waitUntil([&] { return drawn > 0; }));

    ASSERT_TRUE(rig.load({.width = 320, .height = 180, .fps = 30, .video = {{.file = folder / "video.mov"}}}));
    ASSERT_TRUE(rig.seek(0.5));
    const QRect place = item.frameRect().toRect();
    EXPECT_EQ(place, QRect(22, 0, 356, 200));
    ASSERT_TRUE(rig.waitUntil([&] {
        const QImage shown = window.grabWindow();
        return frameNumber(shown, place) == 15;
    }));
    const QImage shown = window.grabWindow();
    EXPECT_EQ(QColor(shown.pixel(place.left() - 3, 100)), QColor(Qt::blue));
    EXPECT_EQ(QColor(shown.pixel(place.right() + 4, 100)), QColor(Qt::blue));

    // A smaller item gets smaller frames.
    item.setSize(QSizeF(160, 100));
    ASSERT_TRUE(rig.waitUntil([&] { return rig.player().frame().size() == QSize(160, 90); }));
    item.setMagnification(2);
    ASSERT_TRUE(rig.waitUntil([&] { return rig.player().frame().size() == QSize(320, 180); }));

    rig.player().clear();
    ASSERT_TRUE(rig.waitUntil([&] { return QColor(window.grabWindow().pixel(80, 50)) == QColor(Qt::blue); }));
    // The player may be destroyed before the item.
    rig.destroyPlayer();
    EXPECT_EQ(item.player(), nullptr);
    item.update();
    window.grabWindow();
}

} // namespace

} // namespace orvo::test
