#include "shell/programfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace kelp::shell {
namespace {

namespace fs = std::filesystem;

// A prefix with a bin folder and, as each case asks, ASM folders beside the program, in the
// data folder next to it and in a data folder elsewhere.
struct Layout {
    const char* what;
    bool besideProgram;
    bool relativeData;
    bool installedData;
    const char* expected;  // "bin", "share/kelp" or "elsewhere/kelp"
};

class ProgramFolderTest : public ::testing::TestWithParam<Layout> {};

TEST_P(ProgramFolderTest, PrefersTheProgramsFolderThenTheDataFolders) {
    const Layout& c = GetParam();
    const fs::path root = fs::temp_directory_path() / ("kelp-folder-" + std::string(c.what));
    fs::remove_all(root);
    fs::create_directories(root / "bin");
    if (c.besideProgram) fs::create_directories(root / "bin/ASM");
    if (c.relativeData) fs::create_directories(root / "share/kelp/ASM");
    if (c.installedData) fs::create_directories(root / "elsewhere/kelp/ASM");

    const std::string found = findProgramFolder((root / "bin").string(), "../share/kelp",
                                                (root / "elsewhere/kelp").string());
    EXPECT_EQ(fs::path(found), root / c.expected);
    fs::remove_all(root);
}

INSTANTIATE_TEST_SUITE_P(Layouts, ProgramFolderTest,
                         ::testing::Values(Layout{"build", true, true, true, "bin"},
                                           Layout{"installed", false, true, true, "share/kelp"},
                                           Layout{"moved", false, false, true, "elsewhere/kelp"},
                                           Layout{"none", false, false, false, "bin"}),
                         [](const auto& info) { return std::string(info.param.what); });

TEST(CheckImagesTest, ReportsEachImageOnceWithWhatIsWrong) {
    const fs::path root = fs::temp_directory_path() / "kelp-check-images";
    fs::remove_all(root);
    fs::create_directories(root / "ASM");
    std::ofstream(root / "ASM/SAR_KELP.hex") << ":0300000002003BC0\r\n:00000001FF\r\n";
    std::ofstream(root / "ASM/SD_KELP.hex") << "not a record\r\n:00000001FF\r\n";

    const auto reports = checkImages(root.string());
    ASSERT_EQ(reports.size(), 3u);
    EXPECT_TRUE(reports[0].ok) << reports[0].problem;
    EXPECT_FALSE(reports[1].ok);
    EXPECT_FALSE(reports[1].problem.empty());
    EXPECT_FALSE(reports[2].ok);
    EXPECT_EQ(reports[2].problem, "missing");
    fs::remove_all(root);
}

}  // namespace
}  // namespace kelp::shell
