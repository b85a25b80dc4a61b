// The channel of diagnostic lines: a line collects its text and goes to the process's one streamer,
// which passes it on to the streams that are on.
//
// A line may be written by a process that has crashed. So nothing here allocates from the heap, and
// nothing fails.
#pragma once

#include <cstdint>
#include <iterator>

#include "zinc/global_object.h"
#include "zinc/output_streams.h"

namespace Zinc {

/// Bits of a mask of streams.
namespace StreamBit {
inline constexpr std::uint32_t kConsole = 1;
inline constexpr std::uint32_t kDebugWindow = 2;
inline constexpr std::uint32_t kFile = 4;
inline constexpr std::uint32_t kReserved = 8;  // there is no such stream: it is passed over
inline constexpr std::uint32_t kEventLog = 16;
inline constexpr std::uint32_t kActive = 32;  // in the mask of a line: those that are on
}  // namespace StreamBit

class IDebugOutStreamerProperties {
  public:
    virtual ~IDebugOutStreamerProperties() = default;
    virtual bool IsEnabled() const noexcept = 0;
    /// Opens a new file for the file stream. False: there is no such stream, or no such file.
    virtual bool OpenFileStream(WideView path) noexcept = 0;
    /// Switches streams on or off. Returns the mask of those that are on then.
    enum class Mode : std::uint32_t { Exactly = 0, Remove = 1, Add = 2 };
    virtual std::uint32_t SetOutputs(std::uint32_t mask, Mode mode) noexcept = 0;
};

class DebugOutStreamer final : public IDebugOutStreamerProperties, public IGlobalObjectInterface {
  public:
    DebugOutStreamer() noexcept;
    ~DebugOutStreamer() override;

    bool IsEnabled() const noexcept override {
        return enabled_.load(std::memory_order_relaxed) == 1;
    }
    bool OpenFileStream(WideView path) noexcept override;
    std::uint32_t SetOutputs(std::uint32_t mask, Mode mode) noexcept override;

    /// Writes a line to the streams of the mask, in the order of their bits, and flushes them. An
    /// empty text is not written.
    void WriteLine(const LineHeader& header, std::uint32_t mask, WideView text) noexcept;

    void SetEnabled(std::uint32_t enabled) noexcept {
        enabled_.store(enabled, std::memory_order_relaxed);
    }
    std::uint32_t ActiveMask() noexcept;
    const OutputHistoryStreamer& History() const noexcept { return history_; }

  private:
    static constexpr std::uint32_t kStreamBits[] = {StreamBit::kConsole, StreamBit::kDebugWindow,
                                                    StreamBit::kFile, StreamBit::kReserved,
                                                    StreamBit::kEventLog};
    static constexpr std::size_t kStreamCount = std::size(kStreamBits);

    // The streams that exist, in the order of kStreamBits, each in room of its own.
    union Room {
        Room() noexcept {}
        ~Room() {}
        unsigned char none;
        ConsoleOutputStreamer console;
        DebugWindowOutputStreamer debugWindow;
        FileOutputStreamer file;
        EventlogOutputStreamer eventLog;
    };
    IDebugOutStreamerObject* FindOrMake(std::size_t place) noexcept;
    void Remove(std::size_t place) noexcept;
    std::uint32_t SetOutputsLocked(std::uint32_t mask, Mode mode) noexcept;

    Room rooms_[kStreamCount];
    IDebugOutStreamerObject* streams_[kStreamCount] = {};
    std::uint32_t activeMask_;
    std::atomic<std::uint32_t> enabled_{1};
    Platform::CriticalSection lock_;
    OutputHistoryStreamer history_;
};

/// One line: takes text, and is written when it ends. For one thread.
class DebugOut {
  public:
    /// source: a static text, or null.
    explicit DebugOut(const char* source, std::uint32_t level,
                      std::uint32_t streamMask = StreamBit::kActive) noexcept;
    ~DebugOut() { Flush(); }
    DebugOut(const DebugOut&) = delete;
    DebugOut& operator=(const DebugOut&) = delete;

    DebugOut& operator<<(std::string_view text) noexcept {
        AppendAnsiToWide(text_, text);
        return *this;
    }
    DebugOut& operator<<(WideView text) noexcept {
        text_.Append(text);
        return *this;
    }
    DebugOut& operator<<(std::uint32_t number) noexcept {
        text_.AppendNumber(number);
        return *this;
    }
    /// Hexadecimal, in lower case, without a prefix.
    DebugOut& Hex(std::uint64_t number) noexcept {
        text_.AppendNumber(number, 16);
        return *this;
    }
    /// False makes the line do nothing.
    void SetEnabled(bool enabled) noexcept { enabled_ = enabled; }
    void Flush() noexcept;

  private:
    std::uint32_t threadId_;
    const char* source_;
    std::uint32_t level_;
    DebugOutStreamer* streamer_;
    std::uint32_t streamMask_;
    SafeTextOf<WideChar, 512> text_;
    bool enabled_ = true;
};

/// At the module's start makes what must be there before a crash; at its end lets the global
/// objects go. A line that is written later goes to the debugger output.
void PrepareDiagnostics() noexcept;
void EndDiagnostics() noexcept;

}  // namespace Zinc
