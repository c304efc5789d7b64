#pragma once

#include "TestSupport/TemporaryFolder.h"
#include "TestSupport/VirtualDisplay.h"

#include <QProcess>
#include <QStringList>
#include <filesystem>

namespace orvo::test {

/// A display of 1280×800 of its own, the keyboard and the pointer on it, and the application with a home folder of its own.
class Desktop {
public:
    ~Desktop() { killApplication(); }

    /// Starts the application on a library, with these arguments, and waits for its window.
    [[nodiscard]] bool startApplication(const std::filesystem::path& library, const QStringList& arguments = {});

    /// Starts it on the usual library, `usualLibrary()`, with the session bus at this address.
    [[nodiscard]] bool startOnBus(const QString& bus);
    std::filesystem::path usualLibrary() const { return m_home / "data/OrvoVideo/Projects"; }

    /// Waits for a window whose title contains this text, and gives it the keyboard.
    [[nodiscard]] bool focusWindow(const QString& title);

    /// Presses keys one after the other: "i", "ctrl+z", "Right".
    void press(const QStringList& keys);
    void type(const QString& text);
    /// Presses the button at one place, moves in steps and lets go at the other.
    void drag(int fromX, int fromY, int toX, int toY);

    /// Waits for the application's end; its exit status, or −1.
    int applicationEnd();
    void killApplication();

    /// The picture of the display, for a test that fails.
    void photograph(const std::filesystem::path& file);

private:
    bool start(const QProcessEnvironment& variables, const QStringList& arguments);
    QProcessEnvironment environment() const;

    TemporaryFolder m_home;
    VirtualDisplay m_display;
    QProcess m_application;
};

} // namespace orvo::test
