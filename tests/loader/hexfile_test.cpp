#include "loader/hexfile.h"

#include <gtest/gtest.h>

#include "loader/tempfile.h"

namespace kelp::loader {
namespace {

using testing::TempFile;

const CheckMessage kInvalid{"Invalid Hex File", "Warning"};
const CheckMessage kTooBig{"Hex File too big", "Warning Hex File"};

struct CheckCase {
    const char* name;
    std::string content;
    bool ok;
    std::vector<CheckMessage> messages;
};

TEST(CheckHexFile, LinesAndMessages) {
    const std::string good = ":0300000002003BC0\r\n";
    const std::string end = ":00000001FF\r\n";
    const CheckCase cases[] = {
        {"good image", good + ":10001000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF0\r\n" + end, true, {}},
        {"lower-case digits", ":0300000002003bc0\r\n" + end, true, {}},
        {"bad checksum", ":0300000002003BC1\r\n" + end, false, {kInvalid}},
        {"bad checksum in the last line is never seen", good + ":0300000002003BC1", true, {}},
        {"last line is not checked even without end record", ":0300000002003BC1\r\n", true, {}},
        {"16 bytes at 1FF0 end exactly at the limit",
         ":101FF000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF1\r\n" + end,
         true,
         {}},
        {"16 bytes at 2000",
         ":10200000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFE0\r\n" + end,
         false,
         {kTooBig}},
        {"S-record line",
         "S1130000285F245F2212226A000424290008237C2A\r\n" + end,
         false,
         {kInvalid, kTooBig, kInvalid}},
        {"semicolon instead of colon", ";0300000002003BC0\r\n" + end, false, {kInvalid}},
        {"only the first bad line reports", ":0300000002003BC1\r\nX\r\n" + end, false, {kInvalid}},
        {"type 04 record passes", ":020000040000FA\r\n" + end, true, {}},
        {"LF line ends", ":0300000002003BC0\n:0300000002003BC1\n" + end, false, {kInvalid}},
        {"end record in the middle is skipped", end + ":0300000002003BC0\r\n" + end, true, {}},
    };
    for (const auto& c : cases) {
        TempFile f(c.content);
        const HexCheck r = CheckHexFile(f.path(), 8192);
        EXPECT_EQ(r.ok, c.ok) << c.name;
        EXPECT_EQ(r.messages, c.messages) << c.name;
    }
}

TEST(CheckHexFile, ThreeMessagesForOneLineInOrder) {
    // No colon, beyond the limit, and a wrong sum.
    TempFile f("X10200000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFE1\r\n:00000001FF\r\n");
    EXPECT_EQ(CheckHexFile(f.path(), 8192).messages,
              (std::vector<CheckMessage>{kInvalid, kTooBig, kInvalid}));
}

TEST(CheckHexFile, UnreadableAndEmptyFilesFailWithAMessage) {
    const HexCheck missing = CheckHexFile("/nonexistent/kelp/ASM/SAR_KELP.hex", 8192);
    EXPECT_FALSE(missing.ok);
    ASSERT_EQ(missing.messages.size(), 1u);
    EXPECT_NE(missing.messages[0].text.find("/nonexistent/kelp/ASM/SAR_KELP.hex"),
              std::string::npos);

    TempFile empty("");
    const HexCheck e = CheckHexFile(empty.path(), 8192);
    EXPECT_FALSE(e.ok);
    EXPECT_EQ(e.messages.size(), 1u);
}

TEST(ReadTextLines, LineEndsAndTrailingEmptyLine) {
    struct Case {
        std::string content;
        std::vector<std::string> lines;
    };
    const Case cases[] = {
        {"", {}},
        {"A", {"A"}},
        {"A\r\n", {"A"}},
        {"A\r\nB", {"A", "B"}},
        {"A\r\n\r\n", {"A", ""}},
        {"A\nB\rC\r\n", {"A", "B", "C"}},
    };
    for (const auto& c : cases) {
        TempFile f(c.content);
        EXPECT_EQ(readTextLines(f.path()), c.lines) << c.content;
    }
}

TEST(ExtractRecord, AddressAndDataText) {
    const RecordText r = extractRecord(":0300000002003BC0");
    EXPECT_EQ(r.address, "0000");
    EXPECT_EQ(r.data, "02003B");
    EXPECT_EQ(extractRecord(":00000001FF").data, "");
    EXPECT_EQ(extractRecord(":").address, "");
}

}  // namespace
}  // namespace kelp::loader

namespace kelp::loader {
void PrintTo(const CheckMessage& m, std::ostream* os) {
    *os << '"' << m.text << "\" / \"" << m.title << '"';
}
}  // namespace kelp::loader
