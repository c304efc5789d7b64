#include "VirtualDisplay.h"

#include <QProcess>
#include <stdexcept>

namespace orvo::test {

VirtualDisplay::VirtualDisplay(const QString& size)
    // No key repeat (-r): on a busy machine, a short press may last long enough to repeat.
    : m_server({"Xvfb", "-displayfd", "1", "-screen", "0", size.toStdString() + "x24", "-nolisten", "tcp", "-noreset", "-r"},
          {}, ChildProcess::Errors::hidden)
    , m_name(":" + QString::fromStdString(m_server.readLine()))
{
    if (m_name == ":")
        throw std::runtime_error("the display does not start");
}

VirtualDisplay::~VirtualDisplay()
{
    if (m_entered)
        qputenv("DISPLAY", m_before);
    m_server.end(SIGTERM);
}

bool VirtualDisplay::xdotool(const QStringList& words) const
{
    QProcess process;
    auto variables = QProcessEnvironment::systemEnvironment();
    variables.insert("DISPLAY", m_name);
    process.setProcessEnvironment(variables);
    process.start("xdotool", words);
    return process.waitForFinished(120'000) && process.exitCode() == 0;
}

void VirtualDisplay::enter()
{
    m_before = qgetenv("DISPLAY");
    m_entered = true;
    qputenv("DISPLAY", m_name.toLatin1());
}

} // namespace orvo::test
