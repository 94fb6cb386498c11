#include "cli/sarsettings.h"

#include <algorithm>

#include "link/registerrules.h"
#include "sar/sarsetup.h"

namespace kelp::cli {

namespace {

std::vector<std::string> strings(std::span<const std::string_view> items) {
    return {items.begin(), items.end()};
}

Control list(const char* name, std::span<const std::string_view> entries, int position) {
    Control c{.name = name, .kind = ControlKind::List};
    c.entries = strings(entries);
    c.position = position;
    return c;
}

Control switchOf(const char* name, bool on) {
    return Control{.name = name, .kind = ControlKind::Switch, .on = on};
}

Control number(const char* name, std::string_view text) {
    return Control{.name = name, .kind = ControlKind::Number, .text = std::string(text)};
}

Control hex16(const char* name, std::string_view text) {
    return Control{.name = name,
                   .kind = ControlKind::Hex,
                   .text = std::string(text),
                   .maxHex = 0xFFFF,
                   .canonical = link::Verify16bitSFR};
}

}  // namespace

SarSettings::SarSettings(const std::string& model) : model_(model) {
    using namespace sar;
    const LoadDefaults& d = kLoadDefaults;
    const ModelSetup* setup = FindModelSetup(model);
    const auto pick = [](std::span<const std::string_view> own,
                         std::span<const std::string_view> design) {
        return own.empty() ? design : own;
    };
    ControlSet& s = controls_;
    s.add(switchOf("ADCButton", d.adcOn));
    s.add(list("ADCChan", setup ? pick(setup->channels, DesignChannels()) : DesignChannels(),
               setup ? setup->channelSelection - 1 : d.channel));
    s.add(list("ADCRef", ReferenceEntries(), d.reference));
    s.add(number("VrefTextbox", kDesignVref));
    s.add(number("MasterClockTextbox",
                 setup && !setup->masterClock.empty() ? setup->masterClock : kDesignMasterClock));
    s.add(list("ConvTime", setup ? pick(setup->convTimes, DesignConvTimes()) : DesignConvTimes(),
               setup ? setup->convTimeSelection - 1 : d.convTime));
    s.add(list("AcqTime", AcqTimeEntries(), d.acqTime));
    for (const char* n : {"0", "1"}) {
        s.add(switchOf(("DAC" + std::string(n) + "Button").c_str(), false));
        s.add(list(("DAC" + std::string(n) + "Range").c_str(), DacRangeEntries(), 0));
        s.add(hex16(("DAC" + std::string(n) + "Data").c_str(), kDesignDacData));
    }
    AddRegisterBoxes(s);

    if (!setup) return;
    for (DisabledGroup group : {kPwmGroup, kP0P2Boxes, kDacGroup}) {
        if (!(setup->disabled & group)) continue;
        for (std::string_view name : ControlsOf(group))
            if (Control* c = s.find(name)) c->unavailable = model + " has no such control";
    }
}

std::optional<std::string> SarSettings::apply(const Assignments& values) {
    if (auto error = Apply(controls_, values)) return error;
    // Channels 6 and 7 of this part share their pins with the DAC outputs.
    if (model_ == "Zylo520") {
        const int channel = controls_.position("ADCChan");
        for (const auto& [number, name] :
             {std::pair{6, "DAC0Button"}, std::pair{7, "DAC1Button"}}) {
            Control& dac = *controls_.find(name);
            if (channel != number) continue;
            if (dac.set && dac.on)
                return std::string(name) + " cannot be on while ADCChan is channel " +
                       std::to_string(number) + " on Zylo520: the DAC output uses that pin";
            dac.on = false;
        }
    }
    return std::nullopt;
}

sar::SarConfiguration SarSettings::configuration() const {
    const ControlSet& s = controls_;
    sar::SarConfiguration c;
    c.model = model_;
    c.adc.adcOn = s.on("ADCButton");
    c.adc.reference = s.position("ADCRef");
    c.adc.convTime = s.position("ConvTime");
    c.adc.acqTime = s.position("AcqTime");
    c.channel = s.position("ADCChan");
    c.dac.dac0On = s.on("DAC0Button");
    c.dac.dac0Range = s.position("DAC0Range");
    c.dac.dac1On = s.on("DAC1Button");
    c.dac.dac1Range = s.position("DAC1Range");
    c.dac0Data = s.shown("DAC0Data");
    c.dac1Data = s.shown("DAC1Data");
    for (const link::SentRegisterBox& b : link::SentRegisterBoxes())
        c.registers.*b.field = s.shown(b.name);
    return c;
}

analysis::SarRunSettings SarSettings::runSettings() const {
    const ControlSet& s = controls_;
    analysis::SarRunSettings r;
    r.ADCChan = s.shown("ADCChan");
    r.ADCRef = s.shown("ADCRef");
    r.ConvTime = s.shown("ConvTime");
    r.AcqTime = s.shown("AcqTime");
    r.VrefTextbox = s.shown("VrefTextbox");
    r.MasterClockTextbox = s.shown("MasterClockTextbox");
    if (const auto t =
            sar::ComputeTimingFigures(s.position("AcqTime"), r.MasterClockTextbox, r.ConvTime)) {
        r.ConversionTimeTextbox = t->conversionTimeText;
        r.SampFreqTextbox = t->frequencyText;
    }
    return r;
}

}  // namespace kelp::cli
