#include "Platform/capture/ScreenStream.h"

#include "Platform/capture/PipeWireScreenStream.h"
#include "Platform/capture/X11ScreenStream.h"

namespace orvo {

std::unique_ptr<ScreenStream> ScreenStream::open(const CaptureSource& source, const Settings& settings)
{
    return source.stream ? openPipeWireScreenStream(source, settings) : openX11ScreenStream(source, settings);
}

} // namespace orvo
