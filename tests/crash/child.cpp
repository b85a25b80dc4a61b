// A program that crashes in the way that its argument names, with the library loaded.
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <thread>

#include <tmxactions/functions.h>

// Functions that a backtrace is looked through for have plain names and are not inlined.
extern "C" {

[[gnu::noinline]] void write_to_null() {
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

[[gnu::noinline]] void wait_as_bystander() {
    for (;;) pause();
}

[[gnu::noinline]] void spin_as_bystander() {
    static std::atomic<int> turns;
    for (;;) turns.fetch_add(1);
}
}

namespace {

// Written by main, found again in the full dump alone.
char* heapText = nullptr;

std::atomic<int> ready{0};

void* Bystander(void*) {
    ready.fetch_add(1);
    wait_as_bystander();
    return nullptr;
}

void* Spinner(void*) {
    ready.fetch_add(1);
    spin_as_bystander();
    return nullptr;
}

void Start(void* (*run)(void*)) {
    pthread_t thread;
    const int before = ready.load();
    pthread_create(&thread, nullptr, run, nullptr);
    while (ready.load() == before) usleep(1000);
}

}  // namespace

int main(int argc, char** argv) {
    TmxAct_InterfaceVersion();
    heapText = static_cast<char*>(std::malloc(64));
    std::strcpy(heapText, "text on the heap");
    const char* mode = argc > 1 ? argv[1] : "";
    if (std::strcmp(mode, "null-write") == 0) {
        Start(Bystander);
        Start(Spinner);
        write_to_null();
    }
    return 1;
}
