#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>
#include <QPushButton>
#include <QTimer>

#include "analysis/saranalysiswindow.h"
#include "e2e/e2etools.h"

namespace kelp::testing {
namespace {

constexpr char kBusy[] = "Com Port Already Open by another host";

std::unique_ptr<BoardProcess> startBoard() {
    return std::make_unique<BoardProcess>(QStringList{"--model", "Zylo570"});
}

// An adapter's name as the system gives it: a link that follows the board it is plugged into.
void plug(const fs::path& name, const std::string& device) {
    fs::remove(name);
    fs::create_symlink(device, name);
}

// Pulled mid-run, the adapter's samples reach the analysis with one message; back under its
// own name Run works again, and under another name it is chosen from the Port menu.
TEST(EndToEndPortFailure, AnAdapterPulledMidRunAndPluggedBackIn) {
    const fs::path dir = freshFolder("unplug");
    const fs::path first = dir / "ttyUSB0", second = dir / "ttyUSB1";
    auto board = startBoard();
    ASSERT_FALSE(board->device().empty());
    plug(first, board->device());

    shell::ApplicationOptions o;
    o.programFolder = kProgramDir.string();
    o.extraPorts = {first.string(), second.string()};
    o.listSystemPorts = false;
    o.virtualBoard = false;
    platform::RecordingMessageSink messages;
    shell::Application app(o, &messages);
    child<QComboBox>(app.mainWindow(), "ComSelect")->setCurrentIndex(4);
    child<QComboBox>(app.mainWindow(), "VantorCombobox")->setCurrentText("Zylo570");
    child<QPushButton>(app.mainWindow(), "NextButton")->click();
    QMainWindow* window = app.evaluationWindow();
    ASSERT_NE(window, nullptr);
    const auto run = [&](const char* samples) {
        messages.messages.clear();
        child<QComboBox>(window, "NumSamples")->setEditText(samples);
        child<QPushButton>(window, "RunButton")->click();
        return messages.texts();
    };

    QTimer::singleShot(400, [&] { board.reset(); });
    const std::vector<std::string> pulled = run("4000");
    const int kept = app.state().run.SampleCount;
    EXPECT_GT(kept, 0);
    EXPECT_LT(kept, 4000);
    EXPECT_EQ(pulled, std::vector<std::string>{
                          "The serial port " + first.string() + " stopped working after " +
                          std::to_string(kept) +
                          " samples; they are kept for the analysis.\r\nCheck the cable and the "
                          "board, or choose the port again in the Port menu, then press Run "
                          "again."});
    ASSERT_NE(app.sarAnalysis(), nullptr);
    EXPECT_TRUE(app.sarAnalysis()->isVisible());
    EXPECT_FALSE(app.link().port().isOpen());

    EXPECT_EQ(run("100"), std::vector<std::string>{
                              std::string(kBusy) + "\r\n" + first.string() +
                              " is not there: plug the adapter in again, or choose the port it "
                              "has now, then try again."});

    board = startBoard();
    plug(first, board->device());
    EXPECT_EQ(run("200"), std::vector<std::string>{});
    EXPECT_EQ(app.state().run.SampleCount, 200);

    board = startBoard();
    fs::remove(first);
    plug(second, board->device());
    auto* menu = child<QMenu>(window, "PortMenu");
    emit menu->aboutToShow();
    QAction* other = nullptr;
    for (QAction* a : menu->actions()) {
        EXPECT_EQ(a->isChecked(), a->text().toStdString() == first.string());
        if (a->text().toStdString() == second.string()) other = a;
    }
    ASSERT_NE(other, nullptr);
    other->trigger();
    EXPECT_EQ(app.link().port().portName(), second.string());
    EXPECT_EQ(run("300"), std::vector<std::string>{});
    EXPECT_EQ(app.state().run.SampleCount, 300);
    fs::remove_all(dir);
}

}  // namespace
}  // namespace kelp::testing
