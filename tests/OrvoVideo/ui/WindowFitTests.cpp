#include "OrvoVideo/ui/Appearance.h"
#include "OrvoVideo/ui/Icon.h"
#include "Platform/settings/StoredSettings.h"
#include "WindowFixture.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQmlProperty>
#include <QQuickPaintedItem>
#include <QScreen>
#include <QSignalSpy>
#include <algorithm>
#include <array>
#include <sstream>

namespace orvo::test {

namespace {

constexpr double tolerance = 1; ///< Pixels that rounding may cost.

std::string describe(const QQuickItem& item)
{
    std::ostringstream text;
    text << item.metaObject()->className();
    for (const char* name : {"objectName", "text", "label", "name"}) {
        if (const auto value = item.property(name).toString(); !value.isEmpty())
            text << " «" << value.toStdString() << "»";
    }
    const QRectF place = item.mapRectToScene({0, 0, item.width(), item.height()});
    text << " at " << place.x() << "," << place.y() << " " << place.width() << "×" << place.height();
    return text.str();
}

/// Whether a user perceives the item as one thing: a text, a control, an image.
bool isThing(const QQuickItem& item)
{
    if (qobject_cast<const QQuickPaintedItem*>(&item) || qobject_cast<const Icon*>(&item))
        return true;
    return std::ranges::any_of(std::array{"QQuickText", "QQuickTextInput", "QQuickTextEdit", "QQuickAbstractButton",
                                   "QQuickSlider", "QQuickComboBox", "QQuickProgressBar", "QQuickImage"},
        [&](const char* type) { return item.inherits(type); });
}

/// Finds layout faults in a window: cut texts, things that overlap or lie outside their pane.
class FitCheck {
public:
    explicit FitCheck(const QQuickWindow& window)
    {
        const QRectF all({0, 0}, window.size());
        visit(*window.contentItem(), {.bounds = all, .clip = all, .thing = nullptr});
        overlap();
    }

    const std::vector<std::string>& faults() const { return m_faults; }
    std::size_t things() const { return m_things.size(); }

private:
    struct Around {
        QRectF bounds; ///< Limits of all things; includes the parts that scrolling reveals.
        QRectF clip; ///< The visible area.
        const QQuickItem* thing; ///< The thing that contains the item; null if none does.
        int layer = 0;
    };
    struct Thing {
        const QQuickItem* item;
        QRectF seen;
        int layer;
    };

    void visit(const QQuickItem& item, Around around)
    {
        if (!item.isVisible() || item.opacity() == 0)
            return;
        const QRectF place = item.mapRectToScene({0, 0, item.width(), item.height()});
        if (item.inherits("QQuickPopupItem") && !around.thing)
            around.layer = ++m_layers; // Popups cover everything else.
        if (item.width() > 0 && item.height() > 0) {
            checkText(item);
            if (around.thing && item.inherits("QQuickText"))
                contain(item, place, around.thing->mapRectToScene({0, 0, around.thing->width(), around.thing->height()}));
            if (!around.thing && isThing(item)) {
                contain(item, place, around.bounds);
                if (const QRectF seen = place & around.clip; !seen.isEmpty())
                    m_things.push_back({.item = &item, .seen = seen, .layer = around.layer});
                around.thing = &item;
            }
        }
        if (roleOf(item) == QAccessible::Graphic)
            return; // Items on an image overlap it on purpose.
        if (item.inherits("QQuickFlickable")) {
            const bool across = item.property("contentWidth").toDouble() > item.width() + tolerance;
            const bool down = item.property("contentHeight").toDouble() > item.height() + tolerance;
            constexpr double far = 1e6;
            around.bounds &= place;
            if (across)
                around.bounds.adjust(-far, 0, far, 0);
            if (down)
                around.bounds.adjust(0, -far, 0, far);
            around.clip &= place;
        } else if (item.clip()) {
            around.bounds &= place;
            around.clip &= place;
        }
        const bool isEntries = item.parentItem() && item.parentItem()->inherits("QQuickListView")
            && item.parentItem()->property("contentItem").value<QQuickItem*>() == &item;
        for (auto* child : item.childItems()) {
            if (!isEntries || isShown(*child, *item.parentItem()))
                visit(*child, around);
        }
    }

    static QAccessible::Role roleOf(const QQuickItem& item)
    {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): it is only looked at.
        auto* interface = QAccessible::queryAccessibleInterface(const_cast<QQuickItem*>(&item));
        return interface ? interface->role() : QAccessible::NoRole;
    }

