#pragma once

#include <string>

#include "platform/serialsettings.h"

namespace kelp::platform {

enum class OpenError { None, AlreadyOpen, Busy, NotFound, PermissionDenied, Other };

// The program's one serial port. Data is handled as text, one character per byte.
class SerialPort {
public:
    virtual ~SerialPort() = default;

    // Device path, for example /dev/ttyS0 or /dev/pts/7.
    virtual void setPortName(const std::string& device) = 0;
    virtual std::string portName() const = 0;
    // Applied at once when the port is open, otherwise at the next open.
    virtual void setLineSettings(const LineSettings& settings) = 0;
    virtual LineSettings lineSettings() const = 0;

    virtual OpenError open() = 0;
    virtual bool isOpen() const = 0;
    // Lets pending output leave at the present settings before closing.
    virtual void close() = 0;

    virtual void write(const std::string& block) = 0;
    virtual int bytesWaiting() = 0;
    // Returns everything waiting and empties the input.
    virtual std::string readAll() = 0;
    // True once the open device has failed (unplugged, vanished).
    virtual bool failed() const = 0;
    // While held, arriving bytes stay in the device instead of waking the program one by one;
    // bytesWaiting() counts them once the hold ends.
    virtual void holdInput(bool hold) = 0;
};

}  // namespace kelp::platform
