#include "loader/download.h"

#include "link/link.h"
#include "loader/serialloader.h"
#include "platform/serialport.h"

namespace kelp::loader {

namespace {

DownloadStep runSteps(link::Link& link, LoaderState& state, platform::ProgressIndicator& progress,
                      const DownloadHooks& hooks, DownloadResult& result) {
    SerialLoader loader(link, state, progress);
    if (!loader.ResetDevice()) return DownloadStep::Reset;
    state.ModelName = modelNameFromReply(state.ModelName);
    const std::string image = hooks.imageFor ? hooks.imageFor(state.ModelName) : std::string();
    if (hooks.identified) hooks.identified(state.ModelName, versionFromReply(state.LoaderReply));
    if (!loader.EraseCode()) return DownloadStep::Erase;
    state.HexSizeLimit = 8192;
    if (image.empty()) {
        result.unknownModel = true;
        return DownloadStep::CheckImage;
    }
    const HexCheck check = CheckHexFile(image, state.HexSizeLimit, [&link] {
        link.yield();
        return !link.closing();
    });
    result.checkMessages = check.messages;
    if (!check.ok) return DownloadStep::CheckImage;
    if (!loader.DownloadCode(image)) {
        result.longRecordLine = loader.longRecordLine();
        return DownloadStep::Transfer;
    }
    if (!loader.RunCode()) return DownloadStep::Run;
    return DownloadStep::Done;
}

}  // namespace

platform::OpenError OpenCommPort(link::Link& link) {
    link.applySettings(kLoaderSettings);
    return link.port().open();
}

DownloadResult RunDownload(link::Link& link, LoaderState& state,
                           platform::ProgressIndicator& progress, const DownloadHooks& hooks) {
    DownloadResult result;
    state.DownloadOk = true;
    platform::SerialPort& port = link.port();
    result.openError = OpenCommPort(link);
    if (result.openError != platform::OpenError::None) return result;
    result.reached = runSteps(link, state, progress, hooks, result);
    result.portLost = port.failed();
    result.closing = link.closing();
    port.close();
    return result;
}

}  // namespace kelp::loader
