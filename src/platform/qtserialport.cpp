#include "platform/qtserialport.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <cerrno>

#include "platform/serialsettings.h"

namespace kelp::platform {

QtSerialPort::QtSerialPort(QObject* parent) : QObject(parent) {
    connect(&port_, &QSerialPort::errorOccurred, this, [this](QSerialPort::SerialPortError e) {
        if (e == QSerialPort::ResourceError && port_.isOpen()) failed_ = true;
    });
}

QtSerialPort::~QtSerialPort() { close(); }

void QtSerialPort::setPortName(const std::string& device) {
    device_ = device;
    if (!port_.isOpen()) port_.setPortName(QString::fromStdString(device));
}

std::string QtSerialPort::portName() const { return device_; }

void QtSerialPort::setLineSettings(const LineSettings& settings) {
    settings_ = settings;
    if (port_.isOpen()) applySettings();
}

void QtSerialPort::applySettings() {
    static constexpr QSerialPort::Parity kParity[] = {
        QSerialPort::NoParity, QSerialPort::EvenParity, QSerialPort::OddParity,
        QSerialPort::MarkParity, QSerialPort::SpaceParity};
    port_.setBaudRate(settings_.baud);
    port_.setDataBits(static_cast<QSerialPort::DataBits>(settings_.dataBits));
    port_.setStopBits(settings_.stopBits == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop);
    port_.setParity(kParity[static_cast<int>(settings_.parity)]);
    port_.setFlowControl(QSerialPort::NoFlowControl);
}

namespace {

speed_t speedOf(int baud) {
    switch (baud) {
        case 1200:
            return B1200;
        case 2400:
            return B2400;
        case 4800:
            return B4800;
        case 9600:
            return B9600;
        case 19200:
            return B19200;
        case 38400:
            return B38400;
        case 57600:
            return B57600;
        case 115200:
            return B115200;
        default:
            return B0;
    }
}

// Closing puts back the speed the device had when it was opened, at once, without waiting for
// the other end to take our last bytes (a pseudo-terminal's peer reads them later). Giving the
// device our speed before the open makes that restore change nothing.
void presetSpeed(const std::string& device, int baud) {
    const speed_t speed = speedOf(baud);
    if (speed == B0) return;
    const int fd = ::open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) return;
    termios t{};
    if (::tcgetattr(fd, &t) == 0 && (cfgetospeed(&t) != speed || cfgetispeed(&t) != speed)) {
        cfsetispeed(&t, speed);
        cfsetospeed(&t, speed);
        ::tcsetattr(fd, TCSANOW, &t);
    }
    ::close(fd);
}

}  // namespace

OpenError QtSerialPort::open() {
    if (port_.isOpen()) return OpenError::AlreadyOpen;
    failed_ = false;
    port_.setPortName(QString::fromStdString(device_));
    if (device_.empty()) return OpenError::NotFound;
    presetSpeed(device_, settings_.baud);
    if (!port_.open(QIODevice::ReadWrite)) {
        const auto err = port_.error();
        port_.clearError();
        if (err == QSerialPort::DeviceNotFoundError) return OpenError::NotFound;
        if (err == QSerialPort::PermissionError) {
            // Qt reports a busy device and a forbidden one alike; the file's access bits tell.
            if (::access(device_.c_str(), R_OK | W_OK) != 0 && errno == EACCES)
                return OpenError::PermissionDenied;
            return OpenError::Busy;
        }
        return OpenError::Other;
    }
    applySettings();
    return OpenError::None;
}

bool QtSerialPort::failed() const {
    if (failed_ || !port_.isOpen() || port_.handle() < 0) return failed_;
    // A device that went away (unplugged adapter, closed pseudo-terminal) hangs up; Qt does
    // not always turn that into an error of its own.
    pollfd p{port_.handle(), POLLIN, 0};
    if (::poll(&p, 1, 0) > 0 && (p.revents & (POLLHUP | POLLERR | POLLNVAL))) failed_ = true;
    return failed_;
}

bool QtSerialPort::isOpen() const { return port_.isOpen(); }

void QtSerialPort::close() {
    if (!port_.isOpen()) return;
    // Closing restores the old line settings at once; let our last bytes leave first.
    if (!failed_) {
        port_.flush();
        if (port_.bytesToWrite() > 0) port_.waitForBytesWritten(200);
        if (port_.handle() >= 0) ::tcdrain(port_.handle());
    }
    port_.close();
    port_.clearError();
}

void QtSerialPort::write(const std::string& block) {
    if (!port_.isOpen()) return;
    port_.write(block.data(), static_cast<qint64>(block.size()));
    port_.flush();
}

void QtSerialPort::holdInput(bool hold) {
    // The port reads through a socket notifier of its own; pausing it leaves the bytes in the
    // device until the hold ends, when they are read in one go.
    for (QSocketNotifier* n : port_.findChildren<QSocketNotifier*>())
        if (n->type() == QSocketNotifier::Read && port_.isOpen()) n->setEnabled(!hold);
}

int QtSerialPort::bytesWaiting() {
    return port_.isOpen() ? static_cast<int>(port_.bytesAvailable()) : 0;
}

std::string QtSerialPort::readAll() {
    if (!port_.isOpen()) return {};
    const QByteArray data = port_.readAll();
    return std::string(data.constData(), static_cast<size_t>(data.size()));
}

}  // namespace kelp::platform
