#pragma once

#include <QMainWindow>
#include <string>

class QVBoxLayout;

namespace kelp::analysis {

// What both noise-analysis windows share: created once, shown by every run, hidden (never
// closed) by `ReturnButton`, whose click is all there is to do in them.
class AnalysisWindow : public QMainWindow {
    Q_OBJECT
public:
    void ReturnButton_Click() { hide(); }

protected:
    // Named `name`, titled after the model in use.
    AnalysisWindow(const char* name, const std::string& model, QWidget* parent);
    // Puts "Return to Aquistion Window" under the content, which becomes the window's.
    void finish(QWidget* central, QVBoxLayout* root, int width, int height);
};

}  // namespace kelp::analysis
