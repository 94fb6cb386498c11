#include "sar/sarpacket.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

namespace kelp::sar {
namespace {

std::string record(int code, const char* format = "\r%04X") {
    char buf[8];
    std::snprintf(buf, sizeof buf, format, code & 0xFFFF);
    return buf;
}

// Record k carries the code 0x700 + k.
std::string packet(int records = kSamplesPerPacket, const char* format = "\r%04X") {
    std::string p;
    for (int k = 0; k < records; ++k) p += record(0x700 + k, format);
    return p;
}

int filled(const PacketSlots& slots) {
    int n = 0;
    for (const auto& s : slots) n += s.has_value();
    return n;
}

TEST(ParsePacket, ReadsEveryRecordInOrder) {
    for (const char* format : {"\r%04X", "\r%04x"}) {
        const PacketSlots slots = ParsePacket(packet(kSamplesPerPacket, format));
        for (int j = 0; j < kSamplesPerPacket; ++j)
            EXPECT_EQ(slots[static_cast<size_t>(j)], 0x700 + j) << j;
    }
}

TEST(ParsePacket, LeadingNoiseLosesTheFirstRecordAndShortensTheLast) {
    const std::string text = "X" + packet().substr(0, kPacketLength - 1);
    const PacketSlots slots = ParsePacket(text);
    EXPECT_FALSE(slots[0].has_value());
    for (int j = 1; j < kSamplesPerPacket - 1; ++j)
        EXPECT_EQ(slots[static_cast<size_t>(j)], 0x700 + j) << j;
    EXPECT_EQ(slots[99], 0x07 * 256 + 0x6);  // "\r0763" cut to "\r076"
}

TEST(ParsePacket, OutOfStepAndOversizedRecordsYieldNoSample) {
    std::string text = packet();
    text.replace(0, 5, record(0x8000));
    text.replace(5, 5, record(0x7FFF));
    text[5 * 40] = 'X';
    const PacketSlots slots = ParsePacket(text);
    EXPECT_FALSE(slots[0].has_value());
    EXPECT_EQ(slots[1], 0x7FFF);
    EXPECT_FALSE(slots[40].has_value());
    EXPECT_EQ(slots[41], 0x700 + 41);
    EXPECT_EQ(filled(slots), kSamplesPerPacket - 2);

    // A lost character inside the text: realigning finds the text's own first carriage
    // return, so the records after it no longer line up.
    text = packet();
    text.erase(5 * 10 + 4, 1);
    EXPECT_EQ(filled(ParsePacket(text)), 11);
}

TEST(ParsePacket, TextWithoutCarriageReturnGivesNothing) {
    EXPECT_EQ(filled(ParsePacket(std::string(kPacketLength, 'A'))), 0);
    EXPECT_EQ(filled(ParsePacket("")), 0);
    const PacketSlots slots = ParsePacket(packet(10) + std::string(450, 'z'));
    EXPECT_EQ(filled(slots), 10);
    EXPECT_EQ(slots[9], 0x709);
    // Short fields read the digits that are there; one character too many changes nothing
    // here (the run skips such a packet before parsing).
    EXPECT_EQ(ParsePacket("\r1")[0], 0x100);
    EXPECT_EQ(ParsePacket(std::string(kPacketLength, '\r'))[5], 0);
    EXPECT_EQ(filled(ParsePacket(packet() + "Z")), kSamplesPerPacket);
}

TEST(AxisLabels, BoundsAndTheirMiddle) {
    const struct {
        double lower, upper;
        const char *upperText, *middleText, *lowerText;
    } cases[] = {
        {0x7FF, 0x801, "801", "800", "7FF"},
        {0x7EF, 0x813, "813", "801", "7EF"},
        {0x7FF, 0x802, "802", "800", "7FF"},  // 2048.5 to the even 2048
        {0x800, 0x803, "803", "802", "800"},  // 2049.5 to the even 2050
        {-1, 2, "2", "0", "-1"},
        {0x7FFE, 0x8000, "8000", "7FFF", "7FFE"},
    };
    for (const auto& c : cases) {
        const AxisLabels l = AxisLabelTexts(c.lower, c.upper);
        EXPECT_EQ(l.upper, c.upperText) << c.lower << ".." << c.upper;
        EXPECT_EQ(l.middle, c.middleText) << c.lower << ".." << c.upper;
        EXPECT_EQ(l.lower, c.lowerText) << c.lower << ".." << c.upper;
    }
    EXPECT_EQ(AxisLabelText(std::nan("")), "0");
}

}  // namespace
}  // namespace kelp::sar
