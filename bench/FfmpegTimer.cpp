// Runs ffmpeg with the given arguments and exits with its status. Appends a JSON line to the file that ORVO_BENCH_FFMPEG_LOG
// names: start and end (seconds of the monotonic clock), and the arguments.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <format>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* ffmpeg = "/usr/bin/ffmpeg";

double seconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::string quoted(const char* text)
{
    std::string out = "\"";
    for (; *text; ++text) {
        if (*text == '"' || *text == '\\')
            out += '\\';
        out += *text;
    }
    return out + '"';
}

} // namespace

int main(int count, char** arguments)
{
    const double begin = seconds();
    pid_t child = 0;
    if (const int error = posix_spawn(&child, ffmpeg, nullptr, nullptr, arguments, environ); error != 0) {
        std::fprintf(stderr, "%s: %s\n", ffmpeg, std::strerror(error));
        return EXIT_FAILURE;
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    const double end = seconds();

    if (const char* path = std::getenv("ORVO_BENCH_FFMPEG_LOG")) {
        auto line = std::format("{{\"begin\": {:.6f}, \"end\": {:.6f}, \"arguments\": [", begin, end);
        for (int i = 1; i < count; ++i)
            line += (i > 1 ? ", " : "") + quoted(arguments[i]);
        line += "]}\n";
        if (std::FILE* log = std::fopen(path, "a")) {
            std::fwrite(line.data(), 1, line.size(), log);
            std::fclose(log);
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
