#include "CliFixture.h"
#include "TestSupport/Keyring.h"
#include "TestSupport/Media.h"
#include "TestSupport/PublishingServer.h"
#include "TestSupport/Waiting.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <format>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <pty.h>
#include <string_view>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Whether a program has ended, without reaping it.
bool hasEnded(const Program& program)
{
    siginfo_t facts{};
    return ::waitid(P_PID, static_cast<id_t>(program.pid()), &facts, WEXITED | WNOHANG | WNOWAIT) == 0 && facts.si_pid != 0;
}

/// A project of one second and a publishing server, whose address and credential `orvo` knows.
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

TEST_F(Publish, PublishesChangesAccessAndWithdraws)
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

TEST_F(Publish, HidesTheCredentialWhenInterrupted)
{
    server.setFaults(R"([{"method":"GET","path":"/api/status","do":"hang"}])");
    Program program({"publish", id}, setup);
    ASSERT_TRUE(pollUntil([&] { return !server.asked("GET /api/status").empty(); }));
    const std::string line = readFile("/proc/" + std::to_string(program.pid()) + "/cmdline");
    EXPECT_THAT(line, Not(HasSubstr(PublishingServer::token)));
    program.signal(SIGINT);
    const auto outcome = program.end();
    EXPECT_EQ(outcome.status, 130);
    EXPECT_THAT(outcome.err, Not(HasSubstr(PublishingServer::token)));
}

TEST_F(Publish, ResumesWhenKilledAtAnyRequest)
{
    // Every run gets one request further, until the publication completes.
    int kills = 0;
    std::string key; // Rendered once.
    for (bool isDone = false; !isDone; ++kills) {
        server.setFaults(std::format(R"([{{"skip":{},"do":"hang"}}])", kills));
        server.forgetRequests();
        Program program({"publish", id}, setup);
        const auto hangs = [&] { return server.asked().size() > static_cast<std::size_t>(kills); };
        ASSERT_TRUE(pollUntil([&] {
            isDone = hasEnded(program);
            return isDone || hangs();
        })) << kills;
        program.signal(SIGKILL);
        EXPECT_EQ(program.end().status, isDone ? 0 : 128 + SIGKILL);
        EXPECT_EQ(stored().publication.has_value(), isDone);
        EXPECT_EQ(fs::exists(store.directory(project.id) / "upload-session.json"), !isDone && kills > 3);
        for (const auto& request : server.requests())
            EXPECT_NE(request.event, "refused") << kills << ": " << request.path;
        if (kills == 4)
            key = readFile(store.directory(project.id) / "publication/hls/key.bin");
        if (kills > 4) {
            EXPECT_EQ(readFile(store.directory(project.id) / "publication/hls/key.bin"), key);
            EXPECT_THAT(server.asked("POST /api/videos/"), IsEmpty()) << kills << ": the same revision";
        }
    }
    EXPECT_GT(kills, 10);
    for (const auto* file : {"media/screen.mov", "publication/hls/key.bin", "publication/hls/72/00000.ts"}) {
        const std::string path = file;
        const auto name = path.starts_with("publication/") ? path.substr(12) : path;
        EXPECT_EQ(server.received(name), readFile(store.directory(project.id) / path)) << name;
    }
}

TEST_F(Publish, LosesNothingOnAFullDisk)
{
    const auto document = this->document();
    setup.maxFile = 3'000;
    const auto full = orvo({"publish", id});
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, Not(IsEmpty()));
    EXPECT_THAT(server.asked("POST"), IsEmpty());
    EXPECT_EQ(this->document(), document);
    EXPECT_FALSE(fs::exists(store.directory(project.id) / "publication/signature.txt"));
    setup.maxFile.reset();
    EXPECT_EQ(orvo({"publish", id}).status, 0);
    EXPECT_EQ(server.received("media/screen.mov"), readFile(store.directory(project.id) / "media/screen.mov"));
}

/// The proxy settings of GNOME, and a session bus, which starts GLib's evaluator of proxy scripts when needed.
class PublishOnDesktop : public Publish {
protected:
    PublishOnDesktop()
    {
        setup.environment["XDG_CURRENT_DESKTOP"] = "GNOME";
        setup.environment["GSETTINGS_BACKEND"] = "keyfile";
        setup.environment["DBUS_SESSION_BUS_ADDRESS"] = bus;
        EXPECT_TRUE(daemon.waitForError("unix:path="));
        EXPECT_EQ(orvo({"settings", "--server", elsewhere}).status, 0);
    }

    void configure(const std::string& settings) const
    {
        const auto file = folder / "config/glib-2.0/settings/keyfile";
        fs::create_directories(file.parent_path());
        std::ofstream(file) << settings;
    }

    /// Configures a proxy script, which is cached under its address; `fault` is its server's reaction to the request.
    void configureScript(const std::string& name, const std::string& fault) const
    {
        script.setFaults(R"([{"path":"/proxy.pac","times":99,)" + fault + "}]");
        configure("[system/proxy]\nmode='auto'\nautoconfig-url='" + script.address() + "/proxy.pac?" + name + "'\n");
    }

