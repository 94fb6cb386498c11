#include "platform/serialsettings.h"

#include <gtest/gtest.h>

namespace kelp::platform {
namespace {

TEST(LineSettings, ParsesTheSettingsString) {
    struct Case {
        const char* text;
        bool valid;
        int baud;
        char parity;
        int dataBits;
        int stopBits;
    };
    const Case cases[] = {
        {"9600,N,8,1", true, 9600, 'N', 8, 1},
        {"57600,N,8,1", true, 57600, 'N', 8, 1},
        {"19200,e,7,2", true, 19200, 'E', 7, 2},
        {"9600,N,8", false, 0, 0, 0, 0},
        {"fast,N,8,1", false, 0, 0, 0, 0},
        {"9600,X,8,1", false, 0, 0, 0, 0},
        {"9600,N,9,1", false, 0, 0, 0, 0},
        {"9600,N,8,3", false, 0, 0, 0, 0},
        {"", false, 0, 0, 0, 0},
        {"0,N,8,1", false, 0, 0, 0, 0},
    };
    for (const auto& c : cases) {
        const auto s = parseLineSettings(c.text);
        ASSERT_EQ(s.has_value(), c.valid) << c.text;
        if (!s) continue;
        EXPECT_EQ(s->baud, c.baud) << c.text;
        EXPECT_EQ(s->parity, c.parity) << c.text;
        EXPECT_EQ(s->dataBits, c.dataBits) << c.text;
        EXPECT_EQ(s->stopBits, c.stopBits) << c.text;
    }
}

}  // namespace
}  // namespace kelp::platform
