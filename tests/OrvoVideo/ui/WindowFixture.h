#pragma once

#include "../ModelFixture.h"
#include "OrvoVideo/shell/MainWindow.h"

#include <QAccessible>
#include <QQuickItem>
#include <vector>

namespace orvo::test {

/// The main window with a model on its own library.
class WindowFixture : public ModelFixture {
protected:
    void TearDown() override;

    /// Starts the model and shows the window.
    void show();
    /// Like `show`, then opens this project.
    VideoProject showWith(const VideoProject& project);

    /// Makes a small movie with audio, `seconds` long, outside the library.
    std::filesystem::path movie(const std::string& name = "Clase 3.mp4", int seconds = 2);
    /// Adds a project to the library with such a movie as its screen track.
    VideoProject withMovie(const std::string& title, int seconds = 2);

    /// The visible item with this accessible role and name; null if there is none. Searches the topmost items first.
    QQuickItem* control(QAccessible::Role role, const QString& name) const;
    /// Waits until the control exists and is enabled, then clicks it.
    void click(QAccessible::Role role, const QString& name);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const QString& text);
    /// Drops a local file on the window at fractions of its size.
    void drop(const std::filesystem::path& file, double x, double y);

    /// The accessible name of the focused item.
    QString focusName() const;
    /// All visible focusable items in the accessibility tree of the window.
    std::vector<QAccessibleInterface*> focusable() const;

    /// The window that the functions above use: the main window, or the one that `turnTo` found by its title.
    QQuickWindow& view() const { return m_other ? *m_other : window->window(); }
    void turnTo(const QString& title);
    void turnToMain();

    std::unique_ptr<MainWindow> window;

private:
    /// Waits until the window is active.
    void activate();

    QQuickWindow* m_other = nullptr;
};

} // namespace orvo::test
