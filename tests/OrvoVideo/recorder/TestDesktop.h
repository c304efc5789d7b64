#pragma once

#include "TestSupport/VirtualDisplay.h"

#include <filesystem>

namespace orvo::test {

/// The display that this program shows its windows on: the monitor "left" with 640×800 pixels, and right of it the primary
/// monitor "right" with 1280×800, whose windows are shown at one and a half times their size.
VirtualDisplay& testDesktop();

/// The address of this program's own session bus.
const QString& testBus();

/// Where this program's trash is.
std::filesystem::path testData();

} // namespace orvo::test
