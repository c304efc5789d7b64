#pragma once

namespace orvo {

/// Makes Qt use the file panels of the desktop portal: a `QGuiApplication` created during its lifetime gets Qt's portal
/// theme. That theme delegates everything else, such as fonts and colours, to Qt's default theme.
///
/// Has no effect when the user has chosen a Qt theme, when no portal shows file panels, or when the theme is not installed.
/// Main thread, before the application is created. Blocks for up to two seconds.
class PortalTheme {
public:
    PortalTheme();
    /// Resets the environment, so that child processes choose their own theme.
    ~PortalTheme();
    PortalTheme(const PortalTheme&) = delete;
    PortalTheme& operator=(const PortalTheme&) = delete;

private:
    bool m_isSet = false;
};

} // namespace orvo
