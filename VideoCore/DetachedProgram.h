#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orvo {

/// Starts a program that goes on when this one ends, in a session of its own and without its standard streams. It has this
/// process's environment. Does not wait. Throws `std::system_error` when it cannot be started.
void startDetached(const std::filesystem::path& program, const std::vector<std::string>& arguments);

} // namespace orvo
