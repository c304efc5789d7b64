#include "Fuzz.h"
#include "OrvoBridge/BridgeSession.h"
#include "VideoCore/CaptureSession.h"

#include <cstdlib>
#include <filesystem>
#include <ranges>

namespace {

namespace fs = std::filesystem;

/// A temporary library in memory.
struct Library {
    Library()
    {
        std::string pattern = (fs::path("/dev/shm") / "orvo-fuzz-XXXXXX").string();
        const char* made = ::mkdtemp(pattern.data());
        orvo::fuzz::require(made, "the folder of the library can be created");
        folder = made;
    }
    ~Library() { fs::remove_all(folder); }

    fs::path folder;
};

} // namespace

// Arbitrary messages of the extension, one on each line: each gets at most one answer, no file is written outside the
// library, and every recorded project is readable.
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
            fuzz::require(answers <= before + 1, "a message has at most one answer");
        }
        session.tick();
    }
    std::size_t entries = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(library.folder))
        ++entries;
    fuzz::require(entries <= 1, "no file is outside the library");
    if (fs::exists(library.folder / "Projects")) {
        std::size_t folders = 0;
        for ([[maybe_unused]] const auto& entry : fs::directory_iterator(library.folder / "Projects"))
            ++folders;
        const auto projects = ProjectStore(library.folder / "Projects").list();
        fuzz::require(projects.size() == folders, "every project can be read");
        for (const auto& project : projects)
            fuzz::require(!CaptureSession::isMarkedRecording(project), "no project is still marked as being recorded");
        fs::remove_all(library.folder / "Projects");
    }
    return 0;
}
