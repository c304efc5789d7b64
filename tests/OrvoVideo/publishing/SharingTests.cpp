#include "OrvoVideo/publishing/Sharing.h"

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

} // namespace

} // namespace orvo::test
