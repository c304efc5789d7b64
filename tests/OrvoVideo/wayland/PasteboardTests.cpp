#include "Platform/workspace/Pasteboard.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QProcess>
#include <QRasterWindow>
#include <QTest>
#include <QTimer>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <utility>

namespace orvo::test {

namespace {

class KeyWindow : public QRasterWindow {
public:
    std::function<void()> onKey; ///< Called once.

protected:
    void keyPressEvent(QKeyEvent*) override
    {
        if (const auto call = std::exchange(onKey, nullptr))
            call();
    }
};

class WaylandPasteboard : public testing::Test {
protected:
    WaylandPasteboard()
    {
        window.resize(200, 100);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    void copy()
    {
        pasteboard->setText("texto", [this](bool isSet) {
            answer = isSet;
            loop.quit();
        });
    }

    /// The result of a copy; nullopt after a generous limit.
    std::optional<bool> awaited()
    {
        QTimer::singleShot(60'000, &loop, &QEventLoop::quit);
        if (!answer)
            loop.exec();
        return std::exchange(answer, std::nullopt);
    }

    KeyWindow window;
    std::unique_ptr<Pasteboard> pasteboard = Pasteboard::create();
    std::optional<bool> answer;
    QEventLoop loop;
};

TEST_F(WaylandPasteboard, ReportsWhetherTheCompositorAcceptsAText)
{
    ASSERT_TRUE(QTest::qWaitFor([] { return QGuiApplication::focusWindow() != nullptr; }, 60'000));
    // Before any key press, the compositor refuses silently.
    copy();
    EXPECT_EQ(awaited(), false);

    window.onKey = [this] { copy(); };
    QProcess typist;
    typist.start("wtype", {"-d", "100", QString(600, 'a')}); // The first keys come before Qt knows the keyboard.
    ASSERT_TRUE(typist.waitForStarted());
    EXPECT_EQ(awaited(), true);
    copy(); // The last press still counts.
    EXPECT_EQ(awaited(), true);

    window.hide();
    ASSERT_TRUE(QTest::qWaitFor([] { return !QGuiApplication::focusWindow(); }, 60'000));
    copy();
    EXPECT_EQ(answer, false) << "known at once";
    typist.kill();
    typist.waitForFinished();
}

} // namespace

} // namespace orvo::test

int main(int argc, char** argv)
{
    const QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
