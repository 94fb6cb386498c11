#pragma once

#include <QObject>
#include <QSerialPort>

#include "platform/serialport.h"

namespace kelp::platform {

// The serial-port interface on QSerialPort. Bytes arrive through the event loop, so
// bytesWaiting() grows only while the caller yields to the event queue.
class QtSerialPort final : public QObject, public SerialPort {
    Q_OBJECT
public:
    explicit QtSerialPort(QObject* parent = nullptr);
    ~QtSerialPort() override;

    void setPortName(const std::string& device) override;
    std::string portName() const override;
    void setLineSettings(const LineSettings& settings) override;
    LineSettings lineSettings() const override { return settings_; }
    OpenError open() override;
    bool isOpen() const override;
    void close() override;
    void write(const std::string& block) override;
    int bytesWaiting() override;
    std::string readAll() override;
    bool failed() const override;
    void holdInput(bool hold) override;

private:
    void applySettings();

    QSerialPort port_;
    std::string device_;
    LineSettings settings_;
    mutable bool failed_ = false;
};

}  // namespace kelp::platform
