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
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>
#include <functional>
#include <optional>

#include "link/link.h"
#include "loader/download.h"
#include "loader/downloadtexts.h"
#include "platform/messages.h"
#include "platform/qtprogress.h"
#include "platform/serialport.h"
#include "shell/programstate.h"

namespace kelp::shell {

namespace {

// A drop-down list that says when it is about to open.
class PortList final : public QComboBox {
public:
    using QComboBox::QComboBox;
    std::function<void()> opening;
    void showPopup() override {
        if (opening) opening();
        QComboBox::showPopup();
    }
};

template <typename W>
W* named(W* widget, const char* name, const QString& accessible) {
    widget->setObjectName(QString::fromLatin1(name));
    widget->setAccessibleName(accessible);
    return widget;
}

}  // namespace

const char* const MainWindow::kResetFailure = loader::kResetFailure;

struct MainWindow::Ui {
    QLabel* Label8 = nullptr;
    QLabel* Label7 = nullptr;
    QComboBox* ComSelect = nullptr;
    QComboBox* VantorCombobox = nullptr;
    QLineEdit* VantorText = nullptr;
    QPushButton* DownloadButton = nullptr;
    QPushButton* NextButton = nullptr;
    QProgressBar* ProgressBar = nullptr;
    QMenu* Menu_file = nullptr;
    QAction* Menu_exit = nullptr;
    std::unique_ptr<platform::QtProgress> progress;
};

MainWindow::MainWindow(ProgramState& state, link::Link& link, platform::MessageSink& messages,
                       std::string programFolder, std::vector<PortEntry> extraPorts,
                       QWidget* parent)
    : QMainWindow(parent),
      ui_(std::make_unique<Ui>()),
      state_(state),
      link_(link),
      messages_(messages),
      programFolder_(std::move(programFolder)),
      extraPorts_(std::move(extraPorts)) {
    setObjectName("KELP");
    setWindowTitle("KELP");
    setAccessibleName("KELP");
    buildControls();
    ui_->progress = std::make_unique<platform::QtProgress>(ui_->ProgressBar);
    // The port starts as port 1.
    link_.port().setPortName(comDevice(1));
    connectHandlers();
    Form_Load();
}

MainWindow::~MainWindow() = default;

std::string MainWindow::comDevice(int number) { return "/dev/ttyS" + std::to_string(number - 1); }

void MainWindow::buildControls() {
    auto* central = new QWidget(this);
    setCentralWidget(central);

    ui_->Label8 =
        named(new QLabel("Kelpworks (KELP) v6.04", central), "Label8", "Kelpworks (KELP) v6.04");
    QFont titleFont = ui_->Label8->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.45);
    titleFont.setBold(true);
    ui_->Label8->setFont(titleFont);
    ui_->Label7 = named(new QLabel("Vantor", central), "Label7", "Vantor");
    QFont brandFont = ui_->Label7->font();
    brandFont.setPointSizeF(brandFont.pointSizeF() * 1.45);
    brandFont.setItalic(true);
    brandFont.setBold(true);
    ui_->Label7->setFont(brandFont);
    ui_->Label7->setStyleSheet("color: #1f6fb4;");

    ui_->ComSelect = named(new PortList(central), "ComSelect", "Select COM Port");
    static_cast<PortList*>(ui_->ComSelect)->opening = [this] { emit portListOpening(); };
    ui_->ComSelect->addItems({"Select COM Port ", "COM 1", "COM 2", "COM 3"});
    for (const PortEntry& e : extraPorts_) ui_->ComSelect->addItem(e.label);
    ui_->ComSelect->setMinimumWidth(190);

    ui_->VantorCombobox = named(new QComboBox(central), "VantorCombobox", "Vantor Select");
    for (const TargetDevice& d : catalogue())
        ui_->VantorCombobox->addItem(QString::fromStdString(d.modelName));
    ui_->VantorCombobox->setPlaceholderText("Vantor Select");
    ui_->VantorCombobox->setCurrentIndex(-1);
    ui_->VantorCombobox->setMinimumWidth(190);

    ui_->VantorText = named(new QLineEdit(central), "VantorText", "Model and loader version");
    ui_->VantorText->setPlaceholderText("model and loader version after a download");

    ui_->DownloadButton =
        named(new QPushButton("&Download", central), "DownloadButton", "Download");
    ui_->NextButton = named(new QPushButton("&Next", central), "NextButton", "Next");
    ui_->DownloadButton->setMinimumWidth(110);
    ui_->NextButton->setMinimumWidth(110);
    ui_->DownloadButton->setDefault(true);

    ui_->ProgressBar = named(new QProgressBar(central), "ProgressBar", "Download progress");
    ui_->ProgressBar->setVisible(false);
    ui_->ProgressBar->setTextVisible(true);

    auto* titleRow = new QHBoxLayout;
    titleRow->addWidget(ui_->Label8);
    titleRow->addSpacing(12);
    titleRow->addWidget(ui_->Label7);
    titleRow->addStretch();

    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(10);
    grid->addWidget(ui_->ComSelect, 0, 0);
    grid->addWidget(ui_->DownloadButton, 0, 1);
    grid->addWidget(ui_->VantorCombobox, 1, 0);
    grid->addWidget(ui_->NextButton, 1, 1);
    grid->addWidget(ui_->VantorText, 2, 0, 1, 2);
    grid->setColumnStretch(0, 1);

    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->setSpacing(14);
    layout->addLayout(titleRow);
    layout->addLayout(grid);
    layout->addWidget(ui_->ProgressBar);
    layout->addStretch();

