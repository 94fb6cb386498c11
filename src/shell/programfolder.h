#pragma once

#include <string>
#include <vector>

namespace kelp::shell {

// The folder whose ASM folder holds the firmware images. Beside the program comes first; an
// installed program keeps its images in its data folder instead, found from the program's
// own folder (`dataFromProgram`, relative, so a moved or staged install still finds them) or
// at the place it was installed to (`installedData`). When none holds an ASM folder the
// program's folder is kept, and a download names what is missing there.
std::string findProgramFolder(const std::string& programDir, const std::string& dataFromProgram,
                              const std::string& installedData);

// The same with the data folder this build installs to.
std::string findProgramFolder(const std::string& programDir);

// One image of the catalogue as found on disk, for `kelp --check-images`.
struct ImageReport {
    std::string path;
    bool ok = false;
    std::string problem;  // the check's first message when not ok
};

// Checks the three firmware images under `programFolder` as a download would.
std::vector<ImageReport> checkImages(const std::string& programFolder);

}  // namespace kelp::shell
