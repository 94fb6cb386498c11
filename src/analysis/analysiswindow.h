#pragma once

#include <QMainWindow>
#include <QString>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class QAction;
class QGroupBox;
class QLabel;
class QLineEdit;
class QVBoxLayout;

namespace kelp::platform {
class BarChart;
class MessageSink;
}  // namespace kelp::platform

namespace kelp::analysis {

struct NoiseTexts;

// What both noise-analysis windows share: created once, shown by every run, hidden (never
// closed) by `ReturnButton`; and the exports, which write only when the user asks.
class AnalysisWindow : public QMainWindow {
    Q_OBJECT
public:
    ~AnalysisWindow() override;

    void ReturnButton_Click() { hide(); }

    // Asks where to save: (parent, caption, suggested path, filter) -> path, empty to cancel.
    // The default is a save-file dialog; tests put a chooser of their own.
    using FileChooser =
        std::function<QString(QWidget*, const QString&, const QString&, const QString&)>;
    void setFileChooser(FileChooser chooser);
    // Where a failed write is reported; the default shows a message box over the window.
    void setMessageSink(platform::MessageSink* sink);

    enum class ChartFormat { Png, Svg };
    // The same as the menu entries; each asks for a file and returns whether it wrote one.
    bool exportSamples();
    bool exportChart(int chart, ChartFormat format);
    void copyFigures();
    // Chart names, as the menus list them, in the order exportChart numbers them.
    QStringList chartNames() const;
    // The Gaussian curve over every histogram; shown from the start.
    void setGaussianShown(bool shown);
    bool gaussianShown() const;

protected:
    // Named `name`, titled after the model in use.
    AnalysisWindow(const char* name, const std::string& model, QWidget* parent);
    // Puts "Return to Aquistion Window" under the content, which becomes the window's, and
    // builds the menus over the charts and figures added before.
    void finish(QWidget* central, QVBoxLayout* root, int width, int height);

    // A chart that can be exported: `panel` is what the picture shows (the chart with its
    // marks); `histogram` is set for a chart that carries the Gaussian curve.
    void addChart(const QString& name, QWidget* panel, platform::BarChart* histogram = nullptr);
    // A box whose text "Copy Figures" copies, after those added before.
    void addFigure(const QString& name, const QLineEdit* box);
    // The run's samples as CSV, for "Export Samples as CSV...".
    virtual std::string samplesCsv() const = 0;

    // The boxes of the extra figures in a small group; names start with `prefix`.
    struct NoiseBoxes {
        QGroupBox* group = nullptr;
        std::vector<QLabel*> captions;
        std::vector<QLineEdit*> boxes;  // in the order of NoiseTexts
    };
    NoiseBoxes makeNoiseGroup(const QString& title, const char* groupName, const char* prefix,
                              const QString& figurePrefix, int perRow);
    static void showNoise(const NoiseBoxes& boxes, const NoiseTexts& texts, bool enabled);

private:
    struct Chart {
        QString name;
        QWidget* panel;
        platform::BarChart* histogram;
    };
    void buildMenus(QWidget* central);
    QString chooseFile(const QString& caption, const QString& suggestedName, const QString& filter);
    bool writeFile(const QString& path, const QByteArray& bytes);

    std::vector<Chart> charts_;
    std::vector<std::pair<QString, const QLineEdit*>> figures_;
    FileChooser chooser_;
    platform::MessageSink* messages_ = nullptr;
    std::unique_ptr<platform::MessageSink> ownMessages_;
    QAction* gaussian_ = nullptr;
};

}  // namespace kelp::analysis
