#pragma once

#include "OrvoServer/store/Catalogue.h"

#include <cstdint>
#include <filesystem>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <stop_token>

namespace orvo::server {

/// A piece of an upload that is not taken, with the bytes that are held.
class UploadRefused : public Error {
public:
    UploadRefused(unsigned status, std::uint64_t offset, const std::string& message)
        : Error(captureError(message))
        , m_status(status)
        , m_offset(offset)
    {
    }
    unsigned status() const noexcept { return m_status; }
    std::uint64_t offset() const noexcept { return m_offset; }

private:
    unsigned m_status;
    std::uint64_t m_offset;
};

/// The bytes of unfinished uploads, each in a file named after the upload.
///
/// The length of the file is the truth: an offset is answered once the bytes before it are flushed, and what lies beyond it
/// after a power cut is covered by the digest of the whole. One writer at a time: a newer one, and a question for the
/// offset, end the older one. Calls block; any thread.
class Uploads {
public:
    /// Creates the folder. Throws file system errors.
    Uploads(std::filesystem::path folder, Catalogue& catalogue);
    ~Uploads();

    class Writer {
    public:
        ~Writer();
        Writer(const Writer&) = delete;
        Writer& operator=(const Writer&) = delete;

        /// Returns false when a newer connection has taken over. Throws file system errors.
        bool write(std::span<const std::uint8_t> bytes);
        /// Flushes, checks the whole when it is there, and returns the offset. Throws `UploadRefused` when a newer
        /// connection has taken over and when the whole is not what was announced, file system errors and `DatabaseError`.
        std::uint64_t finish();

    private:
        friend class Uploads;
        struct Part;

        Writer(Uploads& uploads, FileRecord file, std::shared_ptr<Part> part, std::uint64_t position);

        Uploads& m_uploads;
        const FileRecord m_file;
        const std::shared_ptr<Part> m_part;
        std::uint64_t m_turn = 0;
        std::uint64_t m_position = 0; ///< Of the next byte of the request within the file.
    };

    struct Piece {
        std::uint64_t first = 0;
        std::uint64_t size = 0; ///< Of the whole.
    };

    /// Bytes held durably. Ends a writer.
    std::uint64_t offsetOf(const FileRecord& file);

    /// Begins to take a piece. Bytes that are held already are skipped. Throws `UploadRefused` for a piece that does not
    /// follow what is held, and file system errors.
    std::unique_ptr<Writer> begin(const FileRecord& file, const Piece& piece);

    /// Reads the whole and compares it with what was announced; a wrong one is dropped. Returns whether it is right. Throws
    /// file system errors and `Cancelled`.
    bool verify(const FileRecord& file, const std::stop_token& stop);

    std::filesystem::path pathOf(const std::string& upload) const { return m_folder / upload; }
    void discard(const std::string& upload);
    /// The uploads that have bytes here.
    std::vector<std::string> all() const;

private:
    std::shared_ptr<Writer::Part> partOf(const std::string& upload);

    const std::filesystem::path m_folder;
    Catalogue& m_catalogue;
    std::mutex m_mutex; ///< Guards what follows.
    std::map<std::string, std::shared_ptr<Writer::Part>> m_parts;
    std::list<std::string> m_order; ///< The last opened first.
};

} // namespace orvo::server
