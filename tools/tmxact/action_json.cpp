#include "action_json.h"

#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "encoding.h"

namespace tmxact {

namespace {

struct Putting {
    JsonText& json;
    const ParameterFacts& parameter;
    bool mayBeUtf8;

    void Value(std::int32_t value) const {
        if (!parameter.IsEnum()) return json.Int32(value);
        json.Raw("{\"value\":");
        json.Int32(value);
        const std::string* name =
            parameter.enumeration != nullptr ? parameter.enumeration->NameOf(value) : nullptr;
        if (name != nullptr) {
            json.Key("name");
            json.Utf8(*name);
        }
        json.Raw("}");
    }
    void Value(std::int64_t value) const { json.Int64(value); }
    void Value(double value) const { json.Double(value); }
    void Value(bool value) const { json.Bool(value); }
    void Value(const TmxDateTime& value) const { json.DateTime(value); }
    void Value(const TmxGuid& value) const { json.Guid(value); }
    void Value(const TmxWChar* value) const { json.Wide(value); }
    void Value(const char* value) const { json.Narrow(value, mayBeUtf8); }
    void Value(const TmxObjectRef& value) const {
        json.Raw("{\"id\":");
        json.Int64(value.id);
        if (parameter.type == TmxParamType_ObjectRef) {
            json.Raw(",\"number\":");
            json.Int32(value.number);
        }
        json.Raw(",\"name\":");
        json.Wide(value.name);
        json.Raw("}");
    }
    void Value(const TmxGuidRef& value) const {
        json.Raw("{\"guid\":");
        json.Guid(value.guid);
        json.Raw(",\"name\":");
        json.Wide(value.name);
        json.Raw("}");
    }
    void Value(const TmxRect& value) const { Words(value.words); }
    void Value(const TmxDataSet& value) const {
        json.Raw("[");
        for (std::uint64_t i = 0; i < value.count; ++i) {
            const TmxDataSetEntry& entry = value.items[i];
            json.Raw(i == 0 ? "{\"words\":" : ",{\"words\":");
            Words(entry.words);
            json.Raw(",\"number\":");
            json.Int32(entry.number);
            json.Raw(",\"name\":");
            json.Wide(entry.name);
            json.Raw("}");
        }
        json.Raw("]");
    }
    void Words(const std::int16_t (&words)[4]) const {
        for (int i = 0; i < 4; ++i) {
            json.Raw(i == 0 ? "[" : ",");
            json.Int32(words[i]);
        }
        json.Raw("]");
    }

    template <typename T>
    static constexpr bool kIsText =
        std::is_same_v<T, const char*> || std::is_same_v<T, const TmxWChar*>;

