// The streams that diagnostic lines go to, and the history of the last lines.
#pragma once

#include <cstdint>
#include <new>

#include "zinc/crash_state.h"
#include "zinc/date_time.h"
#include "zinc/reference.h"
#include "zinc/safe_text.h"

namespace Zinc {

/// The levels of a line. A line may have any number; the others count as unknown.
namespace Level {
inline constexpr std::uint32_t kError = 0;
inline constexpr std::uint32_t kSecurity = 1;
inline constexpr std::uint32_t kWarning = 2;
inline constexpr std::uint32_t kInfo = 3;
inline constexpr std::uint32_t kDebug = 4;
}  // namespace Level

/// What belongs to a level: its text, its colour on a console, its type in the event log.
struct LevelTraits {
    const char* text;
    std::uint16_t attribute;
    Platform::EventType eventType;
};
const LevelTraits& TraitsOf(std::uint32_t level) noexcept;

/// What a line says beside its text.
struct LineHeader {
    std::uint32_t level = Level::kError;
    const char* source = nullptr;  ///< zero-terminated, static; null: empty
    std::uint32_t threadId = 0;
};

/// A stream of output. Where it can't write, it drops the line. Its streamer's lock is held. Like
/// the streamer it lies in memory set aside for it, which its end doesn't give back.
class IDebugOutStreamerObject : public ReferenceBaseClass<VirtualReferenceCountBaseClass> {
  public:
    virtual void Write(const LineHeader& header, WideView text) noexcept = 0;
    virtual void Flush() noexcept {}
    /// False: this stream has nothing to open, or it can't be opened.
    virtual bool Open(WideView /*path*/) noexcept { return false; }
    void Destroy() noexcept override { this->~IDebugOutStreamerObject(); }
};

/// "LEVEL [source,thread] message" and a line end, as console, debugger and event log show it.
class FormattedLine : public SafeTextOf<WideChar, 640> {
  public:
    FormattedLine(const LineHeader& header, WideView text) noexcept;
};

/// Standard error for errors, standard output for the rest, in the colour of the level.
class ConsoleOutputStreamer final : public IDebugOutStreamerObject {
  public:
    ConsoleOutputStreamer() noexcept;
    void Write(const LineHeader& header, WideView text) noexcept override;

  private:
    Platform::ConsoleHandle output_;
    Platform::ConsoleHandle error_;
};

class DebugWindowOutputStreamer final : public IDebugOutStreamerObject {
  public:
    void Write(const LineHeader& header, WideView text) noexcept override;
};

/// Records in XML, one a line. Writes nothing until it is opened; then to a new file.
class FileOutputStreamer final : public IDebugOutStreamerObject {
  public:
    void Write(const LineHeader& header, WideView text) noexcept override;
    bool Open(WideView path) noexcept override;

  private:
    Platform::OutputFile file_;
};

class EventlogOutputStreamer final : public IDebugOutStreamerObject {
  public:
    void Write(const LineHeader& header, WideView text) noexcept override;
};

/// Keeps the last lines.
class OutputHistoryStreamer final : public IDebugOutStreamerObject {
  public:
    static constexpr std::size_t kCapacity = 1024;

    struct Entry {
        std::uint32_t level = 0;
        std::uint32_t threadId = 0;
        TZincDateTime time;  ///< in UTC where the line was written in a crash
        SafeTextOf<WideChar, 16> source;
        SafeTextOf<WideChar, 112> text;  ///< "LEVEL : [source] message"
    };

    OutputHistoryStreamer() noexcept = default;
    ~OutputHistoryStreamer() override;
    void Write(const LineHeader& header, WideView text) noexcept override;

    std::size_t Size() const noexcept;
    /// All lines ever written.
    std::uint64_t Counter() const noexcept;
    /// Calls visit(entry) for each entry from the oldest on, under the history's lock.
    template <typename Visit>
    void ForEach(Visit&& visit) const {
        const DiagnosticLock guard(lock_);
        for (std::size_t i = 0; i < size_; ++i) visit(*EntryAt((first_ + i) % kCapacity));
    }

  private:
    const Entry* EntryAt(std::size_t place) const noexcept {
        return std::launder(reinterpret_cast<const Entry*>(storage_) + place);
    }
    Entry* EntryAt(std::size_t place) noexcept {
        return std::launder(reinterpret_cast<Entry*>(storage_) + place);
    }

    mutable Platform::CriticalSection lock_;
    std::uint64_t counter_ = 0;
    std::size_t first_ = 0;  // the place of the oldest
    std::size_t size_ = 0;
    // Entries are made as lines come: a history of few lines touches little memory.
    alignas(Entry) unsigned char storage_[kCapacity * sizeof(Entry)];
};

}  // namespace Zinc
