#pragma once

#include <string_view>

namespace kelp::platform {

// One trace of a strip chart with the three marks beside its vertical axis: what a run and an
// analysis window need to plot codes. Points are kept in the order appended; the horizontal
// axis counts them from 1.
class Trace {
public:
    virtual ~Trace() = default;

    // Removes every point; bounds, extent and marks stay.
    virtual void clear() = 0;
    virtual void append(double value) = 0;

    // Vertical axis.
    virtual double lowerBound() const = 0;
    virtual double upperBound() const = 0;
    virtual void setLowerBound(double value) = 0;
    virtual void setUpperBound(double value) = 0;

    // Horizontal span in samples. While there are no more points than that, the axis runs
    // from 0 to the span; beyond it, it scrolls to keep the newest point at the right end.
    virtual void setExtent(int samples) = 0;
    virtual int extent() const = 0;

    // Texts of the marks at the top, the middle and the bottom of the vertical axis.
    virtual void setLabels(std::string_view upper, std::string_view middle,
                           std::string_view lower) = 0;
};

}  // namespace kelp::platform
