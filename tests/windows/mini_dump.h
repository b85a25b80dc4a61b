// Reads dump files back.
#ifndef TMX_TESTS_WINDOWS_MINI_DUMP_H
#define TMX_TESTS_WINDOWS_MINI_DUMP_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tmxtest {

struct MiniDumpFacts {
    uint64_t flags = 0;
    uint32_t streams = 0;
    // Of the exception's stream.
    uint32_t exceptionThread = 0;
    uint32_t exceptionCode = 0;
    uint64_t exceptionAddress = 0;
    uint32_t contextSize = 0;
    std::vector<uint32_t> threads;
    std::vector<std::string> modules;  // file names
    uint64_t moduleOfException = 0;    // place in modules, from 1
};

// Nothing where the file isn't a dump, or one of the three lists is missing or leads out of it.
std::optional<MiniDumpFacts> ReadMiniDump(const std::string& bytes);

}  // namespace tmxtest

#endif
