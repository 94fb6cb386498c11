// A soak: back-to-back acquisitions through the virtual board in the whole program, the two
// families taking turns, each run with random settings and, most of the time, a random fault on
// the board. Prints runs completed, faults survived, resident memory at the start and the end,
// and the stored samples that are not ones the board sent, in order: those a frame the board
// sent short on purpose accounts for apart from those that came from intact frames (target:
// none). The sigma-delta models are of the 58X group: once one of those has been chosen, every
// later sigma-delta model is sent the 58X layout, so the first four would only measure that.
//
// bench_soak [RUNS] [SEED]
// KELP_SOAK_RSS=1 prints resident memory every ten runs; KELP_SOAK_MODEL=<model> runs that
// family alone, to tell which one a growth comes from.

#include <malloc.h>
#include <unistd.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "analysis/saranalysiswindow.h"
#include "analysis/sdanalysiswindow.h"
#include "benchsupport.h"
#include "platform/recordingmessagesink.h"
#include "shell/application.h"

namespace {

namespace fs = std::filesystem;
using kelp::shell::Application;

// Resident memory once the heap has handed back what it holds free, so that a peak of an
// earlier run is not taken for growth.
long residentKb() {
    malloc_trim(0);
    std::ifstream in("/proc/self/status");
    for (std::string line; std::getline(in, line);)
        if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
    return 0;
}

// The codes the board logged, in the order sent: every SAR code, or the primary of each frame.
std::vector<long> sentCodes(const fs::path& log, bool sar) {
    std::vector<long> out;
    std::ifstream in(log);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("CODES ", 0) != 0) continue;
        std::istringstream words(line.substr(6));
        for (std::string w; words >> w;) {
            out.push_back(w == "-" ? -1 : std::stol(w, nullptr, 16));
            if (!sar) break;  // a frame: its primary code
        }
    }
    return out;
}

struct Corrupted {
    int damagedOnPurpose = 0;  // explained by a frame the board sent short
    int fromIntactFrames = 0;
};

// For each stored sample, the index of the sent code it matches, or -1: as many matches as
// can be kept in order (a longest common subsequence, so that a wrong code that happens to
// equal a later one costs nothing else), each as early as it can be.
std::vector<long> earliestMatches(const std::vector<long>& sent, const std::vector<long>& stored) {
    const size_t n = stored.size(), m = sent.size();
    // kept[i][j]: matches possible between stored[i..] and sent[j..].
    std::vector<uint16_t> kept((n + 1) * (m + 1), 0);
    const auto at = [&](size_t i, size_t j) -> uint16_t& { return kept[i * (m + 1) + j]; };
    for (size_t i = n; i-- > 0;)
        for (size_t j = m; j-- > 0;)
            at(i, j) = stored[i] == sent[j] ? static_cast<uint16_t>(at(i + 1, j + 1) + 1)
                                            : std::max(at(i + 1, j), at(i, j + 1));
    std::vector<long> source(n, -1);
    for (size_t i = 0, j = 0; i < n && j < m;) {
        if (stored[i] == sent[j] && at(i, j) == at(i + 1, j + 1) + 1)
            source[i++] = static_cast<long>(j++);
        else if (at(i, j + 1) == at(i, j))
            ++j;
        else
            ++i;
    }
    return source;
}

// Stored samples the board's codes cannot account for, in order. Codes repeat, so a match may
// sit at the earliest or the latest of several places; an unmatched sample came from one of
// the frames between the earliest place of the match before it and the latest place of the
// match after it. Each short frame among those, with the frame it runs into, explains one
// unmatched sample there. `shortFrames` are indices into `sent`; slots the run left alone
// hold `untouched`.
Corrupted corrupted(const std::vector<long>& sent, std::vector<long> stored, long untouched,
                    const std::vector<size_t>& shortFrames) {
    std::erase(stored, untouched);
    const long m = static_cast<long>(sent.size());
    const std::vector<long> early = earliestMatches(sent, stored);
    std::vector<long> late =
        earliestMatches({sent.rbegin(), sent.rend()}, {stored.rbegin(), stored.rend()});
    std::reverse(late.begin(), late.end());
    for (long& j : late)
        if (j >= 0) j = m - 1 - j;
    Corrupted out;
    const size_t n = stored.size();
    for (size_t i = 0; i < n;) {
        if (early[i] >= 0) {
            ++i;
            continue;
        }
        const long after = i > 0 ? early[i - 1] : -1;
        size_t end = i;
        while (end < n && early[end] < 0) ++end;
        const long before = end == n ? m : std::max(early[end], late[end]);
        const int unmatched = static_cast<int>(end - i);
        int explained = 0;
        for (size_t k : shortFrames)
            explained += static_cast<long>(k) > after && static_cast<long>(k) < before;
        out.damagedOnPurpose += std::min(unmatched, explained);
        out.fromIntactFrames += unmatched - std::min(unmatched, explained);
        i = end;
    }
    return out;
}

