#pragma once

#include "CliFixture.h"
#include "TestSupport/TemporaryFolder.h"

#include <fstream>
#include <string>

namespace orvo::test {

/// A copy of `orvo` beside an application folder in which a test can replace `ffmpeg`, `ffprobe` and the application.
class Installation {
public:
    Installation()
    {
        std::filesystem::create_directories(m_folder / "bin");
        std::filesystem::create_directories(helpers());
        std::filesystem::copy_file(orvoProgram(), program());
    }

    std::filesystem::path program() const { return m_folder / "bin/orvo"; }

    /// Installs a shell script as "ffmpeg" or "ffprobe".
    void addScript(const std::string& name, const std::string& body) const { write(helpers() / name, body); }

    /// Installs a shell script as the application.
    void addApplication(const std::string& body) const
    {
        const auto folder = m_folder / "OrvoVideo.app/Contents/MacOS";
        std::filesystem::create_directories(folder);
        write(folder / "OrvoVideo", body);
    }

    /// Whether a test can run without `ffmpeg`: another candidate on this machine would be found instead.
    static bool isOnlyCandidate()
    {
        return !std::filesystem::exists("/usr/local/bin/ffmpeg") && !std::filesystem::exists("/opt/homebrew/bin/ffmpeg");
    }

private:
    static void write(const std::filesystem::path& file, const std::string& body)
    {
        std::ofstream(file) << "#!/bin/sh\n" << body << "\n";
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    }

    std::filesystem::path helpers() const { return m_folder / "OrvoVideo.app/Contents/Helpers"; }

    TemporaryFolder m_folder;
};

} // namespace orvo::test
