#pragma once

#include <string>

namespace kelp::platform {

// Message boxes: exclamation icon, one OK button. Texts may hold CR/LF.
class MessageSink {
public:
    virtual ~MessageSink() = default;
    virtual void warning(const std::string& text, const std::string& title = "Warning") = 0;
};

}  // namespace kelp::platform