struct Family {
    const char* model;
    bool sar;
    std::vector<std::string> faults;  // "%d" stands for a random packet or frame number
};

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    kelp::platform::ChooseEventDispatcher();
    QApplication app(argc, argv);
    const int runs = argc > 1 ? std::atoi(argv[1]) : 200;
    std::mt19937 random(argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1u);
    const auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };

    const Family families[] = {
        {"Zylo570",
         true,
         {"", "sar-noise:%d", "garble:%d:17", "long-packet:%d", "silent-after:%d"}},
        {"Zylo580", false, {"", "frame-noise:%d", "short-frame:%d:5", "silent-after:%d"}},
        {"Zylo520", true, {"", "sar-noise:%d", "garble:%d:99", "long-packet:%d"}},
        {"Zylo581", false, {"", "frame-noise:%d", "short-frame:%d:11", "silent-after:%d"}},
    };

    kelp::platform::RecordingMessageSink messages;
    kelp::shell::ApplicationOptions options;
    options.programFolder = KELP_PROGRAM_DIR;
    options.listSystemPorts = false;
    options.virtualBoard = false;
    Application kelp(options, &messages);
    QWidget* main = kelp.mainWindow();
    main->findChild<QComboBox*>("ComSelect")->setCurrentIndex(1);

    // KELP_SOAK_MODEL=<model> runs that family alone.
    const Family* only = nullptr;
    for (const Family& f : families)
        if (qEnvironmentVariable("KELP_SOAK_MODEL") == f.model) only = &f;

    // One log per soak, so that two soaks at once do not read each other's codes.
    const fs::path log =
        fs::temp_directory_path() / ("kelp-soak-board-" + std::to_string(getpid()) + ".log");
    int completed = 0, faults = 0, messagesShown = 0;
    Corrupted bad;
    long rssStart = 0;
    const long rssBefore = residentKb();
    const double t0 = kelp::bench::wallSeconds();
    for (int r = 0; r < runs; ++r) {
        const Family& family = only ? *only : families[r % 4];
        const bool sar = family.sar;
        const int samples = sar ? 100 * (1 + pick(6)) : 10 + pick(20);
        int at = 1 + pick(sar ? samples / 100 : samples);
        std::string fault =
            family.faults[static_cast<size_t>(pick(static_cast<int>(family.faults.size())))];
        // A silent sigma-delta target costs a second a sample: only the last two go missing.
        const bool silent = fault.rfind("silent-after", 0) == 0;
        if (silent && !sar) at = samples - 2;
        // Frame K sent short runs into frame K + 1; both are damaged on purpose.
        std::vector<size_t> shortFrames;
        if (fault.rfind("short-frame", 0) == 0) shortFrames = {static_cast<size_t>(at - 1)};
        if (const size_t p = fault.find("%d"); p != std::string::npos)
            fault.replace(p, 2, std::to_string(at));
        QStringList args{"--model", family.model, "--log", QString::fromStdString(log.string())};
        if (sar) args << "--no-pacing";
        if (!fault.empty()) args << "--fault" << QString::fromStdString(fault);
        fs::remove(log);
        kelp::bench::Board board(args);
        if (!kelp::bench::started(board)) return 1;

        // The next model through the main window, as a user would go on.
        kelp.link().port().setPortName(board.device());
        main->findChild<QComboBox*>("VantorCombobox")->setCurrentText(family.model);
        main->findChild<QPushButton*>("NextButton")->click();
        QWidget* window = kelp.evaluationWindow();
        if (!window) return 1;
        for (QComboBox* list : window->findChildren<QComboBox*>()) {
            const QString name = list->objectName();
            if (name == "NumSamples" || name == "CDBits" || list->count() < 2 || !list->isEnabled())
                continue;
            // Slow update rates would only make the soak longer.
            const int position = name == "SF" ? pick(2) : pick(list->count());
            list->setCurrentIndex(position);
            emit list->activated(position);
        }
        if (!sar) {
            window->findChild<QCheckBox*>("PrimaryADCButton")->setChecked(true);
            window->findChild<QCheckBox*>("chopEnChkBox")->setChecked(pick(2) == 0);
        }
        window->findChild<QComboBox*>("NumSamples")->setEditText(QString::number(samples));

        auto& state = kelp.state();
        constexpr long kUntouched = -12345;
        if (sar)
            state.sar.SampleBuffer.fill(static_cast<int16_t>(kUntouched));
        else
            state.sd.PrimaryCodeBuffer.fill(static_cast<int32_t>(kUntouched));
        messages.messages.clear();
        window->findChild<QPushButton*>("RunButton")->click();

        const int count = state.run.SampleCount;
        std::vector<long> stored;
        for (int i = 0; i < count; ++i)
            stored.push_back(sar ? state.sar.SampleBuffer[static_cast<size_t>(i)]
                                 : state.sd.PrimaryCodeBuffer[static_cast<size_t>(i)]);
        const Corrupted wrong = corrupted(sentCodes(log, sar), stored, kUntouched, shortFrames);
        const bool analysed = sar ? kelp.sarAnalysis() && kelp.sarAnalysis()->isVisible()
                                  : kelp.sdAnalysis() && kelp.sdAnalysis()->isVisible();
        // A silent SAR target ends the run early, with the packets that came.
        const bool ok = analysed && (sar && silent ? count == 100 * at : count == samples);
        completed += ok;
        faults += ok && !fault.empty();
        bad.damagedOnPurpose += wrong.damagedOnPurpose;
        bad.fromIntactFrames += wrong.fromIntactFrames;
        messagesShown += static_cast<int>(messages.messages.size());
        if (!ok || wrong.damagedOnPurpose || wrong.fromIntactFrames)
            std::printf(
                "  run %d %s %s: %d of %d samples, not sent by the board: %d from the short "
                "frame, %d from intact frames%s\n",
                r, family.model, fault.empty() ? "no fault" : fault.c_str(), count, samples,
                wrong.damagedOnPurpose, wrong.fromIntactFrames, analysed ? "" : ", no analysis");
        if (r == 3) rssStart = residentKb();  // after one run of each model: fonts, windows
        if (std::getenv("KELP_SOAK_RSS") && r % 10 == 9)
            std::printf("  after %d runs %ld kB, %lld widgets\n", r + 1, residentKb(),
                        static_cast<long long>(QApplication::allWidgets().size()));
    }
    const long rssEnd = residentKb();
    const double growth = rssStart ? 100.0 * static_cast<double>(rssEnd - rssStart) / rssStart : 0;
    std::printf("soak: %d acquisitions, %s, random settings and faults\n", runs,
                only ? only->model : "families alternating");
    std::printf("  runs completed %d of %d, faults survived %d, message boxes %d\n", completed,
                runs, faults, messagesShown);
    std::printf(
        "  resident memory %ld kB before, %ld kB after the first four runs, %ld kB at "
        "the end: growth %.2f %% (target < 5 %%)\n",
        rssBefore, rssStart, rssEnd, growth);
    std::printf("  samples damaged by a frame the board sent short on purpose: %d\n",
                bad.damagedOnPurpose);
    std::printf("  samples corrupted from intact frames: %d (target: none)\n",
                bad.fromIntactFrames);
    std::printf("  wall %.1f s\n", kelp::bench::wallSeconds() - t0);
    fs::remove(log);
    return completed == runs && bad.fromIntactFrames == 0 && growth < 5 ? 0 : 1;
}
