#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kelp::mkimage {

// One of the firmware images the virtual board is loaded with.
struct ImageInfo {
    const char* fileName;  // inside the ASM folder
    std::size_t codeSize;  // bytes from address 0, a multiple of 16, at most 8192
    uint64_t seed;         // fixes the content, so every build writes the same bytes
    const char* banner;    // text stored at the end of the code
};

std::span<const ImageInfo> images();

// 8051-style code bytes from address 0: a jump to the start-up code, interrupt vectors,
// subroutines and the banner text.
std::vector<uint8_t> imageCode(const ImageInfo& image);

// Intel HEX text: 16-byte data records from address 0, CR LF line ends, end record last.
std::string intelHex(std::span<const uint8_t> code);

}  // namespace kelp::mkimage
