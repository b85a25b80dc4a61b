#include "zinc/debug_out.h"

#include "zinc/event_log.h"

namespace Zinc {

// ---- The streamer -------------------------------------------------------------------------------

DebugOutStreamer::DebugOutStreamer() noexcept
    : activeMask_(Platform::HasConsole() ? StreamBit::kConsole : StreamBit::kDebugWindow) {
    // The history belongs to the streamer alone, which holds its one reference.
    history_.AddRef();
    SetOutputsLocked(activeMask_, Mode::Exactly);
}

DebugOutStreamer::~DebugOutStreamer() {
    for (std::size_t place = 0; place < kStreamCount; ++place) Remove(place);
}

IDebugOutStreamerObject* DebugOutStreamer::FindOrMake(std::size_t place) noexcept {
    if (streams_[place] != nullptr) return streams_[place];
    Room& room = rooms_[place];
    IDebugOutStreamerObject* stream = nullptr;
    switch (kStreamBits[place]) {
        case StreamBit::kConsole:
            stream = new (&room.console) ConsoleOutputStreamer;
            break;
        case StreamBit::kDebugWindow:
            stream = new (&room.debugWindow) DebugWindowOutputStreamer;
            break;
        case StreamBit::kFile:
            stream = new (&room.file) FileOutputStreamer;
            break;
        case StreamBit::kEventLog:
            stream = new (&room.eventLog) EventlogOutputStreamer;
            break;
        default:
            return nullptr;
    }
    stream->AddRef();
    return streams_[place] = stream;
}

void DebugOutStreamer::Remove(std::size_t place) noexcept {
    if (IDebugOutStreamerObject* const stream = streams_[place]) {
        streams_[place] = nullptr;
        stream->Release();
    }
}

std::uint32_t DebugOutStreamer::SetOutputsLocked(std::uint32_t mask, Mode mode) noexcept {
    for (std::size_t place = 0; place < kStreamCount; ++place) {
        const std::uint32_t bit = kStreamBits[place];
        const bool named = (mask & bit) != 0;
        if (named && mode != Mode::Remove) {
            if (FindOrMake(place) != nullptr) activeMask_ |= bit;
        } else if (named || mode == Mode::Exactly) {
            Remove(place);
            activeMask_ &= ~bit;
        }
    }
    return activeMask_;
}

std::uint32_t DebugOutStreamer::SetOutputs(std::uint32_t mask, Mode mode) noexcept {
    const DiagnosticLock guard(lock_);
    return SetOutputsLocked(mask, mode);
}

std::uint32_t DebugOutStreamer::ActiveMask() noexcept {
    const DiagnosticLock guard(lock_);
    return activeMask_;
}

bool DebugOutStreamer::OpenFileStream(WideView path) noexcept {
    const DiagnosticLock guard(lock_);
    for (std::size_t place = 0; place < kStreamCount; ++place)
        if (kStreamBits[place] == StreamBit::kFile && streams_[place] != nullptr)
            return streams_[place]->Open(path);
    return false;
}

void DebugOutStreamer::WriteLine(const LineHeader& header, std::uint32_t mask,
                                 WideView text) noexcept {
    const DiagnosticLock guard(lock_);
    if ((mask & StreamBit::kActive) != 0) mask = (mask & ~StreamBit::kActive) | activeMask_;
    for (std::size_t place = 0; place < kStreamCount && !text.empty(); ++place) {
        if ((mask & kStreamBits[place]) == 0) continue;
        if (IDebugOutStreamerObject* const stream = FindOrMake(place)) {
            stream->Write(header, text);
            // Once for each stream that has the line.
            history_.Write(header, text);
        }
    }
    for (std::size_t place = 0; place < kStreamCount; ++place)
        if ((mask & kStreamBits[place]) != 0 && streams_[place] != nullptr)
            streams_[place]->Flush();
}

// ---- The line -----------------------------------------------------------------------------------

DebugOut::DebugOut(const char* source, std::uint32_t level, std::uint32_t streamMask) noexcept
    : threadId_(Platform::CurrentThreadId()),
      source_(source),
      level_(level),
      streamer_(GlobalObject<DebugOutStreamer>::Get()),
      streamMask_(streamMask) {}

void DebugOut::Flush() noexcept {
    if (!enabled_ || (streamer_ != nullptr && !streamer_->IsEnabled())) {
        text_.Clear();
        return;
    }
    if (streamer_ == nullptr) {
        // The streamer is being made, or it is gone.
        Platform::OutputDebugText(TMX_WIDE("STATOUT: "));
        if (!text_.IsEmpty()) Platform::OutputDebugText(text_.CStr());
    } else {
        streamer_->WriteLine({level_, source_, threadId_}, streamMask_, text_.Text());
    }
    text_.Clear();
}

void PrepareDiagnostics() noexcept {
    GlobalObjectLock();
    EventLog::Prepare();
}

void EndDiagnostics() noexcept {
    GlobalObject<DebugOutStreamer>::ReleaseAtEnd();
    GlobalObject<EventLog>::ReleaseAtEnd();
}

}  // namespace Zinc
