#pragma once

#include <functional>

namespace kelp::platform {

// A periodic timer that is disabled except during a wait. Only the first tick after
// enable() matters to its users.
class TickTimer {
public:
    virtual ~TickTimer() = default;
    virtual void setInterval(int milliseconds) = 0;
    virtual int interval() const = 0;
    virtual void enable() = 0;
    virtual void disable() = 0;
    virtual bool enabled() const = 0;

    std::function<void()> onTick;
};

}  // namespace kelp::platform
