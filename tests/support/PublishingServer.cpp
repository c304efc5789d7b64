#include "TestSupport/PublishingServer.h"

#include "VideoCore/FileIO.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <format>
#include <fstream>
#include <memory>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <yyjson.h>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program.

namespace orvo::test {

namespace {

struct Free {
    void operator()(yyjson_doc* document) const { yyjson_doc_free(document); }
    void operator()(yyjson_mut_doc* document) const { yyjson_mut_doc_free(document); }
};
using Document = std::unique_ptr<yyjson_doc, Free>;

Document parse(const std::string& text)
{
    Document document(yyjson_read(text.data(), text.size(), 0));
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

PublishingServer::PublishingServer(bool isPlain)
    : m_isPlain(isPlain)
{
    start();
    if (!m_isPlain)
        ::setenv("SSL_CERT_FILE", (m_folder / "ca.pem").c_str(), 1);
}

PublishingServer::~PublishingServer()
{
    kill();
    if (!m_isPlain)
        ::unsetenv("SSL_CERT_FILE");
}

std::string PublishingServer::address() const
{
    return std::format("{}://localhost:{}", m_isPlain ? "http" : "https", m_port);
}

void PublishingServer::start()
{
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    if (::pipe2(input.data(), O_CLOEXEC) != 0 || ::pipe2(output.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    std::vector<std::string> words{
        "python3", ORVO_PUBLISHING_SERVER, m_folder.path().string(), "--port", std::to_string(m_port)};
    if (m_isPlain)
        words.emplace_back("--plain");
    std::vector<char*> pointers;
    for (auto& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const int failure = ::posix_spawnp(&m_pid, "python3", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    ::close(output[1]);
    m_input = input[1];
    std::string line;
    for (char c = 0; failure == 0 && ::read(output[0], &c, 1) == 1 && c != '\n';)
        line += c;
    ::close(output[0]);
    if (line.empty())
        throw std::runtime_error("the publishing server does not start");
    if (m_port == 0) // It stays what it is: others may be reading it.
        m_port = std::stoi(line);
}

void PublishingServer::kill()
{
    if (const pid_t pid = std::exchange(m_pid, -1); pid > 0) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
    if (const int input = std::exchange(m_input, -1); input >= 0)
        ::close(input);
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

void PublishingServer::set(const std::string& key, const std::string& json)
{
    kill();
    const Document state = parse(readFile(m_folder / "state.json"));
    const Document value = parse(json);
    const std::unique_ptr<yyjson_mut_doc, Free> changed(yyjson_doc_mut_copy(state.get(), nullptr));
    yyjson_mut_obj_put(yyjson_mut_doc_get_root(changed.get()), yyjson_mut_strncpy(changed.get(), key.data(), key.size()),
        yyjson_val_mut_copy(changed.get(), yyjson_doc_get_root(value.get())));
    std::size_t length = 0;
    char* text = yyjson_mut_write(changed.get(), 0, &length);
    writeFileAtomically(m_folder / "state.json", {text, length});
    std::free(text);
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

std::string PublishingServer::state() const
{
    return readFile(m_folder / "state.json");
}

std::string PublishingServer::received(const std::string& path) const
{
    const Document document = parse(state());
    yyjson_val* root = yyjson_doc_get_root(document.get());
    yyjson_val* revisions = yyjson_obj_get(root, "revisions");
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* key = nullptr;
    yyjson_val* video = nullptr;
    yyjson_obj_foreach(yyjson_obj_get(root, "videos"), index, count, key, video)
    {
        yyjson_val* uploads = yyjson_obj_get(yyjson_obj_get(revisions, textOf(video, "published").c_str()), "uploads");
        for (std::size_t i = 0; i < yyjson_arr_size(uploads); ++i) {
            yyjson_val* upload = yyjson_arr_get(uploads, i);
            if (textOf(upload, "path") == path)
                return readFile(m_folder / "uploads" / textOf(upload, "id"));
        }
    }
    throw std::runtime_error("nothing is published as " + path);
}

} // namespace orvo::test
