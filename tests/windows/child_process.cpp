#include "windows/child_process.h"

#include <windows.h>

#include <cstring>
#include <thread>

namespace tmxtest {

namespace {

constexpr DWORD kPatience = 120000;  // milliseconds

// ---- What a debugger reads ----------------------------------------------------------------------

std::string ReadText(HANDLE process, const OUTPUT_DEBUG_STRING_INFO& information) {
    std::vector<char> bytes(information.nDebugStringLength * (information.fUnicode ? 2u : 1u));
    SIZE_T size = 0;
    if (!ReadProcessMemory(process, information.lpDebugStringData, bytes.data(), bytes.size(),
                           &size))
        return "(not to be read)";
    if (!information.fUnicode) return std::string(bytes.data());
    const auto* const units = reinterpret_cast<const wchar_t*>(bytes.data());
    std::string text(3 * size, '\0');
    const int count = WideCharToMultiByte(CP_UTF8, 0, units, -1, text.data(),
                                          static_cast<int>(text.size()), nullptr, nullptr);
    text.resize(count > 0 ? static_cast<size_t>(count) - 1 : 0);
    return text;
}

void Debug(const PROCESS_INFORMATION& child, Outcome& outcome) {
    for (DEBUG_EVENT event; WaitForDebugEvent(&event, kPatience);) {
        DWORD answer = DBG_CONTINUE;
        switch (event.dwDebugEventCode) {
            case CREATE_PROCESS_DEBUG_EVENT:
                CloseHandle(event.u.CreateProcessInfo.hFile);
                break;
            case LOAD_DLL_DEBUG_EVENT:
                CloseHandle(event.u.LoadDll.hFile);
                break;
            case OUTPUT_DEBUG_STRING_EVENT:
                outcome.debug.push_back(ReadText(child.hProcess, event.u.DebugString));
                break;
            case EXCEPTION_DEBUG_EVENT:
                // The system's own break at the start; all others are the child's.
                if (event.u.Exception.ExceptionRecord.ExceptionCode != EXCEPTION_BREAKPOINT)
                    answer = DBG_EXCEPTION_NOT_HANDLED;
                break;
            default:
                break;
        }
        const bool ended = event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT;
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
        if (ended) return;
    }
}

// ---- What a monitor reads -----------------------------------------------------------------------

// The names and the layout of the shared memory are those of the debugger output of Windows: the
// number of the process, and the text behind it, in pages of 4096 bytes.
class Monitor {
  public:
    Monitor()
        : ready_(CreateEventA(nullptr, FALSE, FALSE, "DBWIN_BUFFER_READY")),
          data_(CreateEventA(nullptr, FALSE, FALSE, "DBWIN_DATA_READY")),
          mapping_(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kSize,
                                      "DBWIN_BUFFER")) {
        buffer_ = static_cast<const char*>(MapViewOfFile(mapping_, FILE_MAP_READ, 0, 0, kSize));
    }
    ~Monitor() {
        if (buffer_ != nullptr) UnmapViewOfFile(buffer_);
        for (const HANDLE handle : {mapping_, data_, ready_}) CloseHandle(handle);
    }
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    void Listen(const PROCESS_INFORMATION& child, Outcome& outcome) {
        if (buffer_ == nullptr) return;
        SetEvent(ready_);
        const HANDLE waited[] = {data_, child.hProcess};
        while (WaitForMultipleObjects(2, waited, FALSE, kPatience) == WAIT_OBJECT_0) {
            DWORD process = 0;
            std::memcpy(&process, buffer_, sizeof process);
            if (process == child.dwProcessId) outcome.debug.emplace_back(buffer_ + sizeof process);
            SetEvent(ready_);
        }
    }

  private:
    static constexpr DWORD kSize = 4096;
    HANDLE ready_;
    HANDLE data_;
    HANDLE mapping_;
    const char* buffer_ = nullptr;
};

std::string Quoted(const std::string& word) { return '"' + word + '"'; }

}  // namespace

Outcome RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                   Listener listener) {
    Outcome outcome;
    std::string line = Quoted(program);
    for (const std::string& argument : arguments) line += ' ' + Quoted(argument);

    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    if (!CreatePipe(&readEnd, &writeEnd, &inherited, 0)) return outcome;
    SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = writeEnd;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);

    Monitor monitor;
    PROCESS_INFORMATION child = {};
    const DWORD flags = listener == Listener::Debugger ? DEBUG_ONLY_THIS_PROCESS : 0;
    outcome.started = CreateProcessA(program.c_str(), line.data(), nullptr, nullptr, TRUE, flags,
                                     nullptr, nullptr, &startup, &child) != 0;
    CloseHandle(writeEnd);
    if (outcome.started) {
        std::thread reader([&] {
            char buffer[4096];
            for (DWORD size = 0;
                 ReadFile(readEnd, buffer, sizeof buffer, &size, nullptr) && size > 0;)
                outcome.output.append(buffer, size);
        });
        if (listener == Listener::Debugger)
            Debug(child, outcome);
        else
            monitor.Listen(child, outcome);
        if (WaitForSingleObject(child.hProcess, kPatience) != WAIT_OBJECT_0)
            TerminateProcess(child.hProcess, 97);
        GetExitCodeProcess(child.hProcess, reinterpret_cast<DWORD*>(&outcome.exitCode));
        reader.join();
        CloseHandle(child.hThread);
        CloseHandle(child.hProcess);
    }
    CloseHandle(readEnd);
    return outcome;
}

}  // namespace tmxtest
