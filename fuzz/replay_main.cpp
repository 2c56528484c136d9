// Runs a fuzz target outside libFuzzer over every file of the given folders, in name order,
// each cut to the length the fuzzer would give it: the kept corpus, findings included, checked
// again as a test. A target's own checks end the program on a failure. Usage:
// replay_TARGET MAX_LEN FOLDER...
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s MAX_LEN FOLDER...\n", argv[0]);
        return 2;
    }
    if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
    const auto maxLen = static_cast<std::size_t>(std::strtoull(argv[1], nullptr, 10));
    std::vector<std::filesystem::path> files;
    for (int i = 2; i < argc; ++i) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
            if (entry.is_regular_file()) files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
        std::ifstream in(file, std::ios::binary);
        const std::vector<char> read{std::istreambuf_iterator<char>(in),
                                     std::istreambuf_iterator<char>()};
        // Allocated at exactly the input's length, so that a read past it is seen.
        const std::vector<std::uint8_t> bytes(
            read.begin(),
            read.begin() + static_cast<std::ptrdiff_t>(std::min(read.size(), maxLen)));
        std::fprintf(stderr, "%s\n", file.c_str());
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("%zu inputs replayed\n", files.size());
    // An empty corpus would prove nothing.
    return files.empty() ? 1 : 0;
}
