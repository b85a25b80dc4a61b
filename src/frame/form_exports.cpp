// Exports: the text form and the binary form.
#include <string>

#include <tmxactions/functions.h>

#include "binary/action_binary.h"
#include "frame/call.h"
#include "text/action_text.h"
#include "text/writer.h"

using namespace TmxPLC;

namespace {

bool StoreText(const CTmxMessage& message, TextWriter<char>& writer) {
    return message.StoreToTextA(writer);
}
bool StoreText(const CTmxMessage& message, TextWriter<TmxWChar>& writer) {
    return message.StoreToTextW(writer);
}

template <typename Char>
bool StoreToTextBuffer(TmxHandle handle, Char* buffer, uint32_t size, bool display, bool utf8,
                       uint32_t* written) {
    return Frame::Run([&] {
        const CTmxMessage& message = Frame::Message(handle);
        TextWriter<Char> writer(buffer, static_cast<std::int32_t>(size), display, utf8);
        bool stored = StoreText(message, writer);
        if (written != nullptr) *written = size - static_cast<uint32_t>(writer.Remaining);
        // An action without a text of its own, the generic one, stores nothing and succeeds.
        if (message.GetInfo().messageClass == ActionMessage) stored = writer.Remaining >= 0;
        if (!stored) throw TmxPLCException();
    });
}

template <typename Char>
TmxHandle CreateFromTextBuffer(const Char* text, uint32_t length, uint32_t messageClass, bool utf8,
                               uint32_t* consumed) {
    return Frame::Call([&] {
        if (length >= TMX_MEASURE_LENGTH)
            length = static_cast<uint32_t>(std::char_traits<Char>::length(text));
        uint32_t local = 0;
        return Frame::Handle(CreateFromText(text, length, messageClass, utf8,
                                            consumed != nullptr ? *consumed : local));
    });
}

}  // namespace

bool TmxAct_StoreToTextBufferA(TmxHandle handle, char* buffer, uint32_t size, bool display,
                               bool utf8, uint32_t* written) {
    return StoreToTextBuffer(handle, buffer, size, display, utf8, written);
}

bool TmxAct_StoreToTextBufferW(TmxHandle handle, TmxWChar* buffer, uint32_t size, bool display,
                               bool utf8, uint32_t* written) {
    return StoreToTextBuffer(handle, buffer, size, display, utf8, written);
}

TmxHandle TmxAct_CreateFromTextBufferA(const char* text, uint32_t length, uint32_t messageClass,
                                       bool utf8, uint32_t* consumed) {
    return CreateFromTextBuffer(text, length, messageClass, utf8, consumed);
}

TmxHandle TmxAct_CreateFromTextBufferW(const TmxWChar* text, uint32_t length, uint32_t messageClass,
                                       bool utf8, uint32_t* consumed) {
    return CreateFromTextBuffer(text, length, messageClass, utf8, consumed);
}

bool TmxAct_StoreToBinBuffer(TmxHandle handle, uint8_t* buffer, uint32_t size, uint32_t* needed) {
    return Frame::Run([&] {
        const CTmxMessage& message = Frame::Message(handle);
        BinOutput output(buffer, static_cast<std::int32_t>(size));
        bool stored = message.StoreToBin(output);
        if (message.GetInfo().messageClass == ActionMessage) {
            output = StorePropertyBlock(output, static_cast<const CTmxAction&>(message).properties);
            stored = output.remaining >= 0;
        }
        if (needed != nullptr) *needed = size - static_cast<uint32_t>(output.remaining);
        if (!stored) throw TmxPLCException();
    });
}

TmxHandle TmxAct_CreateFromBinBuffer(const uint8_t* buffer, int32_t size, uint32_t messageClass,
                                     uint32_t* used) {
    return Frame::Call([&] {
        uint32_t local = 0;
        return Frame::Handle(
            CreateFromBin(buffer, size, messageClass, used != nullptr ? *used : local));
    });
}
