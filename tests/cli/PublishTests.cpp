#include "CliFixture.h"
#include "TestSupport/Keyring.h"
#include "TestSupport/Media.h"
#include "TestSupport/PublishingServer.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <thread>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

/// A project of a second, and a server that `orvo` has the address and the credential of.
class Publish : public CliFixture {
protected:
    Publish()
    {
        project.duration = 1;
        project.width = 128;
        project.height = 72;
        project.fps = 10;
        project.tracks = {track(TrackKind::screen, "media/screen.mov", 0, 1)};
        store.save(project);
        makeVideo(store.directory(project.id) / "media/screen.mov", "testsrc2=size=128x72:rate=10:duration=1");
        setup.environment["XDG_CONFIG_HOME"] = folder / "config";
        setup.environment["ORVO_ADMIN_TOKEN"] = PublishingServer::token;
        setup.environment["SSL_CERT_FILE"] = std::getenv("SSL_CERT_FILE");
        setup.environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nonexistent";
        EXPECT_EQ(orvo({"settings", "--server", server.address()}).status, 0);
    }

    PublishingServer server;
};

TEST_F(Publish, FromTheProjectToItsPageAndBack)
{
    const auto published =
        answer({"publish", id, "--domain", "https://uno.es", "--domain", "https://dos.es, https://tres.es"});
    EXPECT_EQ(published["url"].text(), "https://video.ejemplo.es/watch/" + published["videoID"].text());
    EXPECT_THAT(published["embed"].text(), HasSubstr("<iframe src=\"" + server.address() + "/embed/"));
    EXPECT_EQ(published["domains"].size(), 3U);
    EXPECT_FALSE(published["publicLink"].flag());
    ASSERT_TRUE(stored().publication);
    EXPECT_EQ(server.received("media/screen.mov"), readFile(store.directory(project.id) / "media/screen.mov"));

    server.forgetRequests();
    const auto changed = answer({"publish", id, "--only-access", "--public-link", "--no-domains"});
    EXPECT_EQ(changed["domains"].size(), 0U);
    EXPECT_TRUE(stored().publication->publicLink);
    EXPECT_THAT(server.asked(), ElementsAre("PATCH /api/videos/" + published["videoID"].text()));
    const auto text = orvo({"publish", id, "--only-access", "--domain", "https://uno.es"}).out;
    EXPECT_THAT(text, HasSubstr("Enlace: https://video.ejemplo.es/watch/"));
    EXPECT_THAT(text, HasSubstr("(público)"));

    EXPECT_EQ(orvo({"unpublish", id}).status, 0);
    EXPECT_FALSE(stored().publication);
    EXPECT_EQ(orvo({"unpublish", id}).status, 1);
    EXPECT_THAT(orvo({"publish", id, "--only-access"}).err, HasSubstr("no está publicado"));
}

TEST_F(Publish, AKilledUploadGoesOn)
{
    server.setFaults(R"([{"method":"PUT","skip":1,"do":"hang"}])");
    {
        Program program({"publish", id}, setup);
        while (server.asked("PUT").size() < 2)
            std::this_thread::yield();
        program.signal(SIGKILL);
        EXPECT_EQ(program.end().status, 128 + SIGKILL);
    }
    EXPECT_FALSE(stored().publication);
    const auto key = readFile(store.directory(project.id) / "publication/hls/key.bin");
    server.setFaults("");
    server.forgetRequests();
    EXPECT_EQ(orvo({"publish", id}).status, 0);
    EXPECT_EQ(readFile(store.directory(project.id) / "publication/hls/key.bin"), key) << "not rendered again";
    EXPECT_THAT(server.asked("POST /api/videos/"), IsEmpty()) << "the same revision";
    for (const auto& request : server.requests())
        EXPECT_NE(request.event, "refused");
    EXPECT_EQ(server.received("hls/key.bin"), key);

    // A signal ends it with all that was sent kept, and without a trace of the credential.
    server.setFaults(R"([{"method":"GET","path":"/api/status","do":"hang"}])");
    Program program({"publish", id}, setup);
    const auto before = server.asked("GET /api/status").size();
    while (server.asked("GET /api/status").size() == before)
        std::this_thread::yield();
    const std::string line = readFile("/proc/" + std::to_string(program.pid()) + "/cmdline");
    EXPECT_THAT(line, Not(HasSubstr(PublishingServer::token)));
    program.signal(SIGINT);
    const auto outcome = program.end();
    EXPECT_EQ(outcome.status, 130);
    EXPECT_THAT(outcome.err, Not(HasSubstr(PublishingServer::token)));
}

