#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct yyjson_doc;
struct yyjson_val;

namespace orvo::test {

/// A JSON answer, parsed strictly: exactly one value. Accessors throw when the value does not exist or has another type,
/// which fails the test.
class JsonAnswer {
public:
    explicit JsonAnswer(const std::string& text);

    JsonAnswer operator[](std::string_view key) const;
    JsonAnswer operator[](std::size_t index) const;

    std::size_t size() const; ///< Of a list.
    bool has(std::string_view key) const;
    std::vector<std::string> keys() const; ///< Of an object, in order.

    std::string text() const;
    double number() const;
    bool flag() const;

private:
    JsonAnswer(std::shared_ptr<yyjson_doc> document, yyjson_val* value);

    std::shared_ptr<yyjson_doc> m_document;
    yyjson_val* m_value;
};

} // namespace orvo::test
