#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <stdexcept>

namespace orvo::test {

/// The window of TimePattern.h, on the display and with the sound of this process.
class PatternWindow {
public:
    struct Place {
        int x = 0;
        int y = 0;
        int width = 640;
        int height = 360;
    };

    /// Waits until it is shown. `more` are further words for the program.
    explicit PatternWindow(const Place& place, const QStringList& more = {}, int fps = 30)
    {
        m_program.start(ORVO_TIME_PATTERN,
            QStringList{QString::number(place.x), QString::number(place.y), QString::number(place.width),
                QString::number(place.height), QString::number(fps)}
                + more);
        while (!m_program.canReadLine()) {
            if (!m_program.waitForReadyRead(30'000))
                throw std::runtime_error("the pattern is not shown");
        }
    }
    ~PatternWindow() { close(); }
    PatternWindow(const PatternWindow&) = delete;
    PatternWindow& operator=(const PatternWindow&) = delete;

    void close()
    {
        m_program.kill();
        m_program.waitForFinished();
    }

private:
    QProcess m_program;
};

} // namespace orvo::test
