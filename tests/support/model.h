// What the tests know of the actions: their facts, values of all types, and one way to create and
// to decode any action through its typed functions.
#ifndef TMX_TESTS_SUPPORT_MODEL_H
#define TMX_TESTS_SUPPORT_MODEL_H

#include <tmxactions/tmxactions.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// A literal of wide text or of one of its units.
#ifdef _WIN32
#define TMX_W(literal) L##literal
#else
#define TMX_W(literal) u##literal
#endif

namespace tmxtest {

using WideString = std::basic_string<TmxWChar>;
using WideView = std::basic_string_view<TmxWChar>;

enum class Type {
    Int32,
    Int64,
    DateTime,
    AnsiText,
    WideText,
    Bool,
    Guid,
    NamedId,
    ObjectRef,
    GuidRef,
    Enum,
    Double,
    Rect,
    DataSet,
};

enum class Kind {
    None = TmxParamKind_None,
    User = TmxParamKind_User,
    DeviceType = TmxParamKind_DeviceType,
    DeviceName = TmxParamKind_DeviceName,
    VideoChannel = TmxParamKind_VideoChannel,
    Viewer = TmxParamKind_Viewer,
    InputContact = TmxParamKind_InputContact,
    OutputContact = TmxParamKind_OutputContact,
    Camera = TmxParamKind_Camera,
    TimeRange = TmxParamKind_TimeRange,
    EventType = TmxParamKind_EventType,
    AudioChannel = TmxParamKind_AudioChannel,
    ADParameterSet = TmxParamKind_ADParameterSet,
    VMDParameterSet = TmxParamKind_VMDParameterSet,
    WindowsError = TmxParamKind_WindowsError,
    DeviceSubType = TmxParamKind_DeviceSubType,
    ForeignKey = TmxParamKind_ForeignKey,
    CPAParameterSet = TmxParamKind_CPAParameterSet,
    PathwiseParameterSet = TmxParamKind_PathwiseParameterSet,
    BackupDestination = TmxParamKind_BackupDestination,
    Schedule = TmxParamKind_Schedule,
    HardwareModule = TmxParamKind_HardwareModule,
    CameraProfile = TmxParamKind_CameraProfile,
    SentaraParameterSet = TmxParamKind_SentaraParameterSet,
    ImageDestination = TmxParamKind_ImageDestination,
};

// ---- Values ------------------------------------------------------------------------------------

struct DateTime {
    uint64_t value = 0;
    bool now = false;  // expected to be the present time, whatever value says
    bool operator==(const DateTime&) const = default;
};

struct ObjectRef {
    int64_t id = 0;
    int32_t number = 0;
    WideString name;
    bool operator==(const ObjectRef&) const = default;
};

struct NamedId {
    int64_t id = 0;
    WideString name;
    int32_t number = 0;  // kept in the object, part of no form
    bool operator==(const NamedId&) const = default;
};

struct GuidRef {
    TmxGuid guid{};
    WideString name;
    uint64_t reserved = 0;  // kept in the object, part of no form
};

struct DataSetEntry {
    std::array<int16_t, 4> words{};
    int32_t number = 0;
    WideString name;
    bool operator==(const DataSetEntry&) const = default;
};

using DataSet = std::vector<DataSetEntry>;

using Datum = std::variant<int32_t, int64_t, double, bool, DateTime, TmxGuid, TmxRect, std::string,
                           WideString, ObjectRef, NamedId, GuidRef, DataSet>;

// A parameter's value. Where present is false, data is not looked at: an absent optional parameter,
// or a required text for which a null pointer is handed in.
struct Value {
    Datum data;
    bool present = true;
};

using Values = std::vector<Value>;

bool operator==(const TmxGuid& a, const TmxGuid& b);
bool operator==(const TmxRect& a, const TmxRect& b);
bool operator==(const GuidRef& a, const GuidRef& b);

// ---- Facts -------------------------------------------------------------------------------------

struct ParameterFacts {
    std::string name;
    Type type;
    Kind kind;
    bool optional;
    uint32_t enumId;  // of the catalogue; 0 where the type isn't Enum
};

// Room for the out arguments of one decode: a slot for each, large enough for every type.
class Outs {
  public:
    static constexpr size_t kSlotSize = 32;
    explicit Outs(size_t count);

    template <typename Pointer>
    Pointer As(size_t index) {
        return reinterpret_cast<Pointer>(slots_[index].bytes);
    }
    template <typename T>
    T Get(size_t index) const {
        static_assert(sizeof(T) <= kSlotSize);
        return *reinterpret_cast<const T*>(slots_[index].bytes);
    }
    // True if nothing was written since the construction.
    bool Untouched() const;

  private:
    struct Slot {
        alignas(8) unsigned char bytes[kSlotSize];
    };
    std::vector<Slot> slots_;
};

// The flat forms of values, for the time of one create. The values must outlive it.
class Arguments {
  public:
    explicit Arguments(const Values& values);
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    template <typename T>
    T As(size_t index) const;

  private:
    struct Flat {
        TmxObjectRef object;
        TmxGuidRef guid;
        TmxDateTime time;
        TmxDataSet set;
        std::vector<TmxDataSetEntry> entries;
    };
    const Values& values_;
    std::vector<Flat> flats_;
};

struct ActionFacts {
    uint32_t code;
    std::string name;
    std::vector<ParameterFacts> parameters;
    TmxHandle (*create)(const Arguments&);
    bool (*decode)(TmxHandle, Outs&);
};

// All actions, in the order of their codes.
const std::vector<ActionFacts>& AllActions();

// The action of this name in exactly this spelling; ends the process if there is none.
const ActionFacts& ActionByName(std::string_view name);

// A message: an action, or the template of one, in which every parameter is set or not.
struct Message {
    const ActionFacts* action = nullptr;  // null where there is no message
    Values values;                        // of a template: present where set
    bool isTemplate = false;
    std::optional<WideString> description = std::nullopt;  // of a template
};

// The facts of a parameter in the message: a template's is always optional.
ParameterFacts FactsIn(const Message& message, size_t index);

// What the text of a template calls its description.
const ParameterFacts& DescriptionFacts();

TmxHandle Create(const ActionFacts& action, const Values& values);

// Decodes into values. Returns what the typed function returned; values stay on false.
bool Decode(const ActionFacts& action, TmxHandle handle, Values* values);

// ---- Comparison and description ----------------------------------------------------------------

// The value that Decode gives for a created or read one: texts end at their first zero, an absent
// required text is the empty text.
Value Seen(const ParameterFacts& parameter, const Value& value);

// True if both are the same to the bit, not by the rule of Equal; now means a time of the last
// minute.
bool Same(const Value& expected, const Value& actual);

std::string Describe(const Value& value);

// Compares value by value; empty if all are the same, else a text that tells the differences.
std::string Differences(const ActionFacts& action, const Values& expected, const Values& actual);

std::string Hex(const void* data, size_t size);
std::string Printable(std::string_view text);
std::string Printable(WideView text);

// The zero of a parameter's type.
Datum ZeroOf(Type type);

// What a new message holds for a parameter that isn't given: the zero, but the present time.
Datum FreshOf(Type type);

// The values as a text or bytes keep them: without the numbers that are part of no form.
Values AsStored(Values values);

}  // namespace tmxtest

#endif
