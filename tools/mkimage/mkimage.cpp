// mkimage: writes the firmware images of the virtual board into a folder.
#include <cstdio>
#include <fstream>
#include <string>

#include "mkimage/firmwareimage.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: mkimage FOLDER\nWrites the firmware images into FOLDER.\n");
        return 2;
    }
    for (const auto& image : kelp::mkimage::images()) {
        const std::string path = std::string(argv[1]) + "/" + image.fileName;
        const std::string text = kelp::mkimage::intelHex(kelp::mkimage::imageCode(image));
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file.write(text.data(), static_cast<std::streamsize>(text.size()));
        file.close();
        if (!file) {
            std::fprintf(stderr, "mkimage: cannot write %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
