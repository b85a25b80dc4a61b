// A fresh process that loads the library once: prints the nanoseconds that dlopen and the first
// question to the catalogue took. The library's path is the one argument.
#include <dlfcn.h>

#include <chrono>
#include <cstdint>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const auto start = std::chrono::steady_clock::now();
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return 1;
    using Lookup = std::uint32_t (*)(const char*);
    const auto lookup = reinterpret_cast<Lookup>(dlsym(library, "TmxAct_GetActionCodeByNameA"));
    if (lookup == nullptr || lookup("CameraOn") != 122) return 1;
    const auto end = std::chrono::steady_clock::now();
    std::cout << std::chrono::nanoseconds(end - start).count() << '\n';
    return 0;
}
