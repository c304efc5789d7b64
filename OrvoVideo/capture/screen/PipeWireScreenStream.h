#pragma once

#include "OrvoVideo/capture/screen/ScreenStream.h"

#include <memory>

namespace orvo {

/// Opens the stream of a portal source. Throws as `ScreenStream::open`.
std::unique_ptr<ScreenStream> openPipeWireScreenStream(const CaptureSource& source, const ScreenStream::Settings& settings);

} // namespace orvo
