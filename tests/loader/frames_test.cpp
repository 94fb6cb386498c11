#include "loader/frames.h"

#include <gtest/gtest.h>

namespace kelp::loader {
namespace {

std::string bytes(std::initializer_list<int> list) {
    std::string s;
    for (int b : list) s += static_cast<char>(b);
    return s;
}

TEST(LoaderFrames, FixedFrames) {
    EXPECT_EQ(eraseFrame(), bytes({0x07, 0x0E, 0x01, 0x43, 0xBC}));
    EXPECT_EQ(runFrame(), bytes({0x07, 0x0E, 0x04, 0x55, 0x00, 0x00, 0x00, 0xA7}));
    EXPECT_EQ(kResetSequence, bytes({0x21, 0x5A, 0x00, 0xA6}));
}

TEST(LoaderFrames, WriteFrames) {
    struct Case {
        std::string line;
        std::string frame;
    };
    std::string ffs(16, static_cast<char>(0xFF));
    const Case cases[] = {
        {":0300000002003BC0",
         bytes({0x07, 0x0E, 0x07, 0x57, 0x00, 0x00, 0x00, 0x02, 0x00, 0x3B, 0x65})},
        {":101FF000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF1",
         bytes({0x07, 0x0E, 0x14, 0x57, 0x00, 0x1F, 0xF0}) + ffs + bytes({0x96})},
        // An extended-address record goes out as two data bytes at 0000.
        {":020000040000FA", bytes({0x07, 0x0E, 0x06, 0x57, 0x00, 0x00, 0x00, 0x00, 0x00, 0xA3})},
        {":0300000002003bc0",
         bytes({0x07, 0x0E, 0x07, 0x57, 0x00, 0x00, 0x00, 0x02, 0x00, 0x3B, 0x65})},
    };
    for (const auto& c : cases) {
        auto frame = writeFrameFromLine(c.line);
        ASSERT_TRUE(frame) << c.line;
        EXPECT_EQ(*frame, c.frame) << c.line;
        // Count, command, payload and checksum sum to 0 modulo 256.
        unsigned sum = 0;
        for (size_t i = 2; i < frame->size(); ++i) sum += static_cast<unsigned char>((*frame)[i]);
        EXPECT_EQ(sum % 256, 0u) << c.line;
    }
}

TEST(LoaderFrames, RecordTooLongForTheLengthByte) {
    const std::string data(2 * 252, 'A');
    EXPECT_FALSE(writeFrameFromLine(":FC000000" + data + "00"));
    EXPECT_TRUE(writeFrameFromLine(":FB000000" + std::string(2 * 251, 'A') + "00"));
}

}  // namespace
}  // namespace kelp::loader
