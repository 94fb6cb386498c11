#pragma once

namespace kelp::platform {

class ProgressIndicator {
public:
    virtual ~ProgressIndicator() = default;
    virtual void setVisible(bool visible) = 0;
    virtual void setRange(int minimum, int maximum) = 0;
    virtual void setValue(int value) = 0;
};

}  // namespace kelp::platform
