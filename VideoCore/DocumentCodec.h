#pragma once

#include "VideoCore/Error.h"
#include "VideoCore/VideoProject.h"

#include <memory>
#include <string>

/// The JSON form of the project document.
///
/// One object per record with its field names as keys, written pretty-printed with sorted keys, UUIDs in upper case, dates
/// in ISO 8601 with whole seconds in UTC and numbers in the shortest form that reads back as the same value. Reading is
/// strict: every key except `publication` must be present with a value of the right type; unknown keys are ignored.

namespace orvo {

/// Thrown for a document that cannot be read, or a value that has no JSON form. The message names the place, for example
/// "edit.events[17].kind".
class DocumentError : public Error {
public:
    explicit DocumentError(const std::string& message);
};

/// The document of a project as UTF-8 text with a line break at its end.
///
/// Throws `DocumentError` for a number that is not finite or a text that is not UTF-8.
std::string encodeDocument(const VideoProject& project);

/// Reads a whole document. Does not check the version.
///
/// Throws `DocumentError`; there is no partial result.
VideoProject decodeDocument(std::string document);

/// One pointer event as one line of a pointer log, without the line break. Throws `DocumentError` for a number that is
/// not finite.
std::string encodePointerEvent(const PointerEvent& event);

/// Reads the JSON form of one pointer event, from a document or a line of a pointer log.
///
/// Throws `DocumentError`.
PointerEvent decodePointerEvent(std::string text);

/// Reads many documents with the same working memory. Use from one thread at a time.
class DocumentDecoder {
public:
    DocumentDecoder();
    ~DocumentDecoder();
    DocumentDecoder(const DocumentDecoder&) = delete;
    DocumentDecoder& operator=(const DocumentDecoder&) = delete;

    /// As `decodeDocument`. Uses the text as working space: its content is undefined afterwards, its memory can be used
    /// for the next document.
    VideoProject decode(std::string& document);

private:
    struct Memory;
    std::unique_ptr<Memory> m_memory;
};

} // namespace orvo