TEST_F(Publish, GoesThroughTheProxyOfTheSystem)
{
    const PublishingServer proxy(true);
    const auto address = "https://video.ejemplo.es:" + std::to_string(server.port());
    const auto at = "127.0.0.1:" + std::to_string(proxy.port());
    ASSERT_EQ(orvo({"settings", "--server", address}).status, 0);
    const auto keyfile = folder / "config/glib-2.0/settings/keyfile";
    fs::create_directories(keyfile.parent_path());
    std::ofstream(keyfile) << "[system/proxy]\nmode='manual'\n[system/proxy/https]\nhost='127.0.0.1'\nport=" << proxy.port()
                           << "\n";
    std::ofstream(folder / "config/kioslaverc")
        << "[Proxy Settings]\nProxyType=1\nhttpsProxy=http://127.0.0.1 " << proxy.port() << "\n";
    const auto before = setup.environment;
    for (const std::map<std::string, std::string>& way :
        {std::map<std::string, std::string>{{"https_proxy", "http://" + at}}, {{"ALL_PROXY", at}},
            {{"XDG_CURRENT_DESKTOP", "GNOME"}, {"GSETTINGS_BACKEND", "keyfile"}}, {{"XDG_CURRENT_DESKTOP", "KDE"}}}) {
        SCOPED_TRACE(way.begin()->first + "=" + way.begin()->second);
        setup.environment = before;
        setup.environment.insert(way.begin(), way.end());
        proxy.forgetRequests();
        server.forgetRequests();
        EXPECT_TRUE(answer({"settings", "--check"})["driveConnected"].flag());
        ASSERT_EQ(proxy.requests().size(), 1U);
        EXPECT_EQ(proxy.requests()[0].path, address.substr(8));
        EXPECT_EQ(proxy.requests()[0].authorization, "");
        EXPECT_THAT(server.asked(), ElementsAre("GET /api/status"));
        // Past it, and where it leads nowhere.
        EXPECT_EQ(orvo({"settings", "--server", server.address(), "--check"}).status, 0);
        EXPECT_EQ(proxy.requests().size(), 1U) << "this machine is reached directly";
        EXPECT_THAT(orvo({"settings", "--server", "https://video.ejemplo.es:1", "--check"}).err,
            HasSubstr("El proxy del sistema no deja llegar al servidor «video.ejemplo.es» (502)."));
        EXPECT_EQ(orvo({"settings", "--server", address}).status, 0);
    }
    setup.environment = before;
    setup.environment["https_proxy"] = "http://" + at;
    setup.environment["no_proxy"] = "ejemplo.es";
    EXPECT_THAT(orvo({"settings", "--check"}).err, HasSubstr("No se encuentra el servidor «video.ejemplo.es»"));
}

TEST_F(Publish, WrongUseAndFailuresAreTold)
{
    const auto refused = [&](std::vector<std::string> arguments, int status, const std::string& text) {
        const auto outcome = orvo(std::move(arguments));
        EXPECT_EQ(outcome.status, status);
        EXPECT_THAT(outcome.err, HasSubstr(text));
    };
    refused({"publish", id, "--public-link", "--private-link"}, 2, "no pueden ir juntas");
    refused({"publish", id, "--no-domains", "--domain", "https://a.es"}, 2, "no pueden ir juntas");
    refused({"publish", id, "--quality", "hihg"}, 2, "¿Querías decir «high»?");
    refused({"settings", "--server", "http://a.es"}, 1, "Usa una dirección HTTPS para el servicio.");
    refused({"settings", "--credential", "--oauth-client", "x"}, 2, "por separado");
    setup.environment["ORVO_ADMIN_TOKEN"] = "otro";
    refused({"publish", id}, 1, "Credencial incorrecta.");
    EXPECT_FALSE(stored().publication);
    setup.environment.erase("ORVO_ADMIN_TOKEN");
    refused({"publish", id}, 1, "pulsa Leer del llavero (300).");
    setup.environment["XDG_CONFIG_HOME"] = folder / "other";
    refused({"publish", id}, 1, "orvo settings --server https://");
}

TEST_F(Publish, SettingsAreThoseOfTheApplication)
{
    const Keyring keyring;
    setup.environment["DBUS_SESSION_BUS_ADDRESS"] = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    setup.environment.erase("ORVO_ADMIN_TOKEN");
    EXPECT_EQ(answer({"settings"})["credential"].text(), "none");
    setup.input = "secreto\n";
    EXPECT_EQ(answer({"settings", "--credential"})["credential"].text(), "keychain");
    setup.input.clear();
    const auto checked = answer({"settings", "--check", "--connect-drive"});
    EXPECT_TRUE(checked["driveConnected"].flag());
    EXPECT_EQ(checked["authorisation"].text(), "https://accounts.example/authorise");
    EXPECT_EQ(checked["server"].text(), server.address());
    setup.input = " del cliente \n";
    EXPECT_EQ(orvo({"settings", "--oauth-client", "cliente"}).status, 0);
    EXPECT_THAT(server.state(), HasSubstr(R"("clientSecret": "del cliente")"));
    setup.input = "  \n";
    EXPECT_THAT(orvo({"settings", "--credential"}).err, HasSubstr("La credencial está vacía."));
    EXPECT_THAT(orvo({"settings"}).out, testing::AllOf(HasSubstr("Credencial: en el llavero"), Not(HasSubstr("secreto"))));
}

TEST_F(Publish, PackagesIntoAFolderThatIsCompleteOrNotThere)
{
    const auto target = folder / "paquete";
    const auto made = answer({"package", id, target});
    EXPECT_EQ(made["renditions"].size(), 1U);
    EXPECT_EQ(made["renditions"][0]["height"].number(), 72);
    EXPECT_EQ(made["playlist"].text(), (target / "master.m3u8").string());
    EXPECT_EQ(probe(target / "poster.jpg").width, 960);
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(target))
        names.push_back(entry.path().filename());
    EXPECT_THAT(names, UnorderedElementsAre("72", "captions.vtt", "key.bin", "master.m3u8", "poster.jpg"));

    EXPECT_THAT(orvo({"package", id, target}).err, HasSubstr("no está vacía"));
    EXPECT_THAT(orvo({"package", id, store.directory(project.id) / "nueva"}).err, Not(IsEmpty()));
    setup.largestFile = 3'000;
    const auto outcome = orvo({"package", id, folder / "lleno"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_FALSE(fs::exists(folder / "lleno"));
    for (const auto& entry : fs::directory_iterator(store.directory(project.id)))
        EXPECT_THAT(entry.path().filename().string(), Not(HasSubstr("package-")));
    for (const auto& entry : fs::directory_iterator(folder.path()))
        EXPECT_THAT(entry.path().filename().string(), Not(HasSubstr(".tmp")));
}

} // namespace

} // namespace orvo::test
