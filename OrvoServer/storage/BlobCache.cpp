#include "OrvoServer/storage/BlobCache.h"

#include <algorithm>
#include <vector>

namespace orvo::server {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view partial = ".part";

std::string nameOf(const std::string& key)
{
    std::string name = key;
    std::ranges::replace(name, '/', '.');
    return name;
}

} // namespace

BlobCache::BlobCache(BlobStore& store, fs::path folder, std::uint64_t maxBytes, Metrics& metrics)
    : m_store(store)
    , m_folder(std::move(folder))
    , m_maxBytes(maxBytes)
    , m_metrics(metrics)
{
    fs::create_directories(m_folder);
    fs::permissions(m_folder, fs::perms::owner_all);
    std::vector<std::pair<fs::file_time_type, fs::path>> left;
    for (const auto& entry : fs::directory_iterator(m_folder)) {
        if (entry.path().extension() == partial)
            fs::remove(entry.path());
        else if (entry.is_regular_file())
            left.emplace_back(entry.last_write_time(), entry.path());
    }
    std::ranges::sort(left);
    for (const auto& [time, path] : left) {
        const std::uint64_t size = fs::file_size(path);
        m_used += size;
        add(path.filename().string(), size);
    }
    makeRoom(0);
}

void BlobCache::add(const std::string& name, std::uint64_t size)
{
    m_uses.push_front(name);
    m_entries[name] = {.size = size, .use = m_uses.begin()};
}

void BlobCache::drop(const std::string& name)
{
    const auto found = m_entries.find(name);
    if (found == m_entries.end())
        return;
    m_used -= found->second.size;
    m_uses.erase(found->second.use);
    m_entries.erase(found);
    std::error_code ignored;
    fs::remove(pathOf(name), ignored); // Responses in progress keep the file open.
}

void BlobCache::makeRoom(std::uint64_t size)
{
    while (!m_uses.empty() && m_used + size > m_maxBytes)
        drop(std::string(m_uses.back()));
}

bool BlobCache::shrink(std::uint64_t size)
{
    const std::scoped_lock lock(m_mutex);
    const std::uint64_t before = m_used;
    while (!m_uses.empty() && before - m_used < size)
        drop(std::string(m_uses.back()));
    return m_used < before;
}

void BlobCache::fill(const std::string& key, const fs::path& part, std::uint64_t size, const std::stop_token& stop)
{
    while (true) {
        try {
            m_store.fetch(key, part, stop);
            return;
        } catch (const fs::filesystem_error& error) {
            if (error.code() != std::errc::no_space_on_device)
                throw;
            std::error_code ignored;
            fs::remove(part, ignored);
            if (!shrink(size))
                throw StoreError(StoreError::Kind::full, "El disco del servidor está lleno.");
        }
    }
}

std::uint64_t BlobCache::usedBytes() const
{
    const std::scoped_lock lock(m_mutex);
    return m_used;
}

std::shared_ptr<const OpenFile> BlobCache::openIfHere(const std::string& key, std::uint64_t size)
{
    const std::string name = nameOf(key);
    const std::scoped_lock lock(m_mutex);
    const auto found = m_entries.find(name);
    if (found == m_entries.end())
        return nullptr;
    try {
        auto file = OpenFile::open(pathOf(name));
        if (file->size() == size) {
            m_uses.splice(m_uses.begin(), m_uses, found->second.use);
            ++m_metrics.cacheHits;
            return file;
        }
    } catch (const fs::filesystem_error&) {
        // The file was deleted from outside; fetches it again.
    }
    drop(name);
    return nullptr;
}

std::shared_ptr<const OpenFile> BlobCache::open(const std::string& key, std::uint64_t size, const std::stop_token& stop)
{
    const std::string name = nameOf(key);
    // Another fetch may evict the file before it is opened here.
    for (int tries = 0; tries < 3; ++tries) {
        if (auto file = openIfHere(key, size))
            return file;
        fetch(key, name, size, stop);
    }
    throw StoreError(StoreError::Kind::passing, "La caché del servidor es demasiado pequeña para este vídeo.");
}

void BlobCache::fetch(const std::string& key, const std::string& name, std::uint64_t size, const std::stop_token& stop)
{
    std::shared_ptr<Fetch> mine;
    {
        std::unique_lock lock(m_mutex);
        for (auto found = m_fetches.find(name); found != m_fetches.end(); found = m_fetches.find(name)) {
            const auto other = found->second;
            if (!m_fetched.wait(lock, stop, [&] { return other->isDone; }))
                throw Cancelled();
            if (other->failure && !other->isCancelled)
                std::rethrow_exception(other->failure);
        }
        if (m_entries.contains(name))
            return;
        mine = std::make_shared<Fetch>();
        m_fetches.emplace(name, mine);
        makeRoom(size);
        m_used += size;
    }
    ++m_metrics.cacheMisses;
    const fs::path part = pathOf(name + std::string(partial));
    try {
        fill(key, part, size, stop);
        if (fs::file_size(part) != size)
            throw StoreError(StoreError::Kind::passing, "El almacén ha entregado un archivo incompleto.");
        fs::rename(part, pathOf(name));
    } catch (const Cancelled&) {
        mine->isCancelled = true;
        mine->failure = std::current_exception();
    } catch (...) {
        mine->failure = std::current_exception();
    }
    if (mine->failure) {
        std::error_code ignored;
        fs::remove(part, ignored);
    }
    const std::scoped_lock lock(m_mutex);
    mine->isDone = true;
    m_fetches.erase(name);
    if (mine->failure)
        m_used -= size;
    else
        add(name, size);
    m_fetched.notify_all();
    if (mine->failure)
        std::rethrow_exception(mine->failure);
}

} // namespace orvo::server
