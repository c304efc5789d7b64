#include "VideoMedia/PipedRuns.h"

#include "VideoCore/Error.h"

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace orvo::PipedRuns {

namespace fs = std::filesystem;

namespace {

/// A named pipe, removed by the destructor.
///
/// Keeps both ends open: neither program waits for the other to open its end, and the writer does not fail because the
/// reader ended. The failure of the reader is the one to report.
class NamedPipe {
public:
    explicit NamedPipe(fs::path path)
        : m_path(std::move(path))
    {
        if (::mkfifo(m_path.c_str(), S_IRUSR | S_IWUSR) != 0)
            fail();
        m_reading = ::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        m_writing = m_reading < 0 ? -1 : ::open(m_path.c_str(), O_WRONLY | O_CLOEXEC);
        if (m_writing < 0) {
            const int error = errno;
            close();
            errno = error;
            fail();
        }
    }
    ~NamedPipe() { close(); }
    NamedPipe(const NamedPipe&) = delete;
    NamedPipe& operator=(const NamedPipe&) = delete;

    /// Call after the writer has ended: the reader sees the end of the data.
    void closeWriting() { closeEnd(m_writing); }

    /// Call after the reader has ended: a writer that still writes fails.
    void closeReading() { closeEnd(m_reading); }

private:
    [[noreturn]] void fail() const
    {
        throw fs::filesystem_error("mkfifo", m_path, std::error_code(errno, std::system_category()));
    }

    void close()
    {
        closeWriting();
        closeReading();
        std::error_code ignored;
        fs::remove(m_path, ignored);
    }

    static void closeEnd(int& end)
    {
        if (end >= 0)
            ::close(std::exchange(end, -1));
    }

    fs::path m_path;
    int m_reading = -1;
    int m_writing = -1;
};

} // namespace

void run(const fs::path& pipe, const Run& write, const Run& read, const std::stop_token& stop)
{
    NamedPipe ends(pipe);
    std::stop_source stopWriter;
    std::stop_source stopReader;
    const std::stop_callback stopBoth(stop, [&] {
        stopWriter.request_stop();
        stopReader.request_stop();
    });
    std::exception_ptr writerFailure;
    std::thread writer([&] {
        try {
            write(stopWriter.get_token());
        } catch (const Cancelled&) { // NOLINT(bugprone-empty-catch): the reader has ended, or both are stopped.
        } catch (...) {
            writerFailure = std::current_exception();
            stopReader.request_stop();
        }
        ends.closeWriting();
    });
    std::exception_ptr readerFailure;
    try {
        read(stopReader.get_token());
    } catch (...) {
        readerFailure = std::current_exception();
    }
    stopWriter.request_stop();
    ends.closeReading();
    writer.join();
    if (stop.stop_requested())
        throw Cancelled();
    if (writerFailure)
        std::rethrow_exception(writerFailure);
    if (readerFailure)
        std::rethrow_exception(readerFailure);
}

} // namespace orvo::PipedRuns
