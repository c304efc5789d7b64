// Measures in one run how long the user waits for the application's window, with its real services:
//
//   bench_window STARTED PROJECT SECONDS
//
// STARTED is the start time of this process, in nanoseconds of the monotonic clock. Opens PROJECT once the library is
// listed, and plays it for SECONDS. ORVO_LIBRARY names the library. Prints one JSON object; times are in milliseconds.

#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/shell/MainWindow.h"

#include <QApplication>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuickItem>
#include <QQuickStyle>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <vector>

namespace {

using namespace orvo;
using Clock = std::chrono::steady_clock;

double since(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void runUntil(const std::function<bool()>& condition)
{
    while (!condition())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void runFor(double seconds)
{
    QEventLoop loop;
    QTimer::singleShot(std::chrono::milliseconds(std::lround(seconds * 1000)), Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

double at(std::vector<double> times, double part)
{
    std::ranges::sort(times);
    return times[static_cast<std::size_t>(part * static_cast<double>(times.size() - 1))];
}

/// Measures the transcript as a page: the time from opening it to the frame that shows it, frames while scrolling, and
/// corrections of one word (how long they hold the main thread, and the time until the frame).
void measureTranscript(AppModel& model, QQuickWindow& window, const std::function<void()>& nextSwap, QJsonObject& result)
{
    const auto named = [&](const char* name) {
        auto* item = window.findChild<QQuickItem*>(QLatin1String(name));
        if (!item)
            throw std::logic_error(std::string("there is no ") + name);
        return item;
    };
    auto* section = named("textSection");
    section->setProperty("asList", true);
    nextSwap();
    runFor(0.5);
    const auto asked = Clock::now();
    section->setProperty("asList", false);
    nextSwap();
    result["transcriptOpened"] = since(asked);
    result["transcriptWords"] = model.transcript()->count();
    runFor(0.5);

    auto* flick = named("prose");
    std::vector<double> frames;
    for (int step = 1; step <= 200; ++step) {
        const auto start = Clock::now();
        flick->setProperty("contentY", 37.0 * step);
        nextSwap();
        frames.push_back(since(start));
    }
    result["transcriptFrame"] = at(frames, 0.95);

    std::vector<double> holds;
    std::vector<double> shown;
    for (int number = 0; number < 100; ++number) {
        const int row = number * 4099 % model.transcript()->count();
        const QString id = model.transcript()->get(row).value(QStringLiteral("wordId")).toString();
        const auto start = Clock::now();
        model.editing()->correctWord(id, QStringLiteral("corregida%1").arg(number));
        holds.push_back(since(start));
        nextSwap();
        shown.push_back(since(start));
    }
    result["transcriptEdit"] = at(holds, 0.99);
    result["transcriptEditShown"] = at(shown, 0.95);
    runFor(1);
}

QJsonObject measure(Clock::time_point started, const QString& project, double seconds)
{
    AppModel model(AppServices::create(std::filesystem::path(qgetenv("ORVO_LIBRARY").toStdString())));
    MainWindow main(model);
    QQuickWindow& window = main.window();
    window.resize(1280, 800);
    QJsonObject result;

    // The render loop may swap on another thread; queued signals count here.
    int swaps = 0;
    int previewFrames = 0;
    qint64 shown = 0;
    QObject::connect(&window, &QQuickWindow::frameSwapped, &model, [&] {
        ++swaps;
        if (const auto key = model.player()->frame().cacheKey(); key != shown) {
            shown = key;
            ++previewFrames;
        }
    });
    const auto nextSwap = [&] {
        const int before = swaps;
        window.requestUpdate();
        runUntil([&] { return swaps > before; });
    };

    runUntil([&] { return swaps > 0; });
    result["window"] = since(started);
    runUntil([&] { return model.libraryListed(); });
    nextSwap();
    result["listed"] = since(started);
    result["projects"] = model.library()->count();
    runFor(2); // Lets the background work of the start finish.

    const auto opened = Clock::now();
    model.open(project);
    runUntil([&] { return model.hasProject(); });
    nextSwap();
    result["usable"] = since(opened);
    runUntil([&] { return model.preview() == Playback::Preview::Ready && !model.player()->frame().isNull(); });
    nextSwap();
    result["firstFrame"] = since(opened);
    runFor(3);
    measureTranscript(model, window, nextSwap, result);

    model.play();
    // Ignores the time that opening the audio device takes.
    runUntil([&] { return model.player()->position() > 0.5; });
    const double from = model.player()->position();
    previewFrames = 0;
    runFor(seconds);
    result["due"] = (model.player()->position() - from) * model.projectFacts().fps;
    result["shown"] = previewFrames;
    model.pause();
    return result;
}

} // namespace

int main(int count, char** arguments)
{
    QApplication application(count, arguments);
    QApplication::setOrganizationName(QStringLiteral("OrvoVideo"));
    QApplication::setApplicationName(QStringLiteral("OrvoVideo"));
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    orvo::MainWindow::chooseRenderer();
    const auto words = QApplication::arguments();
    if (words.size() != 4) {
        std::cerr << "bench_window STARTED PROJECT SECONDS\n";
        return EXIT_FAILURE;
    }
    const Clock::time_point started{std::chrono::nanoseconds(words[1].toLongLong())};
    std::cout << QJsonDocument(measure(started, words[2], words[3].toDouble())).toJson(QJsonDocument::Compact).toStdString()
              << '\n';
}
