#include "Fuzz.h"
#include "OrvoBridge/BridgeSession.h"
#include "VideoCore/CaptureSession.h"

#include <cstdlib>
#include <filesystem>
#include <ranges>

namespace {

namespace fs = std::filesystem;

/// A library in memory, gone again with the program.
struct Library {
    Library()
    {
        std::string pattern = (fs::path("/dev/shm") / "orvo-fuzz-XXXXXX").string();
        const char* made = ::mkdtemp(pattern.data());
        orvo::fuzz::require(made, "there is a folder for the library");
        folder = made;
    }
    ~Library() { fs::remove_all(folder); }

    fs::path folder;
};

} // namespace

// Whatever comes instead of the extension's messages, one on each line: each gets at most one answer, nothing is written
// outside the library, and what was recorded can be read.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orvo;
    static const Library library;
    int answers = 0;
    {
        bridge::BridgeSession session(
            library.folder / "Projects", [&](const std::string&) { ++answers; }, [](std::string_view) {});
        for (const auto line : fuzz::textOf(data, size) | std::views::split('\n')) {
            const int before = answers;
            session.receive(std::string_view(line));
            fuzz::require(answers <= before + 1, "a message has one answer at most");
        }
        session.tick();
    }
    std::size_t entries = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(library.folder))
        ++entries;
    fuzz::require(entries <= 1, "nothing lies beside the library");
    if (fs::exists(library.folder / "Projects")) {
        std::size_t folders = 0;
        for ([[maybe_unused]] const auto& entry : fs::directory_iterator(library.folder / "Projects"))
            ++folders;
        const auto projects = ProjectStore(library.folder / "Projects").list();
        fuzz::require(projects.size() == folders, "every project can be read");
        for (const auto& project : projects)
            fuzz::require(!CaptureSession::isMarkedRecording(project), "no project looks as if it were being recorded");
        fs::remove_all(library.folder / "Projects");
    }
    return 0;
}
