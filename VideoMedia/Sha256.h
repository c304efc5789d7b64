#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace orvo {

/// Incremental SHA-256.
class Sha256 {
public:
    Sha256();

    void add(std::span<const char> bytes);

    /// The digest of all data, as 64 lower-case hexadecimal digits. Call it last, once.
    std::string finish();

    /// The digest of a text.
    static std::string of(std::string_view text);

private:
    struct Free {
        void operator()(evp_md_ctx_st* context) const;
    };
    std::unique_ptr<evp_md_ctx_st, Free> m_context;
};

} // namespace orvo
