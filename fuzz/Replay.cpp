#include "Target.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// Runs a fuzz target once over every file in the folders that are named, without libFuzzer.

int main(int count, char** folders)
{
    int inputs = 0;
    for (int i = 1; i != count; ++i)
        for (auto const& entry : std::filesystem::directory_iterator{folders[i]}) {
            std::ifstream file{entry.path(), std::ios::binary};
            std::string const bytes{std::istreambuf_iterator<char>{file}, {}};
            std::fprintf(stderr, "%s\n", entry.path().string().c_str());
            LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
            ++inputs;
        }
    std::printf("%d inputs\n", inputs);
    return inputs == 0;   // a folder without inputs tests nothing
}
