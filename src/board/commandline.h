#pragma once

#include <string>
#include <vector>

#include "board/boardoptions.h"

namespace kelp::board {

struct CommandLine {
    BoardOptions options;
    bool help = false;
    std::string error;  // non-empty: the arguments cannot be served, and why
};

// Reads the arguments of kelp-board, program name excluded. Both "--log FILE" and
// "--log=FILE" are accepted.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

// The text that --help prints.
std::string usageText();

}  // namespace kelp::board
