#include "Fuzz.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/DocumentCodec.h"
#include "VideoCore/PointerLog.h"

#include <algorithm>

// The files of an interrupted recording may have any content. Reading them never fails, and the events that are read can be
// stored in a document.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orvo;
    const auto text = fuzz::textOf(data, size);

    const auto events = PointerLog::eventsIn(text);
    fuzz::require(
        events.size() <= static_cast<std::size_t>(std::ranges::count(text, '\n')) + 1, "a line has at most one event");
    VideoProject project;
    project.edit.events = SharedList(events);
    fuzz::require(decodeDocument(encodeDocument(project)).edit.events.items() == events, "events have a document form");

    const auto process = CaptureSession::processIn(text);
    fuzz::require(!process || *process > 0, "a process number is positive");
    return 0;
}
