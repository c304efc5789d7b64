#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct yyjson_doc;
struct yyjson_val;

namespace orvo::server {

/// A JSON answer of a service, to read from. A text that is no JSON is an empty value.
class Json {
public:
    explicit Json(std::string_view text);

    /// The value at a path of keys and indices, as "error.errors.0.reason"; empty when it is not there or no text.
    std::string text(std::string_view path) const;
    std::optional<std::int64_t> integer(std::string_view path) const;

private:
    yyjson_val* at(std::string_view path) const;

    std::shared_ptr<yyjson_doc> m_document;
};

/// The text of a JSON object of texts.
std::string jsonObject(const std::vector<std::pair<std::string, std::string>>& members);

/// A text as a JSON string, with its quotation marks.
std::string jsonString(std::string_view text);

} // namespace orvo::server
