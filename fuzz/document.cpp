#include "Fuzz.h"
#include "VideoCore/DocumentCodec.h"
#include "VideoCore/Suggestions.h"
#include "VideoCore/Timeline.h"

// Decoding a document either throws `DocumentError` or gives a project that encodes and decodes without a difference and
// has valid merged cuts and suggestions.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orvo;
    VideoProject project;
    try {
        project = decodeDocument(std::string(fuzz::textOf(data, size)));
    } catch (const DocumentError&) {
        return 0;
    }
    const std::string document = encodeDocument(project);
    fuzz::require(decodeDocument(document) == project, "an encoded project decodes to the same value");
    fuzz::require(encodeDocument(decodeDocument(document)) == document, "the same value has the same text");

    const auto merged = Timeline::merged(project.edit.cuts, project.duration);
    for (std::size_t i = 0; i < merged.size(); ++i) {
        fuzz::require(merged[i].start < merged[i].end && merged[i].start >= 0 && merged[i].end <= project.duration,
            "merged cuts lie within the recording");
        fuzz::require(i == 0 || merged[i - 1].end < merged[i].start, "merged cuts are sorted and disjoint");
    }
    static_cast<void>(Suggestions::generate(project));
    return 0;
}
