#include "ModelFixture.h"

#include "Platform/settings/StoredSettings.h"
#include "VideoMedia/FfprobeMediaProbe.h"

namespace orvo::test {

void fillOneHour(VideoProject& project)
{
    project.duration = 3600;
    std::vector<PointerEvent> events;
    events.reserve(43'200);
    for (int i = 0; i < 43'200; ++i) {
        const double time = i / 12.0;
        events.push_back({.time = time,
            .x = (i % 997) / 997.0,
            .y = (i % 877) / 877.0,
            .kind = i % 300 == 0 ? PointerKind::zoom
                : i % 40 == 0    ? PointerKind::click
                                 : PointerKind::move});
    }
    project.edit.events = SharedList(std::move(events));
    std::vector<TranscriptWord> words;
    words.reserve(9'000);
    for (int i = 0; i < 9'000; ++i)
        words.push_back(
            {.text = i % 50 == 0 ? "eh" : "palabra" + std::to_string(i), .start = i * 0.4, .end = i * 0.4 + 0.3});
    project.edit.words = SharedList(std::move(words));
}

ModelFixture::ModelFixture()
{
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString((folder / "config").string()));
    // The folder of the trash and of the extension mark.
    qputenv("XDG_DATA_HOME", QByteArray::fromStdString((folder / "data").string()));
}

ModelFixture::~ModelFixture()
{
    quit();
    StoredSettings::finish(); // Before their folder is removed.
}

void ModelFixture::start()
{
    model.reset();
    auto ownPlayer = std::make_unique<FakePlayer>();
    auto ownCamera = std::make_unique<FakePlayer>();
    auto ownPanels = std::make_unique<FakePanels>();
    auto ownWorkspace = std::make_unique<FakeWorkspace>();
    auto ownKeys = std::make_unique<FakeShortcutKeys>();
    auto ownPicker = std::make_unique<FakeRegionPicker>();
    player = ownPlayer.get();
    camera = ownCamera.get();
    panels = ownPanels.get();
    workspace = ownWorkspace.get();
    keys = ownKeys.get();
    picker = ownPicker.get();
    auto pointer = PointerMonitor::create();
    const bool pressesSeen = pointer->seesPresses();
    auto ownPasteboard = std::make_unique<FakePasteboard>();
    pasteboard = ownPasteboard.get();
    model = std::make_unique<AppModel>(AppServices{.store = std::make_unique<const ProjectStore>(store.root()),
        .probe = std::make_shared<FfprobeMediaProbe>(),
        .player = std::move(ownPlayer),
        .cameraPlayer = std::move(ownCamera),
        .panels = std::move(ownPanels),
        .workspace = std::move(ownWorkspace),
        .browsers = BrowserIntegration(browsers),
        .observe = observe,
        .recording = {.windowSystem = windowSystem,
            .engine = std::make_unique<CaptureEngine>(std::move(pointer)),
            .pressesSeen = pressesSeen,
            .screenCast = screenCast ? screenCast() : nullptr,
            .regionPicker = std::move(ownPicker),
            .shortcutKeys = std::move(ownKeys)},
        .pasteboard = std::move(ownPasteboard),
        .transcribe = [this](const auto&... arguments) { return recognition(arguments...); },
        .requireModel = [this](const auto&... arguments) { return download(arguments...); },
        .loadSecret = [this](std::string_view, Keychain::Interaction interaction,
                          const std::stop_token&) { return keychain.load(interaction); },
        .saveSecret = [this](std::string_view value, std::string_view, const std::stop_token&) { keychain.save(value); }});
    ASSERT_TRUE(waitUntil([&] { return model->libraryListed(); }));
}

void ModelFixture::startSilent()
{
    start();
    auto options = model->options();
    options.microphone = options.systemAudio = false;
    model->setOptions(options);
}

VideoProject ModelFixture::add(VideoProject project)
{
    store.create(project);
    return project;
}

VideoProject ModelFixture::openNew(double duration, const std::string& title)
{
    auto project = VideoProject::make(title);
    project.duration = duration;
    add(project);
    if (!model)
        start();
    select(project);
    return project;
}

} // namespace orvo::test
