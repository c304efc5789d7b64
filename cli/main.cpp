#include "cli/CommandLine.h"

#include <string>
#include <utility>
#include <vector>

int main(int argc, char** argv)
{
    return std::to_underlying(orvo::cli::runCommandLine(std::vector<std::string>(argv + 1, argv + argc)));
}
