#include "OrvoVideo/publishing/JsonObject.h"
#include "OrvoVideo/publishing/Sharing.h"
#include "VideoCore/Error.h"

#include <gmock/gmock.h>

namespace orvo::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(Sharing, ReadsDomainsAsTyped)
{
    EXPECT_THAT(authorisedDomains("  https://www.uno.es ,, https://Dos.es,\nhttps://tres.es\n"),
        ElementsAre("https://www.uno.es", "https://Dos.es", "https://tres.es"));
    EXPECT_THAT(authorisedDomains("https://uno.es,https://uno.es"), SizeIs(2));
    EXPECT_THAT(authorisedDomains(", \n ,\t\r\n,\u00A0"), IsEmpty());
    EXPECT_THAT(authorisedDomains(""), IsEmpty());
    EXPECT_THAT(authorisedDomains("\u00A0https://uno.es\u2003\r\n"), ElementsAre("https://uno.es"));
}

TEST(Sharing, WritesTheEmbedCodeInOneLine)
{
    const std::string expected =
        R"(<iframe src="https://video.ejemplo.es/embed/abc" title="Orvo Video" style="width:100%;aspect-ratio:16/9;border:0" )"
        R"(allow="autoplay; fullscreen" allowfullscreen loading="lazy"></iframe>)";
    EXPECT_EQ(embedCode("https://video.ejemplo.es", "abc"), expected);
    EXPECT_EQ(embedCode(" https://video.ejemplo.es// \n", "abc"), expected);
    EXPECT_EQ(driveReturnAddress(" https://video.ejemplo.es/ "), "https://video.ejemplo.es/oauth/google/callback");
}

TEST(Json, KeepsWhatItDoesNotKnow)
{
    const auto object = JsonObject::parse(
        R"({"id":"r1","n":7,"f":2.0,"g":2.5,"big":1e300,"yes":true,"list":[{"a":"b"},{"a":"c"}],"mixed":[{},1],"deep":{"x":[null]}})");
    ASSERT_TRUE(object);
    EXPECT_EQ(object->text("id"), "r1");
    EXPECT_EQ(object->text("n"), std::nullopt);
    EXPECT_EQ(object->integer("n"), 7);
    EXPECT_EQ(object->integer("f"), 2);
    EXPECT_EQ(object->integer("g"), std::nullopt);
    EXPECT_EQ(object->integer("big"), std::nullopt);
    EXPECT_EQ(object->boolean("yes"), true);
    EXPECT_EQ(object->boolean("n"), std::nullopt);
    ASSERT_EQ(object->objects("list")->size(), 2U);
    EXPECT_EQ(object->objects("list")->at(1).text("a"), "c");
    EXPECT_EQ(object->objects("mixed"), std::nullopt);
    EXPECT_EQ(object->objects("id"), std::nullopt);
    EXPECT_EQ(JsonBuilder(*object).set("id", "otro").set("more", std::int64_t{-1}).text(),
        R"({"id":"otro","n":7,"f":2.0,"g":2.5,"big":1e300,"yes":true,"list":[{"a":"b"},{"a":"c"}],"mixed":[{},1],)"
        R"("deep":{"x":[null]},"more":-1})");
    for (const auto* text : {"", "[]", "7", "{", "{} {}", "<html>"})
        EXPECT_FALSE(JsonObject::parse(text)) << text;
    EXPECT_THROW(static_cast<void>(JsonBuilder().set("name", "\xFF").text()), Error);
    EXPECT_EQ(
        JsonBuilder().beginItem("files").set("path", "ñ").set("size", std::int64_t{1}).endItem().set("on", true).text(),
        R"({"files":[{"path":"ñ","size":1}],"on":true})");
}

} // namespace

} // namespace orvo::test
