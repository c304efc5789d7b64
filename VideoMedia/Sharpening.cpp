#include "VideoMedia/Sharpening.h"

#include "VideoMedia/ProgramTrials.h"

#include <format>

namespace orvo::Sharpening {

std::vector<std::string> chains(const std::string& from, const std::string& to)
{
    // A Gaussian of three taps with this radius is (1 2 1) / 4; twice, it is (1 4 6 4 1) / 16.
    constexpr std::string_view blur = "smartblur=lr=0.8493:ls=1:cr=0.1:cs=0";
    return {
        std::format("{}split=3[crisp0][crisp1][crisp2]", from),
        std::format("[crisp1]{0},{0}[soft]", blur),
        "[crisp0][soft]blend=c0_mode=grainextract:c1_mode=normal:c2_mode=normal,lut=y='128+floor((val-128)*0.35)'[detail]",
        std::format("[crisp2][detail]blend=c0_mode=grainmerge:c1_mode=normal:c2_mode=normal{}", to),
    };
}

bool hasChains(const std::filesystem::path& ffmpeg, const std::stop_token& stop)
{
    std::string graph = "color=size=16x16:rate=1:duration=1,format=yuv420p[plain]";
    for (const auto& chain : chains("[plain]", "[sharp]"))
        graph += ";" + chain;
    return ProgramTrials::succeeds(ffmpeg,
        {"-hide_banner", "-nostdin", "-filter_complex", graph, "-map", "[sharp]", "-frames:v", "1", "-f", "null", "-"},
        stop);
}

} // namespace orvo::Sharpening
