#include "analysis/analysiswindow.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace kelp::analysis {

AnalysisWindow::AnalysisWindow(const char* name, const std::string& model, QWidget* parent)
    : QMainWindow(parent) {
    setObjectName(QString::fromLatin1(name));
    setWindowTitle(QStringLiteral("KELP - ") + QString::fromStdString(model) +
                   QStringLiteral(" - ADC Noise Analysis"));
}

void AnalysisWindow::finish(QWidget* central, QVBoxLayout* root, int width, int height) {
    auto* back = new QPushButton(QStringLiteral("Return to Aquistion Window"), central);
    back->setObjectName(QStringLiteral("ReturnButton"));
    auto* footer = new QHBoxLayout();
    footer->addStretch(1);
    footer->addWidget(back);
    root->addLayout(footer);
    setCentralWidget(central);
    resize(width, height);
    connect(back, &QPushButton::clicked, this, &AnalysisWindow::ReturnButton_Click);
    // The boxes are only read; the one thing to do here is go back.
    back->setFocus();
}

}  // namespace kelp::analysis
