#pragma once

#include "cli/Session.h"

#include <string>

namespace orvo::cli {

/// Prints what remains of a project's transcript in paragraphs, as "txt" (also for an empty format) or "md". Throws
/// `UsageError` for any other format, and what `Library::load` throws.
void printTranscript(Session& session, const std::string& reference, const std::string& format);

} // namespace orvo::cli
