// Runs a target once on each file of its folders: what the fuzzer has learned, as a test of every build.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

#include "core/types.h"

extern "C" int LLVMFuzzerTestOneInput(const zelfdb::u8* data, std::size_t size);

namespace {

// In the order of their names, so that every run is the same.
std::set<std::filesystem::path> files_of(int folders, char** names)
{
    std::set<std::filesystem::path> files;
    for (int i = 0; i < folders; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(names[i]))
            if (entry.is_regular_file()) files.insert(entry.path());
    return files;
}

bool read(const std::filesystem::path& file, std::vector<zelfdb::u8>& bytes)
{
    std::ifstream in(file, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return in.good() || in.eof();
}

}  // namespace

int main(int argc, char** argv)
{
    const auto files = files_of(argc - 1, argv + 1);
    std::vector<zelfdb::u8> bytes;
    for (const auto& file : files) {
        if (!read(file, bytes)) {
            std::fprintf(stderr, "%s: cannot be read\n", file.c_str());
            return 1;
        }
        std::fprintf(stderr, "%s\n", file.filename().c_str());  // the last one named is the one that fails
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::fprintf(stderr, "%zu files replayed\n", files.size());
    return files.empty() ? 1 : 0;
}
