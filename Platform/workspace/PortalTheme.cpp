#include "Platform/workspace/PortalTheme.h"

#include "Platform/desktop/DesktopOffers.h"

#include <QByteArray>
#include <QtEnvironmentVariables>

namespace orvo {

namespace {

constexpr auto variable = "QT_QPA_PLATFORMTHEME";

} // namespace

PortalTheme::PortalTheme()
    // Without a portal, the panels of that theme would close at once.
    : m_isSet(!qEnvironmentVariableIsSet(variable) && DesktopOffers::hasFilePanels())
{
    if (m_isSet)
        qputenv(variable, "xdgdesktopportal");
}

PortalTheme::~PortalTheme()
{
    if (m_isSet)
        qunsetenv(variable);
}

} // namespace orvo
