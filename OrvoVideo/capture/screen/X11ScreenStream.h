#pragma once

#include "OrvoVideo/capture/screen/ScreenStream.h"

#include <memory>

namespace orvo {

/// Opens the stream of a display, window or region on X11. Throws as `ScreenStream::open`.
std::unique_ptr<ScreenStream> openX11ScreenStream(const CaptureSource& source, const ScreenStream::Settings& settings);

} // namespace orvo
