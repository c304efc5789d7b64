#include "Platform/settings/StoredSettings.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <thread>
#include <vector>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class StoredSettingsTests : public testing::Test {
protected:
    StoredSettingsTests() { ::setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1); }
    ~StoredSettingsTests() override { ::unsetenv("XDG_CONFIG_HOME"); }

    TemporaryFolder folder;
};

TEST_F(StoredSettingsTests, KeepWhatOthersHaveStored)
{
    EXPECT_EQ(StoredSettings::text("serverURL"), std::nullopt);
    StoredSettings::setText("serverURL", "https://video.ejemplo.es");
    EXPECT_EQ(StoredSettings::file(), folder / "OrvoVideo/settings.json");
    std::ofstream(StoredSettings::file()) << R"({"other": {"kept": [1]}, "serverURL": "https://a.es"})";
    EXPECT_EQ(StoredSettings::text("serverURL"), "https://a.es");
    EXPECT_EQ(StoredSettings::text("other"), std::nullopt);
    StoredSettings::setText("serverURL", "https://ñ.es\n\"");
    EXPECT_EQ(StoredSettings::text("serverURL"), "https://ñ.es\n\"");
    EXPECT_THAT(readFile(StoredSettings::file()), HasSubstr("\"kept\""));

    std::vector<std::jthread> writers;
    for (const auto* key : {"a", "b", "c", "d"})
        writers.emplace_back([key] { StoredSettings::setText(key, key); });
    writers.clear();
    for (const auto* key : {"a", "b", "c", "d"})
        EXPECT_EQ(StoredSettings::text(key), key);
}

TEST_F(StoredSettingsTests, ADamagedFileIsNotReplaced)
{
    fs::create_directories(folder / "OrvoVideo");
    for (const auto* content : {"{", "[]", ""}) {
        std::ofstream(StoredSettings::file()) << content;
        EXPECT_EQ(StoredSettings::text("serverURL"), std::nullopt);
        EXPECT_ANY_THROW(StoredSettings::setText("serverURL", "https://a.es"));
        EXPECT_EQ(readFile(StoredSettings::file()), content);
    }
}

} // namespace

} // namespace orvo::test
