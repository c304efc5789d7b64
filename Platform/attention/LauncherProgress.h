#pragma once

namespace orvo {

/// The progress of long work at the application's icon in the desktop's task bar: the signal
/// com.canonical.Unity.LauncherEntry.Update on the session bus, which several desktops hear. Main thread only; calls neither
/// block nor fail, and change nothing where no desktop listens.
namespace LauncherProgress {

/// Shows a progress, 0..1.
void show(double progress);
void hide();

} // namespace LauncherProgress

} // namespace orvo