    /// Whether the list shows the entry. A list keeps hidden entries in place for reuse.
    static bool isShown(QQuickItem& child, QQuickItem& list)
    {
        QQuickItem* there = nullptr;
        QMetaObject::invokeMethod(
            &list, "itemAt", qReturnArg(there), child.x() + child.width() / 2, child.y() + child.height() / 2);
        return there == &child;
    }

    void checkText(const QQuickItem& item)
    {
        const bool isText = item.inherits("QQuickText");
        if (!isText && roleOf(item) != QAccessible::SpinBox) // Fields scroll typed text.
            return;
        const double room =
            item.width() - item.property("leftPadding").toDouble() - item.property("rightPadding").toDouble();
        if (item.property("truncated").toBool() || item.property("contentWidth").toDouble() > room + tolerance
            || (isText && item.property("contentHeight").toDouble() > item.height() + tolerance))
            m_faults.push_back("cut: " + describe(item));
    }

    void contain(const QQuickItem& item, const QRectF& place, const QRectF& bounds)
    {
        if (!bounds.adjusted(-tolerance, -tolerance, tolerance, tolerance).contains(place))
            m_faults.push_back("outside: " + describe(item));
    }

    void overlap()
    {
        for (std::size_t i = 0; i < m_things.size(); ++i) {
            for (std::size_t k = i + 1; k < m_things.size(); ++k) {
                const QRectF common = m_things[i].seen & m_things[k].seen;
                if (m_things[i].layer == m_things[k].layer && common.width() > tolerance && common.height() > tolerance)
                    m_faults.push_back(
                        "over one another: " + describe(*m_things[i].item) + " and " + describe(*m_things[k].item));
            }
        }
    }

