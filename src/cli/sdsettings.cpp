#include "cli/sdsettings.h"

#include <algorithm>

#include "link/registerrules.h"
#include "sigmadelta/clockdivider.h"
#include "sigmadelta/sdsetup.h"

namespace kelp::cli {

namespace {

using namespace sigmadelta;

Control list(const char* name, std::span<const std::string_view> entries, int position) {
    Control c{.name = name, .kind = ControlKind::List};
    c.entries.assign(entries.begin(), entries.end());
    c.position = position;
    return c;
}

Control switchOf(const char* name, bool on) {
    return Control{.name = name, .kind = ControlKind::Switch, .on = on};
}

// Lists whose entries follow other controls, rebuilt before they are resolved.
void refresh(ControlSet& s, Control& c) {
    if (c.name != "PrimaryInputRange") return;
    const auto texts = PrimaryRangeEntries(s.position("PrimaryMode"),
                                           s.position("PrimaryReference"), s.shown("VrefTextbox"));
    c.entries.assign(texts.begin(), texts.end());
}

// Controls that only their switch enables: with the switch gone, they cannot change either.
constexpr std::pair<std::string_view, std::string_view> kEnabledBy[] = {
    {"AuxMode", "AuxillaryADCButton"},
    {"AuxReference", "AuxillaryADCButton"},
    {"AuxInputChannel", "AuxillaryADCButton"},
    {"DACRange", "DACButton"},
    {"DACData", "DACButton"},
    {"DACPin", "DACButton"},
};

}  // namespace

SdSettings::SdSettings(const std::string& model, bool is58XGroup)
    : model_(model), is58XGroup_(is58XGroup) {
    const CommonSetup& c = kCommonSetup;
    const ModelSetup* setup = FindModelSetup(model);
    // A replaced list starts on the model's own selection.
    const auto chosen = [&](std::span<const std::string_view> own,
                            std::span<const std::string_view> design, int designPosition,
                            int ownPosition) {
        return own.empty() ? std::pair{design, designPosition} : std::pair{own, ownPosition};
    };
    const std::span<const std::string_view> none;
    const auto [primaryChannels, primaryChannel] =
        chosen(setup ? setup->primaryChannels : none, DesignPrimaryChannels(), c.primaryChannel,
               setup ? setup->channelSelection : 0);
    const auto [auxChannels, auxChannel] =
        chosen(setup ? setup->auxChannels : none, DesignAuxChannels(), c.auxChannel,
               setup ? setup->channelSelection : 0);
    const auto [dacPins, dacPin] = chosen(setup ? setup->dacPins : none, DesignDacPins(), c.dacPin,
                                          setup ? setup->dacPinSelection : 0);
    std::vector<std::string_view> cdBits;
    for (const CDBitsEntry& e : CDBits()) cdBits.push_back(e.entry);

    ControlSet& s = controls_;
    s.add(switchOf("PrimaryADCButton", true));
    s.add(list("PrimaryMode", ModeEntries(), c.primaryMode));
    s.add(list("PrimaryReference", PrimaryReferenceEntries(), c.primaryReference));
    s.add(list("PrimaryInputChannel", primaryChannels, primaryChannel));
    s.add(Control{
        .name = "VrefTextbox", .kind = ControlKind::Number, .text = std::string(kDesignVref)});
    s.add(list("PrimaryInputRange", DesignPrimaryRanges(), c.primaryRangeIndex));
    s.add(switchOf("AuxillaryADCButton", false));
    s.add(list("AuxMode", ModeEntries(), c.auxMode));
    s.add(list("AuxReference", AuxReferenceEntries(), c.auxReference));
    s.add(list("AuxInputChannel", auxChannels, auxChannel));
    s.add(switchOf("IEXC1Button", false));
    s.add(list("IEXC1Pin", Iexc1PinEntries(), c.iexc1Pin));
    s.add(switchOf("IEXC2Button", false));
    s.add(list("IEXC2Pin", Iexc2PinEntries(), c.iexc2Pin));
    s.add(switchOf("DACButton", false));
    s.add(list("DACRange", DacRangeEntries(), c.dacRange));
    s.add(Control{.name = "DACData",
                  .kind = ControlKind::Hex,
                  .text = std::string(kDesignDacData),
                  .maxHex = 0xFFFF,
                  .canonical = link::Verify16bitSFR});
    s.add(list("DACPin", dacPins, dacPin));
    s.add(Control{.name = "SF",
                  .kind = ControlKind::Hex,
                  .text = std::string(SfEntries()[static_cast<size_t>(c.sf)]),
                  .minHex = 0x0D,
                  .maxHex = 0xFF,
                  .canonical = CheckSF});
    s.add(switchOf("chopEnChkBox", false));
    s.add(switchOf("notchEnChkBox", false));
    s.add(list("bufCfgCBox", BufferEntries(), c.buffer));
    s.add(list("CDBits", cdBits, setup && setup->cdBitsPosition >= 0 ? setup->cdBitsPosition : 0));
    AddRegisterBoxes(s);
    refresh(s, *s.find("PrimaryInputRange"));

    const auto listed = [](std::span<const std::string_view> names, std::string_view name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    for (std::string_view name : SamplingOptionControls())
        if (Control* ctl = s.find(name); ctl && !(setup && listed(setup->enabledAgain, name)))
            ctl->unavailable = model + " does not offer it";
    if (setup)
        for (std::string_view name : setup->disabled)
            if (Control* ctl = s.find(name)) ctl->unavailable = model + " has no such control";
    for (const auto& [name, by] : kEnabledBy)
        if (!s.at(by).unavailable.empty())
            s.find(name)->unavailable = model + " has no such control";
}

std::optional<std::string> SdSettings::apply(const Assignments& values) {
    return Apply(controls_, values, refresh);
}

void SdSettings::switchBothOn() {
    controls_.find("PrimaryADCButton")->on = true;
    controls_.find("AuxillaryADCButton")->on = true;
}

SdConfiguration SdSettings::configuration() const {
    const ControlSet& s = controls_;
    SdConfiguration c;
    c.PM = s.position("PrimaryMode");
    c.PRef = s.position("PrimaryReference");
    c.PCh = s.position("PrimaryInputChannel");
    c.PR = s.position("PrimaryInputRange");
    c.AM = s.position("AuxMode");
    c.ARef = s.position("AuxReference");
    c.ACh = s.position("AuxInputChannel");
    c.BUF = s.position("bufCfgCBox");
    c.PON = s.on("PrimaryADCButton");
    c.AON = s.on("AuxillaryADCButton");
    c.NOTCH = s.on("notchEnChkBox");
    c.CHOPOFF = s.on("chopEnChkBox");
    c.I1ON = s.on("IEXC1Button");
    c.I2ON = s.on("IEXC2Button");
    c.DON = s.on("DACButton");
    c.I1PIN = s.position("IEXC1Pin");
    c.I2PIN = s.position("IEXC2Pin");
    c.DRANGE = s.position("DACRange");
    c.DPIN = s.position("DACPin");
    c.SF = s.shown("SF");
    c.DACData = s.shown("DACData");
    for (const link::SentRegisterBox& b : link::SentRegisterBoxes())
        c.registers.*b.field = s.shown(b.name);
    return c;
}

std::string SdSettings::auxInputRange() const {
    return AuxRangeText(controls_.position("AuxMode"), controls_.position("AuxReference"),
                        controls_.shown("VrefTextbox"));
}

std::string SdSettings::conversionRate() const {
    // A new SF shows the chopping-on figure; the chop box, chosen after it, its own.
    const std::string rate = UpdateRateText(controls_.shown("SF"), controls_.on("chopEnChkBox"));
    return rate.empty() ? std::string(kDesignConversionRate) : rate;
}

std::string SdSettings::pllcon() const {
    const CDBitsEntry* e = CDBitsAt(dividerPosition());
    return e ? std::string(e->PLLCON) : std::string(kCommonSetup.PLLCON);
}

analysis::SdRunSettings SdSettings::runSettings() const {
    const ControlSet& s = controls_;
    analysis::SdRunSettings r;
    r.VrefTextbox = s.shown("VrefTextbox");
    r.SF = s.shown("SF");
    r.ConversionRate = conversionRate();
    r.DACButton = s.on("DACButton");
    r.DACData = s.shown("DACData");
    r.DACPin = s.position("DACPin");
    r.IEXC1Button = s.on("IEXC1Button");
    r.IEXC1Pin = s.position("IEXC1Pin");
    r.IEXC2Button = s.on("IEXC2Button");
    r.IEXC2Pin = s.position("IEXC2Pin");
    r.PrimaryADCButton = s.on("PrimaryADCButton");
    r.PrimaryReference = s.position("PrimaryReference");
    r.PrimaryMode = s.position("PrimaryMode");
    r.PrimaryInputRange = s.position("PrimaryInputRange");
    r.PrimaryInputRangeText = s.shown("PrimaryInputRange");
    r.PrimaryInputChannel = s.shown("PrimaryInputChannel");
    r.AuxillaryADCButton = s.on("AuxillaryADCButton");
    r.AuxReference = s.position("AuxReference");
    r.AuxMode = s.position("AuxMode");
    r.AuxInputChannel = s.shown("AuxInputChannel");
    r.AuxInputRange = auxInputRange();
    return r;
}

}  // namespace kelp::cli
