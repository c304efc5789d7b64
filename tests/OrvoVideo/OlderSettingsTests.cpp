#include "OrvoVideo/model/OlderSettings.h"

#include "Platform/settings/StoredSettings.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"

#include <QByteArray>
#include <fstream>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

class OlderSettingsTests : public testing::Test {
protected:
    OlderSettingsTests()
    {
        qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(folder.path().string()));
        fs::create_directories(older.parent_path());
        std::ofstream(older) << R"([General]
appearance=dark
screenCast.monitor=0b1c
screenCast.monitor.label="Pantalla elegida \xb7 1280\xd7\x37\x32\x30"
shortcut.1="{\"keyCode\":25,\"modifiers\":768}"

[dryCuts]
projects="[\"A\",\"B\"]"

[editor]
columns=@ByteArray(\xaa\0\x1)
transcriptAsList=true

[window]
libraryShown=false
width=1234
)";
    }

    TemporaryFolder folder;
    const fs::path older = folder / "OrvoVideo" / "OrvoVideo.conf";
};

TEST_F(OlderSettingsTests, MigratesOnce)
{
    ASSERT_EQ(OlderSettings::usualFile(), older);
    StoredSettings::setTexts({{"serverURL", "https://a.es"}, {"window.width", "1000"}});
    const std::string content = readFile(older);

    OlderSettings::adopt(older);

    const StoredSettings::Values expected{{"appearance", "dark"}, {"screenCast.monitor", "0b1c"},
        {"screenCast.monitor.label", "Pantalla elegida · 1280×720"}, {"shortcut.1", R"({"keyCode":25,"modifiers":768})"},
        {"dryCuts.projects", R"(["A","B"])"}, {"editor.columns", "qgAB"}, {"editor.transcriptAsList", "true"},
        {"window.libraryShown", "false"}, {"window.width", "1000"}, {"serverURL", "https://a.es"}};
    for (const auto& [key, value] : expected)
        EXPECT_EQ(StoredSettings::text(key), value) << key;
    EXPECT_FALSE(fs::exists(older));
    EXPECT_EQ(readFile(fs::path(older) += ".migrated"), content);

    StoredSettings::setText("appearance", "light");
    OlderSettings::adopt(older); // The file is gone.
    EXPECT_EQ(StoredSettings::text("appearance"), "light");
}

TEST_F(OlderSettingsTests, RetriesWhenTheSettingsCannotBeWritten)
{
    fs::create_directory(StoredSettings::file()); // Permissions would not stop root, but a folder in its place does.
    OlderSettings::adopt(older);
    EXPECT_TRUE(fs::exists(older));
    fs::remove(StoredSettings::file());
    OlderSettings::adopt(older);
    EXPECT_EQ(StoredSettings::text("appearance"), "dark");
}

} // namespace

} // namespace orvo::test
