#include "mkimage/firmwareimage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>

#include "board/boardengine.h"
#include "boardtesting.h"

namespace kelp::mkimage {
namespace {

struct Record {
    int address;
    std::string data;
};

int hexByte(const std::string& line, std::size_t at) {
    return std::stoi(line.substr(at, 2), nullptr, 16);
}

// Reads an image the way a strict loader would, independently of the generator: lines of
// ":10", four address digits, "00", 32 data digits and a checksum, upper case, each ended by
// CR LF, then the end record. Nothing for an image with any flaw.
std::optional<std::vector<Record>> readImage(const std::string& text) {
    const std::string endRecord = ":00000001FF\r\n";
    if (!text.ends_with(endRecord)) return std::nullopt;
    std::vector<Record> records;
    for (std::size_t at = 0; at < text.size() - endRecord.size(); at += 45) {
        const std::string line = text.substr(at, 45);
        if (line.size() != 45 || !line.starts_with(":10") || line.substr(7, 2) != "00" ||
            line.find_first_not_of("0123456789ABCDEF", 1) != 43 || !line.ends_with("\r\n")) {
            return std::nullopt;
        }
        Record record{hexByte(line, 3) * 256 + hexByte(line, 5), {}};
        for (std::size_t i = 9; i < 41; i += 2) record.data += static_cast<char>(hexByte(line, i));
        int sum = 0;
        for (std::size_t i = 1; i < 43; i += 2) sum += hexByte(line, i);
        if (sum % 256 != 0) return std::nullopt;
        records.push_back(record);
    }
    return records;
}

// Each image reads as strict Intel HEX, and a board loaded with it holds exactly its code.
TEST(FirmwareImage, ThreeRealisticImagesLoadIntoTheVirtualBoard) {
    ASSERT_EQ(images().size(), 3u);
    std::size_t previousSize = 0;
    for (const ImageInfo& image : images()) {
        const std::vector<uint8_t> code = imageCode(image);
        const auto records = readImage(intelHex(code));
        ASSERT_TRUE(records) << image.fileName;
        board::BoardOptions options;
        options.start = board::StartMode::Loader;
        board::BoardEngine engine(options);
        std::string answers;
        for (std::size_t i = 0; i < records->size(); ++i) {
            const Record& record = (*records)[i];
            EXPECT_EQ(record.address, static_cast<int>(16 * i));
            for (const auto& a :
                 engine.feed(board::testing::writeFrame(record.address, record.data))) {
                answers += a.bytes;
            }
        }
        // One acknowledge per record: no frame was taken for a reset or refused.
        EXPECT_EQ(answers, std::string(code.size() / 16, '\x06')) << image.fileName;
        std::string expected(code.begin(), code.end());
        expected.resize(8192, '\xFF');
        EXPECT_EQ(engine.memoryImage(), expected) << image.fileName;

        EXPECT_GE(code.size(), 4096u);
        EXPECT_LT(code.size(), 8192u);
        EXPECT_GT(code.size(), previousSize) << "SAR, then sigma-delta, then the 58X image";
        previousSize = code.size();
        // Start-up jump, then the banner at the very end.
        EXPECT_EQ(code[0], 0x02);
        const std::size_t start = code[1] * 256 + code[2];
        EXPECT_GT(start, 2u);
        EXPECT_LT(start, code.size());
        const std::string tail(code.end() - 40, code.end());
        EXPECT_NE(tail.find("virtual board"), std::string::npos) << image.fileName;
        // Code, not filler: few bytes erased.
        EXPECT_LT(std::count(code.begin(), code.end(), 0xFF), static_cast<long>(code.size() / 20));
    }
}

TEST(FirmwareImage, RecordsCarryTheirChecksum) {
    const std::vector<uint8_t> code = {0x02, 0x00, 0x3B};
    EXPECT_EQ(intelHex(code), ":0300000002003BC0\r\n:00000001FF\r\n");
    EXPECT_EQ(intelHex({}), ":00000001FF\r\n");
}

// Written by another process at build time: the same bytes prove the content is fixed.
TEST(FirmwareImage, BuildWroteTheGeneratedImages) {
    for (const ImageInfo& image : images()) {
        std::ifstream file(std::string(KELP_IMAGE_DIR) + "/" + image.fileName, std::ios::binary);
        ASSERT_TRUE(file) << image.fileName;
        std::stringstream text;
        text << file.rdbuf();
        EXPECT_EQ(text.str(), intelHex(imageCode(image))) << image.fileName;
    }
}

}  // namespace
}  // namespace kelp::mkimage
