#include "loader/hexfile.h"

#include <gtest/gtest.h>

#include "loader/tempfile.h"

namespace kelp::loader {
namespace {

TEST(CheckHexFile, LinesAndMessages) {
    const CheckMessage invalid{"Invalid Hex File", "Warning"};
    const CheckMessage tooBig{"Hex File too big", "Warning Hex File"};
    const std::string good = ":0300000002003BC0\r\n", end = ":00000001FF\r\n";
    const std::string ffs = std::string(32, 'F');
    const struct {
        const char* name;
        std::string content;
        std::vector<CheckMessage> messages;  // none: the check passes
    } cases[] = {
        {"good image, lower-case digits", good + ":0300000002003bc0\r\n" + end, {}},
        {"bad checksum", ":0300000002003BC1\r\n" + end, {invalid}},
        {"the last line is never checked", good + ":0300000002003BC1", {}},
        {"16 bytes at 1FF0 end at the limit", ":101FF000" + ffs + "F1\r\n" + end, {}},
        {"16 bytes at 2000", ":10200000" + ffs + "E0\r\n" + end, {tooBig}},
        {"no colon, too big, bad sum: in that order",
         "X10200000" + ffs + "E1\r\n" + end,
         {invalid, tooBig, invalid}},
        {"only the first bad line reports", ":0300000002003BC1\r\nX\r\n" + end, {invalid}},
        {"type 04 record", ":020000040000FA\r\n" + end, {}},
        {"LF line ends", good + ":0300000002003BC1\n" + end, {invalid}},
        {"an end record mid-file is skipped", end + good + end, {}},
    };
    for (const auto& c : cases) {
        testing::TempFile f(c.content);
        const HexCheck r = CheckHexFile(f.path(), 8192);
        EXPECT_EQ(r.ok, c.messages.empty()) << c.name;
        EXPECT_EQ(r.messages, c.messages) << c.name;
    }
}

}  // namespace

void PrintTo(const CheckMessage& m, std::ostream* os) {
    *os << '"' << m.text << "\" / \"" << m.title << '"';
}

}  // namespace kelp::loader
