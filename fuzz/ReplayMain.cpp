// Gives each file of the named folders to the fuzz target once, and the empty input.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void run(const std::string& bytes) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

} // namespace

int main(int count, char** folders) {
    int inputs = 0;
    for (int i = 1; i < count; ++i) {
        for (const auto& file : std::filesystem::recursive_directory_iterator(folders[i])) {
            if (!file.is_regular_file())
                continue;
            std::ostringstream bytes;
            bytes << std::ifstream(file.path(), std::ios::binary).rdbuf();
            run(bytes.str());
            ++inputs;
        }
    }
    run({});
    std::printf("%d inputs\n", inputs);
    return inputs > 0 ? 0 : 1; // a corpus that isn't there tests nothing
}
