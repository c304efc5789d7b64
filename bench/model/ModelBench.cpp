// Measures how long the model holds the main thread for one edit of a one-hour project (the change, its undo step and the
// signals of the item models), for saving it, and for listing a large library; and the memory of a hundred undo steps.

#include "Fakes.h"
#include "NoRecording.h"
#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/model/ModelText.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "core/SampleProject.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <stdexcept>

namespace orvo::bench {

namespace {

/// A model with the one-hour project open, in a private library.
class OpenHour {
public:
    OpenHour()
        : m_project(sampleProject(oneHour))
    {
        auto store = std::make_unique<const ProjectStore>(m_folder.path().toStdString());
        // Makes every 150th event a zoom point, a plausible number for a long lesson.
        auto& events = m_project.edit.events.edit();
        for (std::size_t i = 0; i < events.size(); i += 150)
            events[i].kind = PointerKind::zoom;
        store->create(m_project);
        model = std::make_unique<AppModel>(AppServices{.store = std::move(store),
            .probe = std::make_shared<FfprobeMediaProbe>(),
            .player = std::make_unique<test::FakePlayer>(),
            .cameraPlayer = std::make_unique<test::FakePlayer>(),
            .panels = std::make_unique<test::FakePanels>(),
            .workspace = std::make_unique<test::FakeWorkspace>(),
            .recording = test::noRecording(),
            .pasteboard = std::make_unique<test::FakePasteboard>(),
            .loadSecret = test::noSecret});
        QCoro::waitFor(model->select(m_project));
        if (model->transcript()->count() != oneHour.words)
            throw std::logic_error("the project did not open");
    }

    const EditState& edit() const { return model->project()->edit; }

    QString wordId(std::size_t row) const { return Text::from(edit().words[row % edit().words.size()].id); }
    QString zoomId(int row) const
    {
        return model->zooms()->data(model->zooms()->index(row % model->zooms()->count()), ZoomModel::EventIdRole).toString();
    }

