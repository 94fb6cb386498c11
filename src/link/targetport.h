#pragma once

#include <string_view>

namespace kelp::platform {
class SerialPort;
}

namespace kelp::link {

// What every window says when the shared port cannot be opened.
inline constexpr std::string_view kPortBusyText = "Com Port Already Open by another host";

// Opens the shared port for the firmware link with the settings it already has (each window
// sets its own). False when the port could not be opened, already open included; shows
// nothing, the caller tells the user.
bool OpenTargetPort(platform::SerialPort& port);

}  // namespace kelp::link
