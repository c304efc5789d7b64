#include "OrvoServer/store/Credential.h"

#include "OrvoServer/base/Crypto.h"

#include <algorithm>

namespace orvo::server {

namespace {

constexpr std::string_view settingName = "credential";
constexpr double maxGuesses = 10;
constexpr double guessesPerSecond = 10.0 / 60;
constexpr std::size_t maxPeers = 10000;

std::string hashOf(std::string_view salt, std::string_view token)
{
    return hexText(hmacSha256(salt, token));
}

} // namespace

std::string Credential::renew(Catalogue& catalogue)
{
    std::string token = randomText(32);
    const std::string salt = randomText(16);
    catalogue.setSetting(std::string(settingName), salt + "." + hashOf(salt, token));
    return token;
}

bool Credential::isKept(Catalogue& catalogue)
{
    return catalogue.setting(std::string(settingName)).has_value();
}

Credential::Credential(Catalogue& catalogue, const Clock& clock, Metrics& metrics)
    : m_catalogue(catalogue)
    , m_clock(clock)
    , m_metrics(metrics)
{
    reload();
}

void Credential::reload()
{
    const std::string kept = m_catalogue.setting(std::string(settingName)).value_or("");
    const auto dot = kept.find('.');
    const std::scoped_lock lock(m_mutex);
    m_salt = kept.substr(0, dot);
    m_hash = dot == std::string::npos ? std::string() : kept.substr(dot + 1);
}

std::string Credential::generation() const
{
    const std::scoped_lock lock(m_mutex);
    return m_hash;
}

Credential::Answer Credential::check(std::string_view token, const std::string& peer)
{
    const std::scoped_lock lock(m_mutex);
    if (!m_hash.empty() && isSameSecret(hashOf(m_salt, token), m_hash))
        return Answer::right;
    ++m_metrics.wrongCredentials;
    const auto now = m_clock.now();
    if (m_guesses.size() >= maxPeers && !m_guesses.contains(peer))
        std::erase_if(m_guesses, [&](const auto& entry) { return entry.second.at < now - 60; });
    if (m_guesses.size() >= maxPeers && !m_guesses.contains(peer))
        return Answer::tooMany;
    const auto [found, isNew] = m_guesses.try_emplace(peer, Guesses{.left = maxGuesses, .at = now});
    Guesses& guesses = found->second;
    const auto passed = std::max<std::int64_t>(0, now - guesses.at); // Negative if the clock was set back.
    guesses.left = std::min(maxGuesses, guesses.left + guessesPerSecond * static_cast<double>(passed));
    guesses.at = now;
    if (guesses.left < 1)
        return Answer::tooMany;
    guesses.left -= 1;
    return Answer::wrong;
}

} // namespace orvo::server
