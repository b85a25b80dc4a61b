// The values of an action's parameters, one after the other, whatever the action.
#ifndef TMXACT_PARAMETER_VALUES_H
#define TMXACT_PARAMETER_VALUES_H

#include <tmxactions/tmxactions.h>

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <vector>

namespace tmxact {

// Calls visitor.Given(index, value) for each parameter that the action has, in order, and
// visitor.Absent(index) for each that it lacks. A value is std::int32_t, std::int64_t, double,
// bool, TmxDateTime, TmxGuid, TmxObjectRef, TmxGuidRef, TmxRect, TmxDataSet, const TmxWChar* or
// const char*, as the Decode function of the action gives it; it belongs to the action.
template <typename Visitor>
class ParameterValues {
  public:
    // False if a value can't be had, see TmxAct_GetLastError. The code is that of the action.
    static bool Visit(std::uint32_t code, TmxHandle action, Visitor& visitor) {
        static const std::vector<Function> functions = ByCode();
        return functions[code](action, visitor);
    }

  private:
    using Function = bool (*)(TmxHandle, Visitor&);

    template <typename T>
    static constexpr bool kIsText =
        std::is_same_v<T, const char*> || std::is_same_v<T, const TmxWChar*>;

    // What a Decode function gave: a value or a text, or the address of an optional value, which
    // is null where it is absent.
    template <typename Out>
    static void One(std::size_t index, const Out& out, Visitor& visitor) {
        if constexpr (std::is_pointer_v<Out>) {
            if (out == nullptr) return visitor.Absent(index);
        }
        if constexpr (std::is_pointer_v<Out> && !kIsText<Out>) {
            visitor.Given(index, *out);
        } else {
            visitor.Given(index, out);
        }
    }

    template <typename... Outs>
    static bool All(bool (*decode)(TmxHandle, Outs*...), TmxHandle action,
                    [[maybe_unused]] Visitor& visitor) {
        std::tuple<Outs...> outs{};
        if (!std::apply([&](Outs&... out) { return decode(action, &out...); }, outs)) return false;
        [[maybe_unused]] std::size_t index = 0;
        std::apply([&](const Outs&... out) { (One(index++, out, visitor), ...); }, outs);
        return true;
    }

    static std::vector<Function> ByCode() {
        struct Row {
            std::uint32_t code;
            Function function;
        };
        constexpr Row kRows[] = {
#define TMX_ACTION(code, name, typed)                                         \
    {code, [](TmxHandle action, Visitor& visitor) {                           \
         return ParameterValues::All(&TmxAct_Decode##typed, action, visitor); \
     }},
#include <tmxactions/actions.def>
        };
        std::vector<Function> byCode;
        for (const Row& row : kRows) {
            if (row.code >= byCode.size()) byCode.resize(row.code + 1);
            byCode[row.code] = row.function;
        }
        return byCode;
    }
};

}  // namespace tmxact

#endif
