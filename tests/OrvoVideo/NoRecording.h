#pragma once

#include "Fakes.h"
#include "OrvoVideo/model/AppServices.h"

namespace orvo::test {

/// Services for a model without recordings: no sources and no shortcuts.
inline RecordingServices noRecording()
{
    return {.engine = std::make_unique<CaptureEngine>(PointerMonitor::create()),
        .regionPicker = std::make_unique<FakeRegionPicker>(),
        .shortcutKeys = std::make_unique<FakeShortcutKeys>()};
}

} // namespace orvo::test
