#include "OrvoVideo/AppServices.h"

#include "Platform/FfprobeMediaProbe.h"

namespace orvo {

AppServices AppServices::create(const std::optional<std::filesystem::path>& libraryRoot)
{
    return {.store = openLibrary(libraryRoot),
        .probe = std::make_shared<FfprobeMediaProbe>(),
        .player = PreviewPlayer::create(),
        .cameraPlayer = PreviewPlayer::create(),
        .panels = FilePanels::create(),
        .workspace = Workspace::create(),
        .pasteboard = Pasteboard::create()};
}

} // namespace orvo
