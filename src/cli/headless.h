#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

#include "platform/progress.h"
#include "platform/trace.h"
#include "sar/sarrun.h"
#include "sigmadelta/sdrun.h"

namespace kelp::cli {

// A strip chart nobody sees: it keeps the bounds, the span and the marks that the analysis
// copies, and counts points instead of keeping them.
class HeadlessTrace final : public platform::Trace {
public:
    HeadlessTrace(std::string upper, std::string middle, std::string lower)
        : upperLabel(std::move(upper)),
          middleLabel(std::move(middle)),
          lowerLabel(std::move(lower)) {}

    void clear() override { points = 0; }
    void append(double) override { ++points; }
    double lowerBound() const override { return lower; }
    double upperBound() const override { return upper; }
    void setLowerBound(double value) override { lower = value; }
    void setUpperBound(double value) override { upper = value; }
    void setExtent(int samples) override {
        span = samples;
        if (onExtent) onExtent(samples);
    }
    int extent() const override { return span; }
    void setLabels(std::string_view u, std::string_view m, std::string_view l) override {
        upperLabel = u;
        middleLabel = m;
        lowerLabel = l;
    }

    std::string upperLabel, middleLabel, lowerLabel;
    double lower = 0, upper = 0;
    int span = 0;
    int points = 0;
    std::function<void(int)> onExtent;  // progress of a SAR run: samples so far
};

// SAR_KELP as the run sees it, without a window.
class HeadlessSarView final : public sar::SarRunView {
public:
    HeadlessSarView(sar::SarConfiguration config, std::string numSamples)
        : config_(std::move(config)), numSamples_(std::move(numSamples)) {}
    sar::SarConfiguration configuration() const override { return config_; }
    std::string numSamplesText() const override { return numSamples_; }
    platform::Trace& trace() override { return graph; }
    void showSampling(bool) override {}
    void openAnalysis() override {}

    HeadlessTrace graph{"801H", "800H", "7FFH"};

private:
    sar::SarConfiguration config_;
    std::string numSamples_;
};

// SD_KELP as the run sees it, without a window.
class HeadlessSdView final : public sigmadelta::SdRunView {
public:
    HeadlessSdView(sigmadelta::SdConfiguration config, std::string numSamples)
        : config_(std::move(config)), numSamples_(std::move(numSamples)) {}
    sigmadelta::SdConfiguration configuration() const override { return config_; }
    std::string numSamplesText() const override { return numSamples_; }
    bool primaryOn() const override { return config_.PON; }
    bool auxOn() const override { return config_.AON; }
    platform::Trace& primaryTrace() override { return graph; }
    platform::Trace& auxTrace() override { return auxGraph; }
    void showSampling(bool) override {}
    void openAnalysis() override {}

    HeadlessTrace graph{"800100H", "800000H", "7FFE00H"};
    HeadlessTrace auxGraph{"8001H", "8000H", "7FFEH"};

private:
    sigmadelta::SdConfiguration config_;
    std::string numSamples_;
};

// The download's progress bar as lines on standard error, one every tenth of the image.
class StderrProgress final : public platform::ProgressIndicator {
public:
    void setVisible(bool visible) override {
        if (visible) std::fprintf(stderr, "Writing the image");
        if (!visible && shown_ >= 0) std::fprintf(stderr, "\n");
        shown_ = visible ? 0 : -1;
    }
    void setRange(int minimum, int maximum) override {
        min_ = minimum;
        max_ = maximum;
    }
    void setValue(int value) override {
        if (shown_ < 0 || max_ <= min_) return;
        const int tenth = (value - min_) * 10 / (max_ - min_);
        for (; shown_ < tenth; ++shown_) std::fprintf(stderr, " %d%%", (shown_ + 1) * 10);
    }

private:
    int min_ = 0, max_ = 0, shown_ = -1;
};

}  // namespace kelp::cli
