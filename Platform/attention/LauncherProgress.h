#pragma once

namespace orvo {

/// Shows the progress of long operations on the application's icon in the task bar: sends the signal
/// com.canonical.Unity.LauncherEntry.Update on the session bus, which several desktops support. Main thread only; calls
/// neither block nor fail, and have no effect on other desktops.
namespace LauncherProgress {

/// Shows a progress, 0..1.
void show(double progress);
void hide();

} // namespace LauncherProgress

} // namespace orvo
