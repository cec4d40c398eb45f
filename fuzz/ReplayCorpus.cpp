// Runs a target over the files of the folders that are named, once each, under any compiler.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/FuzzTarget.h"

int main(int argumentCount, char** arguments) {
    int files = 0;
    for (int n = 1; n < argumentCount; ++n) {
        for (const auto& entry : std::filesystem::directory_iterator(arguments[n])) {
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout);  // the last one is the one that broke
            std::ifstream file(entry.path(), std::ios::binary);
            // No spare byte behind the input: a sanitizer sees who reads past it.
            std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
            bytes.shrink_to_fit();
            Fuzzing::RunOne({bytes.data(), bytes.size()});
            ++files;
        }
    }
    return files > 0 ? 0 : 1;
}
