#include "mkimage/firmwareimage.h"

#include <gtest/gtest.h>

namespace kelp::mkimage {
namespace {

TEST(FirmwareImage, RecordsOfSixteenBytesCarryTheirAddressAndChecksum) {
    std::vector<uint8_t> code(17);
    for (uint8_t i = 0; i < 17; ++i) code[i] = i;
    EXPECT_EQ(intelHex(code),
              ":10000000000102030405060708090A0B0C0D0E0F78\r\n:0100100010DF\r\n:00000001FF\r\n");
}

}  // namespace
}  // namespace kelp::mkimage
