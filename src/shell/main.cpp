#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "platform/charttheme.h"
#include "platform/qteventqueue.h"
#include "shell/application.h"
#include "shell/programfolder.h"

namespace {

struct Options {
    QCommandLineOption port{"port", "Also list this serial device (repeatable).", "device"};
    QCommandLineOption noBoard{"no-virtual-board", "Do not offer the built-in virtual board."};
    QCommandLineOption dark{"dark", "Dark look, whatever the desktop's (or KELP_THEME=dark)."};
    QCommandLineOption light{"light", "Light look, whatever the desktop's (or KELP_THEME=light)."};
    QCommandLineOption checkImages{
        "check-images", "Check the firmware images, say where they were found, and exit."};

    void addTo(QCommandLineParser& parser) {
        parser.setApplicationDescription(
            "Evaluation program for the Vantor converter microcontrollers.");
        parser.addHelpOption();
        parser.addVersionOption();
        parser.addOption(port);
        parser.addOption(noBoard);
        parser.addOption(dark);
        parser.addOption(light);
        parser.addOption(checkImages);
    }
};

bool asksForText(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        for (const char* flag : {"-h", "--help", "-v", "--version", "--help-all", "--check-images"})
            if (std::strcmp(argv[i], flag) == 0) return true;
    return false;
}

// One line an image: "ok" or what a download would say of it; fails when any is not ok.
int reportImages(const std::string& programFolder) {
    bool allOk = true;
    for (const auto& image : kelp::shell::checkImages(programFolder)) {
        std::string problem = image.problem;
        for (char& c : problem)
            if (c == '\r' || c == '\n') c = ' ';
        std::printf("%s: %s\n", image.path.c_str(), image.ok ? "ok" : problem.c_str());
        allOk = allOk && image.ok;
    }
    return allOk ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    // Help and version need no screen.
    std::unique_ptr<QCoreApplication> app;
    if (asksForText(argc, argv)) {
        app = std::make_unique<QCoreApplication>(argc, argv);
    } else {
        if (qEnvironmentVariableIsEmpty("DISPLAY") &&
            qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
            qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
            std::fprintf(stderr,
                         "KELP needs a graphical display, and none is set (DISPLAY is empty).\n"
                         "Start it from a desktop session, or under a virtual one: xvfb-run %s\n",
                         argv[0]);
            return 1;
        }
        kelp::platform::ChooseEventDispatcher();
        app = std::make_unique<QApplication>(argc, argv);
        // Ties the windows to the installed desktop entry and its icon.
        QGuiApplication::setDesktopFileName("org.kelpproject.kelp");
        QApplication::setWindowIcon(QIcon::fromTheme("org.kelpproject.kelp"));
        // Without a choice the desktop's own palette stays, and the charts follow it.
        kelp::platform::chooseAppearance(kelp::platform::appearanceChoice(argc, argv));
    }
    QCoreApplication::setApplicationName("KELP");
    QCoreApplication::setApplicationVersion("6.04");

    Options options;
    QCommandLineParser parser;
    options.addTo(parser);
    parser.process(*app);

    kelp::shell::ApplicationOptions settings;
    settings.programFolder =
        kelp::shell::findProgramFolder(QCoreApplication::applicationDirPath().toStdString());
    if (parser.isSet(options.checkImages)) return reportImages(settings.programFolder);
    for (const QString& p : parser.values(options.port))
        settings.extraPorts.push_back(p.toStdString());
    settings.virtualBoard = !parser.isSet(options.noBoard);

    kelp::shell::Application kelp(settings);
    kelp.show();
    return app->exec();
}
