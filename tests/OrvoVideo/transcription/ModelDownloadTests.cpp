#include "OrvoVideo/transcription/SpeechModels.h"
#include "TestSupport/Failure.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"

#include <arpa/inet.h>
#include <format>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

/// A web server on the loopback address; the test sets its responses.
class Server {
public:
    /// Returns the whole response to a request for the bytes from `from` on.
    std::function<std::string(std::size_t from)> answer;
    std::vector<std::size_t> asked; ///< The first byte of each request. Read it after the request.

    Server()
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (::bind(m_socket, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(m_socket, 4) != 0
            || ::getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            throw std::runtime_error("no server");
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] { serve(); });
    }
    ~Server()
    {
        ::shutdown(m_socket, SHUT_RDWR);
        m_thread.join();
        ::close(m_socket);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    int port() const { return m_port; }
    std::string address() const { return std::format("http://127.0.0.1:{}/model.bin", m_port); }

private:
    void serve()
    {
        for (int client = 0; (client = ::accept(m_socket, nullptr, nullptr)) >= 0; ::close(client)) {
            std::string request;
            char buffer[4096];
            while (!request.contains("\r\n\r\n")) {
                const auto count = ::read(client, buffer, sizeof buffer);
                if (count <= 0)
                    break;
                request.append(buffer, static_cast<std::size_t>(count));
            }
            std::size_t from = 0;
            if (const auto at = request.find("Range: bytes="); at != std::string::npos)
                from = std::stoul(request.substr(at + 13));
            asked.push_back(from);
            const std::string text = answer(from);
            for (std::size_t at = 0; at < text.size();) {
                const auto count = ::send(client, text.data() + at, text.size() - at, MSG_NOSIGNAL);
                if (count <= 0)
                    break;
                at += static_cast<std::size_t>(count);
            }
        }
    }

    int m_socket;
    int m_port = 0;
    std::thread m_thread;
};

class ModelDownload : public testing::Test {
protected:
    /// The desktop's settings name the proxy; GIO reads them once.
    static void SetUpTestSuite()
    {
        static const TemporaryFolder config;
        for (const auto* name : {"http_proxy", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"})
            ::unsetenv(name);
        ::setenv("XDG_CURRENT_DESKTOP", "GNOME", 1);
        ::setenv("GSETTINGS_BACKEND", "keyfile", 1);
        ::setenv("XDG_CONFIG_HOME", config.path().c_str(), 1);
        const auto settings = config / "glib-2.0/settings/keyfile";
        fs::create_directories(settings.parent_path());
        std::ofstream(settings) << "[system/proxy]\nmode='manual'\n[system/proxy/http]\nhost='127.0.0.1'\nport="
                                << proxy().port() << "\n";
    }
    static Server& proxy()
    {
        static Server server;
        return server;
    }

    ModelDownload()
    {
        for (int i = 0; content.size() < 300'000; ++i)
            content += std::to_string(i * i);
        unsigned char digest[32];
        EVP_Digest(content.data(), content.size(), digest, nullptr, EVP_sha256(), nullptr);
        model = {.name = "test", .file = "ggml-test.bin", .size = content.size(), .address = server.address()};
        for (const auto byte : digest)
            model.sha256 += std::format("{:02x}", byte);
        server.answer = [this](std::size_t from) { return served(content, from); };
    }

    /// A response with the body from `from` on. The connection ends after `cut` bytes of it.
    static std::string served(const std::string& body, std::size_t from, std::size_t cut = std::string::npos)
    {
        const std::string head = from == 0
            ? "200 OK\r\n"
            : std::format("206 Partial Content\r\nContent-Range: bytes {}-{}/{}\r\n", from, body.size() - 1, body.size());
        return std::format("HTTP/1.1 {}Content-Length: {}\r\nConnection: close\r\n\r\n", head, body.size() - from)
            + body.substr(from, cut);
    }

    std::string failure()
    {
        return failureOf([&] { SpeechModels::download(model, folder / "models"); });
    }

    bool isThere() const { return fs::exists(folder / "models" / model.file); }

    TemporaryFolder folder;
    std::string content;
    Server server;
    SpeechModel model;
};

TEST_F(ModelDownload, ResumesInterruptedDownloads)
{
    server.answer = [this](std::size_t from) { return served(content, from, 100'000); };
    EXPECT_THAT(failure(), HasSubstr("La descarga del modelo de voz se ha interrumpido"));
    EXPECT_FALSE(isThere());
    server.answer = [this](std::size_t from) { return served(content, from); };
    double last = 0;
    const auto file = SpeechModels::download(model, folder / "models", [&](double share) { last = share; });
    EXPECT_EQ(readFile(file), content);
    EXPECT_DOUBLE_EQ(last, 1);
    EXPECT_THAT(server.asked, ElementsAre(0, 100'000));

    // A server without range support sends the whole file again.
    fs::remove(file);
    std::ofstream(folder / "models/ggml-test.bin.part") << content.substr(0, 5'000);
    server.answer = [this](std::size_t) { return served(content, 0); };
    EXPECT_EQ(readFile(SpeechModels::download(model, folder / "models")), content);
}

TEST_F(ModelDownload, RejectsOtherFiles)
{
    // A different file of the same length is removed, so that the next download starts anew.
    server.answer = [this](std::size_t from) { return served(std::string(content.size(), 'x'), from); };
    EXPECT_THAT(failure(), HasSubstr("no es el publicado y se ha borrado"));
    EXPECT_FALSE(fs::exists(folder / "models/ggml-test.bin.part"));
    server.answer = [this](std::size_t from) { return served(content + "more", from); };
    EXPECT_THAT(failure(), HasSubstr("ha enviado otro archivo"));
    server.answer = [](std::size_t) { return std::string("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\nnada"); };
    EXPECT_THAT(failure(), HasSubstr("(respuesta 404)"));
    EXPECT_FALSE(isThere());
}

TEST_F(ModelDownload, ReportsCauseAndRemedyWithoutANetwork)
{
    model.address = "http://127.0.0.1:1/model.bin";
    EXPECT_THAT(failure(),
        testing::AllOf(
            HasSubstr("no hay conexión con el servidor"), HasSubstr(model.file), HasSubstr((folder / "models").string())));
    model.address = server.address();
    model.size = 1ULL << 60;
    EXPECT_THAT(failure(), HasSubstr("No hay sitio para el modelo de voz"));
    model.size = content.size();
    const std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(SpeechModels::download(model, folder / "models", {}, stop.get_token()), Cancelled);
    EXPECT_FALSE(isThere());
}

TEST_F(ModelDownload, UsesTheProxyOfTheDesktop)
{
    proxy().answer = server.answer;
    model.address = "http://modelos.invalid/model.bin"; // Only the proxy resolves it.
    EXPECT_EQ(readFile(SpeechModels::download(model, folder / "models")), content);
    EXPECT_THAT(server.asked, testing::IsEmpty());

    fs::remove(folder / "models" / model.file);
    ::setenv("http_proxy", "http://127.0.0.1:1", 1);
    EXPECT_THAT(failure(), HasSubstr("el proxy del sistema no deja llegar al servidor"));
    ::unsetenv("http_proxy");
}

} // namespace

} // namespace orvo::test
