#pragma once

#include "TestSupport/TemporaryFolder.h"
#include "TestSupport/VirtualDisplay.h"

#include <QProcess>
#include <QStringList>
#include <filesystem>

namespace orvo::test {

/// The application on its own display of 1280×800, with its own keyboard, pointer and home folder.
class Desktop {
public:
    ~Desktop() { killApplication(); }

    /// Starts the application on a library, with these arguments, and waits for its window.
    [[nodiscard]] bool startApplication(const std::filesystem::path& library, const QStringList& arguments = {});

    /// Like `startApplication`, on the default library (`usualLibrary()`) and the session bus at this address.
    [[nodiscard]] bool startOnBus(const QString& bus);
    std::filesystem::path usualLibrary() const { return m_home / "data/OrvoVideo/Projects"; }

    /// Waits for a window whose title contains this text, and focuses it.
    [[nodiscard]] bool focusWindow(const QString& title);

    /// Presses keys one after the other: "i", "ctrl+z", "Right".
    void press(const QStringList& keys);
    void type(const QString& text);
    /// Drags with the left button, in steps.
    void drag(int fromX, int fromY, int toX, int toY);

    /// Waits until the application exits. Returns its exit status, or −1 if it was killed or is still running.
    int applicationEnd();
    void killApplication();

    /// Saves a screenshot of the display, to examine a failure.
    void photograph(const std::filesystem::path& file);

private:
    bool start(const QProcessEnvironment& variables, const QStringList& arguments);
    QProcessEnvironment environment() const;

    TemporaryFolder m_home;
    VirtualDisplay m_display;
    QProcess m_application;
};

} // namespace orvo::test
