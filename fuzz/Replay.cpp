// Runs a target on the inputs of its kept corpus, without a fuzzer: what was found once stays found.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** arguments) {
    std::size_t inputs = 0;
    for (int i = 1; i < count; ++i) {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(arguments[i])) {
            if (!entry.is_regular_file()) {
                continue;
            }
            // Said before it is run: the last name printed is the one to look at.
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout);
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string text{std::istreambuf_iterator<char>(file), {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
            ++inputs;
        }
    }
    std::printf("%zu inputs\n", inputs);
    return inputs == 0 ? 1 : 0;
}
