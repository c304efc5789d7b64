#include "TestSupport/PublishingServer.h"

#include "VideoCore/FileIO.h"

#include <cstdlib>
#include <format>
#include <fstream>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>
#include <utility>
#include <yyjson.h>

namespace orvo::test {

namespace {

using Document = std::unique_ptr<yyjson_doc, decltype(&yyjson_doc_free)>;

Document parse(const std::string& text)
{
    Document document(yyjson_read(text.data(), text.size(), 0), &yyjson_doc_free);
    if (!document)
        throw std::runtime_error("no JSON: " + text);
    return document;
}

std::string textOf(yyjson_val* object, const char* key)
{
    const char* text = yyjson_get_str(yyjson_obj_get(object, key));
    return text ? text : "";
}

} // namespace

PublishingServer::PublishingServer(Kind kind)
    : m_kind(kind)
{
    start();
    if (m_kind == Kind::publishing)
        ::setenv("SSL_CERT_FILE", (m_folder / "ca.pem").c_str(), 1);
}

PublishingServer::~PublishingServer()
{
    kill();
    if (m_kind == Kind::publishing)
        ::unsetenv("SSL_CERT_FILE");
}

std::string PublishingServer::address() const
{
    return std::format("{}://localhost:{}", m_kind == Kind::publishing ? "https" : "http", m_port);
}

void PublishingServer::start()
{
    std::vector<std::string> words{
        "python3", ORVO_PUBLISHING_SERVER, m_folder.path().string(), "--port", std::to_string(m_port)};
    if (m_kind == Kind::publishing)
        words.insert(words.end(), {"--server", ORVO_SERVER_PROGRAM});
    else
        words.emplace_back("--plain");
    m_process.emplace(std::move(words));
    const std::string port = m_process->readLine();
    if (port.empty())
        throw std::runtime_error("the publishing server does not start");
    if (m_port == 0) // Written once only: other threads may read it.
        m_port = std::stoi(port);
}

void PublishingServer::kill()
{
    m_process.reset();
}

void PublishingServer::restart()
{
    kill();
    start();
}

void PublishingServer::setFaults(const std::string& json) const
{
    writeFileAtomically(m_folder / "faults.json", json.empty() ? "[]" : json);
}

void PublishingServer::configure(const std::string& line)
{
    kill();
    setFaults("");
    std::ofstream(m_folder / "data/orvo-server.conf", std::ios::app) << line << "\n";
    start();
}

std::vector<PublishingServer::Request> PublishingServer::requests() const
{
    std::vector<Request> result;
    std::ifstream log(m_folder / "requests.jsonl");
    for (std::string line; std::getline(log, line) && !log.eof();) { // A line without an end is being written.
        const Document document = parse(line);
        yyjson_val* object = yyjson_doc_get_root(document.get());
        result.push_back({.method = textOf(object, "method"),
            .path = textOf(object, "path"),
            .authorization = textOf(object, "authorization"),
            .range = textOf(object, "range"),
            .type = textOf(object, "type"),
            .length = yyjson_get_sint(yyjson_obj_get(object, "length")),
            .event = textOf(object, "event"),
            .status = yyjson_get_int(yyjson_obj_get(object, "status"))});
    }
    return result;
}

std::vector<std::string> PublishingServer::asked(const std::string& beginning) const
{
    std::vector<std::string> result;
    for (const auto& request : requests()) {
        std::string text = request.method + " " + request.path;
        if (request.event == "asked" && text.starts_with(beginning))
            result.push_back(std::move(text));
    }
    return result;
}

void PublishingServer::forgetRequests() const
{
    std::filesystem::resize_file(m_folder / "requests.jsonl", 0);
}

std::string PublishingServer::query(const std::string& sql) const
{
    sqlite3* opened = nullptr;
    const auto file = m_folder / "data/orvo-server.sqlite";
    const int failure = ::sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    const std::unique_ptr<sqlite3, decltype(&::sqlite3_close)> database(opened, &::sqlite3_close);
    ::sqlite3_busy_timeout(opened, 60'000);
    std::string values;
    const auto append = [](void* to, int count, char** texts, char**) {
        for (int i = 0; i < count; ++i)
            *static_cast<std::string*>(to) +=
                (static_cast<std::string*>(to)->empty() ? "" : "|") + std::string(texts[i] ? texts[i] : "");
        return 0;
    };
    if (failure != SQLITE_OK || ::sqlite3_exec(opened, sql.c_str(), append, &values, nullptr) != SQLITE_OK)
        throw std::runtime_error(std::string(::sqlite3_errmsg(opened)) + ": " + sql);
    return values;
}

std::string PublishingServer::received(const std::string& path) const
{
    const auto key = query("SELECT blob FROM files JOIN videos ON videos.revision = files.revision WHERE videos.state = "
                           "'published' AND path = '"
        + path + "'");
    return readFile(m_folder / "data/files" / key);
}

} // namespace orvo::test
