#include "zinc/output_streams.h"

#include <iterator>
#include <new>

#include "zinc/event_log.h"
#include "zinc/text.h"

namespace Zinc {

// ---- Levels and lines ---------------------------------------------------------------------------

const LevelTraits& TraitsOf(std::uint32_t level) noexcept {
    using Platform::EventType;
    static constexpr LevelTraits known[] = {
        {"ERROR", 12, EventType::Error},      {"SECTY", 13, EventType::Information},
        {"WARNG", 14, EventType::Warning},    {"INFO ", 11, EventType::Information},
        {"DEBUG", 7, EventType::Information},
    };
    static constexpr LevelTraits unknown = {"UNKNOWN", 7, EventType::Information};
    return level < std::size(known) ? known[level] : unknown;
}

namespace {

std::string_view SourceOf(const LineHeader& header) noexcept {
    return header.source != nullptr ? header.source : "";
}

}  // namespace

FormattedLine::FormattedLine(const LineHeader& header, WideView text) noexcept {
    AppendAnsiToWide(*this, TraitsOf(header.level).text);
    Append(TMX_WIDE(" ["));
    AppendAnsiToWide(*this, SourceOf(header));
    Append(WideChar{','});
    AppendNumber(header.threadId);
    Append(TMX_WIDE("] "));
    Append(text);
    Append(TMX_WIDE("\r\n"));
}

// ---- Console ------------------------------------------------------------------------------------

ConsoleOutputStreamer::ConsoleOutputStreamer() noexcept {
    if (!output_.GetOutput())
        Platform::OutputDebugText(
            TMX_WIDE("ConsoleOutputStreamer::GetStdHandle STD_OUTPUT failed"));
    if (!error_.GetError())
        Platform::OutputDebugText(TMX_WIDE("ConsoleOutputStreamer::GetStdHandle STD_ERROR failed"));
}

void ConsoleOutputStreamer::Write(const LineHeader& header, WideView text) noexcept {
    constexpr std::uint64_t kMaxLength = 0x10000;
    const Platform::ConsoleHandle& handle = header.level == Level::kError ? error_ : output_;
    if (!handle.IsValid()) return;
    const FormattedLine line(header, text);
    handle.WriteText(TraitsOf(header.level).attribute, line.CStr(),
                     static_cast<std::size_t>(ClipSizeT(line.Text().size(), kMaxLength)));
}

// ---- Debugger -----------------------------------------------------------------------------------

void DebugWindowOutputStreamer::Write(const LineHeader& header, WideView text) noexcept {
    Platform::OutputDebugText(FormattedLine(header, text).CStr());
}

// ---- File ---------------------------------------------------------------------------------------

bool FileOutputStreamer::Open(WideView path) noexcept {
    SafeTextOf<char, 1024> narrow;
    AppendWideToAnsi(narrow, path);
    file_.Close();
    return file_.Open(narrow.CStr(), Platform::OutputFile::Access::Default);
}

void FileOutputStreamer::Write(const LineHeader& header, WideView text) noexcept {
    if (!file_.IsOpen()) return;
    SafeTextOf<char, 1024> narrow;
    AppendWideToAnsi(narrow, text);
    SafeTextOf<char, 1024> record;
    record.Append("<debugout type=\"");
    record.Append(TraitsOf(header.level).text);
    record.Append("\" filter=\"");
    record.Append(SourceOf(header));
    record.Append("\">\r\n");
    SafeTextSink sink(record);
    XmlEscape(narrow.Text(), sink);
    record.Append("\r\n</debugout>\r\n");
    // In one piece: nothing that other processes write to the file comes in between.
    file_.Write(record.CStr(), record.Text().size());
}

// ---- Event log ----------------------------------------------------------------------------------

void EventlogOutputStreamer::Write(const LineHeader& header, WideView text) noexcept {
    const FormattedLine line(header, text);
    if (EventLog* const log = GlobalObject<EventLog>::Get())
        log->Report(line.CStr(), TraitsOf(header.level).eventType);
}

// ---- History ------------------------------------------------------------------------------------

namespace {

TZincDateTime TimeOfLine() noexcept {
    if (!CrashState::InProgress()) {
        try {
            return TZincDateTime::Now();
        } catch (const std::exception&) {
            // The zone's rule is wrong; the instant is right all the same.
        }
    }
    // The zone has locks of its own.
    constexpr std::uint64_t kFileTimePerMillisecond = 10000;
    return TZincDateTime(Platform::SystemTimeAsFileTime() / kFileTimePerMillisecond);
}

}  // namespace

OutputHistoryStreamer::~OutputHistoryStreamer() {
    for (std::size_t i = 0; i < size_; ++i) EntryAt((first_ + i) % kCapacity)->~Entry();
}

void OutputHistoryStreamer::Write(const LineHeader& header, WideView text) noexcept {
    const DiagnosticLock guard(lock_);
    if (size_ == kCapacity) {
        EntryAt(first_)->~Entry();
        first_ = (first_ + 1) % kCapacity;
        --size_;
    }
    Entry& entry = *new (storage_ + (first_ + size_) % kCapacity * sizeof(Entry)) Entry;
    ++size_;
    ++counter_;
    entry.level = header.level;
    entry.threadId = header.threadId;
    entry.time = TimeOfLine();
    AppendAnsiToWide(entry.source, SourceOf(header));
    AppendAnsiToWide(entry.text, TraitsOf(header.level).text);
    entry.text.Append(TMX_WIDE(" : ["));
    entry.text.Append(entry.source.Text());
    entry.text.Append(TMX_WIDE("] "));
    entry.text.Append(text);
}

std::size_t OutputHistoryStreamer::Size() const noexcept {
    const DiagnosticLock guard(lock_);
    return size_;
}

std::uint64_t OutputHistoryStreamer::Counter() const noexcept {
    const DiagnosticLock guard(lock_);
    return counter_;
}

}  // namespace Zinc
