#include "WindowFixture.h"

#include <QTest>
#include <set>

namespace orvo::test {

namespace {

using testing::IsSupersetOf;

/// Access by the keyboard and by assistive technology.
class KeyboardWindowTests : public WindowFixture {
protected:
    /// Presses Tab until the item with this accessible name has the focus; false if it is never reached.
    bool tabTo(const QString& name) const
    {
        for (int i = 0; i < 200 && focusName() != name; ++i)
            QTest::keyClick(&view(), Qt::Key_Tab);
        return focusName() == name;
    }
};

TEST_F(KeyboardWindowTests, ReachesEveryNamedControlWithTab)
{
    const auto lesson = withMovie("Demo");
    show();
    for (const bool open : {false, true}) {
        if (open)
            select(lesson);
        std::set<QString> reached;
        view().contentItem()->forceActiveFocus();
        for (int i = 0; i < 150; ++i) {
            key(Qt::Key_Tab);
            ASSERT_TRUE(view().activeFocusItem());
            reached.insert(focusName());
        }
        EXPECT_THAT(reached,
            IsSupersetOf(open ? std::set<QString>{"Demo", "Importar", "Título", "Exportar"}
                              : std::set<QString>{"Demo", "Importar", "Importar un vídeo"}));
    }
}

/// Whether the surrounding pages and lists show all of an item, or as much of it as fits.
bool isInSight(const QQuickItem& item)
{
    for (const auto* around = item.parentItem(); around; around = around->parentItem()) {
        if (!around->inherits("QQuickFlickable"))
            continue;
        const QRectF place = item.mapRectToItem(around, {0, 0, item.width(), item.height()});
        if (place.top() < -1 || (place.bottom() > around->height() + 1 && place.top() > 1))
            return false;
    }
    return true;
}

TEST_F(KeyboardWindowTests, ScrollsTheFocusedControlIntoView)
{
    auto lesson = withMovie("Demo", 30);
    for (int i = 0; i < 14; ++i) {
        lesson.edit.cuts.edit().push_back({.start = 2.0 * i, .end = 2.0 * i + 1});
        lesson.edit.events.edit().push_back({.time = 2.0 * i + 1.2, .kind = PointerKind::zoom, .duration = 0.5});
    }
    store.save(lesson);
    showWith(lesson);
    view().resize(960, 600);
    const auto walk = [&](const char* where, Qt::Key direction, int steps) {
        for (int i = 0; i < steps; ++i) {
            key(direction, direction == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
            EXPECT_TRUE(waitUntil([&] { return isInSight(*view().activeFocusItem()); }))
                << where << ": " << focusName().toStdString() << " after " << i;
        }
    };
    // The key opens a section that is created only now.
    key(Qt::Key_T);
    EXPECT_TRUE(waitUntil([&] {
        const auto* around = view().activeFocusItem();
        while (around && !around->inherits("QQuickFlickable"))
            around = around->parentItem();
        return around && around->property("contentY").toDouble() > 0 && isInSight(*view().activeFocusItem());
    })) << focusName().toStdString();
    EXPECT_EQ(focusName(), "Texto en pantalla");
    for (const auto* section : {"Compartir", "Efectos"}) {
        click(QAccessible::PageTab, section);
        walk(section, Qt::Key_Tab, 60);
        walk(section, Qt::Key_Backtab, 60);
    }
    EXPECT_TRUE(control(QAccessible::Grouping, "Zoom en 00:01,2"));

    // Down moves to the same control of the next entry, including entries that are not created yet.
    ASSERT_TRUE(tabTo("Restaurar"));
    const auto entry = [&] {
        return QAccessible::queryAccessibleInterface(view().activeFocusItem())->text(QAccessible::Description);
    };
    walk("Recortes", Qt::Key_Down, 20);
    EXPECT_EQ(focusName(), "Restaurar");
    EXPECT_EQ(entry(), "El recorte de 00:26,0");
    walk("Recortes", Qt::Key_Up, 20);
    EXPECT_EQ(entry(), "El recorte de 00:00,0");

    // Mnemonics open the menus.
    key(Qt::Key_A, Qt::AltModifier);
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::MenuItem, "Exportar…") != nullptr; }));
    key(Qt::Key_J);
    ASSERT_NO_FATAL_FAILURE(turnTo("Ajustes"));
    view().resize(420, 320);
    walk("Ajustes", Qt::Key_Tab, 30);
}

TEST_F(KeyboardWindowTests, ScrollsTheNotesWithTheKeysOfTheSheet)
{
    show();
    QMetaObject::invokeMethod(&view(), "openNotes");
    turnTo("Notas");
    auto* notes = view().findChild<QQuickItem*>("notesText");
    ASSERT_TRUE(notes);
    notes->setProperty("text", QString("Una línea\n").repeated(300));
    QQuickItem* page = notes;
    while (page && !page->property("contentY").isValid())
        page = page->parentItem();
    ASSERT_TRUE(page);
    const auto place = [page] { return page->property("contentY").toReal(); };

    page->setProperty("contentY", 0);
    key(Qt::Key_Down);
    const double line = place();
    EXPECT_GT(line, 0);
    key(Qt::Key_PageDown);
    EXPECT_NEAR(place(), 7 * line, 0.01);
    key(Qt::Key_PageUp);
    key(Qt::Key_Up);
    EXPECT_EQ(place(), 0);
    key(Qt::Key_Plus);
    key(Qt::Key_Right);
    EXPECT_EQ(view().findChild<QQuickItem*>("notesSpeed")->property("value"), 40);
    key(Qt::Key_Space);
    EXPECT_TRUE(waitUntil([&] { return place() > 0; })) << "the text scrolls by itself";
    key(Qt::Key_Space);
    EXPECT_TRUE(control(QAccessible::Button, "Mover el texto solo"));
}

TEST_F(KeyboardWindowTests, GivesEveryFocusableItemANameAndARole)
{
    auto lesson = withMovie("Demo");
    lesson.edit = fullProject().edit;
    store.save(lesson);
    show();
    std::size_t seen = 0;
    const auto look = [&] {
        for (auto* interface : focusable()) {
            ++seen;
            EXPECT_FALSE(interface->text(QAccessible::Name).isEmpty()) << interface->object()->metaObject()->className();
            EXPECT_NE(interface->role(), QAccessible::NoRole) << interface->object()->metaObject()->className();
        }
    };
    look();
    select(lesson);
    for (const auto* section : {"Texto", "Efectos", "Compartir"}) {
        click(QAccessible::PageTab, section);
        look();
    }
    EXPECT_GT(seen, 60U);
}

} // namespace

} // namespace orvo::test
