#include "Fuzz.h"
#include "OrvoServer/app/Service.h"
#include "OrvoServer/base/Crypto.h"
#include "OrvoServer/base/Json.h"
#include "OrvoServer/http/RequestHead.h"
#include "OrvoServer/http/Target.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <filesystem>
#include <format>
#include <fstream>
#include <map>
#include <memory>
#include <ranges>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace orvo;
using namespace orvo::server;
namespace fs = std::filesystem;

constexpr std::string_view video = "0d8c5b6e-7f00-4a52-9d5e-1f2a3b4c5d6e";
constexpr std::string_view key = "\xff\xfeno text has it"; // No request can make a response quote it.

/// A complete server without connections, with one published video and another revision in upload.
class Server {
public:
    explicit Server(std::string_view storage)
        : m_folder(fs::temp_directory_path() / std::format("orvo-fuzz-{}-{}", ::getpid(), storage))
    {
        fs::remove_all(m_folder);
        const DataFolder data(m_folder);
        const std::string credential = data.init({.address = "https://videos.example.org", .listen = "127.0.0.1:0"});
        // No server listens at the addresses of the remote store.
        std::ofstream(data.configurationFile(), std::ios::app)
            << "storage = " << storage << "\ndrive_token = http://127.0.0.1:9/\ndrive_api = http://127.0.0.1:9/\n";
        m_service = std::make_unique<Service>(data, Service::Options{}, m_log);
        m_values['C'] = credential;
        m_values['V'] = video;
        if (storage == "local")
            publish();
        else
            connect();
        m_values['S'] = header(ask("POST", "/admin/session", std::format(R"({{"token":"{}"}})", credential)), "Set-Cookie");
        m_values['S'].resize(std::min(m_values['S'].size(), m_values['S'].find(';')));
    }
    ~Server()
    {
        m_service.reset();
        fs::remove_all(m_folder);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    const std::string& credential() const { return m_values.at('C'); }

    /// Replaces "$V" by the video, and so on: values that a fuzzer cannot guess. Replaces "$C", the credential, only if
    /// `mayAuthorise`.
    std::string expanded(std::string_view text, bool mayAuthorise) const
    {
        std::string whole;
        for (std::size_t at = 0; at < text.size(); ++at) {
            const char name = at + 1 < text.size() && text[at] == '$' ? text[at + 1] : '\0';
            const auto value = name == 'C' && !mayAuthorise ? m_values.end() : m_values.find(name);
            if (value == m_values.end()) {
                whole += text[at];
                continue;
            }
            whole += value->second;
            ++at;
        }
        return whole;
    }

    /// The response to a request whose whole body has arrived.
    Response answer(Request request) const
    {
        auto& handler = m_service->handler();
        try {
            Plan plan = handler.plan(request);
            if (auto* response = std::get_if<Response>(&plan.what))
                return std::move(*response);
            if (const auto* whole = std::get_if<Plan::Answer>(&plan.what)) {
                if (request.body.size() > whole->bodyLimit)
                    return errorResponse(413, "");
                return whole->answer(request);
            }
            const std::string body = std::move(request.body);
            const auto sink = std::get<Plan::Stream>(plan.what).open(request);
            if (sink->write(bytesOf(body).first(body.size() / 2)))
                sink->write(bytesOf(body).subspan(body.size() / 2));
            return sink->finish();
        } catch (const std::exception& error) {
            return handler.failure(error);
        }
    }

private:
    Response ask(std::string_view method, std::string target, std::string body = {}) const
    {
        const std::map<std::string_view, Method> methods{{"GET", Method::get}, {"POST", Method::post}, {"PUT", Method::put}};
        Request request{.method = methods.at(method), .target = std::move(target), .contentLength = body.size()};
        request.headers.add("Authorization", "Bearer " + credential());
        request.headers.add("Content-Range", std::format("bytes 0-{}/{}", body.size() - 1, body.size()));
        request.headers.add("Sec-Fetch-Dest", "iframe");
        request.body = std::move(body);
        return answer(std::move(request));
    }
    static std::string textOf(const Response& response)
    {
        const auto* text = std::get_if<std::string>(&response.body);
        return text ? *text : std::string();
    }
    static std::string header(const Response& response, std::string_view name)
    {
        const auto found = std::ranges::find(response.headers, name, &std::pair<std::string_view, std::string>::first);
        return found == response.headers.end() ? std::string() : found->second;
    }

    /// Registers a revision. Returns its identifier and the uploads in the order of the files.
    std::pair<std::string, std::vector<std::string>> registered(
        const std::vector<std::pair<std::string, std::string>>& files)
    {
        ask("POST", "/api/videos", std::format(R"({{"id":"{}","title":"T","domains":["a.es"],"publicLink":true}})", video));
        JsonWriter json;
        json.open('{').key("files").open('[');
        for (const auto& [path, content] : files) {
            json.open('{').member("path", path).member("role", "stream").member("size", std::uint64_t{content.size()});
            json.member("sha256", hexText(sha256(content))).close('}');
        }
        const std::string answer =
            textOf(ask("POST", std::format("/api/videos/{}/revisions", video), json.close(']').close('}').take()));
        const JsonDocument document(answer);
        std::vector<std::string> uploads;
        document.root()["uploads"].forEach([&](JsonValue upload) { uploads.push_back(upload["id"].text().value_or("")); });
        return {document.root()["id"].text().value_or(""), uploads};
    }

    void publish()
    {
        const std::vector<std::pair<std::string, std::string>> files{
            {"hls/master.m3u8", "#EXTM3U\n"}, {"hls/key.bin", std::string(key)}, {"hls/480/00000.ts", "a segment"}};
        const auto [revision, uploads] = registered(files);
        for (std::size_t i = 0; i < files.size(); ++i)
            ask("PUT", "/api/uploads/" + uploads.at(i), files[i].second);
        ask("POST", std::format("/api/revisions/{}/retry", revision));
        while (ask("POST", std::format("/api/revisions/{}/publish", revision)).status == 409)
            ::usleep(100);
        const std::string page = textOf(ask("GET", std::format("/embed/{}", video)));
        const auto between = [&](std::string_view begin, std::string_view end) {
            const auto from = page.find(begin) + begin.size();
            return page.substr(from, page.find(end, from) - from);
        };
        m_values['T'] = between("/m/", "/");
        m_values['G'] = between("grant&quot;:&quot;", "&quot;");
        m_values['R'] = revision;
        const auto [open, pending] = registered({{"hls/master.m3u8", "#EXTM3U\n#other\n"}});
        m_values['Q'] = open;
        m_values['U'] = pending.at(0);
    }

    void connect()
    {
        ask("POST", "/api/drive/credentials", R"({"clientID":"a","clientSecret":"b"})");
        const std::string address =
            JsonDocument(textOf(ask("POST", "/api/drive/connect"))).root()["url"].text().value_or("");
        const auto at = address.find("state=") + 6;
        m_values['O'] = address.substr(at, address.find('&', at) - at);
    }

    const fs::path m_folder;
    Log m_log{-1};
    std::unique_ptr<Service> m_service;
    std::map<char, std::string> m_values;
};

/// The server for an input. Replaced after a number of requests, because they change its state.
Server& serverFor(bool isRemote)
{
    constexpr int life = 1000;
    // OpenSSL cleans up at exit, so it must be initialised before the servers that use it.
    static const Digest first = sha256({});
    static_cast<void>(first);
    static std::unique_ptr<Server> servers[2];
    static int uses[2];
    auto& server = servers[isRemote ? 1 : 0];
    if (!server || ++uses[isRemote ? 1 : 0] % life == 0) {
        server.reset();
        server = std::make_unique<Server>(isRemote ? "drive" : "local");
    }
    return *server;
}

void check(const Response& response, const Server& server, std::string_view input, const Request& request)
{
    fuzz::require(
        response.status >= 200 && response.status < 600 && response.status != 500, "no failure is an internal error");
    std::string_view type;
    for (const auto& [name, value] : response.headers) {
        fuzz::require(value.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos, "a header is one line");
        fuzz::require(!value.contains(server.credential()), "no header repeats the credential");
        if (name == "Content-Type")
            type = value;
    }
    if (const auto* file = std::get_if<FileBody>(&response.body)) {
        fuzz::require(file->offset + file->length <= file->file->size(), "a part is within its file");
        fuzz::require(input.contains("$T") || input.contains("$S"), "media require a ticket");
    }
    if (const auto* text = std::get_if<std::string>(&response.body)) {
        fuzz::require(!text->contains(server.credential()), "no body repeats the credential");
        fuzz::require(!text->contains(key), "no body has the key");
        if (type.starts_with("application/json"))
            fuzz::require(JsonDocument(*text).root().isObject(), "an answer is JSON");
    }
    const auto target = parseTarget(request.target);
    if (target && !target->segments.empty() && target->segments[0] == "api" && !input.contains("$C"))
        fuzz::require(response.status == 401 || response.status == 429, "the API requires the credential");
}

} // namespace

// Complete requests to a complete server: the router, bodies, ranges, tickets, sessions, cookies and the return of an
// authorisation. The first byte chooses the store; the lines of the head, an empty line and the body follow.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const auto text = fuzz::textOf(data + 1, size - 1);
    Server& server = serverFor(data[0] == 'd');
    if (text.contains(server.credential()))
        return 0; // The fuzzer learnt it from a comparison.
    const auto end = std::min(text.find("\n\n"), text.size());
    std::string head;
    for (const auto part : std::views::split(text.substr(0, end), '\n')) {
        const std::string_view line(part);
        head += server.expanded(line, line.starts_with("Authorization: ")) + "\r\n";
    }
    auto parsed = parseHead(head + "Host: videos.example.org\r\n\r\n");
    auto* request = std::get_if<Request>(&parsed);
    if (!request)
        return 0;
    const bool isSigningIn = request->target == "/admin/session";
    request->body = server.expanded(text.substr(std::min(end + 2, text.size())), isSigningIn);
    request->contentLength = request->body.size();
    request->hasContentLength = true;
    request->peer = "192.0.2.1";
    check(server.answer(*request), server, text, *request);
    return 0;
}
