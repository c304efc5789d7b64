#include "OrvoServer/http/RequestHead.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>

#include <charconv>

namespace orvo::server {

namespace http = boost::beast::http;

namespace {

bool hasStrictLines(std::string_view head)
{
    for (std::size_t i = 0; i < head.size(); ++i) {
        const char c = head[i];
        if (c == '\0' || (c == '\n' && (i == 0 || head[i - 1] != '\r')))
            return false;
        if (c != '\r')
            continue;
        if (i + 1 == head.size() || head[i + 1] != '\n')
            return false;
        // A line that starts with white space continues the previous one.
        if (i + 2 < head.size() && (head[i + 2] == ' ' || head[i + 2] == '\t'))
            return false;
    }
    return true;
}

Method methodOf(http::verb verb)
{
    switch (verb) {
    case http::verb::get:
        return Method::get;
    case http::verb::head:
        return Method::head;
    case http::verb::post:
        return Method::post;
    case http::verb::put:
        return Method::put;
    case http::verb::patch:
        return Method::patch;
    case http::verb::delete_:
        return Method::remove;
    case http::verb::options:
        return Method::options;
    default:
        return Method::other;
    }
}

} // namespace

std::variant<Request, BadHead> parseHead(std::string_view head)
{
    if (head.size() > maxHeadBytes)
        return BadHead{.status = 431};
    if (!head.ends_with("\r\n\r\n") || !hasStrictLines(head))
        return BadHead{};
    http::request_parser<http::empty_body> parser;
    parser.header_limit(maxHeadBytes);
    parser.body_limit(boost::none);
    boost::system::error_code error;
    const std::size_t used = parser.put(boost::asio::buffer(head.data(), head.size()), error);
    if (error == http::error::bad_version)
        return BadHead{.status = 505};
    if ((error && error != http::error::need_more) || !parser.is_header_done() || used != head.size())
        return BadHead{};

    const auto& message = parser.get();
    Request request;
    request.method = methodOf(message.method());
    request.target = message.target();
    request.isKeptAlive = message.keep_alive();
    for (const auto& field : message)
        request.headers.add(std::string(field.name_string()), std::string(field.value()));
    if (request.headers.count("Transfer-Encoding") > 0 || request.headers.count("Content-Length") > 1
        || request.headers.count("Host") > 1 || request.headers.count("Content-Range") > 1
        || (message.version() >= 11 && request.headers.count("Host") == 0))
        return BadHead{};
    if (request.headers.count("Content-Length") == 1) {
        const auto text = request.headers["Content-Length"];
        const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), request.contentLength);
        if (problem != std::errc() || end != text.data() + text.size())
            return BadHead{};
        request.hasContentLength = true;
    }
    return request;
}

} // namespace orvo::server
