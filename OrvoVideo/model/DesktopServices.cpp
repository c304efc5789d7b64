#include "OrvoVideo/model/AppServices.h"

#include "VideoMedia/FfprobeMediaProbe.h"

namespace orvo {

RecordingServices RecordingServices::create()
{
    RecordingServices services{.windowSystem = orvo::windowSystem()};
    auto pointer = PointerMonitor::create();
    services.pressesSeen = pointer->seesPresses();
    services.engine = std::make_unique<CaptureEngine>(std::move(pointer));
    if (services.windowSystem == WindowSystem::wayland)
        services.screenCast = std::make_unique<ScreenCast>();
    services.regionPicker = RegionPicker::create();
    services.shortcutKeys = ShortcutKeys::create();
    return services;
}

AppServices AppServices::create(const std::optional<std::filesystem::path>& libraryRoot)
{
    return {.store = openLibrary(libraryRoot),
        .probe = std::make_shared<FfprobeMediaProbe>(),
        .player = PreviewPlayer::create(),
        .cameraPlayer = PreviewPlayer::create(),
        .panels = FilePanels::create(),
        .workspace = Workspace::create(),
        .browsers = BrowserIntegration(),
        .observe = NotificationObserver::create,
        .recording = RecordingServices::create(),
        .pasteboard = Pasteboard::create()};
}

} // namespace orvo
