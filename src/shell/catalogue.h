#pragma once

#include <span>
#include <string>

namespace kelp::shell {

enum class DeviceFamily { SAR, SigmaDelta };

// "SAR" or "SigmaDelta".
std::string familyTag(DeviceFamily family);

struct TargetDevice {
    std::string modelName;  // seven characters, "Zylo5" and two digits
    DeviceFamily family;
    std::string imageFile;  // relative to the program folder, starts with a backslash
    bool is58XGroup;
};

// The fourteen models in the order the model list shows them.
std::span<const TargetDevice> catalogue();

// Exact, case-sensitive lookup; nullptr when no model has that name.
const TargetDevice* findDevice(const std::string& modelName);

// Program folder followed by the image file text, with the separators made the platform's own.
std::string imagePath(const std::string& programFolder, const TargetDevice& device);

}  // namespace kelp::shell