    const PublishingServer proxy{PublishingServer::Kind::plainProxy};
    const PublishingServer script{PublishingServer::Kind::plainProxy};
    const std::string elsewhere = "https://video.ejemplo.es:" + std::to_string(server.port());
    const std::string bus = "unix:path=" + (folder / "bus").string();
    Program daemon{{"--session", "--nofork", "--nopidfile", "--print-address=2", "--address=" + bus},
        {.executable = "/usr/bin/dbus-daemon"}};
};

TEST_F(PublishOnDesktop, UsesTheProxyOfTheDesktop)
{
    const auto isReachedThroughProxy = [&](const std::string& method) {
        proxy.forgetRequests();
        EXPECT_TRUE(answer({"settings", "--check"})["connected"].flag());
        EXPECT_THAT(proxy.asked(), ElementsAre(method + " " + elsewhere.substr(8)));
    };
    const auto port = std::to_string(proxy.port());
    // The proxy resolves the host name, which is unknown on this machine.
    configure("[system/proxy]\nmode='manual'\n[system/proxy/socks]\nhost='127.0.0.1'\nport=" + port + "\n");
    isReachedThroughProxy("SOCKS");
    for (const auto& [kind, method] : {std::pair{"PROXY", "CONNECT"}, {"SOCKS5", "SOCKS"}}) {
        const auto code = std::string("function FindProxyForURL(url, host) { return host == 'video.ejemplo.es' ? '") + kind
            + " 127.0.0.1:" + port + "' : 'DIRECT'; }";
        configureScript(
            kind, R"("do":"status","status":200,"type":"application/x-ns-proxy-autoconfig","body":")" + code + "\"");
        isReachedThroughProxy(method);
    }
    EXPECT_THAT(script.asked(), Not(IsEmpty()));
}

TEST_F(PublishOnDesktop, DoesNotWaitForAProxyScript)
{
    configureScript("silent", R"("do":"hang")");
    Program program({"settings", "--check"}, setup);
    ASSERT_TRUE(pollUntil([&] { return !script.asked().empty(); }));
    program.signal(SIGINT);
    EXPECT_EQ(program.end().status, 130);
    // After the time limit, continues without a proxy.
    expectFailure({"settings", "--check"}, 1, "No se encuentra el servidor «video.ejemplo.es»");
}

TEST_F(Publish, UsesTheProxyOfEnvironmentAndSettings)
{
    const PublishingServer proxy(PublishingServer::Kind::plainProxy);
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
        {std::map<std::string, std::string>{{"https_proxy", "http://" + at}}, {{"https_proxy", "http://nombre:clave@" + at}},
            {{"ALL_PROXY", at}}, {{"XDG_CURRENT_DESKTOP", "GNOME"}, {"GSETTINGS_BACKEND", "keyfile"}},
            {{"XDG_CURRENT_DESKTOP", "KDE"}}}) {
        SCOPED_TRACE(way.begin()->first + "=" + way.begin()->second);
        setup.environment = before;
        setup.environment.insert(way.begin(), way.end());
        proxy.forgetRequests();
        server.forgetRequests();
        EXPECT_TRUE(answer({"settings", "--check"})["connected"].flag());
        ASSERT_EQ(proxy.requests().size(), 1U);
        EXPECT_EQ(proxy.requests()[0].path, address.substr(8));
        EXPECT_EQ(proxy.requests()[0].authorization, "");
        EXPECT_THAT(server.asked(), ElementsAre("GET /api/status"));
        // Bypasses the proxy for this machine, and reports a server that the proxy cannot reach.
        EXPECT_EQ(orvo({"settings", "--server", server.address(), "--check"}).status, 0);
        EXPECT_EQ(proxy.requests().size(), 1U) << "connects to this machine directly";
        EXPECT_THAT(orvo({"settings", "--server", "https://video.ejemplo.es:1", "--check"}).err,
            HasSubstr("El proxy «" + at + "» no deja llegar al servidor «video.ejemplo.es» (502)."));
        EXPECT_EQ(orvo({"settings", "--server", address}).status, 0);
    }
    setup.environment = before;
    setup.environment["https_proxy"] = "http://" + at;
    setup.environment["no_proxy"] = "ejemplo.es";
    EXPECT_THAT(orvo({"settings", "--check"}).err, HasSubstr("No se encuentra el servidor «video.ejemplo.es»"));
}

