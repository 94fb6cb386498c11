#include "loader/frames.h"

#include <gtest/gtest.h>

namespace kelp::loader {
namespace {

std::string bytes(std::initializer_list<int> list) {
    std::string s;
    for (int b : list) s += static_cast<char>(b);
    return s;
}

TEST(LoaderFrames, EveryRequestOnTheWire) {
    EXPECT_EQ(kResetSequence, bytes({0x21, 0x5A, 0x00, 0xA6}));
    EXPECT_EQ(eraseFrame(), bytes({0x07, 0x0E, 0x01, 0x43, 0xBC}));
    EXPECT_EQ(runFrame(), bytes({0x07, 0x0E, 0x04, 0x55, 0x00, 0x00, 0x00, 0xA7}));
    EXPECT_EQ(writeFrameFromLine(":0300000002003bc0"),
              bytes({0x07, 0x0E, 0x07, 0x57, 0x00, 0x00, 0x00, 0x02, 0x00, 0x3B, 0x65}));
    EXPECT_EQ(writeFrameFromLine(":101FF000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF1"),
              bytes({0x07, 0x0E, 0x14, 0x57, 0x00, 0x1F, 0xF0}) + std::string(16, '\xFF') +
                  bytes({0x96}));
    // 252 data bytes do not fit the length byte.
    EXPECT_FALSE(writeFrameFromLine(":FC000000" + std::string(2 * 252, 'A') + "00"));
}

}  // namespace
}  // namespace kelp::loader