    std::unique_ptr<AppModel> model;

private:
    QTemporaryDir m_folder;
    VideoProject m_project;
};

/// Reports the distribution of the measurements, in milliseconds.
void report(benchmark::State& state, std::vector<double> milliseconds)
{
    std::ranges::sort(milliseconds);
    const auto at = [&](double part) {
        return milliseconds[static_cast<std::size_t>(part * static_cast<double>(milliseconds.size() - 1))];
    };
    state.counters["median_ms"] = at(0.5);
    state.counters["p99_ms"] = at(0.99);
    state.counters["max_ms"] = milliseconds.back();
}

template <typename Work> double timed(Work work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// Records the longest time that a single event held the main thread.
class TimedApplication final : public QCoreApplication {
public:
    using QCoreApplication::QCoreApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        bool taken = false;
        const double time = timed([&] { taken = QCoreApplication::notify(receiver, event); });
        maxHold = std::max(maxHold, time);
        return taken;
    }

    inline static double maxHold = 0;
};

/// Runs the event loop until the condition holds. Returns the longest time that a single event held the main thread.
double maxHoldUntil(const std::function<bool()>& condition)
{
    TimedApplication::maxHold = 0;
    while (!condition())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return TimedApplication::maxHold;
}

using Edit = void (*)(OpenHour&, int);

void makeEdit(benchmark::State& state, Edit edit)
{
    OpenHour hour;
    std::vector<double> times;
    int number = 0;
    for (auto _ : state) {
        const double time = timed([&] { edit(hour, number++); });
        state.SetIterationTime(time / 1e3);
        times.push_back(time);
    }
    report(state, times);
}

void correctWord(OpenHour& hour, int number)
{
    hour.model->editing()->correctWord(hour.wordId(static_cast<std::size_t>(number) * 4099), QString::number(number));
}

void cutWord(OpenHour& hour, int number)
{
    hour.model->editing()->cutWord(hour.wordId(static_cast<std::size_t>(number) * 4099));
}

void moveZoom(OpenHour& hour, int number)
{
    hour.model->editing()->setEventValue(hour.zoomId(number * 97), "scale", 1 + number % 30 / 10.0);
}

void addZoom(OpenHour& hour, int)
{
    hour.model->editing()->addZoom();
}

void moveCamera(OpenHour& hour, int number)
{
    hour.model->editing()->setValues({{"cameraX", number % 100 / 100.0}, {"cameraY", 0.5}});
}

void goBackAndForth(OpenHour& hour, int number)
{
    if (number == 0) {
        correctWord(hour, 1);
        moveZoom(hour, 2);
        cutWord(hour, 3);
    }
    number / 3 % 2 == 0 ? hour.model->undo() : hour.model->redo();
}

BENCHMARK_CAPTURE(makeEdit, correctWord, correctWord)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(makeEdit, cutWord, cutWord)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(makeEdit, moveZoom, moveZoom)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(makeEdit, addZoom, addZoom)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(300);
BENCHMARK_CAPTURE(makeEdit, moveCamera, moveCamera)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(makeEdit, undoAndRedo, goBackAndForth)->UseManualTime()->Unit(benchmark::kMillisecond);

/// Measures the longest time that the main thread is held, from the call of a save until it is on disk.
void autosave(benchmark::State& state)
{
    OpenHour hour;
    std::vector<double> holds;
    double untilOnDisk = 0;
    int number = 0;
    for (auto _ : state) {
        correctWord(hour, ++number);
        QElapsedTimer whole;
        whole.start();
        const double asked = timed([&] { hour.model->flushSave(); });
        const double hold = std::max(asked, maxHoldUntil([&] { return !hour.model->unsavedChanges(); }));
        untilOnDisk += static_cast<double>(whole.nsecsElapsed()) / 1e6;
        state.SetIterationTime(hold / 1e3);
        holds.push_back(hold);
    }
    report(state, holds);
    state.counters["until_on_disk_ms"] = untilOnDisk / static_cast<double>(holds.size());
}
BENCHMARK(autosave)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

std::size_t memoryInUse()
{
    const auto memory = mallinfo2();
    return memory.uordblks + memory.hblkhd;
}

/// Measures the memory of a hundred undo steps that correct words, cut them and change zoom points in turn.
void undoMemory(benchmark::State& state)
{
    for (auto _ : state) {
        OpenHour hour;
        // The first edits copy the lists of the open project once.
        correctWord(hour, 1000);
        moveZoom(hour, 1000);
        if (!hour.model->prepareToQuit())
            throw std::logic_error("not saved");
        const auto before = memoryInUse();
        for (int i = 0; i < 100; ++i)
            std::array{correctWord, cutWord, moveZoom, moveCamera}[static_cast<std::size_t>(i) % 4](hour, i);
        if (!hour.model->prepareToQuit())
            throw std::logic_error("not saved");
        const auto after = memoryInUse();
        state.counters["MB"] = (static_cast<double>(after) - static_cast<double>(before)) / 1e6;
    }
}
BENCHMARK(undoMemory)->Unit(benchmark::kMillisecond)->Iterations(1);

/// Lists 1,000 projects of five minutes; measures the longest time that a single event held the main thread.
void listLibrary(benchmark::State& state)
{
    const QTemporaryDir folder;
    {
        const ProjectStore store(folder.path().toStdString());
        auto project = sampleProject(fiveMinutes);
        for (int i = 0; i < 1'000; ++i) {
            project.id = Uuid::random();
            store.create(project);
        }
    }
    std::vector<double> holds;
    double untilListed = 0;
    for (auto _ : state) {
        QElapsedTimer whole;
        whole.start();
        double hold = 0;
        {
            std::unique_ptr<AppModel> model;
            hold = timed([&] {
                model = std::make_unique<AppModel>(
                    AppServices{.store = std::make_unique<const ProjectStore>(folder.path().toStdString()),
                        .probe = std::make_shared<FfprobeMediaProbe>(),
                        .player = std::make_unique<test::FakePlayer>(),
                        .cameraPlayer = std::make_unique<test::FakePlayer>(),
                        .panels = std::make_unique<test::FakePanels>(),
                        .workspace = std::make_unique<test::FakeWorkspace>(),
                        .recording = test::noRecording(),
                        .pasteboard = std::make_unique<test::FakePasteboard>(),
                        .loadSecret = test::noSecret});
            });
            hold = std::max(hold, maxHoldUntil([&] { return model->libraryListed(); }));
            untilListed += static_cast<double>(whole.nsecsElapsed()) / 1e6;
            // Lists again after adding a project.
            const auto count = model->library()->count();
            model->store().create(sampleProject(fiveMinutes));
            hold = std::max(hold, timed([&] { model->refreshLibrary(); }));
            hold = std::max(hold, maxHoldUntil([&] { return model->library()->count() > count; }));
        }
        state.SetIterationTime(hold / 1e3);
        holds.push_back(hold);
    }
    report(state, holds);
    state.counters["until_listed_ms"] = untilListed / static_cast<double>(holds.size());
}
BENCHMARK(listLibrary)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

} // namespace orvo::bench

int main(int argc, char** argv)
{
    const orvo::bench::TimedApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
