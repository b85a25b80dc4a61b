// What fast JSON takes for the same values: an object with the action's name and its parameters by
// name, in UTF-8. A date-time is the number that it is in memory; the library's text spells it out.
// The writer's buffer, the parser and the struct are reused and warm. The reader knows the order of
// the names.
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>

#include "workloads.h"

#ifdef TMXACTIONS_BENCH_RAPIDJSON
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif
#ifdef TMXACTIONS_BENCH_SIMDJSON
#include <simdjson.h>
#endif

namespace bench {
namespace {

/// Calls function(name, field) for each field of a record, in order.
template <class Values, class Function>
void ForEachField(Values& values, Function&& function) {
    using Record = Fields<std::remove_const_t<Values>>;
    std::apply(
        [&](auto&... field) {
            std::size_t i = 0;
            (function(Record::kNames[i++], field), ...);
        },
        Record::Tie(values));
}

template <class Values>
concept IsRecord = requires {
    Fields<Values>::kNames;
};

#ifdef TMXACTIONS_BENCH_RAPIDJSON
namespace rapid {

using Buffer = rapidjson::StringBuffer;
using Writer = rapidjson::Writer<Buffer>;

void Text(Writer& writer, std::string_view text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}
void Key(Writer& writer, std::string_view name) {
    writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
}
void Write(Writer& writer, std::string_view text) { Text(writer, text); }
void Write(Writer& writer, std::int32_t value) { writer.Int(value); }
void Write(Writer& writer, std::int64_t value) { writer.Int64(value); }
void Write(Writer& writer, std::uint64_t value) { writer.Uint64(value); }
void Write(Writer& writer, bool value) { writer.Bool(value); }

template <IsRecord Values>
void Write(Writer& writer, const Values& values);

template <class T>
void WriteField(Writer& writer, std::string_view name, const T& value) {
    Key(writer, name);
    Write(writer, value);
}
template <class T>
void WriteField(Writer& writer, std::string_view name, const std::optional<T>& value) {
    if (value) WriteField(writer, name, *value);
}
template <IsRecord Values>
void WriteFields(Writer& writer, const Values& values) {
    ForEachField(values, [&writer](std::string_view name, const auto& field) {
        WriteField(writer, name, field);
    });
}
template <IsRecord Values>
void Write(Writer& writer, const Values& values) {
    writer.StartObject();
    WriteFields(writer, values);
    writer.EndObject();
}

struct WriteText {
    Buffer buffer{nullptr, 4096};
    Writer writer{buffer};
    template <class W>
    void operator()(W) {
        buffer.Clear();
        writer.Reset(buffer);
        writer.StartObject();
        Key(writer, "action");
        Text(writer, W::kAction);
        WriteFields(writer, W::values);
        writer.EndObject();
        benchmark::DoNotOptimize(buffer.GetString());
        benchmark::ClobberMemory();
    }
};

}  // namespace rapid
#endif

#ifdef TMXACTIONS_BENCH_SIMDJSON
namespace simd {

using simdjson::error_code;
using simdjson::ondemand::object;
using simdjson::ondemand::value;

// A plain writer for what the reader gets; RapidJSON may be missing.
void Append(std::string& json, std::string_view text) {
    json.append("\"").append(text).append("\"");
}
template <class T>
requires std::is_arithmetic_v<T>
void Append(std::string& json, T number) {
    if constexpr (std::is_same_v<T, bool>) {
        json += number ? "true" : "false";
    } else {
        json += std::to_string(number);
    }
}
template <IsRecord Values>
void Append(std::string& json, const Values& values);
template <class T>
void AppendField(std::string& json, std::string_view name, const T& field) {
    if (json.back() != '{') json += ',';
    Append(json, name);
    json += ':';
    Append(json, field);
}
template <class T>
void AppendField(std::string& json, std::string_view name, const std::optional<T>& field) {
    if (field) AppendField(json, name, *field);
}
template <IsRecord Values>
void AppendFields(std::string& json, const Values& values) {
    ForEachField(values, [&json](std::string_view name, const auto& field) {
        AppendField(json, name, field);
    });
}
template <IsRecord Values>
void Append(std::string& json, const Values& values) {
    json += '{';
    AppendFields(json, values);
    json += '}';
}

error_code Read(value v, std::string_view& out) { return v.get_string().get(out); }
error_code Read(value v, std::int64_t& out) { return v.get_int64().get(out); }
error_code Read(value v, std::uint64_t& out) { return v.get_uint64().get(out); }
error_code Read(value v, bool& out) { return v.get_bool().get(out); }
error_code Read(value v, std::int32_t& out) {
    std::int64_t wide = 0;
    const error_code error = v.get_int64().get(wide);
    out = static_cast<std::int32_t>(wide);
    return error;
}
template <IsRecord Values>
error_code Read(value v, Values& out);

/// Walks the members of an object once, in their order.
class Members {
  public:
    error_code Start(object& json) {
        if (const error_code error = json.begin().get(position_)) return error;
        if (const error_code error = json.end().get(end_)) return error;
        return Take();
    }
    bool IsAt(std::string_view name) { return !ended_ && field_.key() == name; }
    template <class T>
    error_code Read(T& out) {
        if (const error_code error = simd::Read(field_.value(), out)) return error;
        ++position_;
        return Take();
    }

