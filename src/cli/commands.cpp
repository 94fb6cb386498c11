#include "cli/commands.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>

#include "analysis/samplescsv.h"
#include "cli/headless.h"
#include "cli/report.h"
#include "cli/sarsettings.h"
#include "cli/sdsettings.h"
#include "link/link.h"
#include "link/runstate.h"
#include "link/targetport.h"
#include "loader/download.h"
#include "loader/downloadtexts.h"
#include "loader/serialloader.h"
#include "platform/qteventqueue.h"
#include "platform/qtserialport.h"
#include "platform/qtticktimer.h"
#include "sar/sarsetup.h"
#include "shell/catalogue.h"
#include "sigmadelta/clockdivider.h"
#include "sigmadelta/sdresults.h"
#include "sigmadelta/sdsetup.h"

namespace kelp::cli {

namespace {

constexpr const char* kFirmwareLinkSettings = "57600,N,8,1";

const char* const kMainHelp =
    "Usage: kelp-cli COMMAND [OPTIONS]\n"
    "Drives a Vantor evaluation board without a window: the same download, runs and noise\n"
    "figures as KELP.\n"
    "\n"
    "Commands:\n"
    "  download   load the measurement firmware into the chip\n"
    "  measure    configure the converter, run, print the analysis figures\n"
    "  analyse    print the analysis figures of samples saved as CSV\n"
    "\n"
    "kelp-cli COMMAND --help tells more. Exit status 0 is success, 2 a usage error; each\n"
    "command lists its own.\n";

const char* const kDownloadHelp =
    "Usage: kelp-cli download --port DEVICE [--image FILE]\n"
    "Resets and identifies the chip on DEVICE (9600 baud), erases it, checks the firmware\n"
    "image of the model it names, writes it record by record and starts it. Progress goes to\n"
    "standard error; the model and loader version to standard output.\n"
    "\n"
    "Options:\n"
    "  --port DEVICE   the serial device, e.g. /dev/ttyUSB0\n"
    "  --image FILE    this image instead of the model's own from the ASM folder\n"
    "\n"
    "Exit status:\n"
    "  0 the firmware runs          2 usage error\n"
    "  3 port not opened            4 no answer to the reset\n"
    "  5 erase not acknowledged     6 image check failed\n"
    "  7 a record not acknowledged  8 start not acknowledged\n"
    "  9 the chip named a model without firmware\n";

const char* const kMeasureHelp =
    "Usage: kelp-cli measure --port DEVICE --model MODEL [--samples N] [--set NAME=VALUE ...]\n"
    "                        [--json] [--csv FILE]\n"
    "Configures the converter of MODEL as its evaluation window would after loading, changed by\n"
    "every --set, runs an acquisition of N samples at 57600 baud (9600 on a sigma-delta model\n"
    "at divider 3) and prints every figure of the analysis window, each as the window's text.\n"
    "A sigma-delta model is sent its clock divider first, as the window does when it loads.\n"
    "\n"
    "Options:\n"
    "  --port DEVICE     the serial device the firmware talks on\n"
    "  --model MODEL     Zylo510 .. Zylo582\n"
    "  --samples N       1..10000 on SAR models (taken in packets of 100), 1..2000 on\n"
    "                    sigma-delta models; by default the window's (4000 and 500)\n"
    "  --set NAME=VALUE  a control of the window by its name (repeatable); a list entry by its\n"
    "                    text or its position from 0; a switch as 1 or 0; hex boxes in hex\n"
    "  --json            print JSON instead of text\n"
    "  --csv FILE        also write the samples: index,code,volts (both sigma-delta\n"
    "                    converters: index,primary_code,primary_volts,aux_code,aux_volts)\n"
    "\n"
    "Exit status:\n"
    "  0 the run completed          2 usage error (unknown model, setting or value)\n"
    "  3 port not opened            10 the target stopped answering (figures of what came)\n"
    "  11 the port stopped working (figures of what came)\n"
    "  12 the CSV file could not be written\n"
    "\n"
    "Settings of a model: kelp-cli measure --model MODEL --help. For the defaults:\n";

const char* const kAnalyseHelp =
    "Usage: kelp-cli analyse FILE.csv --model MODEL [--set NAME=VALUE ...] [--json]\n"
    "Prints the figures of the analysis window for samples saved by --csv (or by the\n"
    "window's Export Samples as CSV). The settings the figures depend on (reference, range,\n"
    "mode, channel texts) are the model's defaults, changed by --set as for measure. A\n"
    "sigma-delta CSV with two code columns switches both converters on; with one column the\n"
    "converter that is on takes it. A 16-bit sigma-delta model's RMS noise is taken over the\n"
    "codes times 256, as the run receives them with the third byte zero.\n"
    "\n"
    "Exit status: 0 figures printed, 2 usage error, 12 the file unreadable or not such a CSV.\n";

struct Failure {
    int status;
    std::string message;
};

// The windows' line breaks for a terminal: CR LF and a lone CR each become LF, so that the
// CR CR LF of a paragraph stays a blank line.
std::string plain(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        out += text[i] == '\r' ? '\n' : text[i];
    }
    return out;
}

struct Options {
    std::string command;
    std::string port, image, model, file, csv;
    std::optional<int> samples;
    Assignments sets;
    bool json = false;
    bool help = false;
};

std::optional<Failure> parse(const std::vector<std::string>& args, Options& o) {
    const auto usage = [&](const std::string& text) {
        return Failure{kUsage, text + "\nkelp-cli " + o.command + " --help lists the options."};
    };
    for (size_t i = 1; i < args.size(); ++i) {
        std::string a = args[i];
        std::string value;
        bool inlineValue = false;
        if (a.rfind("--", 0) == 0) {
            if (const size_t eq = a.find('='); eq != std::string::npos) {
                value = a.substr(eq + 1);
                a.erase(eq);
                inlineValue = true;
            }
        }
        const auto take = [&]() -> std::optional<std::string> {
            if (inlineValue) return value;
            if (i + 1 >= args.size()) return std::nullopt;
            return args[++i];
        };
        if (a == "--help" || a == "-h") {
            o.help = true;
            continue;
        }
        if (a == "--json") {
            o.json = true;
            continue;
        }
        std::string* target = a == "--port"    ? &o.port
                              : a == "--image" ? &o.image
                              : a == "--model" ? &o.model
                              : a == "--csv"   ? &o.csv
                                               : nullptr;
        if (target || a == "--samples" || a == "--set") {
            const auto v = take();
            if (!v) return usage(a + " needs a value.");
            if (target) {
                *target = *v;
            } else if (a == "--samples") {
                const bool digits =
                    !v->empty() && v->size() < 7 && std::all_of(v->begin(), v->end(), ::isdigit);
                if (!digits) return usage("--samples takes a whole number, not \"" + *v + "\".");
                o.samples = std::stoi(*v);
            } else {
                const size_t eq = v->find('=');
                if (eq == std::string::npos || eq == 0)
                    return usage("--set takes NAME=VALUE, not \"" + *v + "\".");
                o.sets.emplace_back(v->substr(0, eq), v->substr(eq + 1));
            }
            continue;
        }
        if (a.rfind("-", 0) == 0 || !o.file.empty() || o.command != "analyse")
            return usage("Unknown argument \"" + args[i] + "\".");
        o.file = a;
    }
    return std::nullopt;
}

const shell::TargetDevice* modelOf(const Options& o, std::optional<Failure>& failure) {
    if (o.model.empty()) {
        failure =
            Failure{kUsage, "--model is missing: name the board's model (Zylo510 .. Zylo582)."};
        return nullptr;
    }
    const shell::TargetDevice* device = shell::findDevice(o.model);
    if (!device) {
        std::string names;
        for (const shell::TargetDevice& d : shell::catalogue())
            names += (names.empty() ? "" : ", ") + d.modelName;
        failure =
            Failure{kUsage, "There is no model \"" + o.model + "\". The models: " + names + "."};
    }
    return device;
}

// The shared devices of a command that talks to the board.
struct Devices {
    explicit Devices(const std::string& device) : link(port, timer, events) {
        port.setPortName(device);
    }
    ~Devices() { port.close(); }
    platform::QtSerialPort port;
    platform::QtTickTimer timer;
    platform::QtEventQueue events;
    link::Link link;
};

// ---- download ----

int statusOfStep(const loader::DownloadResult& r) {
    using loader::DownloadStep;
    switch (r.reached) {
        case DownloadStep::OpenPort:
            return kPortNotOpened;
        case DownloadStep::Reset:
            return kNoResetAnswer;
        case DownloadStep::Erase:
            return kEraseFailed;
        case DownloadStep::CheckImage:
            return r.unknownModel ? kUnknownChip : kImageRejected;
        case DownloadStep::Transfer:
            return kTransferFailed;
        case DownloadStep::Run:
            return kRunFailed;
        case DownloadStep::Done:
            break;
    }
    return kOk;
}

int download(const Options& o, const std::string& programFolder, std::FILE* out, std::FILE* err) {
    if (o.port.empty()) {
        std::fprintf(err, "kelp-cli download: --port is missing: name the serial device.\n");
        return kUsage;
    }
    Devices d(o.port);
    loader::LoaderState state;
    StderrProgress progress;
    loader::DownloadHooks hooks;
    std::string identity;
    hooks.imageFor = [&](const std::string& model) {
        const shell::TargetDevice* device = shell::findDevice(model);
        if (!device) return std::string();
        return o.image.empty() ? shell::imagePath(programFolder, *device) : o.image;
    };
    hooks.identified = [&](const std::string& model, const std::string& version) {
        identity = model + " version " + version;
        std::fprintf(err, "%s; erasing and checking the image\n", identity.c_str());
    };
    std::fprintf(err, "Resetting the chip on %s\n", o.port.c_str());
    const loader::DownloadResult result = loader::RunDownload(d.link, state, progress, hooks);
    for (const loader::DownloadMessage& m :
         loader::DownloadMessages(result, o.port, state.ModelName)) {
        const std::string title = m.title == "Warning" ? "" : m.title + ": ";
        std::fprintf(err, "%s%s\n", title.c_str(), plain(m.text).c_str());
    }
    const int status = statusOfStep(result);
    if (status != kOk) {
        std::fprintf(err, "kelp-cli download: failed (exit status %d).\n", status);
        return status;
    }
    const shell::TargetDevice* device = shell::findDevice(state.ModelName);
    std::fprintf(out, "%s (%s) runs its measurement firmware.\n", identity.c_str(),
                 device ? shell::familyTag(device->family).c_str() : "?");
    return kOk;
}

// ---- measure and analyse ----

struct Header {
    std::string command, model, family, source;  // source: the port or the file
};

Node::List headerNodes(const Header& h) {
    return {Text("command", h.command), Text("model", h.model), Text("family", h.family),
            Text(h.command == "measure" ? "port" : "file", h.source)};
}

Node settingsNode(const ControlSet& set, std::vector<std::pair<std::string, std::string>> extra) {
    Node::List out;
    for (const Control& c : set.all()) {
        if (c.kind == ControlKind::Switch)
            out.push_back(Flag(c.name, c.on));
        else
            out.push_back(Text(c.name, c.shown()));
    }
    for (auto& [k, v] : extra) out.push_back(Text(k, v));
    return Group("settings", std::move(out));
}

std::optional<Failure> writeFile(const std::string& path, const std::string& text) {
    std::ofstream f(path, std::ios::binary);
    f << text;
    f.close();
    if (!f)
        return Failure{kFileError, "Could not write the samples to " + path +
                                       ": check that its folder exists and may be written."};
    return std::nullopt;
}

void print(std::FILE* out, const Options& o, Node::List nodes) {
    const Node root = Group("", std::move(nodes));
    const std::string text = o.json ? ToJson(root) : ToText(root);
    std::fputs(text.c_str(), out);
}

int runOutcomeStatus(const link::RunResult& r) {
    switch (r.outcome) {
        case link::RunOutcome::PortBusy:
            return kPortNotOpened;
        case link::RunOutcome::TooManySamples:
            return kUsage;
        case link::RunOutcome::TargetSilent:
            return kTargetSilent;
        case link::RunOutcome::PortFailed:
            return kPortLost;
        case link::RunOutcome::Completed:
        case link::RunOutcome::Stopped:
        case link::RunOutcome::Aborted:
            break;
    }
    return kOk;
}

const char* outcomeName(link::RunOutcome o) {
    switch (o) {
        case link::RunOutcome::PortBusy:
            return "port_busy";
        case link::RunOutcome::TooManySamples:
            return "too_many_samples";
        case link::RunOutcome::Completed:
            return "completed";
        case link::RunOutcome::Stopped:
            return "stopped";
        case link::RunOutcome::TargetSilent:
            return "target_silent";
        case link::RunOutcome::PortFailed:
            return "port_failed";
        case link::RunOutcome::Aborted:
            return "aborted";
    }
    return "";
}

struct SarAnalysed {
    analysis::SarRunSettings settings;
    analysis::SarRunData data;
};

struct SdAnalysed {
    analysis::SdAnalysisInput input;
};

std::optional<Failure> measureSar(const Options& o, SarSettings& s, int samples, Devices& d,
                                  Node::List& nodes, link::RunResult& result, std::string& csv) {
    d.link.applySettings(kFirmwareLinkSettings);
    link::RunState run;
    auto results = std::make_unique<sar::SarResults>();
    HeadlessSarView view(s.configuration(), std::to_string(samples));
    sar::SarRun runner(d.link, run, *results, view);
    result = runner.execute();
    if (result.outcome == link::RunOutcome::PortBusy) return std::nullopt;

    analysis::SarRunSettings settings = s.runSettings();
    settings.GraphMaxLabel = view.graph.upperLabel;
    settings.GraphMidLabel = view.graph.middleLabel;
    settings.GraphMinLabel = view.graph.lowerLabel;
    settings.graphUpperBound = view.graph.upper;
    settings.graphLowerBound = view.graph.lower;
    const analysis::SarRunData data{results->SampleBuffer, run.SampleCount, results->MinCode,
                                    results->MaxCode};
    nodes.push_back(
        settingsNode(s.controls(), {{"ConversionTimeTextbox", settings.ConversionTimeTextbox},
                                    {"SampFreqTextbox", settings.SampFreqTextbox},
                                    {"NumSamples", std::to_string(samples)}}));
    nodes.push_back(SarFigureNodes(settings, data));
    if (!o.csv.empty()) csv = analysis::SarSamplesCsv(settings, data);
    return std::nullopt;
}

analysis::SdRunResults sdResultsOf(const sigmadelta::SdResults& r, int count) {
    return {r.PrimaryCodeBuffer, r.PrimaryRawBuffer, r.AuxCodeBuffer, r.PrimaryMinCode,
            r.PrimaryMaxCode,    r.AuxMinCode,       r.AuxMaxCode,    count};
}

std::vector<std::pair<std::string, std::string>> sdExtras(const SdSettings& s, int samples) {
    return {{"AuxInputRange", s.auxInputRange()},
            {"ConversionRate", s.conversionRate()},
            {"PLLCONSFR", s.pllcon()},
            {"NumSamples", std::to_string(samples)}};
}

constexpr int kDividerSettleMs = 50;

std::optional<Failure> measureSd(const Options& o, SdSettings& s, int samples, Devices& d,
                                 Node::List& nodes, link::RunResult& result, std::string& csv) {
    d.link.applySettings(kFirmwareLinkSettings);
    sigmadelta::SdLinkState state;
    // As the window's set-up: divider 0 while loading, then the model's or the chosen one.
    std::vector<int> positions{0};
    if (s.dividerPosition() != 0) positions.push_back(s.dividerPosition());
    for (const int position : positions) {
        const sigmadelta::DividerSent sent =
            sigmadelta::ChooseClockDivider(d.link, state, position);
        if (!sent.sent) {
            result = {link::RunOutcome::PortBusy, 0, sent.openError};
            return std::nullopt;
        }
    }
    // The chip takes a divider command at the old speed and only then switches; a run that
    // follows at once (no user clicks in between here) must leave it that time.
    if (positions.size() > 1) d.link.pause(kDividerSettleMs);
    link::RunState run;
    auto results = std::make_unique<sigmadelta::SdResults>();
    const sigmadelta::SdConfiguration config = s.configuration();
    HeadlessSdView view(config, std::to_string(samples));
    sigmadelta::SdRun runner(d.link, run, *results, state, view);
    result = runner.execute(s.model(), s.is58XGroup());
    if (result.outcome == link::RunOutcome::PortBusy) return std::nullopt;

    analysis::SdAnalysisInput input;
    input.ModelName = s.model();
    input.results = sdResultsOf(*results, run.SampleCount);
    input.settings = s.runSettings();
    const auto copy = [](const HeadlessTrace& t) {
        return analysis::ChartCopy{t.upper, t.lower, t.upperLabel, t.middleLabel, t.lowerLabel};
    };
    input.settings.Graph = copy(view.graph);
    input.settings.AuxGraph = copy(view.auxGraph);
    nodes.push_back(settingsNode(s.controls(), sdExtras(s, samples)));
    nodes.push_back(SdFigureNodes(input));
    if (!o.csv.empty()) csv = analysis::SdSamplesCsv(input);
    return std::nullopt;
}

int measure(const Options& o, std::FILE* out, std::FILE* err) {
    std::optional<Failure> failure;
    const auto fail = [&](const Failure& f) {
        std::fprintf(err, "kelp-cli measure: %s\n", plain(f.message).c_str());
        return f.status;
    };
    const shell::TargetDevice* device = modelOf(o, failure);
    if (!device) return fail(*failure);
    if (o.port.empty()) return fail({kUsage, "--port is missing: name the serial device."});
    const bool sar = device->family == shell::DeviceFamily::SAR;
    const int limit = sar ? sar::kMaxSamples : sigmadelta::kMaxSamples;
    const int samples = o.samples.value_or(std::stoi(std::string(
        sar ? sar::NumSamplesEntries()[static_cast<size_t>(sar::kLoadDefaults.numSamples)]
            : sigmadelta::NumSamplesEntries()[static_cast<size_t>(
                  sigmadelta::kCommonSetup.numSamples)])));
    if (samples < 1 || samples > limit)
        return fail({kUsage, "--samples takes 1 to " + std::to_string(limit) + " on " + o.model +
                                 ", not " + std::to_string(samples) + "."});

    Node::List nodes = headerNodes({"measure", o.model, shell::familyTag(device->family), o.port});
    Devices d(o.port);
    link::RunResult result;
    std::string csv;
    if (sar) {
        SarSettings s(o.model);
        if (auto error = s.apply(o.sets)) return fail({kUsage, *error});
        failure = measureSar(o, s, samples, d, nodes, result, csv);
    } else {
        SdSettings s(o.model, device->is58XGroup);
        if (auto error = s.apply(o.sets)) return fail({kUsage, *error});
        failure = measureSd(o, s, samples, d, nodes, result, csv);
    }
    if (failure) return fail(*failure);
    if (result.outcome == link::RunOutcome::PortBusy)
        return fail({kPortNotOpened, link::RunOutcomeText(result, o.port)});
    nodes.insert(nodes.begin() + 4, Text("outcome", outcomeName(result.outcome)));
    nodes.insert(nodes.begin() + 5, Integer("samples", result.samples));
    print(out, o, std::move(nodes));
    if (!o.csv.empty())
        if (auto error = writeFile(o.csv, csv)) return fail(*error);
    if (const int status = runOutcomeStatus(result); status != kOk)
        return fail({status, link::RunOutcomeText(result, o.port)});
    return kOk;
}

std::optional<std::string> readWhole(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    if (!f) return std::nullopt;
    std::stringstream s;
    s << f.rdbuf();
    return s.str();
}

std::pair<int32_t, int32_t> extremes(const std::vector<int32_t>& codes, int32_t noMin) {
    if (codes.empty()) return {noMin, 0};
    const auto [lo, hi] = std::minmax_element(codes.begin(), codes.end());
    return {*lo, *hi};
}

int analyse(const Options& o, std::FILE* out, std::FILE* err) {
    std::optional<Failure> failure;
    const auto fail = [&](const Failure& f) {
        std::fprintf(err, "kelp-cli analyse: %s\n", plain(f.message).c_str());
        return f.status;
    };
    const shell::TargetDevice* device = modelOf(o, failure);
    if (!device) return fail(*failure);
    if (o.file.empty()) return fail({kUsage, "Name the CSV file to analyse."});
    const auto text = readWhole(o.file);
    if (!text) return fail({kFileError, "Could not read " + o.file + ": check the path."});
    std::string error;
    const auto csv = analysis::ReadSamplesCsv(*text, &error);
    if (!csv) return fail({kFileError, o.file + ": " + error});

    Node::List nodes = headerNodes({"analyse", o.model, shell::familyTag(device->family), o.file});
    if (device->family == shell::DeviceFamily::SAR) {
        SarSettings s(o.model);
        if (auto e = s.apply(o.sets)) return fail({kUsage, *e});
        if (csv->hasAux)
            return fail({kFileError, o.file + " holds two converters; a SAR run has one."});
        if (csv->primary.size() > static_cast<size_t>(sar::kMaxSamples))
            return fail({kFileError,
                         o.file + " holds more than 10000 samples, more than a SAR run keeps."});
        auto buffer = std::make_unique<sar::SarResults>();
        for (size_t k = 0; k < csv->primary.size(); ++k) {
            const int32_t code = csv->primary[k];
            if (code < 0 || code > 32767)
                return fail({kFileError, o.file + ": code " + std::to_string(code) + " of sample " +
                                             std::to_string(k + 1) + " is no SAR code."});
            buffer->SampleBuffer[k + 1] = static_cast<int16_t>(code);
        }
        const auto [lo, hi] = extremes(csv->primary, 4096);
        const analysis::SarRunData data{buffer->SampleBuffer, static_cast<int>(csv->primary.size()),
                                        lo, hi};
        const analysis::SarRunSettings settings = s.runSettings();
        nodes.push_back(
            settingsNode(s.controls(), {{"ConversionTimeTextbox", settings.ConversionTimeTextbox},
                                        {"SampFreqTextbox", settings.SampFreqTextbox}}));
        nodes.push_back(SarFigureNodes(settings, data));
    } else {
        SdSettings s(o.model, device->is58XGroup);
        if (auto e = s.apply(o.sets)) return fail({kUsage, *e});
        if (csv->hasAux) s.switchBothOn();
        const analysis::SdRunSettings settings = s.runSettings();
        const size_t count = std::max(csv->primary.size(), csv->aux.size());
        if (count > static_cast<size_t>(sigmadelta::kMaxSamples))
            return fail(
                {kFileError,
                 o.file + " holds more than 2000 samples, more than a sigma-delta run keeps."});
        // One column belongs to the converter that is on.
        const bool toAux = !csv->hasAux && !settings.PrimaryADCButton;
        if (!csv->hasAux && !settings.PrimaryADCButton && !settings.AuxillaryADCButton)
            return fail({kUsage, "Both converters are off: switch one on for the codes of " +
                                     o.file + "."});
        const std::vector<int32_t>& primary = toAux ? std::vector<int32_t>{} : csv->primary;
        const std::vector<int32_t>& aux = toAux ? csv->primary : csv->aux;
        auto r = std::make_unique<sigmadelta::SdResults>();
        const int shift = 24 - sigmadelta::PrimaryCodeBits(o.model);
        for (size_t i = 0; i < primary.size(); ++i) {
            r->PrimaryCodeBuffer[i] = primary[i];
            r->PrimaryRawBuffer[i] = primary[i] << shift;
        }
        for (size_t i = 0; i < aux.size(); ++i) r->AuxCodeBuffer[i] = aux[i];
        const sigmadelta::RunExtremes start = sigmadelta::StartingExtremes(o.model);
        std::tie(r->PrimaryMinCode, r->PrimaryMaxCode) = extremes(primary, start.PrimaryMinCode);
        std::tie(r->AuxMinCode, r->AuxMaxCode) = extremes(aux, start.AuxMinCode);
        analysis::SdAnalysisInput input;
        input.ModelName = o.model;
        input.results = sdResultsOf(*r, static_cast<int>(count));
        input.settings = settings;
        nodes.push_back(settingsNode(s.controls(), sdExtras(s, static_cast<int>(count))));
        nodes.push_back(SdFigureNodes(input));
    }
    print(out, o, std::move(nodes));
    return kOk;
}

std::string settingsHelp(const Options& o) {
    std::string text;
    const auto family = [&](const std::string& model) {
        const shell::TargetDevice* device = shell::findDevice(model);
        text += "\nSettings of " + model +
                (o.model.empty() ? " (other models differ in lists)" : "") + ":\n";
        if (device->family == shell::DeviceFamily::SAR)
            text += DescribeControls(SarSettings(model).controls());
        else
            text += DescribeControls(SdSettings(model, device->is58XGroup).controls());
    };
    if (shell::findDevice(o.model)) {
        family(o.model);
    } else {
        family("Zylo570");
        family("Zylo580");
    }
    return text;
}

}  // namespace

