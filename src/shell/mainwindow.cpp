#include "shell/mainwindow.h"

#include <QAccessible>
#include <QAction>
#include <QCloseEvent>
#include <QComboBox>
#include <QFont>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "link/targetport.h"
#include "loader/hexfile.h"
#include "loader/serialloader.h"
#include "platform/eventqueue.h"
#include "platform/messages.h"
#include "platform/qtprogress.h"
#include "platform/serialport.h"
#include "platform/ticktimer.h"
#include "shell/programstate.h"

namespace kelp::shell {

namespace {

const char* const kResetFailure =
    "Error: Could not RESET the device\r\r\n"
    "Please ensure that...\r\r\n"
    "1. The power supply is connected\r\n"
    "2. All connections are correct\r\n"
    "3. A program is not already running\r\n"
    "4. The correct value for the crystal is selected\r\n"
    "5. PSEN is inserted\r\r\n"
    "See downloading instructions under 'Help-->Index'";

template <typename W>
W* named(W* widget, const char* name, const QString& accessible) {
    widget->setObjectName(QString::fromLatin1(name));
    widget->setAccessibleName(accessible);
    return widget;
}

}  // namespace

MainWindow::MainWindow(ProgramState& state, SharedDevices& devices, platform::MessageSink& messages,
                       std::string programFolder, std::vector<PortEntry> extraPorts,
                       QWidget* parent)
    : QMainWindow(parent),
      state_(state),
      devices_(devices),
      messages_(messages),
      programFolder_(std::move(programFolder)),
      extraPorts_(std::move(extraPorts)) {
    setObjectName("KELP");
    setWindowTitle("KELP");
    setAccessibleName("KELP");
    buildControls();
    progress_ = new platform::QtProgress(ProgressBar);
    // The port starts as port 1.
    devices_.MSComm1.setPortName(comDevice(1));
    connectHandlers();
    Form_Load();
}

MainWindow::~MainWindow() { delete progress_; }

std::string MainWindow::comDevice(int number) { return "/dev/ttyS" + std::to_string(number - 1); }

void MainWindow::buildControls() {
    auto* central = new QWidget(this);
    setCentralWidget(central);

    Label8 =
        named(new QLabel("Kelpworks (KELP) v6.04", central), "Label8", "Kelpworks (KELP) v6.04");
    QFont titleFont = Label8->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.45);
    titleFont.setBold(true);
    Label8->setFont(titleFont);
    Label7 = named(new QLabel("Vantor", central), "Label7", "Vantor");
    QFont brandFont = Label7->font();
    brandFont.setPointSizeF(brandFont.pointSizeF() * 1.45);
    brandFont.setItalic(true);
    brandFont.setBold(true);
    Label7->setFont(brandFont);
    Label7->setStyleSheet("color: #1f6fb4;");

    ComSelect = named(new QComboBox(central), "ComSelect", "Select COM Port");
    ComSelect->addItems({"Select COM Port ", "COM 1", "COM 2", "COM 3"});
    for (const PortEntry& e : extraPorts_) ComSelect->addItem(e.label);
    ComSelect->setMinimumWidth(190);

    VantorCombobox = named(new QComboBox(central), "VantorCombobox", "Vantor Select");
    for (const TargetDevice& d : catalogue())
        VantorCombobox->addItem(QString::fromStdString(d.modelName));
    VantorCombobox->setPlaceholderText("Vantor Select");
    VantorCombobox->setCurrentIndex(-1);
    VantorCombobox->setMinimumWidth(190);

    VantorText = named(new QLineEdit(central), "VantorText", "Model and loader version");
    VantorText->setPlaceholderText("model and loader version after a download");

    DownloadButton = named(new QPushButton("&Download", central), "DownloadButton", "Download");
    NextButton = named(new QPushButton("&Next", central), "NextButton", "Next");
    DownloadButton->setMinimumWidth(110);
    NextButton->setMinimumWidth(110);
    DownloadButton->setDefault(true);

    ProgressBar = named(new QProgressBar(central), "ProgressBar", "Download progress");
    ProgressBar->setVisible(false);
    ProgressBar->setTextVisible(true);

    auto* titleRow = new QHBoxLayout;
    titleRow->addWidget(Label8);
    titleRow->addSpacing(12);
    titleRow->addWidget(Label7);
    titleRow->addStretch();

    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(10);
    grid->addWidget(ComSelect, 0, 0);
    grid->addWidget(DownloadButton, 0, 1);
    grid->addWidget(VantorCombobox, 1, 0);
    grid->addWidget(NextButton, 1, 1);
    grid->addWidget(VantorText, 2, 0, 1, 2);
    grid->setColumnStretch(0, 1);

    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->setSpacing(14);
    layout->addLayout(titleRow);
    layout->addLayout(grid);
    layout->addWidget(ProgressBar);
    layout->addStretch();

    Menu_file = menuBar()->addMenu("&File");
    Menu_file->setObjectName("Menu_file");
    Menu_exit = Menu_file->addAction("&Exit");
    Menu_exit->setObjectName("Menu_exit");

    resize(520, 250);
}

