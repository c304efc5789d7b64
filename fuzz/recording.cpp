#include "Fuzz.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/DocumentCodec.h"
#include "VideoCore/PointerLog.h"

#include <algorithm>

// A recording that was cut off leaves files that may hold anything. Reading them never fails, and what comes of it can be
// kept in a document.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orvo;
    const auto text = fuzz::textOf(data, size);

    const auto events = PointerLog::eventsIn(text);
    fuzz::require(
        events.size() <= static_cast<std::size_t>(std::ranges::count(text, '\n')) + 1, "a line is one event at most");
    VideoProject project;
    project.edit.events = SharedList(events);
    fuzz::require(decodeDocument(encodeDocument(project)).edit.events.items() == events, "events have a document form");

    const auto process = CaptureSession::processIn(text);
    fuzz::require(!process || *process > 0, "a process is one process");
    return 0;
}
