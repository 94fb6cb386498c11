#pragma once

#include <optional>
#include <string>

#include "analysis/sarrunsettings.h"
#include "cli/controls.h"
#include "sar/sarconfig.h"

namespace kelp::cli {

// SAR_KELP's settings for one model, as its set-up leaves them, changed by --set.
class SarSettings {
public:
    explicit SarSettings(const std::string& model);

    // Applies NAME=VALUE pairs; an error text names what is wrong.
    std::optional<std::string> apply(const Assignments& values);

    const std::string& model() const { return model_; }
    const ControlSet& controls() const { return controls_; }
    // What the run sends.
    sar::SarConfiguration configuration() const;
    // The texts the analysis copies (without the chart, which the run fills in).
    analysis::SarRunSettings runSettings() const;

private:
    std::string model_;
    ControlSet controls_;
};

}  // namespace kelp::cli
