#include "OrvoServer/store/Uploads.h"

#include "OrvoServer/base/Crypto.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <format>
#include <system_error>

namespace orvo::server {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t maxOpenParts = 256;
constexpr std::uint64_t maxReadAtFinish = std::uint64_t{1} << 30U; ///< If more is unread, storing checks the file.

[[noreturn]] void fail(const char* what, const fs::path& file)
{
    throw fs::filesystem_error(what, file, std::error_code(errno, std::generic_category()));
}

} // namespace

/// The open file of an upload. All members but the path are guarded by the mutex.
struct Uploads::Writer::Part {
    explicit Part(fs::path file)
        : path(std::move(file))
        , opened(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600))
        , descriptor(opened.get())
    {
        struct stat status{};
        if (!opened || ::fstat(descriptor, &status) != 0)
            fail("open", path);
        size = static_cast<std::uint64_t>(status.st_size);
    }
    /// Adopts the bytes that another instance has appended meanwhile.
    void refresh()
    {
        struct stat status{};
        if (::fstat(descriptor, &status) != 0)
            fail("stat", path);
        if (size == static_cast<std::uint64_t>(status.st_size))
            return;
        size = static_cast<std::uint64_t>(status.st_size);
        isFlushed = false;
        if (hashed > size) {
            hash = RunningSha256();
            hashed = 0;
        }
    }

    void append(std::span<const std::uint8_t> bytes)
    {
        while (!bytes.empty()) {
            const ssize_t count = ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(size));
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                fail("write", path);
            isFlushed = false;
            const auto written = static_cast<std::size_t>(count);
            if (hashed == size) {
                hash.add(bytes.first(written));
                hashed += written;
            }
            // Starts writing to disk while the next bytes arrive, which shortens the flush.
            ::sync_file_range(descriptor, static_cast<off64_t>(size), static_cast<off64_t>(written), SYNC_FILE_RANGE_WRITE);
            size += written;
            bytes = bytes.subspan(written);
        }
    }

    void flush()
    {
        if (isFlushed)
            return;
        if (::fdatasync(descriptor) != 0)
            fail("fdatasync", path);
        if (!isNamed)
            flushFolder(path.parent_path());
        isNamed = true;
        isFlushed = true;
    }

    void hashRest(const std::stop_token& stop)
    {
        std::vector<std::uint8_t> buffer(std::size_t{1} << 20U);
        while (hashed < size) {
            if (stop.stop_requested())
                throw Cancelled();
            const auto step = std::min<std::uint64_t>(buffer.size(), size - hashed);
            const ssize_t count = ::pread(descriptor, buffer.data(), step, static_cast<off_t>(hashed));
            if (count <= 0) {
                errno = count == 0 ? EIO : errno;
                fail("read", path);
            }
            hash.add(std::span(buffer).first(static_cast<std::size_t>(count)));
            hashed += static_cast<std::uint64_t>(count);
        }
    }

    void clear()
    {
        if (::ftruncate(descriptor, 0) != 0)
            fail("truncate", path);
        size = 0;
        hashed = 0;
        hash = RunningSha256();
        isFlushed = false;
        flush();
    }

    /// Returns the digest of the hashed bytes and starts a new one.
    std::string digest()
    {
        hashed = 0;
        return std::exchange(hash, RunningSha256()).finish();
    }

    const fs::path path;
    const UniqueFd opened;
    const int descriptor;
    std::mutex mutex;
    std::uint64_t size = 0;
    std::uint64_t hashed = 0; ///< Bytes from the start that `hash` includes.
    RunningSha256 hash;
    std::uint64_t turn = 0; ///< The turn of the current writer; others are cancelled.
    bool isFlushed = false; ///< False for files of an earlier run, whose state is unknown.
    bool isNamed = false; ///< The folder has been flushed since the file was opened.
};

Uploads::Uploads(fs::path folder, Catalogue& catalogue)
    : m_folder(std::move(folder))
    , m_catalogue(catalogue)
{
    fs::create_directories(m_folder);
    fs::permissions(m_folder, fs::perms::owner_all);
}

Uploads::~Uploads() = default;

std::shared_ptr<Uploads::Writer::Part> Uploads::partOf(const std::string& upload)
{
    const std::scoped_lock lock(m_mutex);
    if (const auto found = m_parts.find(upload); found != m_parts.end())
        return found->second;
    // Closes idle files; a reopened one is read again for its digest.
    for (auto it = m_order.end(); m_parts.size() >= maxOpenParts && it != m_order.begin();) {
        --it;
        const auto found = m_parts.find(*it);
        if (found->second.use_count() > 1)
            continue;
        m_parts.erase(found);
        it = m_order.erase(it);
    }
    auto part = std::make_shared<Writer::Part>(pathOf(upload));
    m_parts.emplace(upload, part);
    m_order.push_front(upload);
    return part;
}