    ui_->Menu_file = menuBar()->addMenu("&File");
    ui_->Menu_file->setObjectName("Menu_file");
    ui_->Menu_exit = ui_->Menu_file->addAction("&Exit");
    ui_->Menu_exit->setObjectName("Menu_exit");

    resize(520, 250);
}

void MainWindow::connectHandlers() {
    connect(ui_->ComSelect, &QComboBox::currentIndexChanged, this, &MainWindow::ComSelect_Click);
    connect(ui_->DownloadButton, &QPushButton::clicked, this, &MainWindow::DownloadButton_Click);
    connect(ui_->NextButton, &QPushButton::clicked, this, &MainWindow::NextButton_Click);
    connect(ui_->Menu_exit, &QAction::triggered, this, &MainWindow::Menu_exit_Click);
    connect(ui_->VantorCombobox, &QComboBox::currentTextChanged, this, &MainWindow::modelChosen);
}

QString MainWindow::vantorText() const {
    return ui_->VantorCombobox->currentIndex() < 0 ? QStringLiteral("Vantor Select")
                                                   : ui_->VantorCombobox->currentText();
}

void MainWindow::Form_Load() {
    ui_->ComSelect->setCurrentIndex(0);
    ComSelect_Click();
}

void MainWindow::ComSelect_Click() {
    const int position = ui_->ComSelect->currentIndex();
    if (position >= 1 && position <= 3) {
        link_.port().setPortName(comDevice(position));
        return;
    }
    const int extra = position - 4;
    if (extra < 0 || extra >= static_cast<int>(extraPorts_.size())) return;
    PortEntry& entry = extraPorts_[static_cast<size_t>(extra)];
    if (entry.virtualBoard && entry.device.empty()) emit virtualBoardRequested();
    if (!entry.device.empty()) link_.port().setPortName(entry.device);
}

void MainWindow::setVirtualBoardDevice(const std::string& device) {
    for (PortEntry& e : extraPorts_)
        if (e.virtualBoard) e.device = device;
}

void MainWindow::updatePorts(std::vector<PortEntry> extraPorts) {
    QComboBox* list = ui_->ComSelect;
    const int position = list->currentIndex();
    std::optional<PortEntry> chosen;
    if (position >= 4 && position - 4 < static_cast<int>(extraPorts_.size()))
        chosen = extraPorts_[static_cast<size_t>(position - 4)];
    const auto same = [&](const PortEntry& e) {
        return e.device == chosen->device && e.virtualBoard == chosen->virtualBoard;
    };
    auto at = extraPorts.end();
    if (chosen) {
        at = std::find_if(extraPorts.begin(), extraPorts.end(), same);
        if (at == extraPorts.end()) at = extraPorts.insert(at, *chosen);
    }
    const int again = chosen ? 4 + static_cast<int>(at - extraPorts.begin()) : position;
    // Listing the devices again is no choice of the user's.
    const QSignalBlocker quiet(list);
    while (list->count() > 4) list->removeItem(4);
    for (const PortEntry& e : extraPorts) list->addItem(e.label);
    extraPorts_ = std::move(extraPorts);
    list->setCurrentIndex(again);
}

void MainWindow::DisableButtons() {
    ui_->DownloadButton->setEnabled(false);
    ui_->NextButton->setEnabled(false);
}

void MainWindow::EnableButtons() {
    ui_->DownloadButton->setEnabled(true);
    ui_->NextButton->setEnabled(true);
}

void MainWindow::showFailure(const std::string& text, const std::string& title) {
    // Nobody is left to read a message once the program is ending.
    if (!link_.closing()) messages_.warning(text, title);
}

void MainWindow::DownloadButton_Click() {
    DisableButtons();
    loader::DownloadHooks hooks;
    hooks.imageFor = [this](const std::string& model) {
        const TargetDevice* device = findDevice(model);
        if (device && device->is58XGroup) state_.Is58XGroup = true;
        return device ? imagePath(programFolder_, *device) : std::string();
    };
    hooks.identified = [this](const std::string& model, const std::string& version) {
        ui_->VantorText->setText(QString::fromStdString(model + " version " + version));
    };
    const loader::DownloadResult result =
        loader::RunDownload(link_, state_.loader, *ui_->progress, hooks);
    reportDownload(result);
    EnableButtons();
    if (!result.ok() || result.closing) return;
    if (const TargetDevice* device = findDevice(state_.loader.ModelName))
        emit evaluationRequested(device->family);
}

void MainWindow::reportDownload(const loader::DownloadResult& result) {
    for (const loader::DownloadMessage& m :
         loader::DownloadMessages(result, link_.port().portName(), state_.loader.ModelName))
        showFailure(m.text, m.title);
}

void MainWindow::NextButton_Click() {
    hide();
    if (ui_->ComSelect->currentIndex() == 0) {
        showFailure("Error: Please select a COM port.");
        show();
        return;
    }
    state_.loader.ModelName = vantorText().toStdString();
    const TargetDevice* device = findDevice(state_.loader.ModelName);
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
