#include "VirtualCamera.h"

#include "TestSupport/Waiting.h"

#include <stdexcept>

namespace orvo::test {

namespace {

/// Whether PipeWire has a node of this name.
bool isOffered(const QByteArray& name)
{
    QProcess process;
    process.start("pw-cli", {"ls", "Node"});
    return process.waitForFinished(10'000) && process.readAllStandardOutput().contains("node.name = \"" + name + "\"");
}

} // namespace

VirtualCamera::VirtualCamera(std::uint32_t colour)
{
    m_program.setStandardOutputFile(QProcess::nullDevice());
    m_program.setStandardErrorFile(QProcess::nullDevice());
    m_program.start("gst-launch-1.0",
        {"-q", "videotestsrc", "is-live=true", "pattern=solid-color",
            QString("foreground-color=0xff%1").arg(colour, 6, 16, QChar('0')), "!",
            "video/x-raw,format=YUY2,width=1280,height=720,framerate=30/1", "!", "pipewiresink", "mode=provide",
            QString("stream-properties=props,media.class=Video/Source,media.role=Camera,node.name=%1,node.description=%2")
                .arg(id, label)});
    if (!pollUntil([] { return isOffered(id); }))
        throw std::runtime_error("the camera does not appear");
}

VirtualCamera::~VirtualCamera()
{
    m_program.kill();
    m_program.waitForFinished();
}

} // namespace orvo::test
