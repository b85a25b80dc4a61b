// Runs a fuzzer's function over files, so that every compiler can walk the kept corpus:
//
//     fuzz_replay_bytes FILE|FOLDER...
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>
#include <vector>

#include "oracle.h"

namespace fs = std::filesystem;

namespace {

bool Run(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> content{std::istreambuf_iterator<char>(stream),
                                    std::istreambuf_iterator<char>()};
    if (!stream.good() && !stream.eof()) {
        std::fprintf(stderr, "%s: can't be read\n", file.string().c_str());
        return false;
    }
    const std::unique_ptr<uint8_t[]> data(new uint8_t[content.size()]);
    for (size_t i = 0; i < content.size(); ++i) data[i] = static_cast<uint8_t>(content[i]);
    // Named ahead, for a run that doesn't come back.
    std::printf("%s\n", file.string().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(data.get(), content.size());
    return true;
}

}  // namespace

int main(int count, char** arguments) {
    int run = 0;
    for (int i = 1; i < count; ++i) {
        const fs::path path(arguments[i]);
        std::error_code failure;
        if (fs::is_directory(path, failure)) {
            for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
                if (!entry.is_regular_file()) continue;
                if (!Run(entry.path())) return 1;
                ++run;
            }
        } else {
            if (!Run(path)) return 1;
            ++run;
        }
    }
    std::printf("%d inputs\n", run);
    // A corpus that isn't there would look like a passed one.
    return run > 0 ? 0 : 1;
}