    std::vector<Thing> m_things;
    std::vector<std::string> m_faults;
    int m_layers = 0;
};

class WindowFitTests : public WindowFixture {
protected:
    /// Waits for `frames` frames, so that the layout is drawn as the items describe it.
    void drawAll(int frames)
    {
        for (int i = 0; i < frames; ++i) {
            QSignalSpy drawn(&view(), &QQuickWindow::frameSwapped);
            view().update();
            ASSERT_TRUE(drawn.wait(60'000));
        }
    }

    /// Checks every window size, one of them in both appearances, which differ in colours.
    void expectFits(const std::string& state)
    {
        auto* appearance = qmlEngine(&view())->singletonInstance<Appearance*>("Orvo.Ui", "Appearance");
        for (const QSize size : {QSize(960, 600), QSize(1100, 700), QSize(1280, 720), QSize(1366, 768), QSize(2560, 1440)}) {
            view().resize(size);
            ASSERT_TRUE(waitUntil([&] { return view().size() == size; }));
            for (const char* choice : {"dark", "light"}) {
                if (choice == std::string_view("light") && size.width() != 1280)
                    continue;
                appearance->setChoice(choice);
                ASSERT_NO_FATAL_FAILURE(drawAll(choice == std::string_view("dark") ? 2 : 1));
                const FitCheck check(view());
                EXPECT_GT(check.things(), 5U);
                for (const auto& fault : check.faults())
                    ADD_FAILURE() << state << ", " << size.width() << "×" << size.height() << ", scale "
                                  << view().devicePixelRatio() << ", " << choice << ": " << fault;
            }
        }
    }

    void turnToSection(const char* section)
    {
        for (auto* item : view().findChildren<QQuickItem*>()) {
            if (item->property("section").isValid() && item->property("inspectorShown").isValid()
                && item->property("app").isValid())
                item->setProperty("section", section);
        }
    }

    /// Gives the panes the widths that a user may have chosen in a large window.
    void widenPanes()
    {
        for (auto* item : view().findChildren<QQuickItem*>()) {
            const auto* contents = item->parentItem();
            if (!contents || !contents->parentItem() || !contents->parentItem()->inherits("QQuickSplitView"))
                continue;
            const QQmlProperty width(item, QStringLiteral("SplitView.preferredWidth"), qmlContext(item));
            if (width.read().toDouble() > 0)
                width.write(600);
        }
    }

    /// A lesson with something in every list.
    VideoProject lesson()
    {
        auto project = withMovie("Clase 3: derivadas", 40);
        project.tracks.edit().push_back(track(TrackKind::microphone, "media/microphone.m4a", 0, 40));
        project.tracks.edit().push_back(track(TrackKind::system, "media/system.m4a", 0, 40));
        for (int i = 0; i < 60; ++i)
            project.edit.words.edit().push_back(word(i % 9 == 0 ? "eh" : "palabra", 0.6 * i, 0.6 * i + 0.4));
        for (int i = 0; i < 12; ++i) {
            project.edit.cuts.edit().push_back({.start = 3.0 * i + 1, .end = 3.0 * i + 1.5});
            project.edit.events.edit().push_back({.time = 3.0 * i + 2, .kind = PointerKind::zoom, .duration = 0.5});
        }
        project.edit.overlays.edit().push_back(
            {.kind = Overlay::Kind::text, .content = "Pendiente = cambio en y / cambio en x", .start = 11, .end = 18});
        store.save(project);
        return project;
    }
};

TEST_F(WindowFitTests, StartsInsideTheScreenAndStaysMaximized)
{
    StoredSettings::setTexts({{"window.width", "5000"}, {"window.height", "4000"}});
    show();
    const QRect room = view().screen()->availableGeometry();
    EXPECT_TRUE(waitUntil([&] { return room.contains(view().frameGeometry()); }))
        << view().width() << "×" << view().height() << " at " << view().framePosition().x();
    EXPECT_EQ(view().minimumSize(), QSize(960, 600));

    view().resize(1200, 750);
    ASSERT_TRUE(waitUntil([&] { return StoredSettings::text("window.width") == "1200"; }));
    view().showMaximized();
    ASSERT_TRUE(waitUntil([&] { return StoredSettings::text("window.maximized") == "true"; }));
    window->bringToFront();
    EXPECT_EQ(view().windowStates(), Qt::WindowMaximized);
    view().showMinimized();
    view().setWindowStates(Qt::WindowMinimized | Qt::WindowMaximized);
    window->bringToFront();
    EXPECT_EQ(view().windowStates(), Qt::WindowMaximized);
    view().close();
    window.reset();
    EXPECT_EQ(StoredSettings::text("window.width"), "1200") << "keeps the normal size too";

    show();
    EXPECT_EQ(view().windowStates(), Qt::WindowMaximized);
}

/// The parameter is the number of a screen; they differ in scale.
class WindowScaleTests : public WindowFitTests, public testing::WithParamInterface<int> { };

TEST_P(WindowScaleTests, FitsAllItemsAtEverySize)
{
    const auto open = lesson();
    auto interrupted = withMovie("Interrumpida");
    interrupted.state = ProjectState::recoverable;
    store.save(interrupted);
    show();
    ASSERT_EQ(QGuiApplication::screens().size(), 3) << "each has its parameter";
    view().setScreen(QGuiApplication::screens().at(GetParam()));
    expectFits("welcome");
    select(interrupted);
    widenPanes();
    expectFits("interrupted");
    select(open);
    model->setSelectedSpan({13, 16});
    model->findSuggestions();
    for (const char* section : {"text", "effects", "share"}) {
        turnToSection(section);
        expectFits(section);
    }
    const Answer<int> end;
    model->perform([end](WorkControl) -> QCoro::Task<> { co_await end; });
    expectFits("busy");
    end.give(0);
    ASSERT_TRUE(waitUntil([&] { return model->idle(); }));
    setPhase(Recorder::Phase::Recording);
    expectFits("recording");
    setPhase(Recorder::Phase::Idle);
    model->editing()->setFlag("sharpen", !project().edit.sharpen);
    model->editing()->setOverlayText(model->overlays()->get(0)["overlayId"].toString(), "Pendiente = cambio en y");
    key(Qt::Key_H, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::ListItem, "Principio") != nullptr; }));
    expectFits("history");
    key(Qt::Key_Escape);
    key(Qt::Key_F1);
    expectFits("keys");
    key(Qt::Key_Escape);
    key(Qt::Key_A, Qt::AltModifier);
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::MenuItem, "Exportar…") != nullptr; }));
    expectFits("menu");
    key(Qt::Key_Escape);
    key(Qt::Key_Escape);
    QMetaObject::invokeMethod(&view(), "openRecorder");
    expectFits("recording panel");
    QMetaObject::invokeMethod(&view(), "closeRecorder");
}

INSTANTIATE_TEST_SUITE_P(Screens, WindowScaleTests, testing::Values(0, 1, 2));

} // namespace

} // namespace orvo::test
