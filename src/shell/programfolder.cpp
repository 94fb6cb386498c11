#include "shell/programfolder.h"

#include <filesystem>
#include <set>

#include "loader/hexfile.h"
#include "shell/catalogue.h"

namespace kelp::shell {

namespace {

namespace fs = std::filesystem;

bool holdsImages(const fs::path& folder) {
    std::error_code error;
    return !folder.empty() && fs::is_directory(folder / "ASM", error);
}

}  // namespace

std::string findProgramFolder(const std::string& programDir, const std::string& dataFromProgram,
                              const std::string& installedData) {
    const fs::path program(programDir);
    if (holdsImages(program)) return programDir;
    if (!dataFromProgram.empty()) {
        const fs::path beside = (program / dataFromProgram).lexically_normal();
        if (holdsImages(beside)) return beside.string();
    }
    if (holdsImages(installedData)) return installedData;
    return programDir;
}

std::string findProgramFolder(const std::string& programDir) {
    return findProgramFolder(programDir, KELP_DATA_FROM_PROGRAM, KELP_INSTALLED_DATA);
}

std::vector<ImageReport> checkImages(const std::string& programFolder) {
    std::vector<ImageReport> reports;
    std::set<std::string> seen;
    for (const TargetDevice& device : catalogue()) {
        const std::string path = imagePath(programFolder, device);
        if (!seen.insert(path).second) continue;
        ImageReport report{path, false, {}};
        if (!fs::is_regular_file(path)) {
            report.problem = "missing";
        } else {
            // The limit a download uses.
            const loader::HexCheck check = loader::CheckHexFile(path, 8192);
            report.ok = check.ok;
            if (!check.ok && !check.messages.empty()) report.problem = check.messages.front().text;
        }
        reports.push_back(report);
    }
    return reports;
}

}  // namespace kelp::shell
