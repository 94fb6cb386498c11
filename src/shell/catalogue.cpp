#include "shell/catalogue.h"

#include <array>

namespace kelp::shell {

namespace {

const char* const kSarImage = "\\ASM\\SAR_KELP.hex";
const char* const kSdImage = "\\ASM\\SD_KELP.hex";
const char* const k58xImage = "\\ASM\\58X_SDkelp.hex";

const std::array<TargetDevice, 14> kCatalogue = {{
    {"Zylo510", DeviceFamily::SAR, kSarImage, false},
    {"Zylo520", DeviceFamily::SAR, kSarImage, false},
    {"Zylo530", DeviceFamily::SigmaDelta, kSdImage, false},
    {"Zylo540", DeviceFamily::SigmaDelta, kSdImage, false},
    {"Zylo550", DeviceFamily::SAR, kSarImage, false},
    {"Zylo551", DeviceFamily::SAR, kSarImage, false},
    {"Zylo560", DeviceFamily::SigmaDelta, kSdImage, false},
    {"Zylo561", DeviceFamily::SigmaDelta, kSdImage, false},
    {"Zylo570", DeviceFamily::SAR, kSarImage, false},
    {"Zylo571", DeviceFamily::SAR, kSarImage, false},
    {"Zylo572", DeviceFamily::SAR, kSarImage, false},
    {"Zylo580", DeviceFamily::SigmaDelta, k58xImage, true},
    {"Zylo581", DeviceFamily::SigmaDelta, k58xImage, true},
    {"Zylo582", DeviceFamily::SigmaDelta, k58xImage, true},
}};

}  // namespace

std::string familyTag(DeviceFamily family) {
    return family == DeviceFamily::SAR ? "SAR" : "SigmaDelta";
}

std::span<const TargetDevice> catalogue() { return kCatalogue; }

const TargetDevice* findDevice(const std::string& modelName) {
    for (const auto& d : kCatalogue)
        if (d.modelName == modelName) return &d;
    return nullptr;
}

std::string imagePath(const std::string& programFolder, const TargetDevice& device) {
    std::string file = device.imageFile;
    for (char& c : file)
        if (c == '\\') c = '/';
    return programFolder + file;
}

}  // namespace kelp::shell
