#include "VideoMedia/PipedRuns.h"

#include "VideoCore/Error.h"
#include "VideoCore/UniqueFd.h"

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <utility>

namespace orvo::PipedRuns {

namespace fs = std::filesystem;

namespace {

/// A named pipe, removed by the destructor.
///
/// Keeps both ends open, so that neither program waits for the other to open its end, and the writer does not fail
/// because the reader ended: the failure to report is that of the reader.
class NamedPipe {
public:
    explicit NamedPipe(fs::path path)
        : m_path(std::move(path))
    {
        if (::mkfifo(m_path.c_str(), S_IRUSR | S_IWUSR) != 0)
            fail(errno);
        m_reading.reset(::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        if (m_reading)
            m_writing.reset(::open(m_path.c_str(), O_WRONLY | O_CLOEXEC));
        if (!m_writing) {
            const int error = errno;
            remove();
            fail(error);
        }
    }
    ~NamedPipe() { remove(); }
    NamedPipe(const NamedPipe&) = delete;
    NamedPipe& operator=(const NamedPipe&) = delete;

    /// Call after the writer has ended: the reader sees the end of the data.
    void closeWriting() { m_writing.reset(); }

    /// Call after the reader has ended: a writer that still writes fails.
    void closeReading() { m_reading.reset(); }

private:
    [[noreturn]] void fail(int error) const
    {
        throw fs::filesystem_error("mkfifo", m_path, std::error_code(error, std::system_category()));
    }

    void remove() const noexcept
    {
        std::error_code ignored;
        fs::remove(m_path, ignored);
    }

    fs::path m_path;
    UniqueFd m_reading;
    UniqueFd m_writing;
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
