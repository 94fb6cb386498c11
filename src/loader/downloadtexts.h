#pragma once

#include <string>
#include <vector>

namespace kelp::loader {

struct DownloadResult;

// The reset failure message, CR/LF as the chip's instructions have them.
inline constexpr const char* kResetFailure =
    "Error: Could not RESET the device\r\r\n"
    "Please ensure that...\r\r\n"
    "1. The power supply is connected\r\n"
    "2. All connections are correct\r\n"
    "3. A program is not already running\r\n"
    "4. The correct value for the crystal is selected\r\n"
    "5. PSEN is inserted\r\r\n"
    "See downloading instructions under 'Help-->Index'";

// One message the user reads after a download.
struct DownloadMessage {
    std::string text;
    std::string title = "Warning";
};

// What a download's result says to the user, in order; empty after a clean success.
// `port` is the device used, `modelName` the model the chip named.
std::vector<DownloadMessage> DownloadMessages(const DownloadResult& result, const std::string& port,
                                              const std::string& modelName);

}  // namespace kelp::loader
