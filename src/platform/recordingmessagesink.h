#pragma once

#include <string>
#include <vector>

#include "platform/messages.h"

namespace kelp::platform {

// Keeps every message instead of showing it; for tests and headless use.
class RecordingMessageSink final : public MessageSink {
public:
    struct Message {
        std::string text;
        std::string title;
        bool operator==(const Message&) const = default;
    };
    void warning(const std::string& text, const std::string& title) override {
        messages.push_back({text, title});
    }
    std::vector<std::string> texts() const {
        std::vector<std::string> out;
        for (const auto& m : messages) out.push_back(m.text);
        return out;
    }
    std::vector<Message> messages;
};

}  // namespace kelp::platform
