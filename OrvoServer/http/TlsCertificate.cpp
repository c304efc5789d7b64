#include "OrvoServer/http/TlsCertificate.h"

#include "VideoCore/Error.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <format>

namespace orvo::server {

namespace {

int chooseProtocol(
    SSL*, const unsigned char** out, unsigned char* outLength, const unsigned char* in, unsigned inLength, void*)
{
    static constexpr unsigned char ours[] = "\x08http/1.1";
    unsigned char* chosen = nullptr;
    if (SSL_select_next_proto(&chosen, outLength, ours, sizeof ours - 1, in, inLength) != OPENSSL_NPN_NEGOTIATED)
        return SSL_TLSEXT_ERR_NOACK;
    *out = chosen;
    return SSL_TLSEXT_ERR_OK;
}

std::shared_ptr<SSL_CTX> contextOf(const std::filesystem::path& chain, const std::filesystem::path& key)
{
    std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free);
    if (!context)
        throw captureError("La biblioteca de cifrado no ha podido trabajar.");
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_options(
        context.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_IGNORE_UNEXPECTED_EOF | SSL_OP_CIPHER_SERVER_PREFERENCE);
    SSL_CTX_set_mode(
        context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER | SSL_MODE_RELEASE_BUFFERS);
    SSL_CTX_set_alpn_select_cb(context.get(), &chooseProtocol, nullptr);
    const auto fail = [](const std::filesystem::path& file, std::string_view what) {
        ERR_clear_error();
        throw captureError(std::format(
            "No se puede usar {} «{}». Debe ser un archivo PEM que el servidor pueda leer.", what, file.string()));
    };
    if (SSL_CTX_use_certificate_chain_file(context.get(), chain.c_str()) != 1)
        fail(chain, "el certificado");
    if (SSL_CTX_use_PrivateKey_file(context.get(), key.c_str(), SSL_FILETYPE_PEM) != 1)
        fail(key, "la clave del certificado");
    if (SSL_CTX_check_private_key(context.get()) != 1)
        fail(key, "con su certificado la clave");
    return context;
}

} // namespace

TlsCertificate::TlsCertificate(std::filesystem::path chain, std::filesystem::path key)
    : m_chain(std::move(chain))
    , m_key(std::move(key))
    , m_context(contextOf(m_chain, m_key))
{
    m_stamp = stamp();
}

TlsCertificate::Stamp TlsCertificate::stamp() const
{
    std::error_code ignored;
    return {std::filesystem::last_write_time(m_chain, ignored), std::filesystem::last_write_time(m_key, ignored)};
}

std::shared_ptr<ssl_ctx_st> TlsCertificate::context() const
{
    const std::scoped_lock lock(m_mutex);
    return m_context;
}

bool TlsCertificate::reloadIfChanged()
{
    const Stamp current = stamp();
    {
        const std::scoped_lock lock(m_mutex);
        if (current == m_stamp)
            return false;
    }
    auto context = contextOf(m_chain, m_key);
    const std::scoped_lock lock(m_mutex);
    m_context = std::move(context);
    m_stamp = current;
    return true;
}

int TlsCertificate::daysLeft() const
{
    const auto current = context();
    const X509* certificate = SSL_CTX_get0_certificate(current.get());
    int days = 0;
    int seconds = 0;
    if (!certificate || ASN1_TIME_diff(&days, &seconds, nullptr, X509_get0_notAfter(certificate)) != 1)
        return -1;
    return seconds < 0 ? days - 1 : days;
}

} // namespace orvo::server