TEST_F(Publish, ReportsWrongUseAndFailures)
{
    expectFailure({"publish", id, "--public-link", "--private-link"}, 2, "no pueden ir juntas");
    expectFailure({"publish", id, "--no-domains", "--domain", "https://a.es"}, 2, "no pueden ir juntas");
    expectFailure({"publish", id, "--quality", "hihg"}, 2, "¿Querías decir «high»?");
    expectFailure({"settings", "--server", "http://a.es"}, 1, "Usa una dirección HTTPS para el servicio.");
    expectFailure({"settings", "--credential", "--oauth-client", "x"}, 2, "por separado");
    setup.environment["ORVO_ADMIN_TOKEN"] = "otro";
    expectFailure({"publish", id}, 1, "Credencial incorrecta.");
    EXPECT_FALSE(stored().publication);
    setup.environment.erase("ORVO_ADMIN_TOKEN");
    expectFailure({"publish", id}, 1,
        "pulsa Leer del llavero (300). En el terminal la guarda orvo settings --credential; también vale la variable "
        "ORVO_ADMIN_TOKEN.");
    setup.environment["XDG_CONFIG_HOME"] = folder / "other";
    expectFailure({"publish", id}, 1, "orvo settings --server https://");
}

TEST_F(Publish, SharesSettingsWithTheApplication)
{
    const Keyring keyring;
    setup.environment["DBUS_SESSION_BUS_ADDRESS"] = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    setup.environment.erase("ORVO_ADMIN_TOKEN");
    EXPECT_EQ(answer({"settings"})["credential"].text(), "none");
    setup.input = "secreto\n";
    EXPECT_EQ(answer({"settings", "--credential"})["credential"].text(), "keychain");
    setup.input.clear();
    const auto local = answer({"settings", "--check"});
    EXPECT_EQ(local["server"].text(), server.address());
    EXPECT_TRUE(local["connected"].flag());
    EXPECT_EQ(local["storage"].text(), "local");
    EXPECT_FALSE(local["driveConnected"].flag());
    EXPECT_THAT(orvo({"settings", "--check"}).out, HasSubstr("Conectado · el servidor guarda los vídeos\n"));
    server.setFaults(R"([{"path":"/api/status","do":"answer","json":{"connected":true}}])");
    const auto drive = answer({"settings", "--check"});
    EXPECT_TRUE(drive["driveConnected"].flag());
    EXPECT_FALSE(drive.has("storage"));

    server.configure("storage = drive");
    EXPECT_THAT(orvo({"settings", "--check"}).out, HasSubstr("Servidor conectado · falta autorizar Drive\n"));
    setup.input = " del cliente \n";
    EXPECT_EQ(orvo({"settings", "--oauth-client", "cliente"}).status, 0);
    EXPECT_THAT(answer({"settings", "--check", "--connect-drive"})["authorisation"].text(), HasSubstr("client_id=cliente&"));
    setup.input = "  \n";
    EXPECT_THAT(orvo({"settings", "--credential"}).err, HasSubstr("La credencial está vacía."));
    EXPECT_THAT(orvo({"settings"}).out, testing::AllOf(HasSubstr("Credencial: en el llavero"), Not(HasSubstr("secreto"))));
}

TEST_F(Publish, RestoresTheTerminal)
{
    int terminal = -1;
    int shown = -1; // Keeps the terminal open after the program has ended.
    ASSERT_EQ(::openpty(&terminal, &shown, nullptr, nullptr, nullptr), 0);
    const auto echoes = [&] {
        termios settings{};
        return ::tcgetattr(shown, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    };
    ASSERT_TRUE(echoes());
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(terminal);
        ::login_tty(shown);
        ::setenv("ORVO_LIBRARY", setup.library.c_str(), 1);
        ::execl(orvoProgram().c_str(), "orvo", "settings", "--credential", nullptr);
        ::_exit(127);
    }
    EXPECT_TRUE(pollUntil([&] { return !echoes(); }));
    constexpr std::string_view typed = "secr\x03"; // Ctrl-C in the middle of the secret.
    ASSERT_EQ(::write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(echoes());
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 130);
    std::array<char, 4096> text{};
    const auto length = ::read(terminal, text.data(), text.size());
    EXPECT_THAT(std::string(text.data(), static_cast<std::size_t>(length)), Not(HasSubstr("secr")));
    ::close(terminal);
    ::close(shown);
}

TEST_F(Publish, PackagesCompletelyOrNotAtAll)
{
    const auto target = folder / "paquete";
    const auto made = answer({"package", id, target});
    EXPECT_EQ(made["renditions"].size(), 1U);
    EXPECT_EQ(made["renditions"][0]["height"].number(), 72);
    EXPECT_EQ(made["playlist"].text(), (target / "master.m3u8").string());
    EXPECT_EQ(probe(target / "poster.jpg").width, 960);
    EXPECT_THAT(namesIn(target), ElementsAre("72", "captions.vtt", "key.bin", "master.m3u8", "poster.jpg"));

    EXPECT_THAT(orvo({"package", id, target}).err, HasSubstr("no está vacía"));
    EXPECT_THAT(orvo({"package", id, store.directory(project.id) / "nueva"}).err, Not(IsEmpty()));
    setup.maxFile = 3'000;
    const auto outcome = orvo({"package", id, folder / "lleno"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_FALSE(fs::exists(folder / "lleno"));
    EXPECT_THAT(namesIn(store.directory(project.id)), Each(Not(HasSubstr("package-"))));
    EXPECT_THAT(namesIn(folder.path()), Each(Not(HasSubstr(".tmp"))));
}

} // namespace

} // namespace orvo::test
