#include "shell/catalogue.h"

#include <gtest/gtest.h>

namespace kelp::shell {
namespace {

TEST(Catalogue, FourteenModelsInListOrder) {
    const char* names[] = {"Zylo510", "Zylo520", "Zylo530", "Zylo540", "Zylo550",
                           "Zylo551", "Zylo560", "Zylo561", "Zylo570", "Zylo571",
                           "Zylo572", "Zylo580", "Zylo581", "Zylo582"};
    ASSERT_EQ(catalogue().size(), 14u);
    for (size_t i = 0; i < 14; ++i) {
        EXPECT_EQ(catalogue()[i].modelName, names[i]);
        EXPECT_EQ(catalogue()[i].modelName.size(), 7u);
    }
}

TEST(Catalogue, FamilyImageAndGroup) {
    struct Case {
        const char* model;
        DeviceFamily family;
        const char* image;
        bool group;
    };
    const Case cases[] = {
        {"Zylo510", DeviceFamily::SAR, "\\ASM\\SAR_KELP.hex", false},
        {"Zylo520", DeviceFamily::SAR, "\\ASM\\SAR_KELP.hex", false},
        {"Zylo530", DeviceFamily::SigmaDelta, "\\ASM\\SD_KELP.hex", false},
        {"Zylo561", DeviceFamily::SigmaDelta, "\\ASM\\SD_KELP.hex", false},
        {"Zylo572", DeviceFamily::SAR, "\\ASM\\SAR_KELP.hex", false},
        {"Zylo580", DeviceFamily::SigmaDelta, "\\ASM\\58X_SDkelp.hex", true},
        {"Zylo582", DeviceFamily::SigmaDelta, "\\ASM\\58X_SDkelp.hex", true},
    };
    for (const auto& c : cases) {
        const TargetDevice* d = findDevice(c.model);
        ASSERT_NE(d, nullptr) << c.model;
        EXPECT_EQ(d->family, c.family) << c.model;
        EXPECT_EQ(d->imageFile, c.image) << c.model;
        EXPECT_EQ(d->is58XGroup, c.group) << c.model;
    }
    EXPECT_EQ(familyTag(DeviceFamily::SAR), "SAR");
    EXPECT_EQ(familyTag(DeviceFamily::SigmaDelta), "SigmaDelta");
}

TEST(Catalogue, LookupIsExact) {
    for (const char* name : {"zylo510", "Zylo510 ", " Zylo510", "Zylo59", "", "Vantor Select"})
        EXPECT_EQ(findDevice(name), nullptr) << '"' << name << '"';
}

TEST(Catalogue, ImagePathUsesThePlatformSeparator) {
    EXPECT_EQ(imagePath("/opt/kelp/bin", *findDevice("Zylo570")), "/opt/kelp/bin/ASM/SAR_KELP.hex");
    EXPECT_EQ(imagePath("/opt/kelp", *findDevice("Zylo581")), "/opt/kelp/ASM/58X_SDkelp.hex");
}

}  // namespace
}  // namespace kelp::shell
