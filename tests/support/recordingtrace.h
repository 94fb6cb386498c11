#pragma once

#include <string>
#include <vector>

#include "platform/trace.h"

namespace kelp::testing {

// A strip chart as a list of what was done to it.
class RecordingTrace final : public platform::Trace {
public:
    void clear() override { points.clear(); }
    void append(double v) override { points.push_back(v); }
    double lowerBound() const override { return lower; }
    double upperBound() const override { return upper; }
    void setLowerBound(double v) override { lower = v; }
    void setUpperBound(double v) override { upper = v; }
    void setExtent(int samples) override { extents.push_back(samples); }
    int extent() const override { return extents.empty() ? 0 : extents.back(); }
    void setLabels(const std::string& u, const std::string& m, const std::string& l) override {
        labels = {u, m, l};
    }

    std::vector<double> points;
    double lower = 0;
    double upper = 0;
    std::vector<int> extents;
    std::vector<std::string> labels;  // upper, middle, lower
};

}  // namespace kelp::testing
