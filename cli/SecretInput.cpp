#include "cli/SecretInput.h"

#include "VideoCore/Error.h"
#include "VideoCore/UniqueFd.h"
#include "cli/Interruption.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <poll.h>
#include <stop_token>
#include <sys/eventfd.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>

namespace orvo::cli {

namespace {

constexpr std::size_t maxSecret = 64 << 10; ///< Bytes.

/// Disables the echo of the terminal during its lifetime.
class Hidden {
public:
    Hidden()
        : m_changed(::tcgetattr(STDIN_FILENO, &m_before) == 0)
    {
        termios hidden = m_before;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        m_changed = m_changed && ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden) == 0;
    }
    ~Hidden()
    {
        if (m_changed)
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
        std::fputs("\n", stderr);
    }
    Hidden(const Hidden&) = delete;
    Hidden& operator=(const Hidden&) = delete;

private:
    termios m_before{};
    bool m_changed;
};

std::string readInput(bool oneLine)
{
    std::string text;
    std::array<char, 4096> buffer{};
    while (!oneLine || !text.contains('\n')) {
        const ssize_t got = ::read(STDIN_FILENO, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw std::system_error(errno, std::system_category());
        if (got == 0)
            break;
        text.append(buffer.data(), static_cast<std::size_t>(got));
        if (text.size() > maxSecret)
            throw captureError("Lo que llega por la entrada estándar es demasiado largo para ser un secreto.");
    }
    while (text.ends_with('\n') || text.ends_with('\r'))
        text.pop_back();
    return text;
}

/// Waits for a line. Throws `Cancelled` after a signal.
void awaitLine(const Interruption& interruption)
{
    const UniqueFd signalled(::eventfd(0, EFD_CLOEXEC));
    if (!signalled)
        throw std::system_error(errno, std::system_category());
    const std::stop_callback tell(interruption.token(), [&signalled] { ::eventfd_write(signalled.get(), 1); });
    std::array<pollfd, 2> watched{{{.fd = STDIN_FILENO, .events = POLLIN}, {.fd = signalled.get(), .events = POLLIN}}};
    while (::poll(watched.data(), watched.size(), -1) < 0 && errno == EINTR) { }
    if (interruption.requested())
        throw Cancelled();
}

} // namespace

std::string readSecret(const std::string& name)
{
    if (::isatty(STDIN_FILENO) == 0)
        return readInput(false);
    std::fprintf(stderr, "%s: ", name.c_str());
    const Interruption interruption; // A signal must not end the program before the terminal is restored.
    const Hidden hidden;
    awaitLine(interruption);
    return readInput(true);
}

} // namespace orvo::cli
