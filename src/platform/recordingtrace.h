#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "platform/trace.h"

namespace kelp::platform {

// Keeps the state a chart would show and every call in order; for tests of the runs and the
// analysis windows. Calls read as "append 2048", "setUpperBound 2049", "setLabels 801|800|7FF".
class RecordingTrace final : public Trace {
public:
    void clear() override {
        points.clear();
        calls.push_back("clear");
    }
    void append(double value) override {
        points.push_back(value);
        calls.push_back("append " + number(value));
    }
    double lowerBound() const override { return lower; }
    double upperBound() const override { return upper; }
    void setLowerBound(double value) override {
        lower = value;
        calls.push_back("setLowerBound " + number(value));
    }
    void setUpperBound(double value) override {
        upper = value;
        calls.push_back("setUpperBound " + number(value));
    }
    void setExtent(int samples) override {
        span = samples;
        calls.push_back("setExtent " + std::to_string(samples));
    }
    int extent() const override { return span; }
    void setLabels(std::string_view upperText, std::string_view middleText,
                   std::string_view lowerText) override {
        labels = {std::string(upperText), std::string(middleText), std::string(lowerText)};
        calls.push_back("setLabels " + labels[0] + "|" + labels[1] + "|" + labels[2]);
    }

    // The calls whose text starts with `prefix` ("set", "append", "setLabels").
    std::vector<std::string> callsStartingWith(std::string_view prefix) const {
        std::vector<std::string> out;
        for (const auto& c : calls)
            if (std::string_view(c).substr(0, prefix.size()) == prefix) out.push_back(c);
        return out;
    }

    std::vector<double> points;
    double lower = 0;
    double upper = 0;
    int span = 0;
    std::vector<std::string> labels{"", "", ""};  // upper, middle, lower
    std::vector<std::string> calls;

private:
    static std::string number(double value) {
        char text[32];
        std::snprintf(text, sizeof text, "%.15g", value);
        return text;
    }
};

}  // namespace kelp::platform
