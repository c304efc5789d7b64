#include "WindowFixture.h"

#include "TestSupport/Media.h"

#include <QDropEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QTest>
#include <optional>
#include <utility>

namespace orvo::test {

namespace {

QQuickItem* findItem(QQuickItem* root, QAccessible::Role role, const QString& name)
{
    if (!root->isVisible())
        return nullptr;
    if (auto* interface = QAccessible::queryAccessibleInterface(root);
        interface && interface->role() == role && interface->text(QAccessible::Name) == name)
        return root;
    const auto children = root->childItems();
    for (auto child = children.crbegin(); child != children.crend(); ++child) { // The topmost child is last.
        if (auto* found = findItem(*child, role, name))
            return found;
    }
    return nullptr;
}

void collectFocusable(QAccessibleInterface* root, std::vector<QAccessibleInterface*>& found)
{
    if (!root || !root->isValid() || root->state().invisible)
        return;
    if (root->state().focusable && root->role() != QAccessible::Window)
        found.push_back(root);
    for (int i = 0; i < root->childCount(); ++i)
        collectFocusable(root->child(i), found);
}

} // namespace

void WindowFixture::turnTo(const QString& title)
{
    const auto find = [&] -> QQuickWindow* {
        for (auto* candidate : QGuiApplication::topLevelWindows()) {
            if (candidate->title() == title && candidate->isVisible())
                return qobject_cast<QQuickWindow*>(candidate);
        }
        return nullptr;
    };
    ASSERT_TRUE(waitUntil([&] { return find() != nullptr; })) << title.toStdString();
    m_other = find();
    activate();
}

void WindowFixture::TearDown()
{
    m_other = nullptr;
    window.reset();
    model.reset();
}

void WindowFixture::show()
{
    start();
    window = std::make_unique<MainWindow>(*model);
    turnToMain();
}

VideoProject WindowFixture::showWith(const VideoProject& project)
{
    show();
    select(project);
    return project;
}

void WindowFixture::turnToMain()
{
    m_other = nullptr;
    activate();
}

void WindowFixture::activate()
{
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view()));
    view().requestActivate();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view()));
}

std::filesystem::path WindowFixture::movie(const std::string& name, int seconds)
{
    const auto file = folder / name;
    makeMedia(file,
        {"-f", "lavfi", "-i", "color=red:size=320x180:rate=10:duration=" + std::to_string(seconds), "-f", "lavfi", "-i",
            "sine=duration=" + std::to_string(seconds), "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p"});
    return file;
}

VideoProject WindowFixture::withMovie(const std::string& title, int seconds)
{
    auto project = VideoProject::make(title);
    project.duration = seconds;
    project.width = 320;
    project.height = 180;
    project.tracks = {track(TrackKind::screen, "media/screen.mp4", 0, seconds)};
    const auto media = store.directory(project.id) / "media";
    std::filesystem::create_directories(media);
    std::filesystem::rename(movie("made.mp4", seconds), media / "screen.mp4");
    return add(project);
}

QQuickItem* WindowFixture::control(QAccessible::Role role, const QString& name) const
{
    return findItem(view().contentItem(), role, name);
}

void WindowFixture::click(QAccessible::Role role, const QString& name)
{
    // A section or menu that has just opened is laid out again before it is drawn, and a click misses a moving item.
    std::optional<QPointF> place;
    int still = 0;
    ASSERT_TRUE(waitUntil([&] {
        const auto* found = control(role, name);
        if (!found || !found->isEnabled() || !(found->width() > 0))
            return false;
        const auto before = std::exchange(place, found->mapToScene({found->width() / 2, found->height() / 2}));
        still = before == place ? still + 1 : 0;
        return still == 3;
    })) << name.toStdString();
    QTest::mouseClick(&view(), Qt::LeftButton, {}, place->toPoint());
}

void WindowFixture::key(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(&view(), key, modifiers);
}

void WindowFixture::type(const QString& text)
{
    for (const QChar letter : text)
        QTest::sendKeyEvent(QTest::Click, &view(), Qt::Key_unknown, QString(letter), Qt::NoModifier);
}

void WindowFixture::drop(const std::filesystem::path& file, double x, double y)
{
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(QString::fromStdString(file.string()))});
    const QPoint at(static_cast<int>(x * view().width()), static_cast<int>(y * view().height()));
    QDragEnterEvent enter(at, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view(), &enter);
    QDragMoveEvent move(at, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view(), &move);
    if (!move.isAccepted())
        return;
    QDropEvent dropped(at, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view(), &dropped);
}

QString WindowFixture::focusName() const
{
    auto* item = view().activeFocusItem();
    auto* interface = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
    return interface ? interface->text(QAccessible::Name) : QString();
}

std::vector<QAccessibleInterface*> WindowFixture::focusable() const
{
    std::vector<QAccessibleInterface*> found;
    collectFocusable(QAccessible::queryAccessibleInterface(&view()), found);
    return found;
}

} // namespace orvo::test
