// SPDX-License-Identifier: MIT
// Stands in for libFuzzer in an ordinary build: runs the target once without input, and once over
// each file that is named, or that is in a folder that is named. Having no file is a failure.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path &path)
{
    std::vector<fs::path> files;
    if (!fs::is_directory(path))
        return {path};
    for (const auto &entry : fs::recursive_directory_iterator(path))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    return files;
}

// Exactly as many bytes as the file has, so that a sanitizer sees a read behind them.
std::vector<std::uint8_t> contentOf(const fs::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    stream.exceptions(std::ios::badbit | std::ios::failbit);
    std::vector<std::uint8_t> content(fs::file_size(file));
    stream.read(reinterpret_cast<char *>(content.data()),
                static_cast<std::streamsize>(content.size()));
    return content;
}

void replay(const fs::path &file)
{
    // Before the run: a target that finds something ends the process.
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);
    const std::vector<std::uint8_t> content = contentOf(file);
    LLVMFuzzerTestOneInput(content.data(), content.size());
}

} // namespace

int main(int argc, char **argv)
{
    int count = 0;
    try {
        LLVMFuzzerTestOneInput(nullptr, 0);
        for (int at = 1; at < argc; ++at) {
            for (const fs::path &file : filesOf(argv[at])) {
                replay(file);
                ++count;
            }
        }
    } catch (const std::exception &error) {
        std::fprintf(stderr, "replay: %s\n", error.what());
        return 1;
    }
    std::printf("%d files\n", count);
    return count > 0 ? 0 : 1;
}
