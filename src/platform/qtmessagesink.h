#pragma once

#include <QPointer>
#include <QWidget>

#include "platform/messages.h"

namespace kelp::platform {

// Modal QMessageBox: exclamation icon, one OK button.
class QtMessageSink final : public MessageSink {
public:
    explicit QtMessageSink(QWidget* parent = nullptr) : parent_(parent) {}
    void setParent(QWidget* parent) { parent_ = parent; }
    void warning(const std::string& text, const std::string& title) override;

private:
    QPointer<QWidget> parent_;
};

}  // namespace kelp::platform
