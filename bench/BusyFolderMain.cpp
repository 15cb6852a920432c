// corvelle-busy-folder DIR [--scale N] [--seed S]: writes the seven table files of a firm's ten
// busy years into DIR, the same bytes for the same scale and seed.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "BusyFolder.h"

int main(int argc, char** argv) {
    std::string folder;
    int scale = 1;
    unsigned long long seed = 1;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--scale" && i + 1 < argc) scale = std::atoi(argv[++i]);
        else if (a == "--seed" && i + 1 < argc) seed = std::strtoull(argv[++i], nullptr, 10);
        else if (folder.empty() && !a.empty() && a[0] != '-') folder = a;
        else folder.clear(), i = argc;
    }
    if (folder.empty() || scale < 1 || scale > 64) {
        std::fprintf(stderr, "usage: corvelle-busy-folder DIR [--scale N] [--seed S]\n");
        return 2;
    }
    try {
        const unsigned long long bytes = busy::WriteBusyFolder(folder, scale, seed);
        std::printf("%s: %.1f MB in seven table files (scale %d, seed %llu)\n", folder.c_str(),
                    static_cast<double>(bytes) / 1e6, scale, seed);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "corvelle-busy-folder: %s\n", e.what());
        return 1;
    }
    return 0;
}
