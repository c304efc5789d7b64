#include "VideoMedia/GraphText.h"
#include "VideoMedia/KeptSpans.h"
#include "VideoMedia/NumberText.h"
#include "VideoMedia/RenderGraph.h"

#include <algorithm>
#include <format>
#include <numbers>
#include <vector>

namespace orvo::RenderGraph {

namespace {

using GraphText::Chains;
using GraphText::label;
using GraphText::labels;

/// ffmpeg converts mono to stereo at half the power for each channel.
constexpr double monoLevel = 1 / std::numbers::sqrt2;

/// The filters that clean a microphone.
std::string cleaning(const EditState& edit, const Input& input)
{
    std::string filters;
    if (input.track.kind != TrackKind::microphone)
        return filters;
    if (edit.noiseReduction)
        filters += ",highpass=f=70,afftdn=nf=-30:nr=8";
    // The normaliser's first frame lasts three seconds at four times the rate; converting it whole would take 90 MB.
    if (edit.normalizeVoice) {
        filters +=
            std::format(",loudnorm=I=-16:TP=-1.5:LRA=11{},asetnsamples=n=19200:p=0", input.isMono ? ":dual_mono=true" : "");
    }
    return filters;
}

} // namespace

bool isMixed(const Input& input)
{
    return input.hasAudio && input.track.volume > 0 && input.track.kind != TrackKind::camera;
}

std::string audioMix(const VideoProject& project, std::span<const Input> inputs, double delay)
{
    const auto& edit = project.edit;
    const std::string duration = durationText(project.duration);
    // The normaliser can end up to a tenth of a second early and leaves a gap in the timestamps there.
    const std::string punctual = std::format(
        ",asetpts=N/SR/TB,apad,atrim=start={}:duration={},asetpts=PTS-STARTPTS[mix]", durationText(delay), duration);
    Chains chains;
    std::size_t count = 0;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (!isMixed(inputs[i]))
            continue;
        const auto& track = inputs[i].track;
        const std::string clean = cleaning(edit, inputs[i]);
        // Both channels of a mono microphone would be cleaned alike, at twice the time and memory.
        const bool isMono = inputs[i].isMono && !clean.empty();
        chains.add(std::format("[{}:a]aresample=48000:async=1:first_pts=0,aformat=sample_fmts=fltp:channel_layouts={},"
                               "asetpts=PTS-STARTPTS,volume={}{}{},adelay={}:all=1{}",
            i, isMono ? "mono" : "stereo", numberText(isMono ? track.volume * monoLevel : track.volume), clean,
            isMono ? ",pan=stereo|c0=c0|c1=c0" : "", truncated(std::max(track.start, 0.0) * 1000), label("voice", count)));
        ++count;
    }
    if (count > 0) {
        chains.add(
            std::format("{}amix=inputs={}:duration=longest:normalize=0,alimiter=limit=0.98:level=0,apad,atrim=duration={}{}",
                labels("voice", count), count, duration, punctual));
    } else {
        chains.add(std::format("anullsrc=r=48000:cl=stereo,atrim=duration={}[mix]", duration));
    }
    return chains.text();
}

std::string audio(const VideoProject& project, std::int64_t fps)
{
    const auto kept = keptSpans(project, fps);
    std::vector<TimeSpan> spans;
    spans.reserve(kept.size());
    for (const auto& one : kept)
        spans.push_back(one.span);
    Chains chains;
    GraphText::addBranches(chains, "[0:a]", GraphText::audioBranches, spans);
    std::string joined;
    for (std::size_t n = 0; n < kept.size(); ++n) {
        chains.add(std::format("{}atrim=start={}:end={},asetpts=PTS-STARTPTS{}{}", label("abranch", n),
            durationText(spans[n].start), durationText(spans[n].end),
            GraphText::audioFades(kept[n], std::max(spans[n].duration(), 0.0)), label("a", n)));
        joined += label("a", n);
    }
    chains.add(std::format("{}concat=n={}:v=0:a=1[aout]", joined, kept.size()));
    return chains.text();
}

} // namespace orvo::RenderGraph
