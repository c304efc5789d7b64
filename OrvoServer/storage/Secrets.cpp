#include "OrvoServer/storage/Secrets.h"

#include "OrvoServer/base/Crypto.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"

#include <format>
#include <memory>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <sys/stat.h>

namespace orvo::server {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t nonceSize = 12;
constexpr std::size_t tagSize = 16;

using Cipher = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

unsigned char* writable(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}

/// Creates the file with permissions for its owner only, so that it is never readable by others.
void writePrivate(const fs::path& file, std::string_view content)
{
    const mode_t before = ::umask(0077);
    try {
        writeFileAtomically(file, content);
    } catch (...) {
        ::umask(before);
        throw;
    }
    ::umask(before);
}

} // namespace

SecretBox::SecretBox(const fs::path& keyFile)
{
    if (!fs::exists(keyFile)) {
        fillRandom(m_key);
        writePrivate(keyFile, {reinterpret_cast<const char*>(m_key.data()), m_key.size()});
        return;
    }
    std::string key = readFile(keyFile);
    if (key.size() != m_key.size())
        throw captureError(std::format("«{}» no es una clave de este servidor.", keyFile.string()));
    std::copy_n(bytesOf(key).data(), m_key.size(), m_key.begin());
    OPENSSL_cleanse(key.data(), key.size());
}

SecretBox::~SecretBox()
{
    OPENSSL_cleanse(m_key.data(), m_key.size());
}

std::string SecretBox::seal(std::string_view name, std::string_view text) const
{
    std::string sealed(nonceSize + text.size() + tagSize, '\0');
    fillRandom({writable(sealed), nonceSize});
    const Cipher cipher(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    int length = 0;
    const bool done = cipher
        && EVP_EncryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, m_key.data(), writable(sealed)) == 1
        && EVP_EncryptUpdate(cipher.get(), nullptr, &length, bytesOf(name).data(), static_cast<int>(name.size())) == 1
        && EVP_EncryptUpdate(
               cipher.get(), writable(sealed) + nonceSize, &length, bytesOf(text).data(), static_cast<int>(text.size()))
            == 1
        && EVP_EncryptFinal_ex(cipher.get(), writable(sealed) + nonceSize + length, &length) == 1
        && EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_GET_TAG, tagSize, writable(sealed) + nonceSize + text.size()) == 1;
    if (!done)
        throw captureError("No se ha podido cifrar un secreto.");
    return sealed;
}

std::optional<std::string> SecretBox::open(std::string_view name, std::string_view sealed) const
{
    if (sealed.size() < nonceSize + tagSize)
        return std::nullopt;
    std::string text(sealed.size() - nonceSize - tagSize, '\0');
    std::string tag(sealed.substr(sealed.size() - tagSize));
    const Cipher cipher(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    int length = 0;
    const bool opened = cipher
        && EVP_DecryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, m_key.data(), bytesOf(sealed).data()) == 1
        && EVP_DecryptUpdate(cipher.get(), nullptr, &length, bytesOf(name).data(), static_cast<int>(name.size())) == 1
        && EVP_DecryptUpdate(
               cipher.get(), writable(text), &length, bytesOf(sealed).data() + nonceSize, static_cast<int>(text.size()))
            == 1
        && EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_SET_TAG, tagSize, tag.data()) == 1
        && EVP_DecryptFinal_ex(cipher.get(), writable(text) + length, &length) == 1;
    return opened ? std::optional(std::move(text)) : std::nullopt;
}

FileSecrets::FileSecrets(fs::path folder)
    : m_folder(std::move(folder))
    , m_box(m_folder / "secret.key")
{
}

fs::path FileSecrets::fileOf(std::string_view name) const
{
    return m_folder / std::format("{}.secret", name);
}

std::optional<std::string> FileSecrets::load(std::string_view name)
{
    const std::lock_guard lock(m_mutex);
    if (!fs::exists(fileOf(name)))
        return std::nullopt;
    return m_box.open(name, readFile(fileOf(name)));
}

void FileSecrets::save(std::string_view name, std::string_view value)
{
    const std::lock_guard lock(m_mutex);
    writePrivate(fileOf(name), m_box.seal(name, value));
}

void FileSecrets::erase(std::string_view name)
{
    const std::lock_guard lock(m_mutex);
    fs::remove(fileOf(name));
}

} // namespace orvo::server