void MainWindow::connectHandlers() {
    connect(ComSelect, &QComboBox::currentIndexChanged, this, &MainWindow::ComSelect_Click);
    connect(DownloadButton, &QPushButton::clicked, this, &MainWindow::DownloadButton_Click);
    connect(NextButton, &QPushButton::clicked, this, &MainWindow::NextButton_Click);
    connect(Menu_exit, &QAction::triggered, this, &MainWindow::Menu_exit_Click);
    connect(VantorCombobox, &QComboBox::currentTextChanged, this, &MainWindow::modelChosen);
}

QString MainWindow::vantorText() const {
    return VantorCombobox->currentIndex() < 0 ? QStringLiteral("Vantor Select")
                                              : VantorCombobox->currentText();
}

void MainWindow::Form_Load() {
    ComSelect->setCurrentIndex(0);
    ComSelect_Click();
}

void MainWindow::ComSelect_Click() {
    const int position = ComSelect->currentIndex();
    if (position >= 1 && position <= 3) {
        devices_.MSComm1.setPortName(comDevice(position));
        return;
    }
    const int extra = position - 4;
    if (extra < 0 || extra >= static_cast<int>(extraPorts_.size())) return;
    PortEntry& entry = extraPorts_[static_cast<size_t>(extra)];
    if (entry.virtualBoard && entry.device.empty()) emit virtualBoardRequested();
    if (!entry.device.empty()) devices_.MSComm1.setPortName(entry.device);
}

void MainWindow::setVirtualBoardDevice(const std::string& device) {
    for (PortEntry& e : extraPorts_)
        if (e.virtualBoard) e.device = device;
}

void MainWindow::Timer1_Timer() { state_.TimerElapsed = true; }

void MainWindow::DisableButtons() {
    DownloadButton->setEnabled(false);
    NextButton->setEnabled(false);
}

void MainWindow::EnableButtons() {
    DownloadButton->setEnabled(true);
    NextButton->setEnabled(true);
}

bool MainWindow::OpenCommPort() {
    devices_.MSComm1.setSettings("9600,N,8,1");
    lastOpenError_ = devices_.MSComm1.open();
    return lastOpenError_ == platform::OpenError::None;
}

void MainWindow::showFailure(const std::string& text, const std::string& title) {
    // Nobody is left to read a message once the program is ending.
    if (!devices_.events.closing()) messages_.warning(text, title);
}

void MainWindow::DownloadButton_Click() {
    DisableButtons();
    state_.DownloadOk = true;
    if (!OpenCommPort()) {
        std::string text(link::kPortBusyText);
        if (lastOpenError_ == platform::OpenError::PermissionDenied)
            text += "\r\nYou may not use " + devices_.MSComm1.portName() +
                    ": add your user to the dialout group (sudo usermod -aG dialout $USER) "
                    "and log in again.";
        showFailure(text);
        EnableButtons();
        return;
    }

    loader::SerialLoader loader(devices_, state_, *progress_);
    std::string image;
    const TargetDevice* device = nullptr;
    bool success = false;
    do {
        if (!loader.ResetDevice()) {
            showFailure(kResetFailure);
            break;
        }
        state_.ModelName = modelNameFromReply(state_.ModelName);
        device = findDevice(state_.ModelName);
        if (device) {
            image = imagePath(programFolder_, *device);
            if (device->is58XGroup) state_.Is58XGroup = true;
        }
        VantorText->setText(QString::fromStdString(modelNameFromReply(state_.ModelName) +
                                                   " version " +
                                                   versionFromReply(state_.LoaderReply)));
        if (!device) {
            showFailure("The board answered as " + state_.ModelName +
                        ", a model KELP does not know.\r\nCheck the board and its crystal "
                        "setting, then press Download again.");
            break;
        }
        if (!loader.EraseCode()) {
            showFailure("Error: Could not ERASE code.");
            break;
        }
        state_.HexSizeLimit = 8192;
        const loader::HexCheck check = loader::CheckHexFile(image, state_.HexSizeLimit);
        for (const auto& m : check.messages) showFailure(m.text, m.title);
        if (!check.ok) {
            showFailure("Error Invalid Hex File.");
            break;
        }
        if (!loader.DownloadCode(image)) {
            showFailure("Error: Could not DOWNLOAD Code.");
            break;
        }
        if (!loader.RunCode()) {
            showFailure("Error: Could not RUN Code.");
            break;
        }
        success = true;
    } while (false);

    const bool lost = devices_.MSComm1.failed();
    devices_.MSComm1.close();
    if (lost)
        showFailure("The serial port " + devices_.MSComm1.portName() +
                    " stopped working during the download.\r\nCheck the cable and the board, "
                    "choose the port again and press Download.");
    EnableButtons();
    if (success && device && !devices_.events.closing()) emit evaluationRequested(device->family);
}

void MainWindow::NextButton_Click() {
    hide();
    if (ComSelect->currentIndex() == 0) {
        showFailure("Error: Please select a COM port.");
        show();
        return;
    }
    state_.ModelName = vantorText().toStdString();
    const TargetDevice* device = findDevice(state_.ModelName);
    if (!device) {
        show();
        return;
    }
    if (device->is58XGroup) state_.Is58XGroup = true;
    emit evaluationRequested(device->family);
}

void MainWindow::Menu_exit_Click() {
    exiting_ = true;
    emit exitRequested();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    if (!exiting_) {
        exiting_ = true;
        emit exitRequested();
    }
}

}  // namespace kelp::shell
