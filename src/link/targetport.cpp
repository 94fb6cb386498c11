#include "link/targetport.h"

#include "link/runstate.h"
#include "platform/serialport.h"

namespace kelp::link {

using platform::OpenError;

OpenError OpenTarget(platform::SerialPort& port) { return port.open(); }

bool OpenTargetPort(platform::SerialPort& port) { return OpenTarget(port) == OpenError::None; }

std::string PortOpenCause(OpenError error, const std::string& device) {
    if (device.empty() && error != OpenError::None) return "No serial port is chosen.";
    const std::string& name = device;
    switch (error) {
        case OpenError::Busy:
            return "Another program holds " + name + ". Close it there, then try again.";
        case OpenError::PermissionDenied:
            return "You may not use " + name +
                   ": add your user to the dialout group (sudo usermod -aG dialout $USER) and "
                   "log in again.";
        case OpenError::NotFound:
            return name +
                   " is not there: plug the adapter in again, or choose the port it has now, "
                   "then try again.";
        case OpenError::Other:
            return "The system would not open " + name + ".";
        case OpenError::None:
        case OpenError::AlreadyOpen:
            break;
    }
    return {};
}

std::string PortOpenMessage(OpenError error, const std::string& device) {
    const std::string cause = PortOpenCause(error, device);
    return std::string(kPortBusyText) + (cause.empty() ? "" : "\r\n" + cause);
}

std::string PortLostCause(const std::string& device) {
    return "The serial port " + device +
           " stopped working: check the cable and the board, or choose the port again, then try "
           "again.";
}

std::string RunOutcomeText(const RunResult& result, const std::string& device) {
    const std::string samples = std::to_string(result.samples);
    switch (result.outcome) {
        case RunOutcome::PortBusy:
            return PortOpenMessage(result.openError, device);
        case RunOutcome::TooManySamples:
            return "A run takes at most 2000 samples.\r\nEnter a smaller number in Num of "
                   "Samples, then press Run again.";
        case RunOutcome::TargetSilent:
            return "The target stopped answering after " + samples +
                   " samples.\r\nCheck that the board is powered and connected, then press Run "
                   "again.";
        case RunOutcome::PortFailed:
            return "The serial port " + device + " stopped working after " + samples +
                   " samples; they are kept for the analysis.\r\nCheck the cable and the "
                   "board, or choose the port again in the Port menu, then press Run again.";
        case RunOutcome::Completed:
        case RunOutcome::Stopped:
        case RunOutcome::Aborted:
            break;
    }
    return {};
}

}  // namespace kelp::link