  private:
    error_code Take() {
        ended_ = !(position_ != end_);
        return ended_ ? simdjson::SUCCESS : (*position_).get(field_);
    }

    simdjson::ondemand::object_iterator position_;
    simdjson::ondemand::object_iterator end_;
    simdjson::ondemand::field field_;
    bool ended_ = false;
};

template <class T>
error_code ReadField(Members& members, std::string_view name, T& out) {
    return members.IsAt(name) ? members.Read(out) : simdjson::NO_SUCH_FIELD;
}
template <class T>
error_code ReadField(Members& members, std::string_view name, std::optional<T>& out) {
    if (members.IsAt(name)) return members.Read(out.emplace());
    out.reset();
    return simdjson::SUCCESS;
}
template <IsRecord Values>
error_code ReadFields(Members& members, Values& out) {
    error_code error = simdjson::SUCCESS;
    ForEachField(out, [&](std::string_view name, auto& field) {
        if (error == simdjson::SUCCESS) error = ReadField(members, name, field);
    });
    return error;
}
template <IsRecord Values>
error_code Read(value v, Values& out) {
    object json;
    if (const error_code error = v.get_object().get(json)) return error;
    Members members;
    if (const error_code error = members.Start(json)) return error;
    return ReadFields(members, out);
}

struct ReadText {
    ReadText() {
        for (std::size_t i = 0; i < kActions; ++i) {
            WithWorkload(i, [this](auto w) {
                std::string text = "{";
                AppendField(text, "action", std::string_view(w.kAction));
                AppendFields(text, w.values);
                text += '}';
                json[w.kIndex] = simdjson::padded_string(text);
            });
        }
    }
    simdjson::padded_string json[kActions];
    simdjson::ondemand::parser parser;
    std::tuple<W1::Values, W2::Values, W3::Values, W4::Values> values;
    error_code result = simdjson::SUCCESS;

    template <class W>
    void operator()(W) {
        result = Run<W>();
        benchmark::DoNotOptimize(result);
        benchmark::DoNotOptimize(&std::get<W::kIndex>(values));
        benchmark::ClobberMemory();
    }
    template <class W>
    error_code Run() {
        simdjson::ondemand::document document;
        if (const error_code error = parser.iterate(json[W::kIndex]).get(document)) return error;
        object root;
        if (const error_code error = document.get_object().get(root)) return error;
        Members members;
        if (const error_code error = members.Start(root)) return error;
        std::string_view action;
        if (const error_code error = ReadField(members, "action", action)) return error;
        if (action != W::kAction) return simdjson::INCORRECT_TYPE;
        return ReadFields(members, std::get<W::kIndex>(values));
    }
};

void RequireValuesBack() {
    ReadText run;
    for (std::size_t i = 0; i < kActions; ++i) {
        WithWorkload(i, [&run](auto w) {
            run(w);
            Require(run.result == simdjson::SUCCESS && std::get<w.kIndex>(run.values) == w.values,
                    std::string("simdjson doesn't give back ") + w.kAction);
        });
    }
}

}  // namespace simd
#endif

}  // namespace

void RegisterText() {
#ifdef TMXACTIONS_BENCH_RAPIDJSON
    RegisterOperation<rapid::WriteText>("WriteText", "RapidJSON");
#endif
#ifdef TMXACTIONS_BENCH_SIMDJSON
    simd::RequireValuesBack();
    RegisterOperation<simd::ReadText>("ReadText", "simdjson");
#endif
}

}  // namespace bench
