#include "windows/mini_dump.h"

#include <windows.h>

// Behind <windows.h>, which it needs.
#include <dbghelp.h>

#include <cstring>

namespace tmxtest {

namespace {

constexpr uint32_t kSignature = 0x504D444D;  // "MDMP"

class Reader {
  public:
    explicit Reader(const std::string& bytes) : bytes_(bytes) {}

    template <typename Record>
    Record At(uint64_t offset) {
        Record record = {};
        if (offset > bytes_.size() || bytes_.size() - offset < sizeof record)
            good_ = false;
        else
            std::memcpy(&record, bytes_.data() + offset, sizeof record);
        return record;
    }

    // A text with its size in bytes before it.
    std::wstring TextAt(uint64_t offset) {
        const uint32_t size = At<uint32_t>(offset);
        if (!good_ || bytes_.size() - offset - 4 < size) {
            good_ = false;
            return {};
        }
        std::wstring text(size / 2, L'\0');
        std::memcpy(text.data(), bytes_.data() + offset + 4, size / 2 * 2);
        return text;
    }

    bool Good() const { return good_; }

  private:
    const std::string& bytes_;
    bool good_ = true;
};

std::string FileName(const std::wstring& path) {
    std::string name;
    for (const wchar_t unit : path.substr(path.find_last_of(L"\\/") + 1))
        name += unit < 0x80 ? static_cast<char>(unit) : '?';
    return name;
}

}  // namespace

std::optional<MiniDumpFacts> ReadMiniDump(const std::string& bytes) {
    Reader reader(bytes);
    MiniDumpFacts facts;
    const auto header = reader.At<MINIDUMP_HEADER>(0);
    if (header.Signature != kSignature || LOWORD(header.Version) != MINIDUMP_VERSION)
        return std::nullopt;
    facts.flags = header.Flags;
    facts.streams = header.NumberOfStreams;
    std::map<uint32_t, uint64_t> streams;
    for (uint64_t i = 0; i < header.NumberOfStreams; ++i) {
        const auto entry = reader.At<MINIDUMP_DIRECTORY>(header.StreamDirectoryRva +
                                                         i * sizeof(MINIDUMP_DIRECTORY));
        streams[entry.StreamType] = entry.Location.Rva;
    }
    for (const uint32_t needed : {ThreadListStream, ModuleListStream, ExceptionStream})
        if (streams.find(needed) == streams.end()) return std::nullopt;

    const auto exception = reader.At<MINIDUMP_EXCEPTION_STREAM>(streams[ExceptionStream]);
    facts.exceptionThread = exception.ThreadId;
    facts.exceptionCode = exception.ExceptionRecord.ExceptionCode;
    facts.exceptionAddress = exception.ExceptionRecord.ExceptionAddress;
    facts.contextSize = exception.ThreadContext.DataSize;

    uint64_t at = streams[ThreadListStream];
    const uint32_t threads = reader.At<uint32_t>(at);
    for (uint32_t i = 0; i < threads && reader.Good(); ++i)
        facts.threads.push_back(
            reader.At<MINIDUMP_THREAD>(at + 4 + i * sizeof(MINIDUMP_THREAD)).ThreadId);

    at = streams[ModuleListStream];
    const uint32_t modules = reader.At<uint32_t>(at);
    for (uint32_t i = 0; i < modules && reader.Good(); ++i) {
        const auto module = reader.At<MINIDUMP_MODULE>(at + 4 + i * sizeof(MINIDUMP_MODULE));
        facts.modules.push_back(FileName(reader.TextAt(module.ModuleNameRva)));
        if (facts.exceptionAddress >= module.BaseOfImage &&
            facts.exceptionAddress < module.BaseOfImage + module.SizeOfImage)
            facts.moduleOfException = facts.modules.size();
    }
    if (!reader.Good()) return std::nullopt;
    return facts;
}

}  // namespace tmxtest
