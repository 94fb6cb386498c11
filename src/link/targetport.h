#pragma once

#include <string>
#include <string_view>

namespace kelp::platform {
class SerialPort;
enum class OpenError;
}  // namespace kelp::platform

namespace kelp::link {

struct RunResult;

// What every window says when the shared port cannot be opened.
inline constexpr std::string_view kPortBusyText = "Com Port Already Open by another host";

// Opens the shared port for the firmware link with the settings it already has (each window
// sets its own). False when the port could not be opened, already open included; shows
// nothing, the caller tells the user.
bool OpenTargetPort(platform::SerialPort& port);
// The same, telling why the port did not open.
platform::OpenError OpenTarget(platform::SerialPort& port);

// Why `device` did not open, in a line the user can act on; empty where the fixed text says
// it all (the port is already open in this program).
std::string PortOpenCause(platform::OpenError error, const std::string& device);
// The fixed text, then the cause on its own line.
std::string PortOpenMessage(platform::OpenError error, const std::string& device);
// A port that stopped working while in use: the adapter was pulled or the device vanished.
std::string PortLostCause(const std::string& device);

// What the user reads after a run that ended early, or empty; `device` is the port used.
std::string RunOutcomeText(const RunResult& result, const std::string& device);

}  // namespace kelp::link
