#include "VirtualDisplay.h"

#include <stdexcept>

namespace orvo::test {

VirtualDisplay::VirtualDisplay(const QString& size)
{
    m_server.start("Xvfb", {"-displayfd", "1", "-screen", "0", size + "x24", "-nolisten", "tcp", "-noreset"});
    QByteArray number;
    while (!number.endsWith('\n')) {
        if (!m_server.waitForReadyRead(30'000))
            throw std::runtime_error("there is no display");
        number += m_server.readAllStandardOutput();
    }
    m_name = ":" + QString::fromLatin1(number.trimmed());
}

VirtualDisplay::~VirtualDisplay()
{
    if (m_entered)
        qputenv("DISPLAY", m_before);
    m_server.terminate();
    m_server.waitForFinished();
}

bool VirtualDisplay::xdotool(const QStringList& words) const
{
    QProcess process;
    auto variables = QProcessEnvironment::systemEnvironment();
    variables.insert("DISPLAY", m_name);
    process.setProcessEnvironment(variables);
    process.start("xdotool", words);
    return process.waitForFinished(30'000) && process.exitCode() == 0;
}

void VirtualDisplay::enter()
{
    m_before = qgetenv("DISPLAY");
    m_entered = true;
    qputenv("DISPLAY", m_name.toLatin1());
}

} // namespace orvo::test
