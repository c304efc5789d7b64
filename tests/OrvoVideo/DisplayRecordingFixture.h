#pragma once

#include "ModelFixture.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/VirtualDisplay.h"

namespace orvo::test {

/// Recordings of a real display, without sound.
class DisplayRecordingFixture : public ModelFixture {
protected:
    DisplayRecordingFixture()
    {
        display.enter();
        windowSystem = WindowSystem::x11;
    }

    void begin()
    {
        start();
        auto options = model->options();
        options.microphone = options.systemAudio = false;
        model->setOptions(options);
        QObject::connect(model.get(), &AppModel::statusChanged, [this, told = model.get()] { statuses << told->status(); });
    }

    [[nodiscard]] bool recordsSoon()
    {
        return comesToHold([&] { return model->isRecording() && !model->busy() && model->recorder()->time() > 0; });
    }
    [[nodiscard]] bool idleSoon()
    {
        return comesToHold([&] { return !model->isRecording() && !model->busy() && !model->capturing(); });
    }
    /// Waits until the recording is this long.
    [[nodiscard]] bool lasts(double seconds)
    {
        return comesToHold([&] { return model->recorder()->time() >= seconds; });
    }

    std::filesystem::path projectFolder() const { return store.directory(project().id); }

    VirtualDisplay display{"640x360"};
    QStringList statuses;
};

} // namespace orvo::test
