#include "zinc/mini_dump.h"

#include <atomic>
#include <charconv>

#include "zinc/crash_handling.h"
#include "zinc/crash_state.h"
#include "zinc/debug_out.h"
#include "zinc/file_name.h"
#include "zinc/text.h"

namespace Zinc {

namespace MiniDump {

// ---- Whether dumps are told of ------------------------------------------------------------------

bool MatchesWildcard(WideView name, WideView pattern) noexcept {
    constexpr std::size_t none = WideView::npos;
    if (pattern.empty()) return true;
    std::size_t at = 0;
    std::size_t in = 0;
    // Behind the last star: where its pattern goes on, and where its run ends so far.
    std::size_t afterStar = none;
    std::size_t runEnd = 0;
    while (at < name.size()) {
        if (in < pattern.size() && pattern[in] == '*') {
            afterStar = ++in;
            runEnd = at;
        } else if (in < pattern.size() && (pattern[in] == '?' || pattern[in] == name[at])) {
            ++in;
            ++at;
        } else if (afterStar != none) {
            in = afterStar;
            at = ++runEnd;
        } else {
            return false;
        }
    }
    while (in < pattern.size() && pattern[in] == '*') ++in;
    return in == pattern.size();
}

namespace {

constexpr const char* kKey = "SOFTWARE\\Velmont\\Zinc";

// The executables of this system, in upper case as their names are compared; the two that aren't
// can never match.
constexpr const WideChar* kOwnExecutables[] = {TMX_WIDE("TMX*"),         TMX_WIDE("ZNPROXY*"),
                                               TMX_WIDE("TESTZINC*"),    TMX_WIDE("Q-*"),
                                               TMX_WIDE("RemoteCoder*"), TMX_WIDE("RemoteModule*")};
constexpr const WideChar* kViewers = TMX_WIDE("TMXVIEW*");

bool DecimalNumber(std::string_view text, std::uint32_t& number) noexcept {
    text = text.substr(0, text.find('\0'));
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

// The first size bytes as a number, the lowest first.
std::uint64_t LittleEndian(const unsigned char* bytes, std::size_t size) noexcept {
    std::uint64_t number = 0;
    for (std::size_t i = size; i > 0; --i) number = number << 8 | bytes[i - 1];
    return number;
}

bool IsOwnExecutable(WideView name) noexcept {
    for (const WideChar* const pattern : kOwnExecutables)
        if (MatchesWildcard(name, pattern)) return true;
    return false;
}

bool IsSetInRegistry(const char* name) noexcept {
    Platform::RegistryKey key;
    Platform::RegistryValue value;
    std::uint32_t number = 0;
    return key.Open(kKey) && key.Query(name, value) && NumberOf(value, number) && number != 0;
}

}  // namespace

bool NumberOf(const Platform::RegistryValue& value, std::uint32_t& number) noexcept {
    switch (value.type) {
        case Platform::kRegistryDword:
            if (value.size != 4) return false;
            number = static_cast<std::uint32_t>(LittleEndian(value.data, 4));
            return true;
        case Platform::kRegistryDwordBigEndian:
            if (value.size != 4) return false;
            number = __builtin_bswap32(static_cast<std::uint32_t>(LittleEndian(value.data, 4)));
            return true;
        case Platform::kRegistryQword: {
            if (value.size != 8) return false;
            const std::uint64_t wide = LittleEndian(value.data, 8);
            number = static_cast<std::uint32_t>(wide);
            return wide == number;
        }
        case Platform::kRegistryText:
            return DecimalNumber({reinterpret_cast<const char*>(value.data), value.size}, number);
        case Platform::kRegistryExpandText: {
            // Terminated for the system's function.
            SafeTextOf<char, sizeof value.data + 1> text;
            text.Append({reinterpret_cast<const char*>(value.data), value.size});
            char expanded[sizeof value.data];
            const std::size_t size =
                Platform::ExpandEnvironment(text.CStr(), expanded, sizeof expanded);
            return DecimalNumber({expanded, size}, number);
        }
        default:
            return false;
    }
}

bool FindOutWhetherEnabled() noexcept {
    ExecutableName executable;
    SafeTextOf<WideChar, kMaxPath> name;
    name.Append(executable.Text());
    Platform::UpperCase(name.End() - name.Text().size(), name.Text().size());

    bool byFilter = IsOwnExecutable(name.Text());
    if (byFilter && MatchesWildcard(name.Text(), kViewers)) {
        byFilter = false;
        Platform::OutputDebugText("Mini dump generation disabled due to matching filter\r\n");
    }
    if (byFilter) {
        if (IsSetInRegistry("DisableMinidumps")) {
            Platform::OutputDebugText("Disabled minidumps due to registry key SOFTWARE");
            return false;
        }
        Platform::OutputDebugText("Enabled minidumps for application");
        return true;
    }
    if (!IsSetInRegistry("EnableMinidumps")) return false;
    DebugOut("REGISTRY", Level::kInfo, StreamBit::kDebugWindow)
        << "Enabled minidumps due to registry key "
           "SOFTWARE\\Velmont\\Zinc\\EnableMinidumps != 0 for application d: "
        << executable.Path();
    return true;
}

// ---- The file's name ----------------------------------------------------------------------------

namespace {

constexpr unsigned kNames = 11;

void MakeFileName(FileName& name, unsigned attempt, bool full) noexcept {
    char executable[kMaxPath];
    const std::size_t size = Platform::ExecutablePath(executable, sizeof executable);
    name.Clear();
    name.Append({executable, size});
    if (attempt > 0) {
        name.Append('#');
        name.AppendNumber(attempt + 1);
    }
    name.Append(full ? ".FullDump.dmp" : ".MiniDump.dmp");
}

// Format doesn't fail with the formats of this file, and takes no memory but the sink's.
template <std::size_t Capacity>
class Formatted : public SafeTextOf<char, Capacity> {
  public:
    Formatted(std::string_view format, std::string_view argument) noexcept {
        SafeTextSink sink(*this);
        Text::Format(sink, format, {argument});
    }
};

bool ScanFileNames(FileName& name, bool full) noexcept {
    for (unsigned attempt = 0; attempt < kNames; ++attempt) {
        MakeFileName(name, attempt, full);
        Platform::OutputDebugText(
            Formatted<kMaxPath + 64>("Dump file name: {0}", name.Text()).CStr());
        if (!Platform::FileExists(name.CStr())) return true;
    }
    return false;
}

}  // namespace

void FindFileName(FileName& name, bool full) noexcept {
    if (ScanFileNames(name, full)) return;
    for (unsigned attempt = 0; attempt < kNames; ++attempt) {
        MakeFileName(name, attempt, full);
        Platform::RemoveFile(name.CStr());
    }
    ScanFileNames(name, full);
}

// ---- The dialog ---------------------------------------------------------------------------------

namespace {

// The name of the last dump, for the dialog, and the lock around it.
struct StoredName {
    Platform::CriticalSection lock;
    char text[4096 + 32] = {};
    const void* address = nullptr;  // of the fault
};

StoredName& Stored() noexcept {
    static StoredName stored;
    return stored;
}

void StoreName(const FileName& name, const void* address) noexcept {
    StoredName& stored = Stored();
    const DiagnosticLock guard(stored.lock);
    const std::size_t size = name.Text().copy(stored.text, sizeof stored.text - 1);
    stored.text[size] = 0;
    stored.address = address;
}

void ShowDialog() noexcept {
    FileName name;
    const void* address;
    {
        StoredName& stored = Stored();
        const DiagnosticLock guard(stored.lock);
        name.Append(stored.text);
        address = stored.address;
    }
    Platform::ShowMessage(kCaption, Formatted<2 * kMaxPath + 512>(
                                        "The application has been terminated due to an error.\r\n"
                                        "A diagnosis file has been written to \r\n\r\n[{0}]\r\n\r\n"
                                        "Die Applikation wurde wegen eines Fehlers beendet.\r\n"
                                        "Eine Diagnosedatei mit dem Namen \r\n\r\n[{0}]\r\n\r\n"
                                        " wurde geschrieben.",
                                        name.Text())
                                        .CStr());
    (DebugOut("BUG", Level::kError) << "Termination function called: Address:")
        .Hex(reinterpret_cast<std::uintptr_t>(address));
}

}  // namespace

void Prepare() noexcept { Stored(); }

}  // namespace MiniDump

// ---- Writing ------------------------------------------------------------------------------------

bool MiniDumpsEnabled() noexcept {
    enum : int { Unknown, No, Yes };
    static std::atomic<int> answer{Unknown};
    if (answer.load(std::memory_order_acquire) == Unknown)
        answer.store(MiniDump::FindOutWhetherEnabled() ? Yes : No, std::memory_order_release);
    return answer.load(std::memory_order_acquire) == Yes;
}

bool WriteMiniDump(const ExceptionPointers& pointers, bool full) noexcept {
    switch (Platform::PrepareDumpWriter()) {
        case Platform::DumpWriter::Ready:
            break;
        case Platform::DumpWriter::NoLibrary:
            Platform::OutputDebugText("Failed to load dbghlp.dll");
            return false;
        case Platform::DumpWriter::NoFunction:
            Platform::OutputDebugText("Failed to retrieve MiniDumpWriteDump procedure address");
            return false;
    }
    MiniDump::FileName name;
    MiniDump::FindFileName(name, full);
    Platform::OutputFile file;
    file.Open(name.CStr(), Platform::OutputFile::Access::OwnerOnly);
    const bool written = file.IsOpen() && Platform::WriteDump(file, pointers, full);
    // Asked only now: the file has been written either way.
    if (!MiniDumpsEnabled()) return true;
    if (!written) {
        Platform::OutputDebugText("Failed to write mini dump");
        return false;
    }
    MiniDump::Formatted<4096 + 64> message("Written mini dump to {0}", name.Text());
    Platform::OutputDebugText(message.CStr());
    MiniDump::StoreName(name, pointers.record != nullptr ? pointers.record->address : nullptr);
    // The crashing thread may hold locks that the dialog needs, and a server has nobody to close
    // it.
    constexpr std::uint32_t kDialogWait = 1000;
    Platform::RunWorkItem(MiniDump::ShowDialog,
                          Platform::DebuggerIsPresent() ? Platform::kNoLimit : kDialogWait);
    return true;
}

}  // namespace Zinc
