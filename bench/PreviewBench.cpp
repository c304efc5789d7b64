// Drives a preview player with commands on standard input and answers each with one line of figures, so that a script can
// alternate it with another player:
//
//   load FPS WIDTH HEIGHT VIDEO AUDIO...   milliseconds until the first frame
//   display WIDTH HEIGHT                   an empty line
//   seek SECONDS                           milliseconds until the frame
//   scrub FROM TO DURATION                 frames per second while 60 targets per second arrive for DURATION seconds
//   play DURATION                          frames shown and frames due, from the current position
//   jump SECONDS EXPECTED(0|1)             milliseconds from a jump while playing until its frame; 1 announces the jump

#include "OrvoVideo/playback/PreviewPlayer.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <chrono>
#include <cmath>
#include <functional>
#include <iostream>
#include <sstream>

namespace {

using Clock = std::chrono::steady_clock;

double since(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

class Bench {
public:
    Bench()
        : m_player(orvo::PreviewPlayer::create())
    {
        QObject::connect(m_player.get(), &orvo::PreviewPlayer::frameChanged, [this] { ++m_frames; });
        QObject::connect(m_player.get(), &orvo::PreviewPlayer::seekFinished, [this] { m_sought = true; });
        QObject::connect(m_player.get(), &orvo::PreviewPlayer::loaded, [this] { m_loaded = true; });
        QObject::connect(m_player.get(), &orvo::PreviewPlayer::failed, [](const QString& reason) {
            std::cerr << reason.toStdString() << '\n';
            std::exit(1);
        });
    }

    void perform(std::istringstream words)
    {
        std::string verb;
        words >> verb;
        if (verb == "load")
            load(words);
        else if (verb == "display")
            display(words);
        else if (verb == "seek")
            seek(words);
        else if (verb == "scrub")
            scrub(words);
        else if (verb == "play")
            play(words);
        else if (verb == "jump")
            jump(words);
        std::cout << '\n' << std::flush;
    }

private:
    static void runUntil(const std::function<bool()>& condition)
    {
        while (!condition())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

    static void runFor(double seconds)
    {
        QEventLoop loop;
        QTimer::singleShot(
            std::chrono::milliseconds(std::lround(seconds * 1000)), Qt::PreciseTimer, &loop, &QEventLoop::quit);
        loop.exec();
    }

    void seekAndWait(double seconds)
    {
        m_sought = false;
        m_player->seek(seconds);
        runUntil([this] { return m_sought; });
    }

    void load(std::istringstream& words)
    {
        orvo::PreviewComposition composition;
        std::string file;
        words >> composition.fps >> composition.width >> composition.height >> file;
        m_fps = composition.fps;
        composition.video.push_back({.file = file});
        while (words >> file)
            composition.audio.push_back({.file = file});
        m_loaded = false;
        const auto start = Clock::now();
        m_player->load(composition);
        runUntil([this] { return m_loaded; });
        std::cout << since(start);
    }

    void display(std::istringstream& words)
    {
        int width = 0;
        int height = 0;
        words >> width >> height;
        m_player->setDisplaySize(QSize(width, height));
    }

    void seek(std::istringstream& words)
    {
        double seconds = 0;
        words >> seconds;
        const auto start = Clock::now();
        seekAndWait(seconds);
        std::cout << since(start);
    }

    void scrub(std::istringstream& words)
    {
        double from = 0;
        double to = 0;
        double duration = 0;
        words >> from >> to >> duration;
        seekAndWait(from);
        m_frames = 0;
        const auto start = Clock::now();
        QTimer pointer;
        pointer.setTimerType(Qt::PreciseTimer);
        QObject::connect(
            &pointer, &QTimer::timeout, [&] { m_player->seek(from + (to - from) * since(start) / 1000 / duration); });
        pointer.start(std::chrono::milliseconds(16));
        runFor(duration);
        pointer.stop();
        std::cout << m_frames / duration;
    }

    void play(std::istringstream& words)
    {
        double duration = 0;
        words >> duration;
        m_player->play();
        // Ignores the time that opening the audio device takes.
        const double start = m_player->position();
        runUntil([&] { return m_player->position() > start + 0.2; });
        const double from = m_player->position();
        m_frames = 0;
        runFor(duration);
        const double played = m_player->position() - from;
        std::cout << m_frames << ' ' << played * m_fps;
        m_player->pause();
    }

    void jump(std::istringstream& words)
    {
        double seconds = 0;
        bool isExpected = false;
        words >> seconds >> isExpected;
        m_player->play();
        if (isExpected)
            m_player->expectSeek(seconds);
        runFor(1.5);
        const auto start = Clock::now();
        seekAndWait(seconds);
        std::cout << since(start);
        m_player->pause();
    }

    std::unique_ptr<orvo::PreviewPlayer> m_player;
    int m_fps = 30;
    int m_frames = 0;
    bool m_sought = false;
    bool m_loaded = false;
};

} // namespace

int main(int count, char** arguments)
{
    const QCoreApplication application(count, arguments);
    Bench bench;
    for (std::string line; std::getline(std::cin, line);)
        bench.perform(std::istringstream(line));
}
