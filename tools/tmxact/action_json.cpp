#include "action_json.h"

#include <string>
#include <string_view>

#include "parameter_values.h"

namespace tmxact {

namespace {

struct Putting {
    JsonText& json;
    const ParameterFacts& parameter;
    bool mayBeUtf8;

    void Value(std::int32_t value) const {
        if (!parameter.IsEnum()) return json.Number(value);
        json.StartObject();
        json.Key("value");
        json.Number(value);
        const std::string* name =
            parameter.enumeration != nullptr ? parameter.enumeration->NameOf(value) : nullptr;
        if (name != nullptr) {
            json.Key("name");
            json.Utf8(*name);
        }
        json.EndObject();
    }
    void Value(std::int64_t value) const { json.Int64(value); }
    void Value(double value) const { json.Double(value); }
    void Value(bool value) const { json.Bool(value); }
    void Value(const TmxDateTime& value) const { json.DateTime(value); }
    void Value(const TmxGuid& value) const { json.Guid(value); }
    void Value(const TmxWChar* value) const { json.Wide(value); }
    void Value(const char* value) const { json.Narrow(value, mayBeUtf8); }
    void Value(const TmxObjectRef& value) const {
        json.StartObject();
        json.Key("id");
        json.Int64(value.id);
        if (parameter.type == TmxParamType_ObjectRef) {
            json.Key("number");
            json.Number(value.number);
        }
        json.Key("name");
        json.Wide(value.name);
        json.EndObject();
    }
    void Value(const TmxGuidRef& value) const {
        json.StartObject();
        json.Key("guid");
        json.Guid(value.guid);
        json.Key("name");
        json.Wide(value.name);
        json.EndObject();
    }
    void Value(const TmxRect& value) const { Words(value.words); }
    void Value(const TmxDataSet& value) const {
        json.StartArray();
        for (std::uint64_t i = 0; i < value.count; ++i) {
            const TmxDataSetEntry& entry = value.items[i];
            json.StartObject();
            json.Key("words");
            Words(entry.words);
            json.Key("number");
            json.Number(entry.number);
            json.Key("name");
            json.Wide(entry.name);
            json.EndObject();
        }
        json.EndArray();
    }
    void Words(const std::int16_t (&words)[4]) const {
        json.StartArray();
        for (const std::int16_t word : words) json.Number(word);
        json.EndArray();
    }
};

// Puts each parameter under its name.
struct PuttingAll {
    JsonText& json;
    const ActionFacts& facts;
    bool mayBeUtf8;

    template <typename Value>
    void Given(std::size_t index, const Value& value) const {
        const ParameterFacts& parameter = facts.parameters[index];
        json.Key(parameter.name);
        Putting{json, parameter, mayBeUtf8}.Value(value);
    }
    void Absent(std::size_t) const {}
};

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
    bool any = false;
    std::u16string piece;
    while (Between(text, at, u"<name>", u"</name>", piece)) {
        if (!any) {
            json.Key("properties");
            json.StartObject();
            any = true;
        }
        json.Wide(reinterpret_cast<const TmxWChar*>(piece.c_str()));
        Between(text, at, u"<value>", u"</value>", piece);
        json.Wide(reinterpret_cast<const TmxWChar*>(piece.c_str()));
    }
    if (any) json.EndObject();
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
    json.Key("template");
    json.Bool(true);
    json.Key("text");
    json.Wide(reinterpret_cast<const TmxWChar*>(text.c_str()));
    return true;
}

}  // namespace

bool PutActionJson(JsonText& json, const ReadAction& action, bool mayBeUtf8, const Labels* labels) {
    const ActionFacts& facts = *action.facts;
    json.StartObject();
    json.Key("action");
    json.Utf8(facts.name);
    json.Key("code");
    json.Number(facts.code);
    json.Key("class");
    json.Utf8(facts.className);
    bool good = true;
    if (action.isTemplate) {
        good = PutTemplate(json, action.handle.get());
    } else {
        json.Key("parameters");
        json.StartObject();
        const PuttingAll putting{json, facts, mayBeUtf8};
        good = ParameterValues<const PuttingAll>::Visit(facts.code, action.handle.get(), putting);
        json.EndObject();
        good = good && PutProperties(json, action.handle.get());
    }
    if (labels != nullptr) {
        json.Key(labels->key);
        if (!labels->many) {
            json.Utf8(*labels->texts.front());
        } else {
            json.StartArray();
            for (const std::string* text : labels->texts) json.Utf8(*text);
            json.EndArray();
        }
    }
    json.EndObject();
    return good;
}

}  // namespace tmxact
