// Helpers of the tests of event records.
#ifndef TMXACTIONS_TESTS_SUPPORT_EVENT_SUPPORT_H
#define TMXACTIONS_TESTS_SUPPORT_EVENT_SUPPORT_H

#include "support/edge_support.h"

namespace edge {

inline Error wrongSize() { return actionsError(8, "Wrong structure size"); }

inline TmxEventDataRecord emptyRecord(uint32_t code = 0) {
    TmxEventDataRecord record{};
    record.size = sizeof record;
    record.code = code;
    return record;
}

struct Filled {
    TmxEventDataRecord record = emptyRecord();
    bool complete = false;
};

// The handle must outlive what is filled.
inline Filled fill(const Handle& handle, uint32_t flags = 0) {
    Filled filled;
    EXPECT_TRUE(TmxAct_SetMessageFlags(handle.get(), flags));
    EXPECT_TRUE(TmxAct_GetActionEventData(handle.get(), &filled.record, &filled.complete));
    EXPECT_EQ(lastError(), std::nullopt);
    return filled;
}
inline Filled fillMatch(const Handle& handle, uint32_t flags = 0) {
    Filled filled;
    EXPECT_TRUE(TmxAct_SetMessageFlags(handle.get(), flags));
    EXPECT_TRUE(TmxMatchAct_GetActionEventData(handle.get(), &filled.record, &filled.complete));
    EXPECT_EQ(lastError(), std::nullopt);
    return filled;
}

// The slots that have a value, in the order of the record: "i0=3 l0=5 s0='Cam'".
inline std::string slots(const TmxEventDataRecord& record) {
    std::string text;
    const auto add = [&](const char* kind, std::size_t at, const std::string& value) {
        text += (text.empty() ? "" : " ") + std::string(kind) + std::to_string(at) + "=" + value;
    };
    for (std::size_t i = 0; i < 4; ++i) {
        if (record.int32Fields[i]) add("i", i, std::to_string(*record.int32Fields[i]));
    }
    for (std::size_t i = 0; i < 4; ++i) {
        if (record.int64Fields[i]) {
            int64_t value = 0;
            std::memcpy(&value, record.int64Fields[i], sizeof value);
            add("l", i, std::to_string(value));
        }
    }
    for (std::size_t i = 0; i < 2; ++i) {
        if (record.doubleFields[i]) add("d", i, std::to_string(*record.doubleFields[i]));
    }
    for (std::size_t i = 0; i < 2; ++i) {
        if (record.dateFields[i]) add("t", i, std::to_string(record.dateFields[i]->value));
    }
    for (std::size_t i = 0; i < 2; ++i) {
        const TmxEventText& field = record.textFields[i];
        if (field.text == nullptr) continue;
        std::string shown = "'";
        for (uint64_t u = 0; u < field.length; ++u) shown += static_cast<char>(field.text[u]);
        add("s", i, shown + "'");
    }
    return text;
}

inline void setBytes(TmxEventDataRecord* record, const Bytes& bytes) {
    record->binarySize = bytes.size();
    record->binary = bytes.data();
}

inline Handle restored(const TmxEventDataRecord& record) {
    Handle handle(TmxAct_RestoreActionFromEventData(&record));
    EXPECT_EQ(lastError(), std::nullopt);
    return handle;
}
inline Handle restoredMatch(const TmxEventDataRecord& record) {
    Handle handle(TmxMatchAct_RestoreActionFromEventData(&record));
    EXPECT_EQ(lastError(), std::nullopt);
    return handle;
}

inline std::string narrow(const TmxWChar* text) {
    std::string result;
    for (; *text != 0; ++text) result += *text < 128 ? static_cast<char>(*text) : '?';
    return result;
}

// The calls of the callback, a line each: "0 Camera = Gate (3)", the whole line behind "*".
struct Described {
    std::string calls;
    std::string line;
    bool answer = false;
    bool complete = false;
    std::optional<Error> error;
    static void take(void* context, uint32_t index, const TmxWChar* name, const TmxWChar* value) {
        auto* described = static_cast<Described*>(context);
        if (index == TMX_EVENT_DESCRIPTION_INDEX) {
            described->calls += "* " + narrow(name) + "\n";
            described->line = narrow(value);
        } else {
            described->calls +=
                std::to_string(index) + " " + narrow(name) + " = " + narrow(value) + "\n";
        }
    }
};
inline Described describe(const TmxEventDataRecord& record) {
    Described described;
    described.answer = TmxAct_GetActionEventDescription(&record, &described, &Described::take,
                                                        &described.complete);
    described.error = lastError();
    return described;
}

}  // namespace edge

#endif
