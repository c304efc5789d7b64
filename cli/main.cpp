#include "cli/CommandLine.h"

#include <csignal>
#include <string>
#include <utility>
#include <vector>

int main(int argc, char** argv)
{
    // SIGPIPE ends the program quietly when the reader has seen enough, as head(1) does, even if the parent ignored it.
    std::signal(SIGPIPE, SIG_DFL);
    return std::to_underlying(orvo::cli::runCommandLine(std::vector<std::string>(argv + 1, argv + argc)));
}
