#include "OrvoVideo/capture/screen/ScreenStream.h"

#include "OrvoVideo/capture/screen/PipeWireScreenStream.h"
#include "OrvoVideo/capture/screen/X11ScreenStream.h"

namespace orvo {

std::unique_ptr<ScreenStream> ScreenStream::open(const CaptureSource& source, const Settings& settings)
{
    return source.stream ? openPipeWireScreenStream(source, settings) : openX11ScreenStream(source, settings);
}

} // namespace orvo
