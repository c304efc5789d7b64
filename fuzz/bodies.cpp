#include "Fuzz.h"
#include "OrvoServer/api/RevisionRequest.h"
#include "OrvoServer/base/Json.h"
#include "VideoCore/Error.h"

#include <filesystem>
#include <set>
#include <string>

// The JSON of requests: the files of a revision, lists, and the encoding of any text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orvo;
    const auto text = fuzz::textOf(data, size);
    try {
        std::set<std::string> paths;
        for (const auto& file : server::readRevision(text)) {
            const std::filesystem::path path(file.path);
            fuzz::require(path.is_relative() && path.lexically_normal() == path, "a path stays in its folder");
            fuzz::require(paths.insert(file.path).second, "a path occurs once");
            fuzz::require(file.size > 0 && file.sha256.size() == 64, "a file has a size and a digest");
        }
    } catch (const Error& error) {
        const std::string answer = server::errorJson(error.what());
        fuzz::require(
            server::JsonDocument(answer).root()["error"].text().has_value(), "an error that quotes a path is valid JSON");
    }
    const auto list = server::listFromJson(text);
    fuzz::require(server::listFromJson(server::listJson(list)) == list, "a list reads back as itself");
    const std::string written = server::JsonWriter().open('{').member(text, text).member("end", true).close('}').take();
    const server::JsonDocument document(written);
    fuzz::require(document.root().isObject(), "any text is written as JSON");
    const server::JsonDocument parsed(text);
    if (const auto value = parsed.root().text()) {
        const std::string again = server::JsonWriter().value(*value).take();
        fuzz::require(server::JsonDocument(again).root().text() == value, "a text reads back as itself");
    }
    return 0;
}
