#include "action_writer.h"

#include <algorithm>
#include <cstring>

#include "encoding.h"

namespace tmxact {

namespace {

// Enough for most actions in any form, so that one try does.
constexpr std::size_t kFirstRoom = 4096;

}  // namespace

ActionWriter::ActionWriter(Output& output, const WriteOptions& options)
    : output_(output), options_(options), json_(options.int64AsString) {}

std::string ActionWriter::Write(const ReadAction& action, const Labels* labels) {
    std::string refused;
    switch (options_.form) {
        case Form::kText:
            refused = Text(action, false);
            break;
        case Form::kDisplay:
            if (labels != nullptr) Prefix(*labels);
            refused = Text(action, true);
            break;
        case Form::kBinary:
            refused = Binary(action);
            break;
        case Form::kJson:
            refused = Json(action, labels);
            break;
    }
    if (refused.empty()) {
        output_.EndRecord();
    } else {
        output_.DropRecord();
    }
    return refused;
}

void ActionWriter::Prefix(const Labels& labels) {
    for (const std::string* label : labels.texts) {
        const std::string line = Printable(*label, false);
        output_.Put("[");
        output_.Put(options_.ansi ? Utf8ToAnsi(line) : line);
        output_.Put("] ");
    }
}

std::string ActionWriter::Text(const ReadAction& action, bool display) {
    std::size_t room = kFirstRoom;
    std::uint32_t written = 0;
    char* text = output_.Room(room);
    while (!TmxAct_StoreToTextBufferA(action.handle.get(), text, static_cast<std::uint32_t>(room),
                                      display, !options_.ansi, &written)) {
        if (written <= room) return LastErrorText();
        room = written;
        text = output_.Room(room);
    }
    const std::size_t length = written - 1;
    if (!display && std::memchr(text, 0, length) != nullptr)
        return "a text holds the character of code 0, which action text can't carry";
    if (display) std::replace(text, text + length, '\n', ' ');
    text[length] = '\n';  // in place of the terminating zero
    output_.Commit(length + 1);
    return {};
}

std::string ActionWriter::Binary(const ReadAction& action) {
    std::size_t room = kFirstRoom;
    std::uint32_t needed = 0;
    char* bytes = output_.Room(room);
    while (!TmxAct_StoreToBinBuffer(action.handle.get(), reinterpret_cast<std::uint8_t*>(bytes),
                                    static_cast<std::uint32_t>(room), &needed)) {
        if (needed <= room) return LastErrorText();
        room = needed;
        bytes = output_.Room(room);
    }
    output_.Commit(needed);
    return {};
}

std::string ActionWriter::Json(const ReadAction& action, const Labels* labels) {
    json_.Clear();
    if (!PutActionJson(json_, action, options_.narrowMayBeUtf8, labels)) return LastErrorText();
    output_.Put(json_.Text());
    output_.Put("\n");
    return {};
}

}  // namespace tmxact
