// The driver of a fuzz target where libFuzzer is not linked in: runs the target once on each
// file given, and on each file in each folder given, so that the seeds and any input kept from a
// fuzzing run are checked in every build. Exit status 0 when every input ran.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fs = std::filesystem;

int main(int argc, char** argv) {
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        if (fs::is_directory(argv[i])) {
            for (const auto& entry : fs::recursive_directory_iterator(argv[i]))
                if (entry.is_regular_file()) inputs.push_back(entry.path());
        } else {
            inputs.emplace_back(argv[i]);
        }
    }
    if (inputs.empty()) {
        std::fprintf(stderr, "usage: %s INPUT-OR-FOLDER...\n", argv[0]);
        return 2;
    }
    for (const fs::path& p : inputs) {
        std::ifstream in(p, std::ios::binary);
        if (!in) {
            std::fprintf(stderr, "cannot read %s\n", p.c_str());
            return 1;
        }
        const std::string bytes((std::istreambuf_iterator<char>(in)), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs ran\n", inputs.size());
    return 0;
}
