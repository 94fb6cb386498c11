#include <QApplication>
#include <QCommandLineParser>

#include "shell/application.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName("KELP");
    QApplication::setApplicationVersion("6.04");

    QCommandLineParser parser;
    parser.setApplicationDescription("Evaluation program for the Vantor converter microcontrollers.");
    parser.addHelpOption();
    parser.addVersionOption();
    QCommandLineOption portOption("port", "Also list this serial device (repeatable).", "device");
    QCommandLineOption noBoard("no-virtual-board", "Do not offer the built-in virtual board.");
    parser.addOption(portOption);
    parser.addOption(noBoard);
    parser.process(app);

    kelp::shell::ApplicationOptions options;
    options.programFolder = QCoreApplication::applicationDirPath().toStdString();
    for (const QString& p : parser.values(portOption)) options.extraPorts.push_back(p.toStdString());
    options.virtualBoard = !parser.isSet(noBoard);

    kelp::shell::Application kelp(options);
    kelp.show();
    return app.exec();
}
