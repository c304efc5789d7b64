// How long the user waits for the window of the application, with its real services, measured in one run of it:
//
//   bench_window STARTED PROJECT SECONDS
//
// STARTED is when this process was started, in nanoseconds of the monotonic clock. PROJECT is opened once the library is
// listed, and played for SECONDS. The library is that of ORVO_LIBRARY. Answers with one JSON object; times are milliseconds.

#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/shell/MainWindow.h"

#include <QApplication>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuickStyle>
#include <QTimer>
#include <QtQml/QQmlExtensionPlugin>
#include <chrono>
#include <cmath>
#include <functional>
#include <iostream>

Q_IMPORT_QML_PLUGIN(Orvo_EditorPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_ModelPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_PreviewPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_RecorderPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_SettingsPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_ShellPlugin)
Q_IMPORT_QML_PLUGIN(Orvo_UiPlugin)

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

QJsonObject measure(Clock::time_point started, const QString& project, double seconds)
{
    AppModel model(AppServices::create(std::filesystem::path(qgetenv("ORVO_LIBRARY").toStdString())));
    MainWindow main(model);
    QQuickWindow& window = main.window();
    window.resize(1280, 800);
    QJsonObject result;

    // The render loop may swap on a thread of its own; the count arrives here with the events.
    int swaps = 0;
    int pictures = 0;
    qint64 shown = 0;
    QObject::connect(&window, &QQuickWindow::frameSwapped, &model, [&] {
        ++swaps;
        if (const auto picture = model.player()->frame().cacheKey(); picture != shown) {
            shown = picture;
            ++pictures;
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
    runFor(2); // What the start has begun comes to rest.

    const auto opened = Clock::now();
    model.open(project);
    runUntil([&] { return model.hasProject(); });
    nextSwap();
    result["usable"] = since(opened);
    runUntil([&] { return model.preview() == Playback::Preview::Ready && !model.player()->frame().isNull(); });
    nextSwap();
    result["firstPicture"] = since(opened);
    runFor(3);

    model.play();
    // The first moments belong to the opening of the sound device.
    runUntil([&] { return model.player()->position() > 0.5; });
    const double from = model.player()->position();
    pictures = 0;
    runFor(seconds);
    result["due"] = (model.player()->position() - from) * model.projectFacts().fps;
    result["shown"] = pictures;
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
