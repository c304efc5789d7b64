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

/// Rejects a piece of an upload; carries the HTTP status and the current offset.
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
/// The file's length is the offset, which is reported only after a flush. After a power cut, the digest of the complete file
/// detects garbage beyond the last flush. A file has one writer: a newer one, or a query of the offset, cancels it. Calls
/// block. Thread-safe.
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

        /// Returns false if a newer request has cancelled this writer. Throws file system errors.
        bool write(std::span<const std::uint8_t> bytes);
        /// Flushes, checks the file if it is complete, and returns the offset. Throws `UploadRefused` if a newer request has
        /// cancelled this writer or the digest is wrong, file system errors and `DatabaseError`.
        std::uint64_t finish();

    private:
        friend class Uploads;
        struct Part;

        Writer(Uploads& uploads, FileRecord file, std::shared_ptr<Part> part, std::uint64_t position);

        Uploads& m_uploads;
        const FileRecord m_file;
        const std::shared_ptr<Part> m_part;
        std::uint64_t m_turn = 0;
        std::uint64_t m_position = 0; ///< Offset in the file of the request's next byte.
    };

    struct Piece {
        std::uint64_t first = 0;
        std::uint64_t size = 0; ///< Of the complete file.
    };

    /// Returns the number of flushed bytes. Cancels the writer.
    std::uint64_t offsetOf(const FileRecord& file);

    /// Begins to receive a piece; the writer skips bytes that the file already has. Throws `UploadRefused` if the size
    /// differs from the announced one or the piece starts beyond the offset, and file system errors.
    std::unique_ptr<Writer> begin(const FileRecord& file, const Piece& piece);

    /// Compares the complete file with the announced size and digest; discards a wrong one and returns false. Throws file
    /// system errors and `Cancelled`.
    bool verify(const FileRecord& file, const std::stop_token& stop);

    std::filesystem::path pathOf(const std::string& upload) const { return m_folder / upload; }
    void discard(const std::string& upload);
    /// The uploads that have bytes here.
    std::vector<std::string> all() const;

private:
    std::shared_ptr<Writer::Part> partOf(const std::string& upload);

    const std::filesystem::path m_folder;
    Catalogue& m_catalogue;
    std::mutex m_mutex; ///< Guards the members below.
    std::map<std::string, std::shared_ptr<Writer::Part>> m_parts;
    std::list<std::string> m_order; ///< Last opened first.
};

} // namespace orvo::server