std::uint64_t Uploads::offsetOf(const FileRecord& file)
{
    if (file.status == "ready")
        return file.size;
    const auto part = partOf(file.upload);
    const std::scoped_lock lock(part->mutex);
    ++part->turn;
    part->refresh();
    part->flush();
    if (file.isReceived && part->size != file.size) {
        // The file has probably been stored since the record was read.
        if (const auto current = m_catalogue.findUpload(file.upload); current && current->status == "ready") {
            discard(file.upload);
            return file.size;
        }
        m_catalogue.markWrong(file.upload, "Los datos recibidos se han perdido. Vuelve a publicar.");
        part->clear();
    }
    // The server was killed between the last bytes and their mark. The client will send nothing more.
    if (!file.isReceived && part->size == file.size)
        m_catalogue.markReceived(file.upload, false);
    return std::min(part->size, file.size);
}

std::unique_ptr<Uploads::Writer> Uploads::begin(const FileRecord& file, const Piece& piece)
{
    if (piece.size != file.size) {
        throw UploadRefused(
            409, offsetOf(file), std::format("El archivo «{}» no tiene el tamaño anunciado. Vuelve a publicar.", file.path));
    }
    if (file.status == "ready")
        return std::unique_ptr<Writer>(new Writer(*this, file, nullptr, piece.first));
    const auto part = partOf(file.upload);
    const std::scoped_lock lock(part->mutex);
    ++part->turn;
    part->refresh();
    if (piece.first > part->size) {
        part->flush();
        throw UploadRefused(409, part->size, "Faltan datos anteriores a este fragmento.");
    }
    return std::unique_ptr<Writer>(new Writer(*this, file, part, piece.first));
}

Uploads::Writer::Writer(Uploads& uploads, FileRecord file, std::shared_ptr<Part> part, std::uint64_t position)
    : m_uploads(uploads)
    , m_file(std::move(file))
    , m_part(std::move(part))
    , m_turn(m_part ? m_part->turn : 0)
    , m_position(position)
{
}

Uploads::Writer::~Writer() = default;

bool Uploads::Writer::write(std::span<const std::uint8_t> bytes)
{
    if (!m_part)
        return true;
    const std::scoped_lock lock(m_part->mutex);
    if (m_part->turn != m_turn)
        return false;
    const std::uint64_t held =
        m_part->size > m_position ? std::min<std::uint64_t>(m_part->size - m_position, bytes.size()) : 0;
    m_position += bytes.size();
    m_part->append(bytes.subspan(held));
    return true;
}

std::uint64_t Uploads::Writer::finish()
{
    if (!m_part)
        return m_file.size;
    const std::scoped_lock lock(m_part->mutex);
    m_part->flush();
    if (m_part->turn != m_turn)
        throw UploadRefused(409, m_part->size, "Otra conexión continúa esta subida.");
    if (m_part->size < m_file.size)
        return m_part->size;
    if (m_file.isReceived && m_file.isVerified)
        return m_file.size;
    const bool isChecked = m_part->size - m_part->hashed <= maxReadAtFinish;
    if (isChecked) {
        m_part->hashRest({});
        if (m_part->digest() != m_file.sha256) {
            m_part->clear();
            throw UploadRefused(422, 0, std::format("El archivo «{}» ha llegado dañado y se envía de nuevo.", m_file.path));
        }
    }
    m_uploads.m_catalogue.markReceived(m_file.upload, isChecked);
    return m_file.size;
}

bool Uploads::verify(const FileRecord& file, const std::stop_token& stop)
{
    const auto part = partOf(file.upload);
    const std::scoped_lock lock(part->mutex);
    ++part->turn;
    part->refresh();
    if (part->size == file.size) {
        part->hashRest(stop);
        if (part->digest() == file.sha256)
            return true;
    }
    part->clear();
    return false;
}

void Uploads::discard(const std::string& upload)
{
    const std::scoped_lock lock(m_mutex);
    m_parts.erase(upload);
    m_order.remove(upload);
    std::error_code ignored;
    fs::remove(pathOf(upload), ignored);
}

std::vector<std::string> Uploads::all() const
{
    std::vector<std::string> uploads;
    for (const auto& entry : fs::directory_iterator(m_folder))
        uploads.push_back(entry.path().filename().string());
    return uploads;
}

} // namespace orvo::server
