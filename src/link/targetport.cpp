#include "link/targetport.h"

#include "platform/serialport.h"

namespace kelp::link {

bool OpenTargetPort(platform::SerialPort& port) { return port.open() == platform::OpenError::None; }

}  // namespace kelp::link
