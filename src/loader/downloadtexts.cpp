#include "loader/downloadtexts.h"

#include "link/targetport.h"
#include "loader/download.h"

namespace kelp::loader {

std::vector<DownloadMessage> DownloadMessages(const DownloadResult& result, const std::string& port,
                                              const std::string& modelName) {
    std::vector<DownloadMessage> out;
    const auto say = [&out](const std::string& text, const std::string& title = "Warning") {
        out.push_back({text, title});
    };
    // A port that went away explains the step's failure: both in one message.
    const auto fail = [&](const std::string& text) {
        say(result.portLost ? text + "\r\n" + link::PortLostCause(port) : text);
    };
    switch (result.reached) {
        case DownloadStep::OpenPort:
            say(link::PortOpenMessage(result.openError, port));
            break;
        case DownloadStep::Reset:
            fail(kResetFailure);
            break;
        case DownloadStep::Erase:
            fail("Error: Could not ERASE code.");
            break;
        case DownloadStep::CheckImage:
            if (result.unknownModel)
                say("The board answered as " + modelName +
                    ", a model KELP has no firmware for.\r\nCheck the board and its "
                    "crystal setting, then press Download again.");
            for (const auto& m : result.checkMessages) say(m.text, m.title);
            fail("Error Invalid Hex File.");
            break;
        case DownloadStep::Transfer:
            // The chip never saw that record: the image is at fault, not the line.
            if (result.longRecordLine > 0)
                fail("Error: Could not DOWNLOAD Code.\r\nLine " +
                     std::to_string(result.longRecordLine) +
                     " of the image holds more than 251 data bytes, more than one loader record "
                     "carries. Split it into shorter records, then press Download again.");
            else
                fail("Error: Could not DOWNLOAD Code.");
            break;
        case DownloadStep::Run:
            fail("Error: Could not RUN Code.");
            break;
        case DownloadStep::Done:
            if (result.portLost) say(link::PortLostCause(port));
            break;
    }
    return out;
}

}  // namespace kelp::loader
