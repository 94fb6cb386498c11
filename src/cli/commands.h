#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace kelp::cli {

// Exit statuses: one per way a command can fail, so that scripts can tell them apart.
enum ExitStatus : int {
    kOk = 0,
    kUsage = 2,           // bad arguments, unknown setting or value
    kPortNotOpened = 3,   // the serial port could not be opened
    kNoResetAnswer = 4,   // download: the chip did not answer the reset
    kEraseFailed = 5,     // download: erase not acknowledged
    kImageRejected = 6,   // download: the image check failed
    kTransferFailed = 7,  // download: a record not acknowledged
    kRunFailed = 8,       // download: the start not acknowledged
    kUnknownChip = 9,     // download: the chip named a model without firmware
    kTargetSilent = 10,   // measure: the target stopped answering (figures of what came)
    kPortLost = 11,       // measure: the port stopped working (figures of what came)
    kFileError = 12,      // a file could not be read or written, or a CSV is malformed
};

// Runs one command line (without the program's name). Needs a QCoreApplication; figures go
// to `out`, progress and errors to `err`. `programFolder` holds the ASM folder.
int RunCli(const std::vector<std::string>& args, const std::string& programFolder, std::FILE* out,
           std::FILE* err);

}  // namespace kelp::cli
