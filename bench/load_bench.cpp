// The time that a process pays for the library: loading it and building its catalogue.
#include <dlfcn.h>
#include <tmxactions/functions.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

#include "workloads.h"

namespace bench {
namespace {

constexpr std::size_t kProcesses = 20;

/// The file that the running program has the library from.
std::string LibraryPath() {
    Dl_info info{};
    const bool found = dladdr(reinterpret_cast<const void*>(&TmxAct_InterfaceVersion), &info) != 0;
    return found && info.dli_fname != nullptr ? info.dli_fname : "";
}

/// Seconds that one fresh process took; negative if it failed.
double LoadOnce(const std::string& command) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return -1;
    long long nanoseconds = -1;
    const int read = std::fscanf(pipe, "%lld", &nanoseconds);
    const int status = pclose(pipe);
    return read == 1 && status == 0 ? static_cast<double>(nanoseconds) * 1e-9 : -1;
}

void Load(benchmark::State& state) {
    const std::filesystem::path probe =
        std::filesystem::read_symlink("/proc/self/exe").parent_path() / "tmxactions_load_probe";
    const std::string command = "'" + probe.string() + "' '" + LibraryPath() + "'";
    for (auto _ : state) {
        std::array<double, kProcesses> seconds;
        for (double& time : seconds) time = LoadOnce(command);
        std::sort(seconds.begin(), seconds.end());
        if (seconds.front() < 0) {
            state.SkipWithError("the probe of the load time failed");
            break;
        }
        state.SetIterationTime((seconds[kProcesses / 2 - 1] + seconds[kProcesses / 2]) / 2);
    }
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

void RegisterLoad() {
    benchmark::RegisterBenchmark("Load/TmxActions", Load)
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMicrosecond);
}

}  // namespace bench
