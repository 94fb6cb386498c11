#pragma once

// Making the windows' named controls: every control carries the name the program knows it by
// (objectName), and a caption names its control for assistive tools.

#include <QLabel>
#include <QLineEdit>
#include <QString>
#include <QStringList>
#include <span>
#include <string>
#include <string_view>

namespace kelp::link {

inline QString qs(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline QStringList entries(std::span<const std::string_view> list) {
    QStringList out;
    for (std::string_view e : list) out << qs(e);
    return out;
}

inline std::string text(const QLineEdit* box) { return box->text().toStdString(); }

template <typename W>
W* make(QWidget* parent, const char* name) {
    auto* w = new W(parent);
    w->setObjectName(QString::fromLatin1(name));
    return w;
}

// A caption for `buddy` (may be null), whose accessible name becomes the caption.
inline QLabel* makeCaption(QWidget* parent, const char* name, const QString& caption,
                           QWidget* buddy = nullptr) {
    auto* label = make<QLabel>(parent, name);
    label->setText(caption);
    if (buddy) {
        label->setBuddy(buddy);
        buddy->setAccessibleName(caption);
    }
    return label;
}

// A read-only box that shows a figure.
inline QLineEdit* makeFigureBox(QWidget* parent, const char* name, const QString& text,
                                const QString& accessibleName) {
    auto* box = make<QLineEdit>(parent, name);
    box->setText(text);
    box->setReadOnly(true);
    box->setAccessibleName(accessibleName);
    return box;
}

}  // namespace kelp::link
