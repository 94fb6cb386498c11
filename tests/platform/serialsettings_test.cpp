#include "platform/serialsettings.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace kelp::platform {
namespace {

// Texts the program holds are parsed where they are applied; a malformed one is an error,
// never a reason to fall back to some default speed.
TEST(LineSettings, ParsedWhereAppliedAndAMalformedTextIsAnError) {
    const struct {
        const char* text;
        std::optional<LineSettings> expected;
    } cases[] = {
        {"57600,N,8,1", LineSettings{57600, Parity::None, 8, 1}},
        {"19200,e,7,2", LineSettings{19200, Parity::Even, 7, 2}},
        {"9600,S,5,1", LineSettings{9600, Parity::Space, 5, 1}},
        // clang-format off
        {"9600,N,8", {}}, {"9600,N,8,1,", {}}, {"fast,N,8,1", {}}, {"0,N,8,1", {}},
        {"9600,X,8,1", {}}, {"9600,N,9,1", {}}, {"9600,N,8,3", {}},
        // clang-format on
    };
    for (const auto& c : cases) EXPECT_EQ(parseLineSettings(c.text), c.expected) << c.text;
    EXPECT_EQ(lineSettingsText(LineSettings{57600, Parity::Odd, 7, 2}), "57600,O,7,2");
    EXPECT_THROW(requireLineSettings("57600;N;8;1"), std::invalid_argument);
    EXPECT_EQ(requireLineSettings("57600,E,7,2"), (LineSettings{57600, Parity::Even, 7, 2}));
}

}  // namespace
}  // namespace kelp::platform
