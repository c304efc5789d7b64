#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace orvo {

/// The SHA-256 of bytes that come in pieces.
class Sha256 {
public:
    Sha256();

    void add(std::span<const char> bytes);

    /// The digest of everything added, as 64 lower-case hexadecimal digits. Nothing may be added afterwards.
    std::string finish();

    /// The digest of one text.
    static std::string of(std::string_view text);

private:
    struct Free {
        void operator()(evp_md_ctx_st* context) const;
    };
    std::unique_ptr<evp_md_ctx_st, Free> m_context;
};

} // namespace orvo
