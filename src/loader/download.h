#pragma once

#include <functional>
#include <string>
#include <vector>

#include "loader/hexfile.h"

namespace kelp::platform {
enum class OpenError;
class ProgressIndicator;
}  // namespace kelp::platform
namespace kelp::link {
class Link;
}

namespace kelp::loader {

struct LoaderState;

// The settings text of the loader's line.
inline constexpr const char* kLoaderSettings = "9600,N,8,1";

enum class DownloadStep { OpenPort, Reset, Erase, CheckImage, Transfer, Run, Done };

struct DownloadResult {
    DownloadStep reached = DownloadStep::OpenPort;  // the step that failed, or Done
    platform::OpenError openError{};                // why the port did not open
    std::vector<CheckMessage> checkMessages;        // the image check's own, in order
    bool unknownModel = false;  // the chip named a model that has no image
    bool portLost = false;      // the port stopped working on the way
    bool closing = false;       // the program began to end during the download
    bool ok() const { return reached == DownloadStep::Done; }
    // The image line, counted from 1, whose record is too long for a write frame; or 0.
    int longRecordLine = 0;
};

struct DownloadHooks {
    // The image of a model, or empty for a model that has none.
    std::function<std::string(const std::string& model)> imageFor;
    // Called after the reset with the rebuilt model name and the loader version.
    std::function<void(const std::string& model, const std::string& version)> identified;
};

// Sets the loader's line settings and opens the shared port.
platform::OpenError OpenCommPort(link::Link& link);

// The download sequence: open at the loader's speed, reset and identify, erase, check the
// image, transfer it, start it, close the port. Stops at the first failed step; shows
// nothing. A model without an image still goes on to the erase; its check then fails.
DownloadResult RunDownload(link::Link& link, LoaderState& state,
                           platform::ProgressIndicator& progress, const DownloadHooks& hooks);

}  // namespace kelp::loader