    // What a Decode function gave: a value or a text, or the address of an optional value, which
    // is null where it is absent.
    template <typename Out>
    void Given(const Out& out) const {
        if constexpr (std::is_pointer_v<Out>) {
            if (out == nullptr) return;
        }
        json.Key(parameter.name);
        if constexpr (std::is_pointer_v<Out> && !kIsText<Out>) {
            Value(*out);
        } else {
            Value(out);
        }
    }
};

template <typename... Outs>
bool PutDecoded(bool (*decode)(TmxHandle, Outs*...), TmxHandle handle, const ActionFacts& facts,
                JsonText& json, bool mayBeUtf8) {
    std::tuple<Outs...> outs{};
    if (!std::apply([&](Outs&... out) { return decode(handle, &out...); }, outs)) return false;
    std::size_t index = 0;
    std::apply(
        [&](const Outs&... out) {
            (Putting{json, facts.parameters[index++], mayBeUtf8}.Given(out), ...);
        },
        outs);
    static_cast<void>(index);
    static_cast<void>(mayBeUtf8);
    return true;
}

using PutFunction = bool (*)(TmxHandle, const ActionFacts&, JsonText&, bool);

struct Row {
    std::uint32_t code;
    PutFunction put;
};

constexpr Row kRows[] = {
#define TMX_ACTION(code, name, typed)                                                       \
    {code, [](TmxHandle handle, const ActionFacts& facts, JsonText& json, bool mayBeUtf8) { \
         return PutDecoded(&TmxAct_Decode##typed, handle, facts, json, mayBeUtf8);          \
     }},
#include <tmxactions/actions.def>
};

PutFunction PutOf(std::uint32_t code) {
    static const std::vector<PutFunction> functions = [] {
        std::vector<PutFunction> byCode;
        for (const Row& row : kRows) {
            if (row.code >= byCode.size()) byCode.resize(row.code + 1);
            byCode[row.code] = row.put;
        }
        return byCode;
    }();
    return functions[code];
}

// The piece of a text between two marks, from at on; at moves behind the second. False at the end.
bool Between(std::u16string_view text, std::size_t& at, std::u16string_view open,
             std::u16string_view close, std::u16string& piece) {
    const std::size_t begin = text.find(open, at);
    if (begin == std::u16string_view::npos) return false;
    const std::size_t end = text.find(close, begin + open.size());
    if (end == std::u16string_view::npos) return false;
    const std::u16string_view escaped = text.substr(begin + open.size(), end - begin - open.size());
    at = end + close.size();
    piece.clear();
    for (std::size_t i = 0; i < escaped.size();) {
        const auto entity = [&](std::u16string_view spelled, char16_t c) {
            if (escaped.substr(i, spelled.size()) != spelled) return false;
            piece += c;
            i += spelled.size();
            return true;
        };
        if (entity(u"&amp;", u'&') || entity(u"&lt;", u'<') || entity(u"&gt;", u'>')) continue;
        piece += escaped[i++];
    }
    return true;
}

// The interface lists properties as an XML-like text alone. Names and values have no "<" in it, so
// that the tags can't be mistaken.
bool PutProperties(JsonText& json, TmxHandle handle) {
    const TmxWChar* listing = nullptr;
    if (!TmxAct_GetProperties(handle, &listing)) return false;
    const std::u16string_view text(reinterpret_cast<const char16_t*>(listing));
    std::size_t at = 0;
    std::u16string piece;
    for (bool first = true; Between(text, at, u"<name>", u"</name>", piece); first = false) {
        if (first) json.Raw(",\"properties\":{");
        if (!first) json.Raw(",");
        json.Wide(reinterpret_cast<const TmxWChar*>(piece.c_str()));
        json.Raw(":");
        Between(text, at, u"<value>", u"</value>", piece);
        json.Wide(reinterpret_cast<const TmxWChar*>(piece.c_str()));
    }
    if (at > 0) json.Raw("}");
    return true;
}

// A template's values are given by no Decode function; its text tells them.
bool PutTemplate(JsonText& json, TmxHandle handle) {
    std::u16string text(256, u'\0');
    std::uint32_t written = 0;
    for (;;) {
        const bool stored = TmxAct_StoreToTextBufferW(
            handle, reinterpret_cast<TmxWChar*>(text.data()),
            static_cast<std::uint32_t>(text.size()), false, false, &written);
        if (stored) break;
        if (written <= text.size()) return false;
        text.resize(written);
    }
    json.Raw(",\"template\":true,\"text\":");
    json.Wide(reinterpret_cast<const TmxWChar*>(text.c_str()));
    return true;
}

}  // namespace

bool AppendActionJson(JsonText& json, const ReadAction& action, bool mayBeUtf8) {
    const ActionFacts& facts = *action.facts;
    json.Raw("{\"action\":");
    json.Utf8(facts.name);
    json.Raw(",\"code\":");
    json.Int32(facts.code);
    json.Raw(",\"class\":");
    json.Utf8(facts.className);
    bool good = true;
    if (action.isTemplate) {
        good = PutTemplate(json, action.handle.get());
    } else {
        json.Raw(",\"parameters\":{");
        good = PutOf(facts.code)(action.handle.get(), facts, json, mayBeUtf8);
        json.Raw("}");
        good = good && PutProperties(json, action.handle.get());
    }
    json.Raw("}");
    return good;
}

}  // namespace tmxact
