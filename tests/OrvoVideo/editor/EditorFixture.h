#pragma once

#include "../ModelFixture.h"

#include <QAccessible>
#include <QQuickItem>
#include <QQuickView>

namespace orvo {
class TimelineItem;
}

namespace orvo::test {

/// The editor in a window, with a model of a temporary library.
class EditorFixture : public ModelFixture {
protected:
    /// Opens this project and shows the editor.
    void show(VideoProject project);

    /// A project whose movie is an empty file, without audio.
    static VideoProject silent(double duration = 10);

    /// A project of six seconds with a small real movie, a microphone track and four words.
    VideoProject lesson();

    void TearDown() override;

    /// The item with this object name. Throws if there is none.
    QQuickItem* item(const QString& name) const;
    TimelineItem& timeline() const;

    /// The visible item with this accessible role, name and, if given, text; null if there is none.
    QQuickItem* control(QAccessible::Role role, const QString& name, const QString& text = {}) const;
    /// Waits for the item that `control` finds, then clicks it.
    void click(QAccessible::Role role, const QString& name);

    /// The window position of a time and a y of the timeline.
    QPoint place(double seconds, double y) const;
    QPoint centre(const QQuickItem* item) const;

    void press(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void move(QPoint to, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void release(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    /// Drags between two window positions in several moves.
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const QString& text);

    std::unique_ptr<QQuickView> view;
};

} // namespace orvo::test
