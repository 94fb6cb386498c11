#pragma once

#include <string>

namespace kelp::platform {

// What a run needs of a strip chart and the three marks beside its vertical axis.
class Trace {
public:
    virtual ~Trace() = default;
    virtual void clear() = 0;
    virtual void append(double value) = 0;
    virtual double lowerBound() const = 0;
    virtual double upperBound() const = 0;
    virtual void setLowerBound(double value) = 0;
    virtual void setUpperBound(double value) = 0;
    // The horizontal axis spans samples 0 .. extent.
    virtual void setExtent(int samples) = 0;
    virtual int extent() const = 0;
    virtual void setLabels(const std::string& upper, const std::string& middle,
                           const std::string& lower) = 0;
};

}  // namespace kelp::platform
