#include "ModelFixture.h"
#include "OrvoVideo/model/BrowserIntegration.h"
#include "Platform/notifications/Notifications.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/PrivateBus.h"
#include "VideoCore/ExtensionMark.h"
#include "VideoCore/FileIO.h"

#include <fstream>
#include <memory>
#include <yyjson.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

using Json = std::unique_ptr<yyjson_doc, void (*)(yyjson_doc*)>;

Json parsed(const fs::path& file)
{
    const std::string text = readFile(file);
    return {yyjson_read(text.data(), text.size(), 0), yyjson_doc_free};
}

std::string textIn(const Json& document, const char* pointer)
{
    const char* text = yyjson_get_str(yyjson_doc_ptr_get(document.get(), pointer));
    return text ? text : "nothing";
}

class BrowserTests : public ModelFixture {
protected:
    BrowserTests()
    {
        browsers = {.bundle = folder / "OrvoVideo.app",
            .data = folder / "data/OrvoVideo",
            .config = folder / "config",
            .home = folder / "home"};
        write("Extension/manifest.json", "{}");
        write("Extension/icons/16.png", "16");
        write("extension-origin.txt", " chrome-extension://abc/\n\n");
    }

    void write(const fs::path& resource, const std::string& text) const
    {
        const fs::path file = browsers.bundle / "Contents/Resources" / resource;
        fs::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

    fs::path manifest(const std::string& browser) const
    {
        return browsers.config / browser / "NativeMessagingHosts/es.orvo.video.json";
    }
};

TEST_F(BrowserTests, InstallsTheExtensionAndTheManifests)
{
    const BrowserIntegration integration(browsers);
    integration.setUp();
    // The next start removes files of an older version, and updates the copy in the data folder.
    fs::create_directories(browsers.data / "Extension");
    std::ofstream(integration.extensionFolder() / "old.js") << "old";
    write("Extension/manifest.json", R"({"version": "2"})");
    integration.setUp();
    EXPECT_EQ(readFile(integration.extensionFolder() / "manifest.json"), R"({"version": "2"})");
    EXPECT_TRUE(fs::exists(integration.extensionFolder() / "icons/16.png"));
    EXPECT_FALSE(fs::exists(integration.extensionFolder() / "old.js"));
    EXPECT_EQ(readFile(browsers.data / "Extension/manifest.json"), R"({"version": "2"})");

    for (const auto* browser : {"google-chrome", "chromium", "BraveSoftware/Brave-Browser"}) {
        const Json document = parsed(manifest(browser));
        EXPECT_EQ(textIn(document, "/name"), "es.orvo.video");
        EXPECT_EQ(textIn(document, "/description"), "Orvo Video Native Bridge");
        EXPECT_EQ(textIn(document, "/path"), (browsers.bundle / "Contents/Helpers/OrvoBridge").string());
        EXPECT_EQ(textIn(document, "/type"), "stdio");
        EXPECT_EQ(textIn(document, "/allowed_origins/0"), "chrome-extension://abc/");
        EXPECT_EQ(yyjson_arr_size(yyjson_doc_ptr_get(document.get(), "/allowed_origins")), 1U);
    }
}

TEST_F(BrowserTests, ChangesNothingWithoutABundle)
{
    for (const auto& bundle : {fs::path(), folder / "bin", folder / "Empty.app"}) {
        auto places = browsers;
        places.bundle = bundle;
        BrowserIntegration(places).setUp();
        EXPECT_FALSE(fs::exists(browsers.config));
        EXPECT_FALSE(fs::exists(browsers.data));
        EXPECT_FALSE(fs::exists(browsers.home));
    }
}

TEST_F(BrowserTests, ConnectsBrowsersWhenTheModelStarts)
{
    start();
    ASSERT_TRUE(comesToHold([&] { return fs::exists(manifest("BraveSoftware/Brave-Browser")); }));
    model->installation()->openExtensionFolder();
    EXPECT_THAT(workspace->opened, ElementsAre(browsers.home / "Orvo Video/Extensión"));

    // The recording of a tab starts in the browser.
    model->recorder()->capture()->setMode(QStringLiteral("tab"));
    EXPECT_EQ(model->recorder()->capture()->mode(), "tab");
    model->startRecording();
    EXPECT_EQ(workspace->opened.size(), 2U);
    EXPECT_EQ(model->status(), "Inicia la captura desde el icono Orvo Video en Chrome o Brave.");
    EXPECT_FALSE(model->isRecording());
    EXPECT_FALSE(model->busy());
}

TEST_F(BrowserTests, ReportsAnIncompleteBundle)
{
    fs::remove(browsers.bundle / "Contents/Resources/extension-origin.txt");
    start();
    ASSERT_TRUE(
        comesToHold([&] { return model->status().startsWith("La extensión necesita configurar su conexión al Mac: "); }));
    model->installation()->openExtensionFolder();
    EXPECT_THAT(workspace->opened, IsEmpty());
    EXPECT_EQ(model->errorMessage(), "Abre la aplicación instalada para preparar la extensión de Chrome y Brave.");
}

TEST_F(BrowserTests, ShowsTheTabRecordingAndTheExtensionWhenTheHelperNotifies)
{
    const PrivateBus bus;
    observe = NotificationObserver::create;
    start();
    EXPECT_TRUE(model->library()->projects().empty());
    add(VideoProject::make("Desde el navegador"));
    notification::post("es.orvo.video.something-else");
    notification::post(notification::tabFinished);
    ASSERT_TRUE(comesToHold([&] { return model->library()->projects().size() == 1; }));

    EXPECT_FALSE(model->installation()->extensionConnected());
    EXPECT_TRUE(ExtensionMark::leave());
    EXPECT_FALSE(ExtensionMark::leave()) << "returns true only once";
    notification::post(notification::extensionConnected);
    EXPECT_TRUE(comesToHold([&] { return model->installation()->extensionConnected(); }));
}

} // namespace

} // namespace orvo::test
