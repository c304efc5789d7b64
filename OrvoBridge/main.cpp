#include "OrvoBridge/BridgeSession.h"
#include "OrvoBridge/MessageStream.h"
#include "Platform/notifications/Notifications.h"
#include "VideoCore/DetachedProgram.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/signalfd.h>
#include <unistd.h>

/// The helper that a browser starts for the extension: native messages on standard input and output, recordings in the
/// library. Ends with the extension's connection.

namespace {

using namespace orvo;
using namespace orvo::bridge;
using Clock = std::chrono::steady_clock;

constexpr auto maxFarewell = std::chrono::milliseconds(500);

constexpr std::string_view help =
    "OrvoBridge: une la extensión de Orvo Video con la biblioteca.\n"
    "La inicia el navegador, con el protocolo de mensajería nativa por la entrada y la salida estándar.\n"
    "ORVO_LIBRARY nombra otra biblioteca.\n";

/// A descriptor that is readable when a signal asks the program to end.
int endSignals()
{
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t signals{};
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&signals, number);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return ::signalfd(-1, &signals, SFD_CLOEXEC);
}

std::optional<std::filesystem::path> libraryRoot()
{
    const char* named = std::getenv("ORVO_LIBRARY");
    return named && *named ? std::optional<std::filesystem::path>(named) : std::nullopt;
}

void serve()
{
    const int signals = endSignals();
    MessageStream stream;
    bool heard = true; // Whether the browser still reads replies.
    BridgeSession session(
        libraryRoot(), [&](const std::string& text) { heard = heard && writeMessage(STDOUT_FILENO, text); },
        notification::post,
        [](const Uuid& project) {
            std::error_code error;
            const auto helpers = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
            startDetached(helpers.parent_path() / "MacOS" / "OrvoVideo", {project.text()});
        });

    // Handles the messages in the pipe. Returns false at the end of the stream.
    const auto listen = [&] {
        const auto state = stream.read(STDIN_FILENO);
        while (const auto message = stream.next())
            session.receive(*message);
        return state == MessageStream::State::open && !stream.isBroken();
    };
    const auto holdsSomething = [] {
        pollfd input{.fd = STDIN_FILENO, .events = POLLIN};
        return ::poll(&input, 1, 0) > 0;
    };

    // Milliseconds; -1 while nothing is recorded.
    const auto untilTick = [&session] {
        const auto due = session.nextTick();
        if (!due)
            return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - Clock::now());
        return std::max(static_cast<int>(left.count()), 0);
    };
    while (heard) {
        pollfd waiting[] = {{.fd = STDIN_FILENO, .events = POLLIN}, {.fd = signals, .events = POLLIN}};
        if (::poll(waiting, 2, untilTick()) < 0 && errno != EINTR)
            break;
        if (waiting[1].revents != 0) {
            // Handles the messages already in the pipe, within the time limit.
            const auto limit = Clock::now() + maxFarewell;
            while (holdsSomething() && Clock::now() < limit && listen()) { }
            break;
        }
        if (waiting[0].revents != 0 && !listen())
            break;
        if (untilTick() == 0)
            session.tick();
    }
    session.end();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && (std::string_view(argv[1]) == "--help" || std::string_view(argv[1]) == "-h")) {
        std::cout << help;
        return 0;
    }
    serve();
    return 0;
}
