// Runs a fuzz target over the inputs it is given, once each, as libFuzzer does with -runs=0, for
// builds without libFuzzer: the plain and sanitizer builds replay the committed corpus this way,
// so a corpus input that once found a fault is tried on every change.
//   replay-target FILE-OR-FOLDER...
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

namespace {

std::vector<std::filesystem::path> inputsIn(const std::filesystem::path& path)
{
    std::vector<std::filesystem::path> inputs;
    if (std::filesystem::is_directory(path)) {
        for (const auto& entry : std::filesystem::directory_iterator(path))
            if (entry.is_regular_file())
                inputs.push_back(entry.path());
        std::sort(inputs.begin(), inputs.end());
    } else {
        inputs.push_back(path);
    }
    return inputs;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FILE-OR-FOLDER...\n", argv[0]);
        return 2;
    }
    std::vector<std::filesystem::path> inputs;
    for (int i = 1; i < argc; ++i) {
        const auto more = inputsIn(argv[i]);
        inputs.insert(inputs.end(), more.begin(), more.end());
    }
    if (inputs.empty()) {
        std::fprintf(stderr, "no inputs in the paths given\n");
        return 2;
    }
    LLVMFuzzerInitialize(&argc, &argv);
    for (const auto& input : inputs) {
        std::ifstream file(input, std::ios::binary);
        if (!file) {
            std::fprintf(stderr, "cannot read %s\n", input.c_str());
            return 1;
        }
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        // A fault ends the process from inside the target (an abort, or the sanitizers); the
        // name printed last is the input that did it.
        std::fprintf(stderr, "%s\n", input.c_str());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs replayed\n", inputs.size());
    return 0;
}
