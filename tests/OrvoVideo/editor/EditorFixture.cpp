#include "EditorFixture.h"

#include "OrvoVideo/editor/TimelineItem.h"
#include "TestSupport/Media.h"

#include <QGuiApplication>
#include <QStyleHints>
#include <QTest>
#include <fstream>

namespace orvo::test {

namespace {

template <typename Accept> QQuickItem* findItem(QQuickItem* root, const Accept& accept)
{
    if (!root || !root->isVisible())
        return nullptr;
    if (accept(root))
        return root;
    for (auto* child : root->childItems()) {
        if (auto* found = findItem(child, accept))
            return found;
    }
    return nullptr;
}

} // namespace

void EditorFixture::show(VideoProject project)
{
    start();
    // The fake player opens any existing file.
    for (const auto& track : project.tracks) {
        const auto file = store.directory(project.id) / track.file;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::app).flush();
    }
    select(add(std::move(project)));
    view = std::make_unique<QQuickView>();
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    view->setInitialProperties({{QStringLiteral("app"), QVariant::fromValue<AppModel*>(model.get())}});
    view->loadFromModule("Orvo.Editor", "EditorView");
    ASSERT_EQ(view->status(), QQuickView::Ready);
    view->resize(1200, 800);
    view->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(view.get()));
    view->rootObject()->forceActiveFocus();
    ASSERT_TRUE(waitUntil([&] { return timeline().width() > 100 && view->rootObject()->hasActiveFocus(); }));
}

void EditorFixture::TearDown()
{
    view.reset();
    model.reset();
}

VideoProject EditorFixture::silent(double duration)
{
    auto project = VideoProject::make("Demo");
    project.duration = duration;
    project.tracks = {track(TrackKind::screen, "media/none.mov", 0, duration)};
    return project;
}

VideoProject EditorFixture::lesson()
{
    auto project = VideoProject::make("Lección");
    project.duration = 6;
    project.width = 320;
    project.height = 180;
    project.tracks = {
        track(TrackKind::screen, "media/screen.mov", 0, 6), track(TrackKind::microphone, "media/microphone.m4a", 0, 6)};
    project.edit.words = {word("hola", 0.5, 1), word("eh", 1.5, 2), word("mundo", 3, 3.5), word("adiós", 4, 5)};
    const auto media = store.root() / project.id.text() / "media";
    std::filesystem::create_directories(media);
    makeVideo(media / "screen.mov", "testsrc2=size=320x180:rate=10:duration=6");
    // The first half is silent.
    makeAudio(media / "microphone.m4a", "sine=duration=6,volume=enable='lt(t,3)':volume=0");
    return project;
}

QQuickItem* EditorFixture::item(const QString& name) const
{
    auto* found = view->rootObject()->findChild<QQuickItem*>(name);
    if (!found)
        throw std::runtime_error("no item named " + name.toStdString());
    return found;
}

TimelineItem& EditorFixture::timeline() const
{
    return dynamic_cast<TimelineItem&>(*item(QStringLiteral("timeline")));
}

QQuickItem* EditorFixture::control(QAccessible::Role role, const QString& name, const QString& text) const
{
    return findItem(view->contentItem(), [&](QQuickItem* candidate) {
        auto* interface = QAccessible::queryAccessibleInterface(candidate);
        return interface && interface->role() == role && interface->text(QAccessible::Name) == name
            && (text.isNull() || candidate->property("text") == text);
    });
}

void EditorFixture::click(QAccessible::Role role, const QString& name)
{
    ASSERT_TRUE(waitUntil([&] {
        const auto* found = control(role, name);
        return found && found->isEnabled() && found->width() > 0;
    })) << name.toStdString();
    view->grabWindow(); // Completes the layout.
    const auto* found = control(role, name);
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, centre(found));
}

QPoint EditorFixture::place(double seconds, double y) const
{
    return timeline().mapToScene({timeline().xOf(seconds), y}).toPoint();
}

QPoint EditorFixture::centre(const QQuickItem* item) const
{
    return item->mapToScene({item->width() / 2, item->height() / 2}).toPoint();
}

void EditorFixture::press(QPoint at, Qt::KeyboardModifiers modifiers)
{
    QTest::mousePress(view.get(), Qt::LeftButton, modifiers, at);
}

void EditorFixture::move(QPoint to, Qt::KeyboardModifiers modifiers)
{
    QMouseEvent event(QEvent::MouseMove, to, view->mapToGlobal(to), Qt::NoButton, Qt::LeftButton, modifiers);
    QCoreApplication::sendEvent(view.get(), &event);
}

void EditorFixture::release(QPoint at, Qt::KeyboardModifiers modifiers)
{
    QTest::mouseRelease(view.get(), Qt::LeftButton, modifiers, at);
    // Keeps consecutive clicks from becoming a double click.
    QTest::lastMouseTimestamp += QGuiApplication::styleHints()->mouseDoubleClickInterval() + 1;
}

void EditorFixture::drag(QPoint from, QPoint to, Qt::KeyboardModifiers modifiers)
{
    press(from, modifiers);
    for (int step = 1; step <= 4; ++step)
        move(from + (to - from) * step / 4, modifiers);
    release(to, modifiers);
}

void EditorFixture::key(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(view.get(), key, modifiers);
}

void EditorFixture::type(const QString& text)
{
    for (const QChar letter : text)
        QTest::sendKeyEvent(QTest::Click, view.get(), Qt::Key_unknown, QString(letter), Qt::NoModifier);
}

} // namespace orvo::test
