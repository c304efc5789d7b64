#include "cli/CommandLine.h"

#include <csignal>
#include <string>
#include <utility>
#include <vector>

int main(int argc, char** argv)
{
    // A reader that has seen enough, such as head(1), ends the program quietly, whatever whoever started it ignored.
    std::signal(SIGPIPE, SIG_DFL);
    return std::to_underlying(orvo::cli::runCommandLine(std::vector<std::string>(argv + 1, argv + argc)));
}
