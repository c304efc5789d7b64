#pragma once

#include "Fakes.h"
#include "OrvoVideo/model/AppModel.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/Projects.h"
#include "TestSupport/TemporaryFolder.h"

#include <QCoroTask>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace orvo {

struct RecorderForTests {
    static void setPhase(Recorder& recorder, Recorder::Phase phase) { recorder.setPhase(phase); }
};

} // namespace orvo

namespace orvo::test {

inline bool waitUntil(const std::function<bool()>& condition)
{
    return comesToHold(condition);
}

/// Fills the project with a one-hour recording: a pointer event every 1/12 s and 9,000 words.
void fillOneHour(VideoProject& project);

/// A temporary library and settings on disk, and a model with services that the test controls.
class ModelFixture : public testing::Test {
protected:
    ModelFixture();
    ~ModelFixture() override;

    /// Makes a model and waits until it has listed the library. Add projects to the store before.
    void start();
    /// Destroys the model, as quitting does.
    void quit() { model.reset(); }

    /// Adds a project to the library on disk.
    VideoProject add(VideoProject project);
    /// Adds an empty project of this length and opens it.
    VideoProject openNew(double duration = 10, const std::string& title = "Demo");

    void select(const VideoProject& project) { QCoro::waitFor(model->select(project)); }

    const VideoProject& project() const { return *model->project(); }
    /// The document on disk.
    VideoProject onDisk(const Uuid& id) const { return store.load(id); }
    VideoProject onDisk() const { return onDisk(project().id); }

    /// Waits until every edit is on disk.
    [[nodiscard]] bool saved() const
    {
        return waitUntil([&] { return !model->unsavedChanges(); });
    }

    void setTitle(const std::string& title)
    {
        model->update([&](VideoProject& edited) { edited.title = title; });
    }

    /// Starts a model that records no audio.
    void startSilent();
    /// Waits until the recording is this long.
    [[nodiscard]] bool lasts(double seconds) const
    {
        return waitUntil([&] { return model->recorder()->time() >= seconds; });
    }
    /// Waits until nothing is recorded and no operation runs.
    [[nodiscard]] bool idleSoon() const
    {
        return waitUntil([&] { return !model->isRecording() && !model->busy() && !model->capturing(); });
    }

    /// Sets the phase without a recording.
    void setPhase(Recorder::Phase phase) { RecorderForTests::setPhase(*model->recorder(), phase); }

    TemporaryFolder folder;
    ProjectStore store{folder / "library"};
    std::unique_ptr<AppModel> model;
    /// The recogniser of the model; called on a worker thread.
    std::function<decltype(TranscriptionService::transcribe)> recognition;
    /// The download of speech models; called on a worker thread.
    std::function<decltype(SpeechModels::require)> download;
    FakeKeychain keychain;
    // Owned by the model.
    FakePlayer* player = nullptr;
    FakePlayer* camera = nullptr;
    FakePanels* panels = nullptr;
    FakeWorkspace* workspace = nullptr;
    FakePasteboard* pasteboard = nullptr;
    FakeShortcutKeys* keys = nullptr;
    FakeRegionPicker* picker = nullptr;

    /// The window system for recordings; `none` has no sources.
    WindowSystem windowSystem = WindowSystem::none;
    /// Makes the `ScreenCast` of a model on Wayland.
    std::function<std::unique_ptr<ScreenCast>()> screenCast;
    /// The places of the browser integration; empty disables it.
    BrowserIntegration::Places browsers;
    /// Makes the observer of the session's other programs.
    std::function<decltype(NotificationObserver::create)> observe;
};

} // namespace orvo::test
