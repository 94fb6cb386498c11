// Frame reception on a simulated line, frame parsing, and the sigma-delta results and chart
// scales assembled from the frames.
//
// Input: the line speed, the reading threshold, the model, then for each call of the receiver
// the pieces of text that arrive and when.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "fuzzing.h"
#include "link/link.h"
#include "link/rxdatapacket.h"
#include "sigmadelta/sdresults.h"
#include "simulatedline.h"

namespace {

using kelp::link::kFrameLength;
using kelp::link::kFrameTimeoutMs;
using kelp::link::PacketBytes;
using kelp::link::ParseFrame;
using kelp::link::WaitResult;
namespace sd = kelp::sigmadelta;

constexpr const char* kModels[] = {"Zylo530", "Zylo540", "Zylo560", "Zylo561",
                                   "Zylo580", "Zylo581", "Zylo582", "Zylo999"};

bool inByteRange(const PacketBytes& b) {
    return std::all_of(b.begin(), b.end(), [](int32_t v) { return v >= 0 && v <= 255; });
}

// A frame as the firmware writes it, in either case, reads back; cut short, it reads the
// fields that are there, a lone digit as itself, and zeros after.
void checkFrameText(FuzzedDataProvider& in) {
    PacketBytes bytes{};
    std::string frame = "\r";
    const bool lower = in.ConsumeBool();
    for (int32_t& b : bytes) {
        b = in.ConsumeIntegral<uint8_t>();
        char hex[3];
        std::snprintf(hex, sizeof hex, lower ? "%02x" : "%02X", b);
        frame += hex;
    }
    FUZZ_CHECK(frame.size() == static_cast<size_t>(kFrameLength));
    FUZZ_CHECK(ParseFrame(frame) == bytes);
    const size_t cut = in.ConsumeIntegralInRange<size_t>(0, frame.size());
    const PacketBytes part = ParseFrame(std::string_view(frame).substr(0, cut));
    for (size_t i = 0; i < bytes.size(); ++i) {
        const size_t end = 3 + 2 * i;  // one past the field's last digit
        if (cut >= end) FUZZ_CHECK(part[i] == bytes[i]);
        if (cut == end - 1) FUZZ_CHECK(part[i] == bytes[i] / 16);
        if (cut < end - 1) FUZZ_CHECK(part[i] == 0);
    }
}

struct Scales {
    sd::ChartScale primary, aux;
};

// The extremes follow every code; a bound moves only with an extreme and lies beyond it.
void followScales(std::string_view model, const PacketBytes& b, Scales& s) {
    const sd::SampleResults r = sd::AssembleResults(model, b);
    const int bits = sd::PrimaryCodeBits(model);
    FUZZ_CHECK(r.primaryRaw == (b[0] << 16 | b[1] << 8 | b[2]));
    FUZZ_CHECK(r.primaryCode >= 0 && r.primaryCode < (1 << bits));
    FUZZ_CHECK(r.primaryCode == r.primaryRaw >> (24 - bits));
    FUZZ_CHECK(r.auxCode >= 0 && r.auxCode < (sd::HasWideAux(model) ? 1 << 24 : 1 << 16));

    const sd::ScaleStep p = sd::SnappedScaleStep(s.primary, r.primaryCode);
    FUZZ_CHECK(p.scale.maxCode == std::max(s.primary.maxCode, r.primaryCode));
    FUZZ_CHECK(p.scale.minCode == std::min(s.primary.minCode, r.primaryCode));
    FUZZ_CHECK(p.refreshLabels ==
               (r.primaryCode > s.primary.maxCode || r.primaryCode < s.primary.minCode));
    if (r.primaryCode > s.primary.maxCode) {
        FUZZ_CHECK(p.scale.upperBound > r.primaryCode && p.scale.upperBound <= r.primaryCode + 16);
        FUZZ_CHECK(static_cast<int64_t>(p.scale.upperBound) % 16 == 0);
    }
    if (r.primaryCode < s.primary.minCode) {
        FUZZ_CHECK(p.scale.lowerBound < r.primaryCode && p.scale.lowerBound >= r.primaryCode - 31);
        FUZZ_CHECK(static_cast<int64_t>(p.scale.lowerBound) % 16 == 0);
    }
    const sd::ScaleStep a = sd::AuxScaleStep(model, s.aux, r.auxCode);
    FUZZ_CHECK(a.scale.maxCode == std::max(s.aux.maxCode, r.auxCode));
    FUZZ_CHECK(a.scale.minCode == std::min(s.aux.minCode, r.auxCode));
    if (!sd::HasWideAux(model)) {
        if (r.auxCode > s.aux.maxCode) FUZZ_CHECK(a.scale.upperBound == r.auxCode);
        if (r.auxCode < s.aux.minCode) FUZZ_CHECK(a.scale.lowerBound == r.auxCode);
    }
    s.primary = p.scale;
    s.aux = a.scale;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    kelp::fuzzing::SimulatedLine line;
    kelp::link::Link link(line.port, line.timer, line);
    const int speeds[] = {9600, 57600, in.ConsumeIntegralInRange(1, 9'999'999)};
    link.applySettings(std::to_string(speeds[in.ConsumeIntegralInRange(0, 2)]) + ",N,8,1");
    const int threshold = in.ConsumeBool() ? kFrameLength : in.ConsumeIntegralInRange(-1, 20);
    const int waitsFor = std::max(threshold, 1);  // nothing waiting is nothing to read
    const std::string_view model = kModels[in.ConsumeIntegralInRange(0, 7)];
    const sd::RunExtremes start = sd::StartingExtremes(model);
    Scales scales{{start.PrimaryMaxCode, start.PrimaryMinCode, 0, 0},
                  {start.AuxMaxCode, start.AuxMinCode, 0, 0}};
    checkFrameText(in);

    PacketBytes bytes{};
    const int calls = in.ConsumeIntegralInRange(1, 6);
    for (int call = 0; call < calls; ++call) {
        const double begin = line.now;
        const int pieces = in.ConsumeIntegralInRange(0, 8);
        for (int i = 0; i < pieces; ++i) {
            // Some pieces come after the second is over: they wait for the next call.
            const double delay = in.ConsumeIntegralInRange(0, 1500);
            line.deliverAt(begin + delay, in.ConsumeRandomLengthString(40));
        }
        const size_t readBefore = line.port.read.size();
        const PacketBytes before = bytes;
        const WaitResult result = kelp::link::RXDataPacket(link, bytes, threshold);
        const std::string read = line.port.read.substr(readBefore);

        FUZZ_CHECK(result == WaitResult::Ready || result == WaitResult::TimedOut);
        FUZZ_CHECK(!line.timer.enabled() && !link.TimerElapsed);
        FUZZ_CHECK(line.now - begin <= kFrameTimeoutMs);
        FUZZ_CHECK(line.port.written.empty());
        if (result == WaitResult::TimedOut) {
            // The line ran dry: the second counted from the call is over, the frame kept.
            FUZZ_CHECK(line.now - begin == kFrameTimeoutMs);
            FUZZ_CHECK(bytes == before);
            FUZZ_CHECK(static_cast<int>(line.port.input.size()) < waitsFor);
        } else {
            // The frame is the one at the first carriage return read in this call; whatever
            // was waiting was read.
            const size_t cr = read.find('\r');
            FUZZ_CHECK(cr != std::string::npos);
            FUZZ_CHECK(bytes == ParseFrame(std::string_view(read).substr(cr)));
            FUZZ_CHECK(line.port.input.empty());
            FUZZ_CHECK(read.size() - cr >= static_cast<size_t>(waitsFor));
            followScales(model, bytes, scales);
        }
        FUZZ_CHECK(inByteRange(bytes));
        // Let the line be quiet in between, as a run does while it plots.
        line.now += in.ConsumeIntegralInRange(0, 50);
        line.processPending();
    }
    return 0;
}
