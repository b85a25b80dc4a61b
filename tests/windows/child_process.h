// Runs programs, and listens to what they tell a debugger.
#ifndef TMX_TESTS_WINDOWS_CHILD_PROCESS_H
#define TMX_TESTS_WINDOWS_CHILD_PROCESS_H

#include <cstdint>
#include <string>
#include <vector>

namespace tmxtest {

struct Outcome {
    bool started = false;
    uint32_t exitCode = 0;
    std::string output;              // standard output
    std::vector<std::string> debug;  // the texts for a debugger, one by one
};

enum class Listener {
    Debugger,  // this process debugs the child, which so has no crash filter
    Monitor    // this process reads what nobody's debugger takes
};

// Runs a program to its end.
Outcome RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                   Listener listener);

}  // namespace tmxtest

#endif
