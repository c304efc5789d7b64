#include "OtherProcesses.h"

#include "ModelFixture.h"
#include "NoRecording.h"
#include "OrvoVideo/model/SingleInstance.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QTimer>
#include <unistd.h>

namespace orvo::test {

namespace {

void say(const std::string& line)
{
    const std::string text = line + "\n";
    static_cast<void>(::write(STDOUT_FILENO, text.data(), text.size()));
}

} // namespace

int runSingleInstance(const QStringList& arguments)
{
    const SingleInstance instance(arguments[0].toStdString());
    if (!instance.isFirst()) {
        say(instance.handOver(arguments.mid(1)) ? "handed over" : "no answer");
        return 0;
    }
    say("first");
    return QCoreApplication::exec();
}

int runEdits(const QStringList& arguments)
{
    auto store = std::make_unique<const ProjectStore>(arguments[0].toStdString());
    const auto project = store->load(*Uuid::parse(arguments[1].toStdString()));
    const int maxPause = arguments[2].toInt();
    AppModel model({.store = std::move(store),
        .probe = std::make_shared<FfprobeMediaProbe>(),
        .player = std::make_unique<FakePlayer>(),
        .cameraPlayer = std::make_unique<FakePlayer>(),
        .panels = std::make_unique<FakePanels>(),
        .workspace = std::make_unique<FakeWorkspace>(),
        .recording = noRecording(),
        .pasteboard = std::make_unique<FakePasteboard>(),
        .loadSecret = noSecret});
    QCoro::waitFor(model.select(project));

    int number = static_cast<int>(model.project()->edit.events.size());
    QObject::connect(&model, &AppModel::unsavedChangesChanged, &model, [&] {
        if (!model.unsavedChanges())
            say("safe " + std::to_string(number));
    });
    QTimer edits;
    edits.setSingleShot(true);
    QObject::connect(&edits, &QTimer::timeout, &edits, [&] {
        ++number;
        model.update([&](VideoProject& edited) {
            edited.title = std::to_string(number);
            edited.edit.events.edit().push_back({.time = number / 10.0, .kind = PointerKind::zoom});
        });
        say("made " + std::to_string(number));
        edits.start(QRandomGenerator::global()->bounded(maxPause + 1));
    });
    edits.start();
    return QCoreApplication::exec();
}

} // namespace orvo::test
