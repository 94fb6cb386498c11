// Drives KELP through a download and a SAR run on its built-in virtual board and saves
// pictures of the windows along the way. Run it under a real X server (xvfb-run).

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QPushButton>
#include <QTimer>
#include <cstdio>

#include "analysis/saranalysiswindow.h"
#include "analysis/sdanalysiswindow.h"
#include "link/foldingframe.h"
#include "link/registerpanel.h"
#include "platform/charttheme.h"
#include "platform/qteventqueue.h"
#include "platform/recordingmessagesink.h"
#include "sar/sarwindow.h"
#include "shell/application.h"
#include "shell/mainwindow.h"

namespace {

template <typename W>
W* child(QWidget* window, const char* name) {
    return window->findChild<W*>(QString::fromLatin1(name));
}

void save(QWidget* w, const QString& folder, const char* name) {
    QApplication::processEvents();
    const QString path = folder + "/" + name;
    if (!w->grab().save(path))
        std::fprintf(stderr, "could not write %s\n", qPrintable(path));
    else
        std::printf("%s\n", qPrintable(path));
}

// KELP as installed, with its virtual board and no other port.
kelp::shell::ApplicationOptions options() {
    kelp::shell::ApplicationOptions o;
    o.programFolder = QCoreApplication::applicationDirPath().toStdString();
    o.listSystemPorts = false;
    return o;
}

// A download of the SAR firmware, the SAR window before, during and after a run.
bool shootSar(QApplication& app, const QString& folder) {
    kelp::platform::RecordingMessageSink messages;
    kelp::shell::Application kelp(options(), &messages);
    kelp.show();
    auto* main = kelp.mainWindow();
    child<QComboBox>(main, "VantorCombobox")->setCurrentText("Zylo570");
    auto* ports = child<QComboBox>(main, "ComSelect");
    ports->setCurrentIndex(ports->count() - 1);  // "Virtual board"
    save(main, folder, "main.png");

    QTimer::singleShot(4000, main, [&] { save(main, folder, "main-download.png"); });
    child<QPushButton>(main, "DownloadButton")->click();
    auto* sar = qobject_cast<kelp::sar::SarWindow*>(kelp.evaluationWindow());
    if (!sar) {
        for (const auto& m : messages.messages) std::fprintf(stderr, "%s\n", m.text.c_str());
        return false;
    }
    sar->resize(1100, 720);
    child<QComboBox>(sar, "ADCChan")->setCurrentIndex(2);
    QApplication::processEvents();
    save(sar, folder, "sar-idle.png");
    auto* registers = child<kelp::link::RegisterPanel>(sar, "DigitalFrame");
    registers->DigitalFrame_Click();
    save(sar, folder, "sar-registers.png");
    registers->DigitalFrame_Click();
    QTimer::singleShot(1800, sar, [&] { save(sar, folder, "sar-run.png"); });
    child<QPushButton>(sar, "RunButton")->click();
    if (auto* analysis = kelp.sarAnalysis()) {
        analysis->resize(1000, 760);
        QTimer::singleShot(300, analysis, [&] { save(analysis, folder, "sar-analysis.png"); });
        // The histogram with its Gaussian, as File > Export Chart as PNG writes it.
        QTimer::singleShot(350, analysis, [&] {
            analysis->setFileChooser([&](QWidget*, const QString&, const QString&, const QString&) {
                return folder + "/sar-histogram.png";
            });
            analysis->exportChart(0, kelp::analysis::AnalysisWindow::ChartFormat::Png);
        });
        QTimer::singleShot(450, &app, &QApplication::quit);
        app.exec();
    }
    for (const auto& m : messages.messages) std::fprintf(stderr, "message: %s\n", m.text.c_str());
    return messages.messages.empty();
}

// Next on a board already running the 58X firmware: the sigma-delta window with one chart,
// both charts during a run, and the analysis.
bool shootSigmaDelta(QApplication& app, const QString& folder) {
    kelp::platform::RecordingMessageSink messages;
    kelp::shell::Application kelp(options(), &messages);
    kelp.show();
    auto* main = kelp.mainWindow();
    child<QComboBox>(main, "VantorCombobox")->setCurrentText("Zylo580");
    auto* ports = child<QComboBox>(main, "ComSelect");
    ports->setCurrentIndex(ports->count() - 1);
    child<QPushButton>(main, "NextButton")->click();
    auto* sd = kelp.evaluationWindow();
    if (!sd || sd->objectName() != "SD_KELP") return false;
    sd->resize(1180, 800);
    QApplication::processEvents();
    save(sd, folder, "sd-one-chart.png");
    child<QCheckBox>(sd, "AuxillaryADCButton")->setChecked(true);
    auto* sf = child<QComboBox>(sd, "SF");
    sf->setCurrentIndex(0);
    emit sf->activated(0);
    child<kelp::link::FoldingFrame>(sd, "AdcSampFrame")->toggle();
    child<QComboBox>(sd, "NumSamples")->setEditText("400");
    QTimer::singleShot(2500, sd, [&] { save(sd, folder, "sd-two-charts.png"); });
    child<QPushButton>(sd, "RunButton")->click();
    if (auto* analysis = kelp.sdAnalysis()) {
        analysis->resize(1000, 900);
        QTimer::singleShot(300, analysis, [&] { save(analysis, folder, "sd-analysis.png"); });
        QTimer::singleShot(400, &app, &QApplication::quit);
        app.exec();
    }
    for (const auto& m : messages.messages) std::fprintf(stderr, "message: %s\n", m.text.c_str());
    return messages.messages.empty() && kelp.sdAnalysis();
}

}  // namespace

int main(int argc, char** argv) {
    kelp::platform::ChooseEventDispatcher();
    QApplication app(argc, argv);
    kelp::platform::chooseAppearance(kelp::platform::appearanceChoice(argc, argv));
    const QString folder = argc > 1 ? argv[1] : QStringLiteral("docs/screens");
    QDir().mkpath(folder);
    const bool sar = shootSar(app, folder);
    const bool sd = shootSigmaDelta(app, folder);
    return sar && sd ? 0 : 1;
}
