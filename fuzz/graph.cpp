#include "Fuzz.h"
#include "VideoCore/DocumentCodec.h"
#include "VideoCore/Timeline.h"
#include "VideoMedia/RenderGraph.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace orvo::fuzz {

namespace {

struct Filter {
    std::vector<std::string> inputs;
    std::string name;
    std::string arguments; ///< Unquoted once, as the filter receives them.
    std::vector<std::string> outputs;
};

/// Parses filter graphs by the rules of ffmpeg.
class GraphReader {
public:
    explicit GraphReader(std::string_view text)
        : m_left(text)
    {
    }

    std::vector<Filter> filters()
    {
        std::vector<Filter> result;
        for (;;) {
            Filter filter{.inputs = labels(), .name = until("=,;["), .arguments = {}, .outputs = {}};
            require(!filter.name.empty() && std::ranges::all_of(filter.name, [](char c) { return c >= 'a' && c <= 'z'; }),
                "a filter has a name");
            if (take('='))
                filter.arguments = token("[],;");
            filter.outputs = labels();
            result.push_back(std::move(filter));
            if (m_left.empty())
                return result;
            require(take(',') || take(';'), "filters are separated");
            while (take('\n')) { }
        }
    }

    /// A value up to one of the characters in `ends`. A backslash escapes the next character; apostrophes quote all up to
    /// the next one.
    std::string token(std::string_view ends)
    {
        std::string value;
        while (!m_left.empty() && !ends.contains(m_left.front())) {
            const char c = next();
            if (c == '\\' && !m_left.empty()) {
                value += next();
            } else if (c == '\'') {
                value += until("'");
                require(take('\''), "a quotation ends");
            } else {
                value += c;
            }
        }
        return value;
    }

    bool take(char c)
    {
        const bool there = m_left.starts_with(c);
        m_left.remove_prefix(there ? 1 : 0);
        return there;
    }

    std::string until(std::string_view ends)
    {
        const std::string result(m_left.substr(0, m_left.find_first_of(ends)));
        m_left.remove_prefix(result.size());
        return result;
    }

    bool atEnd() const { return m_left.empty(); }

private:
    char next()
    {
        const char c = m_left.front();
        m_left.remove_prefix(1);
        return c;
    }

    std::vector<std::string> labels()
    {
        std::vector<std::string> result;
        while (take('[')) {
            result.push_back(until("]"));
            require(take(']') && !result.back().empty(), "a label ends");
        }
        return result;
    }

    std::string_view m_left;
};

bool isBalanced(std::string_view expression)
{
    int depth = 0;
    int maxDepth = 0;
    for (const char c : expression) {
        depth += c == '(' ? 1 : c == ')' ? -1 : 0;
        maxDepth = std::max(maxDepth, depth);
        if (depth < 0)
            return false;
    }
    return depth == 0 && maxDepth < 100; // ffmpeg rejects deeper expressions.
}

void checkArguments(const Filter& filter, const std::string& annotations)
{
    if (filter.name == "ass") {
        GraphReader reader(filter.arguments);
        require(reader.until("=") == "filename" && reader.take('='), "the annotations have a file name");
        require(reader.token(":") == annotations && reader.atEnd(), "a path is unchanged");
        return;
    }
    for (const std::string_view word : {"inf", "nan", "'", "\\", ";", "["})
        require(!filter.arguments.contains(word), "arguments are finite numbers and names");
    require(isBalanced(filter.arguments), "expressions are balanced");
}

/// Checks that every link connects an output to an input, except the open outputs in `open`.
void checkLinks(const std::vector<Filter>& filters, std::map<std::string, int> open)
{
    std::map<std::string, int> links;
    for (const auto& filter : filters) {
        for (const auto& input : filter.inputs) {
            if (!input.contains(':'))
                --links[input];
        }
        for (const auto& output : filter.outputs)
            ++links[output];
    }
    std::erase_if(links, [](const auto& link) { return link.second == 0; });
    require(links == open, "every link has two ends");
}

void check(const std::string& text, const std::string& annotations, const std::map<std::string, int>& open)
{
    const auto filters = GraphReader(text).filters();
    for (const auto& filter : filters)
        checkArguments(filter, annotations);
    checkLinks(filters, open);
}

void checkGraphs(const VideoProject& project)
{
    const auto size = RenderGraph::outputSize(project, 1080);
    require(size.width >= 2 && size.height >= 2 && size.width % 2 == 0 && size.height % 2 == 0, "sizes are even");
    require(RenderGraph::videoBitRate(ExportQuality::high, size, 30) >= 400'000, "a bit rate is not too low");

    std::vector<RenderGraph::Input> inputs;
    for (const auto& track : project.tracks)
        inputs.push_back({.track = track, .file = track.file, .hasAudio = track.id.bytes[0] % 2 == 0});
    check(RenderGraph::audioMix(project, inputs, 0.1), {}, {{"mix", 1}});

    const bool visible = std::ranges::any_of(project.tracks, RenderGraph::isVisibleVideo);
    if (!visible || !(project.playableDuration() > 0.01))
        return; // Exports reject the project before they build a graph.
    std::string path = project.title;
    std::erase(path, '\0'); // Paths cannot contain it.
    const RenderGraph::VideoSettings settings{.size = size, .fps = 30, .annotations = path, .upload = {}};
    check(RenderGraph::video(project, inputs, settings), path, {{"vout", 1}, {"aout", 1}});
}

} // namespace

} // namespace orvo::fuzz

// The filter graphs of any project: well formed, with finite numbers and correctly quoted paths.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orvo;
    try {
        fuzz::checkGraphs(decodeDocument(std::string(fuzz::textOf(data, size))));
    } catch (const DocumentError&) {
        return 0;
    }
    return 0;
}
