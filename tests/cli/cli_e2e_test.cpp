// kelp-cli as a script would run it, with no display, against kelp-board on a pseudo-terminal.

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <algorithm>

#include "e2e/e2etools.h"

namespace kelp::testing {
namespace {

struct CliRun {
    int status = -1;
    std::string out, err;
};

CliRun runCli(const QStringList& args) {
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) env.remove(name);
    p.setProcessEnvironment(env);
    p.start(QStringLiteral(KELP_CLI_EXE), args);
    p.waitForFinished(120000);
    CliRun r{p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
             p.readAllStandardOutput().toStdString(), p.readAllStandardError().toStdString()};
    return r;
}

QJsonObject json(const CliRun& r) {
    return QJsonDocument::fromJson(QByteArray::fromStdString(r.out)).object();
}

std::string qs(const QJsonValue& v) { return v.toString().toStdString(); }

TEST(CliEndToEnd, UsageNeedsNoDisplayAndSaysWhatIsWrong) {
    const struct {
        QStringList args;
        int status;
        const char* text;  // in standard output for status 0, else in standard error
    } cases[] = {
        {{"measure", "--help"}, 0, "10 the target stopped answering"},
        {{"measure", "--model", "Zylo520", "--help"}, 0, "\" -- \" (6)"},
        {{"measure", "--port", "/dev/null", "--model", "Zylo599"}, 2, "The models: Zylo510"},
        {{"measure", "--port", "/dev/null", "--model", "Zylo570", "--set", "ADCRef=3"},
         2,
         "ADCRef has no entry \"3\""},
        {{"analyse", "/nonexistent.csv", "--model", "Zylo570"}, 12, "Could not read"},
        {{"frobnicate"}, 2, "no command \"frobnicate\""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        const CliRun r = runCli(c.args);
        EXPECT_EQ(r.status, c.status) << r.err;
        EXPECT_NE((c.status == 0 ? r.out : r.err).find(c.text), std::string::npos)
            << r.out << r.err;
    }
}

TEST(CliEndToEnd, DownloadStatusAndTextPerStep) {
    const struct {
        const char* fault;  // nullptr: none
        int status;
        const char* text;
    } cases[] = {
        {nullptr, 0, "Zylo570 version 2.1 (SAR) runs its measurement firmware.\n"},
        {"no-reset-answer", 4, "Error: Could not RESET the device\n\nPlease ensure that...\n\n1."},
        {"nak:erase", 5,
         "Error: Could not ERASE code.\nkelp-cli download: failed (exit status 5)."},
        {"nak:record:3", 7, "Error: Could not DOWNLOAD Code."},
        {"silent:run", 8, "Error: Could not RUN Code."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault ? c.fault : "no fault");
        const fs::path dir = freshFolder("cli-download");
        QStringList args{"--model",
                         "Zylo570",
                         "--start",
                         "loader",
                         "--no-pacing",
                         "--log",
                         QString::fromStdString((dir / "board.log").string())};
        if (c.fault) args << "--fault" << c.fault;
        BoardProcess board(args);
        ASSERT_FALSE(board.device().empty()) << board.errorOutput();
        const CliRun r = runCli({"download", "--port", QString::fromStdString(board.device())});
        EXPECT_EQ(r.status, c.status) << r.err;
        EXPECT_NE((c.status == 0 ? r.out : r.err).find(c.text), std::string::npos)
            << r.out << r.err;
        const auto log = boardLog(dir / "board.log");
        EXPECT_EQ(std::count(log.begin(), log.end(), "RUN"),
                  c.status == 0 || c.status == 8 ? 1 : 0);
        fs::remove_all(dir);
    }
    EXPECT_EQ(runCli({"download", "--port", "/dev/kelp-no-such-port"}).status, 3);
}

TEST(CliEndToEnd, MeasureMatchesTheBoardsCodesAndAnalyseTheCsv) {
    const struct {
        const char* model;
        QStringList sets;
        int samples;
        const char* block;       // where the primary figures sit in "figures"; "" for SAR
        const char* configLine;  // the configuration as the board heard it
        std::vector<std::string> dividers;
    } cases[] = {
        {"Zylo570",
         {"ADCChan=ADC3", "DAC0Button=1", "DAC0Data=800"},
         1000,
         "",
         "CONFIG 43 90 03 00 0D 08 00 00 00",
         {}},
        {"Zylo580",
         {"AuxillaryADCButton=1", "SF=0D", "PrimaryInputRange=3"},
         100,
         "primary",
         "CONFIG 43 ",
         {"DIVIDER 0 @57600", "DIVIDER 3 @57600"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        const fs::path dir = freshFolder(std::string("cli-measure-") + c.model);
        BoardProcess board({"--model", c.model, "--no-pacing", "--log",
                            QString::fromStdString((dir / "board.log").string())});
        ASSERT_FALSE(board.device().empty()) << board.errorOutput();
        const QString csv = QString::fromStdString((dir / "samples.csv").string());
        QStringList args{"measure",
                         "--port",
                         QString::fromStdString(board.device()),
                         "--model",
                         c.model,
                         "--samples",
                         QString::number(c.samples),
                         "--json",
                         "--csv",
                         csv};
        for (const QString& s : c.sets) args << "--set" << s;
        const CliRun measured = runCli(args);
        ASSERT_EQ(measured.status, 0) << measured.err;

        const auto log = readLines(dir / "board.log");
        const auto config = std::find_if(
            log.begin(), log.end(), [](const std::string& l) { return l.rfind("CONFIG", 0) == 0; });
        ASSERT_NE(config, log.end());
        EXPECT_EQ(config->rfind(c.configLine, 0), 0u) << *config;
        for (const std::string& divider : c.dividers)
            EXPECT_NE(std::find(log.begin(), log.end(), divider), log.end()) << divider;

        // The figures again, from the codes the board sent, without the program's code.
        std::vector<long> codes = loggedCodes(dir / "board.log", *c.block ? 0 : -1);
        ASSERT_GE(codes.size(), static_cast<size_t>(c.samples));
        codes.resize(static_cast<size_t>(c.samples));
        const auto [lo, hi] = std::minmax_element(codes.begin(), codes.end());
        double sum = 0;
        for (long v : codes) sum += static_cast<double>(v);
        const QJsonObject all = json(measured);
        const QJsonObject figures = all["figures"].toObject();
        const QJsonObject f = *c.block ? figures[c.block].toObject() : figures;
        EXPECT_EQ(all["samples"].toInt(), c.samples);
        EXPECT_EQ(qs(f["max_code"]), hexText(*hi));
        EXPECT_EQ(qs(f["min_code"]), hexText(*lo));
        EXPECT_EQ(qs(f["peak_to_peak_codes"]), std::to_string(*hi - *lo));
        EXPECT_EQ(qs(f["sample_count"]), std::to_string(c.samples));
        EXPECT_NEAR(std::stod(qs(f["mean_code"])), sum / c.samples, 0.01);

        // The CSV read back gives the same figures, settings as given.
        QStringList again{"analyse", csv, "--model", c.model, "--json"};
        for (const QString& s : c.sets) again << "--set" << s;
        const CliRun analysed = runCli(again);
        ASSERT_EQ(analysed.status, 0) << analysed.err;
        EXPECT_EQ(json(analysed)["figures"].toObject(), figures);
        fs::remove_all(dir);
    }
}

}  // namespace
}  // namespace kelp::testing
