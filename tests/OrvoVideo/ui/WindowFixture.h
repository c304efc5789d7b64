#pragma once

#include "../ModelFixture.h"
#include "OrvoVideo/shell/MainWindow.h"

#include <QAccessible>
#include <QQuickItem>
#include <vector>

namespace orvo::test {

/// The main window over a model on a library of its own.
class WindowFixture : public ModelFixture {
protected:
    void TearDown() override;

    /// Starts the model and shows the window.
    void show();
    /// The same, and opens this project.
    VideoProject showWith(const VideoProject& project);

    /// A small movie with sound, `seconds` long, outside the library.
    std::filesystem::path movie(const std::string& name = "Clase 3.mp4", int seconds = 2);
    /// A project of the library with that movie as its screen track.
    VideoProject withMovie(const std::string& title, int seconds = 2);

    /// What is read out with this role and name and can be seen; null when there is none. A popup is searched first.
    QQuickItem* control(QAccessible::Role role, const QString& name) const;
    /// Waits until it is there and enabled, then clicks it.
    void click(QAccessible::Role role, const QString& name);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const QString& text);
    /// Drops a local file on the window at fractions of its size.
    void drop(const std::filesystem::path& file, double x, double y);

    /// The name of what has the keyboard.
    QString focusName() const;
    /// Everything that can take the keyboard and be seen, in the accessibility tree of the window.
    std::vector<QAccessibleInterface*> focusable() const;

    /// The window that the above is about: the main one, or another one of the application by its title.
    QQuickWindow& view() const { return m_other ? *m_other : window->window(); }
    void turnTo(const QString& title);
    void turnToMain();

    std::unique_ptr<MainWindow> window;

private:
    /// Waits until the window has the keyboard.
    void activate();

    QQuickWindow* m_other = nullptr;
};

} // namespace orvo::test
