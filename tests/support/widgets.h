#pragma once

// Finding the windows' controls by the names the program gives them.

#include <QComboBox>
#include <QLineEdit>
#include <QStringList>
#include <stdexcept>
#include <string>

namespace kelp::testing {

// The control of that name and type; a missing one ends the test with its name.
template <class W>
W* child(const QObject* parent, const char* name) {
    W* w = parent->findChild<W*>(QString::fromLatin1(name));
    if (!w) throw std::runtime_error(std::string("no control named ") + name);
    return w;
}

// What the named controls show (box or label text, a list's present entry), joined by '|'.
inline std::string texts(const QObject* parent, const char* names) {
    QStringList out;
    for (const QString& name : QString::fromLatin1(names).split('|')) {
        const auto* w = parent->findChild<QWidget*>(name);
        const QVariant text =
            w ? w->property(qobject_cast<const QComboBox*>(w) ? "currentText" : "text")
              : QVariant();
        if (!text.isValid())
            throw std::runtime_error("no text control named " + name.toStdString());
        out << text.toString();
    }
    return out.join('|').toStdString();
}

// A user's choice of a list entry: the list reacts even when the entry was already shown.
inline void choose(QComboBox* list, int position) {
    list->setCurrentIndex(position);
    emit list->activated(position);
}

}  // namespace kelp::testing
