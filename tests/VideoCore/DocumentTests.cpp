#include "VideoCore/DocumentCodec.h"

#include "TestSupport/Golden.h"
#include "TestSupport/Projects.h"

#include <bit>
#include <cmath>
#include <format>
#include <functional>
#include <gmock/gmock.h>
#include <limits>
#include <regex>

namespace orvo {
namespace {

using test::emptyProject;
using test::fullProject;
using test::matchesGolden;
using testing::HasSubstr;

/// The description of the failure to read `document`; empty when it can be read.
std::string failureOf(std::string document)
{
    try {
        decodeDocument(std::move(document));
        return {};
    } catch (const DocumentError& error) {
        return error.what();
    }
}

std::string replaced(std::string text, std::string_view from, std::string_view to)
{
    const auto position = text.find(from);
    EXPECT_NE(position, text.npos) << from;
    return text.replace(position, from.size(), to);
}

TEST(Document, MatchesTheGoldenFiles)
{
    EXPECT_TRUE(matchesGolden("empty.json", encodeDocument(emptyProject())));
    EXPECT_TRUE(matchesGolden("full.json", encodeDocument(fullProject())));
}

TEST(Document, DecodesTheDocumentsItEncodes)
{
    for (const auto& project : {emptyProject(), fullProject()})
        EXPECT_EQ(decodeDocument(encodeDocument(project)), project);

    std::mt19937_64 random(20250314);
    DocumentDecoder decoder; // Shared, because no part of one document may appear in the next.
    for (int i = 0; i < 500; ++i) {
        const auto project = test::randomProject(random);
        std::string document = encodeDocument(project);
        EXPECT_EQ(decoder.decode(document), project) << "project " << i;
    }
}

TEST(Document, DropsOnlyFractionsOfSeconds)
{
    auto project = VideoProject::make("Recién hecho");
    project.createdAt += std::chrono::microseconds(1);
    const auto read = decodeDocument(encodeDocument(project));
    EXPECT_NE(read, project);
    project.createdAt = std::chrono::floor<std::chrono::seconds>(project.createdAt);
    project.updatedAt = std::chrono::floor<std::chrono::seconds>(project.updatedAt);
    EXPECT_EQ(read, project);
}

TEST(Document, KeepsEveryNumberExactly)
{
    using Limits = std::numeric_limits<double>;
    for (const double number : {0.0, -0.0, 5e-324, -5e-324, Limits::min(), Limits::max(), Limits::lowest(), 0.1, 1.0 / 3,
             1e23, 9007199254740993.0, 9007199254740994.0, 18446744073709551616.0, 123456789.123456789}) {
        const auto read = decodeDocument(encodeDocument(emptyProject(number)));
        EXPECT_EQ(std::bit_cast<std::uint64_t>(read.duration), std::bit_cast<std::uint64_t>(number)) << number;
    }
    auto project = emptyProject();
    project.width = std::numeric_limits<std::int64_t>::min();
    project.height = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(decodeDocument(encodeDocument(project)), project);
}

TEST(Document, ReadsNumbersInOtherNotations)
{
    const std::string document = encodeDocument(emptyProject());
    const std::pair<std::string_view, double> durations[]{{"10", 10}, {"-3", -3}, {"1E+1", 10}, {"0.1e2", 10},
        {"9007199254740993", 9007199254740992.0}, {"18446744073709551615", 18446744073709551616.0},
        {"100000000000000000000000", 1e23}, {"4e-400", 0}, {"-0", -0.0}};
    for (const auto& [text, value] : durations) {
        const auto read = decodeDocument(replaced(document, "\"duration\": 10.0", std::format("\"duration\": {}", text)));
        EXPECT_EQ(read.duration, value) << text;
    }
    for (const std::string_view text : {"1e400", "-1e400", "NaN", "Infinity", "+1", "01", ".5", "1.", "0x10", "1e"})
        EXPECT_NE(failureOf(replaced(document, "\"duration\": 10.0", std::format("\"duration\": {}", text))), "") << text;
    for (const std::string_view text : {"30.0", "3e1", "9223372036854775808", "-9223372036854775809"})
        EXPECT_THAT(failureOf(replaced(document, "\"fps\": 30", std::format("\"fps\": {}", text))), HasSubstr("«fps»"))
            << text;
}

TEST(Document, RefusesToEncodeInvalidValues)
{
    for (const double number : {std::nan(""), HUGE_VAL, -HUGE_VAL})
        EXPECT_THROW(encodeDocument(emptyProject(number)), DocumentError) << number;
    for (const std::string_view title : {"\xE9", "a\xC3", "\xED\xA0\x80", "\xF5\x80\x80\x80"}) {
        auto project = emptyProject();
        project.title = title;
        EXPECT_THROW(encodeDocument(project), DocumentError);
    }
}

/// Calls `visit` for every key of the full document, with the key, the rest of its line, and a function that returns the
/// document with `"key": ` replaced by another text.
void forEachKey(const std::function<void(const std::string& key, const std::string& value,
        const std::function<std::string(const std::string&)>& changedTo)>& visit)
{
    const std::string document = encodeDocument(fullProject());
    const std::regex member(R"re("(\w+)": (.*)\n)re");
    int keys = 0;
    for (std::sregex_iterator found(document.begin(), document.end(), member), end; found != end; ++found, ++keys) {
        const auto at = static_cast<std::size_t>(found->position());
        visit((*found)[1], (*found)[2], [&, at, length = (*found)[1].length() + 4](const std::string& text) {
            return document.substr(0, at) + text + document.substr(at + static_cast<std::size_t>(length));
        });
    }
    EXPECT_EQ(keys, 13 + 5 * 6 + 14 + 3 * 2 + 2 * 8 + 3 * 4 + 3 * 7 + 4);
}

TEST(Document, RequiresEveryKeyAndIgnoresUnknownOnes)
{
    forEachKey([](const auto& key, const auto&, const auto& changedTo) {
        const std::string without = changedTo("\"Otra\": ");
        if (key == "publication")
            EXPECT_EQ(decodeDocument(without).publication, std::nullopt);
        else
            EXPECT_THAT(failureOf(without), HasSubstr(key + "»: falta"));
        const std::string more = changedTo(R"("": [{"id":1}], "Title": null, "Title": null, ")" + key + "\": ");
        EXPECT_EQ(decodeDocument(more), fullProject()) << key;
    });
}

TEST(Document, RejectsWrongTypes)
{
    const auto typeOf = [](std::string_view value) {
        return value.starts_with("true") || value.starts_with("false") ? 't'
            : value[0] == '-' || std::isdigit(value[0]) != 0           ? (value.contains('.') ? '.' : '7')
                                                                       : value[0];
    };
    forEachKey([&](const auto& key, const auto& value, const auto& changedTo) {
        for (const std::string wrong : {"null", "true", "7", "7.5", "\"texto\"", "[]", "{}"}) {
            if (typeOf(wrong) == typeOf(value) || (typeOf(wrong) == '7' && typeOf(value) == '.'))
                continue;
            const std::string text = changedTo("\"" + key + "\": " + wrong + ", \"otra\": ");
            if (key == "publication" && wrong == "null")
                EXPECT_EQ(decodeDocument(text).publication, std::nullopt);
            else
                EXPECT_THAT(failureOf(text), HasSubstr(key + "»: se esperaba")) << wrong;
        }
    });
}

TEST(Document, RejectsRepeatedKeys)
{
    forEachKey([](const auto& key, const auto& value, const auto& changedTo) {
        const std::string name = "\"" + key + "\": ";
        if (value != "[" && value != "{") {
            EXPECT_THAT(failureOf(changedTo(name + value + (value.ends_with(',') ? "" : ",") + name)),
                HasSubstr(key + "»: está repetido"));
        }
    });
}

TEST(Document, ReadsKeysInAnyOrder)
{
    std::string document = encodeDocument(fullProject());
    const auto edit = document.find("\"edit\": ");
    const auto rest = document.find("\"fps\": ");
    ASSERT_LT(edit, rest);
    const std::string member = document.substr(edit, document.rfind(',', rest) - edit);
    document.erase(edit, rest - edit);
    EXPECT_EQ(decodeDocument(document.insert(document.rfind('}'), "," + member)), fullProject());
}

TEST(Document, RejectsInvalidTexts)
{
    const std::string document = encodeDocument(fullProject());
    struct Case {
        std::string_view from;
        std::string_view to;
        std::string_view path;
    };
    const Case cases[]{
        {"\"kind\": \"clip\"", "\"kind\": \"webcam\"", "tracks[4].kind"},
        {"\"kind\": \"clip\"", "\"kind\": \"Clip\"", "tracks[4].kind"},
        {"\"kind\": \"clip\"", "\"kind\": \"\"", "tracks[4].kind"},
        {"\"kind\": \"click\"", "\"kind\": \"press\"", "edit.events[0].kind"},
        {"\"kind\": \"image\"", "\"kind\": \"video\"", "edit.overlays[1].kind"},
        {"09:26:53Z", "09:26:53.120Z", "createdAt"},
        {"09:26:53Z", "09:26:53.0Z", "createdAt"},
        {"09:26:53Z", "09:26:53", "createdAt"},
        {"09:26:53Z", "09:26:53+01:00", "createdAt"},
        {"09:26:53Z", "09:26:53z", "createdAt"},
        {"09:26:53Z", "24:00:00Z", "createdAt"},
        {"09:26:53Z", "09:60:00Z", "createdAt"},
        {"09:26:53Z", "09:26:-1Z", "createdAt"},
        {"2025-03-14T10", "2025-02-29T10", "updatedAt"},
        {"2025-03-14T10", "2025-13-01T10", "updatedAt"},
        {"2025-03-14T10", "2025-00-01T10", "updatedAt"},
        {"2025-03-14T10", "2025-03-14 10", "updatedAt"},
        {"-8000-000000000001\"", "-8000-00000000000\"", "id"},
        {"-8000-000000000001\"", "-8000-0000000000011\"", "id"},
        {"-8000-000000000001\"", "-8000-00000000000G\"", "id"},
        {"-8000-000000000001\"", "_8000-000000000001\"", "id"},
        {"-8000-000000000003\"", "-8000-00000000000ñ\"", "tracks[1].id"},
        {"\"https://aula.example.org\"", "7", "publication.domains[0]"},
    };
    for (const auto& [from, to, path] : cases)
        EXPECT_THAT(failureOf(replaced(document, from, to)), HasSubstr(std::format("«{}»: ", path))) << to;

    const auto read = decodeDocument(
        replaced(document, "\"00000000-0000-4000-8000-000000000001\"", "\"a0000000-0000-4000-8000-00000000000f\""));
    EXPECT_EQ(read.id.text(), "A0000000-0000-4000-8000-00000000000F") << "reads lower case and writes upper case";
    for (const std::string_view date : {"0000-01-01T00:00:00Z", "1677-12-31T23:59:59Z", "2024-02-29T00:00:00Z",
             "2262-04-12T00:00:00Z", "9999-12-31T23:59:59Z"}) {
        const auto dated = decodeDocument(replaced(document, "2025-03-14T09:26:53Z", date));
        EXPECT_EQ(formatIso8601(dated.createdAt), date);
    }
}

TEST(Document, RejectsTruncatedAndForeignFiles)
{
    const std::string document = encodeDocument(fullProject());
    const std::string whole = document.substr(0, document.rfind('}') + 1);
    EXPECT_EQ(failureOf(whole), "");
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_NE(failureOf(whole.substr(0, length)), "") << "the first " << length << " bytes";

    using namespace std::string_literals;
    const std::string foreign[]{" ", "\0"s, "null", "42", "\"texto\"", "[]", "{}", "<html></html>", "\x89PNG\r\n\x1A\n",
        "\xFF\xFE{\0}\0"s, std::string(100'000, '\0'), std::string(100'000, '['), whole + whole, whole + "\0"s,
        "[" + whole + "]", "// nota\n" + whole, replaced(whole, "Clase", "Clase\xE9"), replaced(whole, "Clase", "Clase\n"),
        replaced(whole, "Clase", "\\ud800"), replaced(whole, ",", ",,"), replaced(whole, "true", "True")};
    for (const auto& text : foreign)
        EXPECT_THAT(failureOf(text), HasSubstr("El documento del proyecto está dañado")) << text.substr(0, 60);
}

TEST(Document, WithstandsDepthAndSize)
{
    const std::string document = encodeDocument(emptyProject());
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_EQ(decodeDocument(replaced(document, "{", "{\"otra\": " + nested(1'000'000) + ",")), emptyProject());
    EXPECT_THAT(failureOf(replaced(document, "\"tracks\": []", "\"tracks\": " + nested(1'000'000))),
        HasSubstr("«tracks[0]»: se esperaba un objeto"));

    auto project = emptyProject();
    project.title.assign(5'000'000, '"');
    auto& events = project.edit.events.edit();
    for (int i = 0; i < 20'000; ++i)
        events.push_back({.id = test::fixedId(static_cast<std::uint64_t>(i)), .time = i / 12.0});
    EXPECT_EQ(decodeDocument(encodeDocument(project)), project);

    EXPECT_LT(
        failureOf(replaced(document, "\"tracks\": []", "\"tracks\": [" + std::string(100'000, '0') + "]")).size(), 500U);
    EXPECT_LT(
        failureOf(replaced(encodeDocument(fullProject()), "\"click\"", '"' + std::string(100'000, 'x') + '"')).size(), 500U);
}

} // namespace
} // namespace orvo
