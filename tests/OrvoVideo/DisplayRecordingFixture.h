#pragma once

#include "ModelFixture.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/VirtualDisplay.h"

namespace orvo::test {

/// Recordings of a real display, without audio.
class DisplayRecordingFixture : public ModelFixture {
protected:
    DisplayRecordingFixture()
    {
        display.enter();
        windowSystem = WindowSystem::x11;
    }

    void begin()
    {
        startSilent();
        QObject::connect(model.get(), &AppModel::statusChanged, [this, from = model.get()] { statuses << from->status(); });
    }

    [[nodiscard]] bool recordsSoon()
    {
        return comesToHold([&] { return model->isRecording() && !model->busy() && model->recorder()->time() > 0; });
    }
    std::filesystem::path projectFolder() const { return store.directory(project().id); }

    VirtualDisplay display{"640x360"};
    QStringList statuses;
};

} // namespace orvo::test
