#include "sar/sarpacket.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace kelp::sar {
namespace {

// Record k carries the code 0x700 + k.
std::string packet(const char* format = "\r%04X") {
    std::string p;
    char record[8];
    for (int k = 0; k < kSamplesPerPacket; ++k) {
        std::snprintf(record, sizeof record, format, 0x700 + k);
        p += record;
    }
    return p;
}

TEST(ParsePacket, RealignsAtTheTextsFirstCarriageReturn) {
    // Noise in front (lower-case digits): the first record is lost, the last read one short.
    const PacketSlots shifted = ParsePacket("X" + packet("\r%04x").substr(0, kPacketLength - 1));
    EXPECT_FALSE(shifted[0]);
    EXPECT_EQ(shifted[1], 0x701);
    EXPECT_EQ(shifted[99], 0x706);  // "\r0763" cut to "\r076"

    // A record out of step mid-packet, and a code the store cannot hold: no sample each.
    std::string text = packet();
    text[5 * 40] = 'X';
    text.replace(1, 4, "8000");
    const PacketSlots mid = ParsePacket(text);
    EXPECT_FALSE(mid[0] || mid[40]);
    EXPECT_EQ(mid[41], 0x729);
    EXPECT_EQ(mid[99], 0x763);

    // A character lost inside: the text's first CR is its very start, so nothing lines up again.
    text = packet();
    text.erase(5 * 10 + 4, 1);
    const PacketSlots lost = ParsePacket(text);
    EXPECT_TRUE(lost[10] && !lost[11] && !lost[99]);
}

}  // namespace
}  // namespace kelp::sar
