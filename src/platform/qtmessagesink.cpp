#include "platform/qtmessagesink.h"

#include <QMessageBox>

namespace kelp::platform {

void QtMessageSink::warning(const std::string& text, const std::string& title) {
    QMessageBox box(QMessageBox::Warning, QString::fromStdString(title),
                    QString::fromStdString(text), QMessageBox::Ok, parent_.data());
    box.setObjectName(QStringLiteral("MessageBox"));
    box.exec();
}

}  // namespace kelp::platform
