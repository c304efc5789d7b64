#include "Platform/settings/StoredSettings.h"
#include "TestSupport/TemporaryFolder.h"
#include "TestSupport/Waiting.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/FileLock.h"

#include <cstdlib>
#include <format>
#include <fstream>
#include <gmock/gmock.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class StoredSettingsTests : public testing::Test {
protected:
    StoredSettingsTests() { ::setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1); }
    ~StoredSettingsTests() override { ::unsetenv("XDG_CONFIG_HOME"); }

    /// Whether the kernel lists a blocked flock(2) of this process.
    static bool waitsForALock()
    {
        std::ifstream locks("/proc/locks");
        for (std::string line; std::getline(locks, line);) {
            if (line.contains("-> FLOCK") && line.contains(std::format(" {} ", ::getpid())))
                return true;
        }
        return false;
    }

    TemporaryFolder folder;
};

TEST_F(StoredSettingsTests, KeepsValuesOfOtherPrograms)
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

TEST_F(StoredSettingsTests, KeepsADamagedFileBesideTheNewOne)
{
    fs::create_directories(folder / "OrvoVideo");
    for (const auto& [content, kept] : {std::pair{R"({"serverURL": "https://a.es",)", "settings.damaged.json"},
             {"[]", "settings.damaged-2.json"}, {"", "settings.damaged-3.json"}}) {
        std::ofstream(StoredSettings::file()) << content;
        EXPECT_EQ(StoredSettings::text("serverURL"), std::nullopt) << content;
        EXPECT_EQ(readFile(StoredSettings::file()), content) << "reading changes nothing";
        StoredSettings::setText("appearance", "dark");
        EXPECT_EQ(StoredSettings::text("appearance"), "dark");
        EXPECT_EQ(readFile(folder / "OrvoVideo" / kept), content);
    }
}

TEST_F(StoredSettingsTests, RemembersWithoutWaitingForTheDisk)
{
    for (int i = 0; i <= 200; ++i) {
        StoredSettings::remember("width", std::to_string(i));
        EXPECT_EQ(StoredSettings::text("width"), std::to_string(i));
    }
    StoredSettings::finish();
    EXPECT_THAT(readFile(StoredSettings::file()), HasSubstr(R"("width": "200")"));

    // A value that cannot be written is kept in memory and written with the next one.
    fs::remove(StoredSettings::file());
    fs::create_directory(StoredSettings::file());
    StoredSettings::remember("width", "300");
    StoredSettings::finish();
    EXPECT_EQ(StoredSettings::text("width"), "300");
    fs::remove(StoredSettings::file());
    StoredSettings::remember("height", "100");
    StoredSettings::finish();
    EXPECT_THAT(readFile(StoredSettings::file()), HasSubstr(R"("width": "300")"));

    // If a value arrives while an older one fails, the newest one stays.
    fs::remove(StoredSettings::file());
    fs::create_directory(StoredSettings::file());
    {
        FileLock other = openFolderLock(folder / "OrvoVideo");
        other.lock();
        StoredSettings::remember("width", "400");
        EXPECT_TRUE(pollUntil([] { return waitsForALock(); }));
        StoredSettings::remember("width", "500");
    }
    StoredSettings::finish();
    EXPECT_EQ(StoredSettings::text("width"), "500");
    fs::remove(StoredSettings::file());
}

} // namespace

} // namespace orvo::test
