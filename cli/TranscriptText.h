#pragma once

#include "cli/Session.h"

#include <string>

namespace orvo::cli {

/// Prints the transcript of the edit in paragraphs, as "txt" (also if the format is empty) or "md". Throws `UsageError`
/// for any other format, and as `Library::load`.
void printTranscript(Session& session, const std::string& reference, const std::string& format);

} // namespace orvo::cli
