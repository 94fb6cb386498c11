#include "platform/serialsettings.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace kelp::platform {
namespace {

TEST(LineSettings, ParsesTheSettingsString) {
    struct Case {
        const char* text;
        std::optional<LineSettings> expected;
    };
    const Case cases[] = {
        {"9600,N,8,1", LineSettings{9600, Parity::None, 8, 1}},
        {"57600,N,8,1", LineSettings{57600, Parity::None, 8, 1}},
        {"19200,e,7,2", LineSettings{19200, Parity::Even, 7, 2}},
        {"9600,S,5,1", LineSettings{9600, Parity::Space, 5, 1}},
        {"9600,N,8", std::nullopt},
        {"9600,N,8,1,", std::nullopt},
        {"fast,N,8,1", std::nullopt},
        {"9600,X,8,1", std::nullopt},
        {"9600,N,9,1", std::nullopt},
        {"9600,N,8,3", std::nullopt},
        {"", std::nullopt},
        {"0,N,8,1", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(parseLineSettings(c.text), c.expected) << c.text;
}

TEST(LineSettings, AMalformedProgramTextIsAnErrorNotADefaultSpeed) {
    EXPECT_THROW(requireLineSettings("57600;N;8;1"), std::invalid_argument);
    EXPECT_EQ(requireLineSettings("57600,N,8,1").baud, 57600);
    for (const char* text : {"9600,N,8,1", "57600,O,7,2"})
        EXPECT_EQ(lineSettingsText(requireLineSettings(text)), text);
}

}  // namespace
}  // namespace kelp::platform
