#include "OrvoServer/web/Assets.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <regex>
#include <set>
#include <string>

namespace orvo::server {
namespace {

std::set<std::string> matches(std::string_view text, const char* expression)
{
    const std::string copy(text);
    const std::regex pattern(expression);
    std::set<std::string> found;
    for (auto match = std::sregex_iterator(copy.begin(), copy.end(), pattern); match != std::sregex_iterator(); ++match)
        found.insert((*match)[1]);
    return found;
}

std::set<std::string> namedBy(const Asset& page)
{
    return matches(page.bytes, R"(\{\{asset:([^}]+)\}\})");
}

TEST(WebAssets, EmbedsEveryReferencedFile)
{
    ASSERT_TRUE(std::ranges::is_sorted(assets(), {}, &Asset::name));
    for (const auto& asset : assets()) {
        SCOPED_TRACE(std::string(asset.name));
        EXPECT_EQ(asset.hash, assets().front().hash);
        EXPECT_EQ(findAsset(asset.name), &asset);
        auto named = namedBy(asset);
        if (asset.name.ends_with(".js") && asset.name != "hls.light.min.js")
            named.merge(matches(asset.bytes, R"re(from "\./([^"]+)")re"));
        for (const auto& name : named)
            EXPECT_NE(findAsset(name), nullptr) << name;
    }
    EXPECT_EQ(findAsset("missing.js"), nullptr);
}

TEST(WebAssets, PreloadsEveryModuleOfAPage)
{
    for (const auto* page : {"player", "admin"}) {
        const auto* html = findAsset(std::string(page) + ".html");
        ASSERT_NE(html, nullptr);
        const auto named = namedBy(*html);
        std::set<std::string> needed{std::string(page) + ".js"};
        for (auto left = needed; !left.empty();) {
            const auto name = left.extract(left.begin()).value();
            for (const auto& import : matches(findAsset(name)->bytes, R"re(from "\./([^"]+)")re")) {
                if (needed.insert(import).second)
                    left.insert(import);
            }
        }
        EXPECT_THAT(named, testing::IsSupersetOf(needed)) << page;
    }
}

TEST(WebAssets, LimitsThePlayerTo140Kilobytes)
{
    const auto* page = findAsset("player.html");
    ASSERT_NE(page, nullptr);
    std::size_t bytes = page->gzip.size();
    for (const auto& name : namedBy(*page)) {
        const auto* asset = findAsset(name);
        ASSERT_NE(asset, nullptr) << name;
        ASSERT_EQ(asset->gzip.substr(0, 2), "\x1f\x8b") << name;
        bytes += asset->gzip.size();
    }
    EXPECT_LE(bytes, 140'000u);
}

} // namespace
} // namespace orvo::server
