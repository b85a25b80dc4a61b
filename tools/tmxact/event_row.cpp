#include "event_row.h"

#include <bit>
#include <cmath>
#include <utility>

#include "encoding.h"
#include "facts.h"

namespace tmxact {

namespace {

// From 1601-01-01, where date-times begin, to 1970-01-01.
constexpr std::int64_t kEpochMilliseconds = 11644473600000;
constexpr std::uint64_t kInstantMask = 0xFFFFFFFFFFFF;

// Whether each column gives back the number as it is. SQLite takes a NaN for no value, and neither
// it nor a text keeps the sign of a zero or the bits of a NaN.
bool ColumnKeeps(double value) noexcept {
    return !std::isnan(value) && !(value == 0 && std::signbit(value));
}

struct Description {
    std::string line;
};

void TakeLine(void* context, std::uint32_t index, const TmxWChar*, const TmxWChar* value) {
    if (index == TMX_EVENT_DESCRIPTION_INDEX)
        WideToUtf8(value, static_cast<Description*>(context)->line);
}

struct TextSearch {
    const ActionFacts* facts;
    std::string_view word;
    bool found = false;
    std::string value;
};

bool HasText(const ParameterFacts& parameter) noexcept {
    switch (parameter.type) {
        case TmxParamType_AnsiText:
        case TmxParamType_WideText:
        case TmxParamType_NamedId:
        case TmxParamType_ObjectRef:
        case TmxParamType_GuidRef:
            return true;
        default:
            return false;
    }
}

void SearchValue(void* context, std::uint32_t index, const TmxWChar* name, const TmxWChar* value) {
    TextSearch& search = *static_cast<TextSearch*>(context);
    if (index == TMX_EVENT_DESCRIPTION_INDEX || search.found) return;
    WideToUtf8(name, search.value);
    for (const ParameterFacts& parameter : search.facts->parameters) {
        if (parameter.name != search.value || !HasText(parameter)) continue;
        WideToUtf8(value, search.value);
        search.found = Lower(search.value).find(search.word) != std::string::npos;
        return;
    }
}

}  // namespace

bool WideToUtf8(std::u16string_view wide, std::string& utf8) {
    utf8.clear();
    std::size_t at = 0;
    while (at < wide.size() && wide[at] < 0x80 && wide[at] != 0)
        utf8 += static_cast<char>(wide[at++]);
    bool kept = true;
    while (at < wide.size()) {
        std::uint32_t c = wide[at++];
        if (c >= 0xD800 && c <= 0xDBFF && at < wide.size() && wide[at] >= 0xDC00 &&
            wide[at] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (wide[at++] - 0xDC00u);
        } else if (c == 0 || (c >= 0xD800 && c <= 0xDFFF)) {
            c = 0xFFFD;
            kept = false;
        }
        AppendUtf8(utf8, c);
    }
    return kept;
}

std::u16string Utf8ToWide(std::string_view utf8) {
    std::u16string wide;
    wide.reserve(utf8.size());
    while (!utf8.empty()) {
        const std::size_t length = Utf8Length(utf8);
        const auto first = static_cast<unsigned char>(utf8.front());
        std::uint32_t c = length == 0 ? 0xFFFD : length == 1 ? first : first & (0x7Fu >> length);
        for (std::size_t i = 1; i < length; ++i)
            c = (c << 6) | (static_cast<unsigned char>(utf8[i]) & 0x3Fu);
        if (c >= 0x10000) {
            wide += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            wide += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        } else {
            wide += static_cast<char16_t>(c);
        }
        utf8.remove_prefix(length == 0 ? 1 : length);
    }
    return wide;
}

std::int64_t UnixMilliseconds(TmxDateTime value) noexcept {
    return static_cast<std::int64_t>(value.value & kInstantMask) - kEpochMilliseconds;
}

TmxDateTime ToDateTime(std::int64_t unixMilliseconds, std::int16_t bias) noexcept {
    const auto instant = static_cast<std::uint64_t>(unixMilliseconds + kEpochMilliseconds);
    return {(instant & kInstantMask) | static_cast<std::uint64_t>(static_cast<std::uint16_t>(bias))
                                           << 48};
}

bool RowFiller::Store(TmxHandle handle, std::string& bytes) {
    constexpr std::size_t kFirstRoom = 512;
    if (bytes.size() < kFirstRoom) bytes.resize(kFirstRoom);
    std::uint32_t needed = 0;
    while (!TmxAct_StoreToBinBuffer(handle, reinterpret_cast<std::uint8_t*>(bytes.data()),
                                    static_cast<std::uint32_t>(bytes.size()), &needed)) {
        if (needed <= bytes.size()) return false;
        bytes.resize(needed);
    }
    bytes.resize(needed);
    return true;
}

// Whether the columns give back another action, or none.
bool RowFiller::Differs(const ReadAction& action, const TmxEventDataRecord& record) {
    const ActionHandle back(TmxAct_RestoreActionFromEventData(&record));
    return back == nullptr || !Store(back.get(), restored_) ||
           !Store(action.handle.get(), original_) || restored_ != original_;
}

std::string RowFiller::Fill(const ReadAction& action, std::int64_t now, EventRow& row) {
    TmxEventDataRecord record{};
    record.size = sizeof record;
    bool complete = true;
    if (!TmxAct_GetActionEventData(action.handle.get(), &record, &complete)) return LastErrorText();

    row.code = record.code;
    row.classId = action.facts->classId;
    row.present = 0;
    const auto take = [&row](unsigned first, const auto& from, auto& to) {
        for (unsigned i = 0; i < to.size(); ++i) {
            if (from[i] == nullptr) continue;
            to[i] = *from[i];
            row.Put(first + i);
        }
    };
    take(kInt64FieldA, record.int64Fields, row.int64Fields);
    take(kInt32FieldA, record.int32Fields, row.int32Fields);
    take(kDateFieldA, record.dateFields, row.dates);
    take(kDoubleFieldA, record.doubleFields, row.doubles);
    bool kept = true;
    for (unsigned i = 0; i < 2; ++i) {
        const TmxEventText& text = record.textFields[i];
        if (text.text != nullptr) {
            kept = WideToUtf8({text.text, text.length}, row.texts[i]) && kept;
            row.Put(kStringFieldA + i);
        }
        if (row.Has(kDoubleFieldA + i)) kept = ColumnKeeps(row.doubles[i]) && kept;
    }

    row.importTime = now;
    const unsigned date = row.Has(kDateFieldA) ? 0 : 1;
    row.timeIsOwn = row.Has(kDateFieldA + date);
    row.time = row.timeIsOwn ? UnixMilliseconds(row.dates[date]) : now;

    row.hasStored = keep_ == KeepBytes::kAll || !complete || !kept;
    if (!row.hasStored && Differs(action, record)) {
        row.hasStored = keep_ == KeepBytes::kLossy;
        if (!row.hasStored) ++lossy_;
    }
    if (row.hasStored && !Store(action.handle.get(), row.stored)) return LastErrorText();
    return {};
}

RowRecord::RowRecord(const EventRow& row, bool withBytes) {
    record_.size = sizeof record_;
    record_.code = row.code;
    for (unsigned i = 0; i < 4; ++i) {
        if (row.Has(kInt64FieldA + i)) record_.int64Fields[i] = &row.int64Fields[i];
        if (row.Has(kInt32FieldA + i)) record_.int32Fields[i] = &row.int32Fields[i];
    }
    for (unsigned i = 0; i < 2; ++i) {
        if (row.Has(kDateFieldA + i)) record_.dateFields[i] = &row.dates[i];
        if (row.Has(kDoubleFieldA + i)) record_.doubleFields[i] = &row.doubles[i];
        if (!row.Has(kStringFieldA + i)) continue;
        texts_[i] = Utf8ToWide(row.texts[i]);
        record_.textFields[i] = {texts_[i].size(), texts_[i].c_str()};
    }
    if (row.hasStored && withBytes) {
        record_.binarySize = row.stored.size();
        record_.binary = reinterpret_cast<const std::uint8_t*>(row.stored.data());
    }
}

ActionHandle Restore(const EventRow& row, RestoredFrom& from) {
    from = RestoredFrom::kBytes;
    if (row.hasStored) {
        // What the library does first itself; so it shows whether the bytes could be read.
        ActionHandle handle(TmxAct_CreateFromBinBuffer(
            reinterpret_cast<const std::uint8_t*>(row.stored.data()),
            static_cast<std::int32_t>(row.stored.size()), TMX_MESSAGE_CLASS_ACTION, nullptr));
        if (handle != nullptr) return handle;
    }
    from = RestoredFrom::kColumns;
    const RowRecord record(row, false);
    return ActionHandle(TmxAct_RestoreActionFromEventData(&record.Get()));
}

std::string Describe(const EventRow& row) {
    Description description;
    bool complete = true;
    const auto describe = [&](bool withBytes) {
        const RowRecord record(row, withBytes);
        return TmxAct_GetActionEventDescription(&record.Get(), &description, TakeLine, &complete) &&
               !description.line.empty();
    };
    if (describe(true) || (row.hasStored && describe(false))) return std::move(description.line);
    const ActionFacts* const facts = Facts::Get().ByCode(row.code);
    return facts != nullptr ? facts->name : std::to_string(row.code);
}

bool HoldsText(const EventRow& row, std::string_view lowerWord) {
    for (unsigned i = 0; i < 2; ++i)
        if (row.Has(kStringFieldA + i) && Lower(row.texts[i]).find(lowerWord) != std::string::npos)
            return true;
    TextSearch search{Facts::Get().ByCode(row.code), lowerWord, false, {}};
    if (!row.hasStored || search.facts == nullptr) return false;
    bool complete = true;
    const RowRecord record(row);
    TmxAct_GetActionEventDescription(&record.Get(), &search, SearchValue, &complete);
    return search.found;
}

}  // namespace tmxact
