#pragma once

#include "Fakes.h"
#include "OrvoVideo/model/AppServices.h"

namespace orvo::test {

/// For a model that records nothing: no sources, no shortcuts of its own.
inline RecordingServices noRecording()
{
    return {.engine = std::make_unique<CaptureEngine>(PointerMonitor::create()),
        .regionPicker = std::make_unique<FakeRegionPicker>(),
        .shortcutKeys = std::make_unique<FakeShortcutKeys>()};
}

} // namespace orvo::test
