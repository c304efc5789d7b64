#pragma once

#include "OrvoVideo/capture/screen/ScreenStream.h"

#include <memory>

namespace orvo {

/// The stream of a source that the portal has opened. Throws as `ScreenStream::open`.
std::unique_ptr<ScreenStream> openPipeWireScreenStream(const CaptureSource& source, const ScreenStream::Settings& settings);

} // namespace orvo
