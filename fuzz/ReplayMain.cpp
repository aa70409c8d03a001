// SPDX-License-Identifier: MIT
// Feeds files and whole folders to a fuzz target once, so that seeds and found inputs run as ordinary tests.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argumentCount, char** arguments)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    for (int i = 1; i < argumentCount; ++i) {
        std::error_code code;
        if (fs::is_directory(arguments[i], code)) {
            for (const fs::directory_entry& entry : fs::recursive_directory_iterator(arguments[i])) {
                if (entry.is_regular_file())
                    files.push_back(entry.path());
            }
        } else {
            files.emplace_back(arguments[i]);
        }
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& path : files) {
        std::ifstream stream(path, std::ios::binary);
        if (!stream) {
            std::fprintf(stderr, "%s cannot be opened\n", path.c_str());
            return 1;
        }
        const std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
        std::printf("%s\n", path.filename().c_str());
        std::fflush(stdout); // so that the last name printed is the one that failed
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs replayed\n", files.size());
    return files.empty() ? 1 : 0;
}
