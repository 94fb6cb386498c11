#include "mkimage/firmwareimage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "board/boardengine.h"
#include "boardtesting.h"

namespace kelp::mkimage {
namespace {

struct Record {
    int address;
    std::string data;
};

// Reads an image the way a strict loader would, independently of the generator.
int hexByte(const std::string& line, std::size_t at) {
    return std::stoi(line.substr(at, 2), nullptr, 16);
}

// ":10", four address digits, "00", 32 data digits, two checksum digits; upper case only.
bool isDataRecord(const std::string& line) {
    return line.size() == 43 && line.starts_with(":10") && line.substr(7, 2) == "00" &&
           line.find_first_not_of("0123456789ABCDEF", 1) == std::string::npos;
}

std::vector<Record> readImage(const std::string& text, std::string& problem) {
    std::vector<Record> records;
    std::size_t at = 0;
    bool ended = false;
    while (at < text.size()) {
        const std::size_t end = text.find("\r\n", at);
        if (end == std::string::npos) {
            problem = "line without CR LF at " + std::to_string(at);
            return records;
        }
        const std::string line = text.substr(at, end - at);
        at = end + 2;
        if (ended) {
            problem = "text after the end record";
            return records;
        }
        if (line == ":00000001FF") {
            ended = true;
            continue;
        }
        if (!isDataRecord(line)) {
            problem = "not a 16-byte data record: " + line;
            return records;
        }
        Record record{hexByte(line, 3) * 256 + hexByte(line, 5), {}};
        unsigned sum = 0x10 + hexByte(line, 3) + hexByte(line, 5);
        for (std::size_t i = 0; i < 16; ++i) {
            const int byte = hexByte(line, 9 + 2 * i);
            record.data += static_cast<char>(byte);
            sum += byte;
        }
        if ((sum + hexByte(line, 41)) % 256 != 0) {
            problem = "checksum of " + line;
            return records;
        }
        records.push_back(record);
    }
    if (!ended) problem = "no end record";
    return records;
}

TEST(FirmwareImage, ThreeValidImagesOfRealisticSize) {
    ASSERT_EQ(images().size(), 3u);
    std::size_t previousSize = 0;
    for (const ImageInfo& image : images()) {
        const std::vector<uint8_t> code = imageCode(image);
        std::string problem;
        const auto records = readImage(intelHex(code), problem);
        EXPECT_EQ(problem, "") << image.fileName;
        ASSERT_EQ(records.size() * 16, code.size()) << image.fileName;
        for (std::size_t i = 0; i < records.size(); ++i) {
            EXPECT_EQ(records[i].address, static_cast<int>(16 * i));
            EXPECT_LE(records[i].address + 16, 8192);
        }
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

TEST(FirmwareImage, LoadsIntoTheVirtualBoard) {
    using namespace kelp::board;
    for (const ImageInfo& image : images()) {
        BoardOptions options;
        options.start = StartMode::Loader;
        BoardEngine engine(options);
        const std::vector<uint8_t> code = imageCode(image);
        std::string problem;
        std::string answers;
        for (const Record& record : readImage(intelHex(code), problem)) {
            for (const Answer& a : engine.feed(testing::writeFrame(record.address, record.data))) {
                answers += a.bytes;
            }
        }
        // One acknowledge per record: no frame was taken for a reset or refused.
        EXPECT_EQ(answers, std::string(code.size() / 16, '\x06')) << image.fileName;
        std::string expected(code.begin(), code.end());
        expected.resize(8192, '\xFF');
        EXPECT_EQ(engine.memoryImage(), expected) << image.fileName;
    }
}

}  // namespace
}  // namespace kelp::mkimage
