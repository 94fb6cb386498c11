#pragma once

#include <unistd.h>

#include <fstream>
#include <string>

namespace kelp::testing {

// A file in a fresh temporary folder, removed with the object.
class TempFile {
public:
    explicit TempFile(const std::string& content) {
        char pattern[] = "/tmp/kelp-test-XXXXXX";
        dir_ = ::mkdtemp(pattern);
        std::ofstream(path(), std::ios::binary) << content;
    }
    ~TempFile() {
        ::unlink(path().c_str());
        ::rmdir(dir_.c_str());
    }
    std::string path() const { return dir_ + "/image.hex"; }

private:
    std::string dir_;
};

}  // namespace kelp::testing
