#pragma once

#include "OrvoVideo/capture/screen/ScreenStream.h"

#include <memory>

namespace orvo {

/// The stream of a display, a window or a region on X11. Throws as `ScreenStream::open`.
std::unique_ptr<ScreenStream> openX11ScreenStream(const CaptureSource& source, const ScreenStream::Settings& settings);

} // namespace orvo
