#pragma once

#include "OrvoVideo/capture/CaptureEngine.h"
#include "OrvoVideo/model/BrowserIntegration.h"
#include "OrvoVideo/model/RegionPicker.h"
#include "OrvoVideo/playback/PreviewPlayer.h"
#include "OrvoVideo/publishing/Publisher.h"
#include "OrvoVideo/transcription/SpeechModels.h"
#include "OrvoVideo/transcription/TranscriptionService.h"
#include "Platform/desktop/WindowSystem.h"
#include "Platform/keychain/Keychain.h"
#include "Platform/notifications/Notifications.h"
#include "Platform/portal/ScreenCast.h"
#include "Platform/shortcuts/ShortcutKeys.h"
#include "Platform/workspace/FilePanels.h"
#include "Platform/workspace/Pasteboard.h"
#include "Platform/workspace/Workspace.h"
#include "VideoCore/ProjectStore.h"
#include "VideoMedia/MediaProbe.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace orvo {

/// The platform services for recording. All are required except `screenCast`, which only Wayland uses.
struct RecordingServices {
    WindowSystem windowSystem = WindowSystem::none;
    std::unique_ptr<CaptureEngine> engine;
    bool pressesSeen = false; ///< Whether the engine sees pointer presses in other applications.
    std::unique_ptr<ScreenCast> screenCast;
    std::unique_ptr<RegionPicker> regionPicker;
    std::unique_ptr<ShortcutKeys> shortcutKeys;

    static RecordingServices create();
};

/// The platform services of the model. All are required.
struct AppServices {
    std::unique_ptr<const ProjectStore> store;
    std::shared_ptr<const MediaProbe> probe; ///< Shared with the work that uses it.
    std::unique_ptr<PreviewPlayer> player;
    std::unique_ptr<PreviewPlayer> cameraPlayer;
    std::unique_ptr<FilePanels> panels;
    std::unique_ptr<Workspace> workspace;
    /// Connects browsers; does nothing without places.
    BrowserIntegration browsers{BrowserIntegration::Places{}};
    /// Listens to the session's other programs, if set.
    std::function<decltype(NotificationObserver::create)> observe;
    RecordingServices recording;
    std::unique_ptr<Pasteboard> pasteboard;
    /// Recognises speech; called on a worker thread.
    std::function<decltype(TranscriptionService::transcribe)> transcribe = TranscriptionService::transcribe;
    /// Downloads a missing speech model; called on a worker thread.
    std::function<decltype(SpeechModels::require)> requireModel = SpeechModels::require;
    /// Read and store the user's secrets; called on a worker thread.
    std::function<decltype(Keychain::load)> loadSecret = Keychain::load;
    std::function<decltype(Keychain::save)> saveSecret = Keychain::save;
    /// How to talk to the publishing server.
    Publisher::Options publisher;

    /// The services of this system, with the library in its usual place or in `libraryRoot`. Needs a `QApplication`.
    ///
    /// Throws `captureError` with a text for the user: "No se ha podido abrir la biblioteca: " and the reason, or the error
    /// of the preview player. The application cannot run then.
    static AppServices create(const std::optional<std::filesystem::path>& libraryRoot = std::nullopt);

    /// Opens only the library, which is needed before the other services. Throws as above.
    static std::unique_ptr<const ProjectStore> openLibrary(
        const std::optional<std::filesystem::path>& libraryRoot = std::nullopt);
};

} // namespace orvo
