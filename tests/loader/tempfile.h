#pragma once

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

namespace kelp::testing {

// A file in a fresh temporary folder, removed with the object.
class TempFile {
public:
    explicit TempFile(const std::string& content, const std::string& name = "image.hex") {
        char pattern[] = "/tmp/kelp-test-XXXXXX";
        dir_ = ::mkdtemp(pattern);
        path_ = dir_ + "/" + name;
        std::ofstream(path_, std::ios::binary) << content;
    }
    ~TempFile() {
        ::unlink(path_.c_str());
        ::rmdir(dir_.c_str());
    }
    const std::string& path() const { return path_; }

private:
    std::string dir_;
    std::string path_;
};

}  // namespace kelp::testing
