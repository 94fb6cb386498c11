#pragma once

#include <optional>
#include <string>

#include "analysis/sdfigures.h"
#include "cli/controls.h"
#include "sigmadelta/sdconfig.h"

namespace kelp::cli {

// SD_KELP's settings for one model, as its set-up leaves them, changed by --set.
class SdSettings {
public:
    SdSettings(const std::string& model, bool is58XGroup);

    std::optional<std::string> apply(const Assignments& values);

    const std::string& model() const { return model_; }
    bool is58XGroup() const { return is58XGroup_; }
    const ControlSet& controls() const { return controls_; }
    sigmadelta::SdConfiguration configuration() const;
    // The CDBits position chosen; the set-up leaves 0, or divider 3 on the 58X group.
    int dividerPosition() const { return controls_.position("CDBits"); }
    // The texts the window would show beside the controls: PrimaryRangeIndex's entry,
    // AuxInputRange, ConversionRate, PLLCONSFR.
    std::string auxInputRange() const;
    std::string conversionRate() const;
    std::string pllcon() const;
    // What the analysis reads from the window (without the charts, which the run fills in).
    analysis::SdRunSettings runSettings() const;
    // A CSV with two converters switches both on.
    void switchBothOn();

private:
    std::string model_;
    bool is58XGroup_;
    ControlSet controls_;
};

}  // namespace kelp::cli
