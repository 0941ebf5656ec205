// Runs a fuzz target over files instead of generated input: every regular file under the paths on the command
// line, in sorted order. A path that does not exist is skipped with a note, so a fresh clone without the shared
// corpus still passes.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        std::error_code ec;
        fs::path root(argv[i]);
        if (fs::is_regular_file(root, ec)) {
            files.push_back(root);
        } else if (fs::is_directory(root, ec)) {
            for (auto &entry : fs::recursive_directory_iterator(root, ec))
                if (entry.is_regular_file()) files.push_back(entry.path());
        } else {
            std::printf("skipping %s: not there\n", argv[i]);
        }
    }
    std::sort(files.begin(), files.end());
    for (const auto &path : files) {
        std::ifstream in(path, std::ios::binary);
        std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("replayed %zu files\n", files.size());
    return 0;
}
