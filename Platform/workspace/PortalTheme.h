#pragma once

namespace orvo {

/// Has Qt take the desktop's own file panels from its portal: while this lives, a `QGuiApplication` is created with Qt's
/// theme for portals. That theme asks the one that Qt would have chosen for everything else, so that fonts and colours stay.
///
/// Does nothing where the user has chosen a theme for Qt, where no portal shows file panels, which may take two seconds to
/// be known, or where the theme is not installed. Main thread, before the application is created.
class PortalTheme {
public:
    PortalTheme();
    /// Programs that are started later choose for themselves.
    ~PortalTheme();
    PortalTheme(const PortalTheme&) = delete;
    PortalTheme& operator=(const PortalTheme&) = delete;

private:
    bool m_isSet = false;
};

} // namespace orvo
