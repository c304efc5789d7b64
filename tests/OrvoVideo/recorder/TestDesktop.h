#pragma once

#include "TestSupport/VirtualDisplay.h"

#include <filesystem>

namespace orvo::test {

/// The display of this program: the monitor "left" with 640×800 pixels, and to its right the primary monitor "right" with
/// 1280×800 pixels and a scale of 1.5.
VirtualDisplay& testDesktop();

/// The address of this program's own session bus.
const QString& testBus();

/// The data folder of this program, which holds its trash.
std::filesystem::path testData();

} // namespace orvo::test