int RunCli(const std::vector<std::string>& args, const std::string& programFolder, std::FILE* out,
           std::FILE* err) {
    if (args.empty() || args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        std::fputs(kMainHelp, args.empty() ? err : out);
        return args.empty() ? kUsage : kOk;
    }
    if (args[0] == "--version") {
        std::fputs("kelp-cli 6.04\n", out);
        return kOk;
    }
    Options o;
    o.command = args[0];
    if (o.command == "analyze") o.command = "analyse";
    if (o.command != "download" && o.command != "measure" && o.command != "analyse") {
        std::fprintf(err, "kelp-cli: there is no command \"%s\".\n%s", args[0].c_str(), kMainHelp);
        return kUsage;
    }
    if (const auto failure = parse(args, o)) {
        std::fprintf(err, "kelp-cli %s: %s\n", o.command.c_str(), failure->message.c_str());
        return failure->status;
    }
    if (o.help) {
        if (o.command == "download") std::fputs(kDownloadHelp, out);
        if (o.command == "measure") std::fputs((kMeasureHelp + settingsHelp(o)).c_str(), out);
        if (o.command == "analyse") std::fputs(kAnalyseHelp, out);
        return kOk;
    }
    if (o.command == "download") return download(o, programFolder, out, err);
    if (o.command == "measure") return measure(o, out, err);
    return analyse(o, out, err);
}

}  // namespace kelp::cli
