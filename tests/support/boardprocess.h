#pragma once

// Starts kelp-board as its own process on a pseudo-terminal, for end-to-end tests.

#include <QProcess>
#include <QStringList>
#include <string>

namespace kelp::testing {

class BoardProcess {
public:
    explicit BoardProcess(const QStringList& arguments);
    ~BoardProcess();

    // The pseudo-terminal the board serves, empty when it did not start.
    const std::string& device() const { return device_; }
    std::string errorOutput();

private:
    QProcess process_;
    std::string device_;
};

}  // namespace kelp::testing
