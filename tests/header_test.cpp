// The public headers: numbers and layouts that callers in other languages build on.
#include <cstddef>
#include <type_traits>

#include "support/edge_support.h"

namespace edge {
namespace {

TEST(HeaderTest, TheInterfaceHasItsVersionAndItsDate) {
    EXPECT_EQ(TmxAct_InterfaceVersion(), 106u);
    EXPECT_STREQ(TmxAct_InterfaceDate(), "26.02.2018");
}

TEST(HeaderTest, TheSpecialNumbers) {
    EXPECT_EQ(TMX_NONE, 0x7fffffffu);
    EXPECT_EQ(TMX_ANY_MESSAGE_CLASS, 0x7fffffffu);
    EXPECT_EQ(TMX_MESSAGE_CLASS_ACTION, 1u);
    EXPECT_EQ(TMX_MESSAGE_CLASS_MATCH_ACTION, 2u);
    EXPECT_EQ(TMX_GENERIC_ACTION_CODE, 0x7ffffffeu);
    EXPECT_EQ(TMX_MEASURE_LENGTH, 0x7fffffffu);
    EXPECT_EQ(TMX_MESSAGE_FLAG_COMPLETE, 1u);
    EXPECT_EQ(TMX_MESSAGE_FLAG_COMPACT_EVENT_DATA, 2u);
    EXPECT_EQ(TMX_PROPERTY_BLOCK_MARKER, 0xF00Fu);
    EXPECT_EQ(TMX_ERROR_CODE_UNKNOWN, 0xFFFFFFFFu);
}

TEST(HeaderTest, TheErrorNumbers) {
    EXPECT_EQ(TmxErrorCode_Other, 0);
    EXPECT_EQ(TmxErrorCode_System, 2);
    EXPECT_EQ(TmxErrorCode_DateTime, 5);
    EXPECT_EQ(TmxErrorCode_Actions, 1008);
    EXPECT_EQ(TmxActionsError_WrongDecodeMethod, 3);
    EXPECT_EQ(TmxActionsError_BufferTooSmall, 7);
    EXPECT_EQ(TmxActionsError_WrongStructureSize, 8);
    EXPECT_EQ(TmxDateTimeError_ZoneRule, 1);
    EXPECT_EQ(TmxDateTimeError_Year, 3);
    EXPECT_EQ(TmxDateTimeError_Month, 4);
    EXPECT_EQ(TmxDateTimeError_Day, 5);
    EXPECT_EQ(TmxDateTimeError_Hour, 6);
    EXPECT_EQ(TmxDateTimeError_Minute, 7);
    EXPECT_EQ(TmxDateTimeError_Second, 8);
    EXPECT_EQ(TmxDateTimeError_Millisecond, 9);
    EXPECT_EQ(TmxDateTimeError_ExpectedCharacter, 10);
    EXPECT_EQ(TmxDateTimeError_ExpectedZone, 11);
    EXPECT_EQ(TmxDateTimeError_ExpectedEnd, 12);
    EXPECT_EQ(TmxDateTimeError_Range, 13);
}

TEST(HeaderTest, TheParameterTypes) {
    EXPECT_EQ(TmxParamType_Int32, 0);
    EXPECT_EQ(TmxParamType_Int64, 1);
    EXPECT_EQ(TmxParamType_DateTime, 2);
    EXPECT_EQ(TmxParamType_AnsiText, 3);
    EXPECT_EQ(TmxParamType_WideText, 4);
    EXPECT_EQ(TmxParamType_Bool, 5);
    EXPECT_EQ(TmxParamType_Guid, 6);
    EXPECT_EQ(TmxParamType_NamedId, 7);
    EXPECT_EQ(TmxParamType_ObjectRef, 8);
    EXPECT_EQ(TmxParamType_GuidRef, 9);
    EXPECT_EQ(TmxParamType_FirstEnum, 10);
    EXPECT_EQ(TmxParamType_LastEnum, 99);
    EXPECT_EQ(TmxParamType_Double, 100);
    EXPECT_EQ(TmxParamType_Rect, 101);
    EXPECT_EQ(TmxParamType_DataSet, 102);
}

TEST(HeaderTest, TheParameterKinds) {
    EXPECT_EQ(TmxParamKind_None, 0);
    EXPECT_EQ(TmxParamKind_User, 1);
    EXPECT_EQ(TmxParamKind_DeviceType, 2);
    EXPECT_EQ(TmxParamKind_DeviceName, 3);
    EXPECT_EQ(TmxParamKind_VideoChannel, 4);
    EXPECT_EQ(TmxParamKind_Viewer, 5);
    EXPECT_EQ(TmxParamKind_InputContact, 6);
    EXPECT_EQ(TmxParamKind_OutputContact, 7);
    EXPECT_EQ(TmxParamKind_Camera, 8);
    EXPECT_EQ(TmxParamKind_TimeRange, 9);
    EXPECT_EQ(TmxParamKind_EventType, 10);
    EXPECT_EQ(TmxParamKind_AudioChannel, 11);
    EXPECT_EQ(TmxParamKind_ADParameterSet, 13);
    EXPECT_EQ(TmxParamKind_VMDParameterSet, 14);
    EXPECT_EQ(TmxParamKind_WindowsError, 15);
    EXPECT_EQ(TmxParamKind_DeviceSubType, 16);
    EXPECT_EQ(TmxParamKind_ForeignKey, 17);
    EXPECT_EQ(TmxParamKind_CPAParameterSet, 18);
    EXPECT_EQ(TmxParamKind_PathwiseParameterSet, 19);
    EXPECT_EQ(TmxParamKind_BackupDestination, 20);
    EXPECT_EQ(TmxParamKind_Schedule, 21);
    EXPECT_EQ(TmxParamKind_HardwareModule, 22);
    EXPECT_EQ(TmxParamKind_CameraProfile, 23);
    EXPECT_EQ(TmxParamKind_SentaraParameterSet, 24);
    EXPECT_EQ(TmxParamKind_ImageDestination, 25);
}

TEST(HeaderTest, SomeCodesAndClasses) {
    EXPECT_EQ(TmxActionCode_SystemStarted, 1);
    EXPECT_EQ(TmxActionCode_ABCConnect, 21);
    EXPECT_EQ(TmxActionCode_CameraOn, 122);
    EXPECT_EQ(TmxActionCode_ViewerConnect, 201);
    EXPECT_EQ(TmxActionCode_CancelExport, 456);
    EXPECT_EQ(TmxActionCode_SMSIntercomNotification, 647);
    EXPECT_EQ(TmxActionClass_System, 0);
    EXPECT_EQ(TmxActionClass_CameraControl, 3);
    EXPECT_EQ(TmxActionClass_PP, 18);
    EXPECT_EQ(TmxActionClass_SMS, 22);
}

struct ActionRow {
    uint32_t code;
    const char* name;
    const char* typed;
};
struct ParameterRow {
    uint32_t code;
    const char* name;
    uint32_t kind;
    int optional;
};
constexpr ActionRow kActions[] = {
#define TMX_ACTION(code_, name_, typed_) {code_, #name_, #typed_},
#include <tmxactions/actions.def>
};
constexpr ParameterRow kParameters[] = {
#define TMX_PARAMETER(code_, name_, type_, kind_, optional_) \
    {code_, #name_, TmxParamKind_##kind_, optional_},
#include <tmxactions/actions.def>
};
#if defined(TMX_ACTION) || defined(TMX_PARAMETER)
#error "the list of actions leaves its macros defined"
#endif

TEST(HeaderTest, TheListOfActionsHasEveryActionOnce) {
    ASSERT_EQ(std::size(kActions), 353u);
    std::vector<uint32_t> codes;
    for (const ActionRow& row : kActions) {
        EXPECT_EQ(TmxAct_GetActionCodeByNameA(row.name), row.code);
        const bool ex = row.code == 54 || row.code == 59 || row.code == 80 || row.code == 81;
        EXPECT_EQ(std::string(row.typed), std::string(row.name) + (ex ? "Ex" : ""));
        codes.push_back(row.code);
    }
    std::sort(codes.begin(), codes.end());
    EXPECT_EQ(std::unique(codes.begin(), codes.end()), codes.end());
}

TEST(HeaderTest, TheListOfActionsHasEveryParameterInItsOrder) {
    uint32_t index = 0;
    uint32_t previous = 0;
    std::size_t expected = 0;
    for (const ActionRow& row : kActions) expected += TmxAct_GetNumberOfActionParameters(row.code);
    EXPECT_EQ(std::size(kParameters), expected);
    for (const ParameterRow& row : kParameters) {
        index = row.code == previous ? index + 1 : 0;
        previous = row.code;
        TmxParameterInfo info{};
        ASSERT_TRUE(TmxAct_GetActionParameterInfo(&info, row.code, index)) << row.code;
        EXPECT_STREQ(info.name, row.name);
        EXPECT_EQ(info.kind, row.kind) << row.code << ' ' << row.name;
        EXPECT_TRUE(row.optional == 0 || row.optional == 1);
    }
}

TEST(HeaderTest, HandlesAreOpaquePointers) {
    EXPECT_EQ(sizeof(TmxHandle), sizeof(void*));
    EXPECT_TRUE(std::is_pointer_v<TmxHandle>);
    EXPECT_EQ(sizeof(TmxWChar), 2u);
}

TEST(HeaderTest, TheLayoutOfTheValueRecords) {
    EXPECT_EQ(sizeof(TmxGuid), 16u);
    EXPECT_EQ(offsetof(TmxGuid, Data2), 4u);
    EXPECT_EQ(offsetof(TmxGuid, Data3), 6u);
    EXPECT_EQ(offsetof(TmxGuid, Data4), 8u);
    EXPECT_EQ(sizeof(TmxDateTime), 8u);
    EXPECT_EQ(sizeof(TmxRect), 8u);
    EXPECT_EQ(sizeof(TmxObjectRef), 24u);
    EXPECT_EQ(offsetof(TmxObjectRef, id), 0u);
    EXPECT_EQ(offsetof(TmxObjectRef, name), 8u);
    EXPECT_EQ(offsetof(TmxObjectRef, number), 16u);
    EXPECT_EQ(sizeof(TmxGuidRef), 32u);
    EXPECT_EQ(offsetof(TmxGuidRef, guid), 0u);
    EXPECT_EQ(offsetof(TmxGuidRef, name), 16u);
    EXPECT_EQ(offsetof(TmxGuidRef, reserved), 24u);
    EXPECT_EQ(sizeof(TmxDataSetEntry), 24u);
    EXPECT_EQ(offsetof(TmxDataSetEntry, words), 0u);
    EXPECT_EQ(offsetof(TmxDataSetEntry, number), 8u);
    EXPECT_EQ(offsetof(TmxDataSetEntry, name), 16u);
    EXPECT_EQ(sizeof(TmxDataSet), 16u);
    EXPECT_EQ(offsetof(TmxDataSet, items), 0u);
    EXPECT_EQ(offsetof(TmxDataSet, count), 8u);
}

TEST(HeaderTest, TheLayoutOfTheErrorRecord) {
    EXPECT_EQ(sizeof(TmxErrorInfo), 40u);
    EXPECT_EQ(offsetof(TmxErrorInfo, code), 0u);
    EXPECT_EQ(offsetof(TmxErrorInfo, subcode), 4u);
    EXPECT_EQ(offsetof(TmxErrorInfo, exceptionClass), 8u);
    EXPECT_EQ(offsetof(TmxErrorInfo, message), 16u);
    EXPECT_EQ(offsetof(TmxErrorInfo, messageW), 24u);
    EXPECT_EQ(offsetof(TmxErrorInfo, details), 32u);
}

TEST(HeaderTest, TheLayoutOfTheCatalogueRecords) {
    EXPECT_EQ(sizeof(TmxActionInfo), 80u);
    EXPECT_EQ(offsetof(TmxActionInfo, classId), 0u);
    EXPECT_EQ(offsetof(TmxActionInfo, code), 4u);
    EXPECT_EQ(offsetof(TmxActionInfo, reserved), 8u);
    EXPECT_EQ(offsetof(TmxActionInfo, parameterCount), 12u);
    EXPECT_EQ(offsetof(TmxActionInfo, name), 16u);
    EXPECT_EQ(offsetof(TmxActionInfo, plainNameU8), 40u);
    EXPECT_EQ(offsetof(TmxActionInfo, descriptionW), 72u);
    EXPECT_EQ(sizeof(TmxParameterInfo), 80u);
    EXPECT_EQ(offsetof(TmxParameterInfo, type), 0u);
    EXPECT_EQ(offsetof(TmxParameterInfo, kind), 4u);
    EXPECT_EQ(offsetof(TmxParameterInfo, extra), 8u);
    EXPECT_EQ(offsetof(TmxParameterInfo, count), 12u);
    EXPECT_EQ(offsetof(TmxParameterInfo, name), 16u);
    EXPECT_EQ(offsetof(TmxParameterInfo, descriptionW), 72u);
    EXPECT_EQ(sizeof(TmxActionClassInfo), 80u);
    EXPECT_EQ(offsetof(TmxActionClassInfo, padding), 4u);
    EXPECT_EQ(offsetof(TmxActionClassInfo, name), 8u);
    EXPECT_EQ(offsetof(TmxActionClassInfo, nameW), 16u);
    EXPECT_EQ(offsetof(TmxActionClassInfo, reserved), 24u);
    EXPECT_EQ(offsetof(TmxActionClassInfo, plainName), 32u);
    EXPECT_EQ(offsetof(TmxActionClassInfo, descriptionW), 72u);
    EXPECT_EQ(sizeof(TmxEnumValueInfo), 56u);
    EXPECT_EQ(offsetof(TmxEnumValueInfo, value), 4u);
    EXPECT_EQ(offsetof(TmxEnumValueInfo, name), 8u);
    EXPECT_EQ(offsetof(TmxEnumValueInfo, plainName), 24u);
    EXPECT_EQ(offsetof(TmxEnumValueInfo, plainNameW), 40u);
    EXPECT_EQ(offsetof(TmxEnumValueInfo, reserved), 48u);
}

TEST(HeaderTest, TheLayoutOfTheEventRecord) {
    EXPECT_EQ(sizeof(TmxEventDataRecord), 176u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, size), 0u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, code), 4u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, reserved), 8u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, untouched), 24u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, int32Fields), 32u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, int64Fields), 64u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, doubleFields), 96u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, dateFields), 112u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, textFields), 128u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, textFields[1].text), 152u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, binarySize), 160u);
    EXPECT_EQ(offsetof(TmxEventDataRecord, binary), 168u);
    EXPECT_EQ(sizeof(TmxEventText), 16u);
    EXPECT_EQ(offsetof(TmxEventText, text), 8u);
    EXPECT_EQ(TMX_EVENT_DESCRIPTION_INDEX, 0xFFFFFFFFu);
}

TEST(HeaderTest, TheLayoutOfTheCallbacks) {
    EXPECT_EQ(sizeof(TmxActionInfoCallbacks), 64u);
    EXPECT_EQ(offsetof(TmxActionInfoCallbacks, version), 0u);
    EXPECT_EQ(offsetof(TmxActionInfoCallbacks, resolveVideoInput), 8u);
    EXPECT_EQ(offsetof(TmxActionInfoCallbacks, resolveVideoOutput), 16u);
    EXPECT_EQ(offsetof(TmxActionInfoCallbacks, resolveInputContact), 24u);
    EXPECT_EQ(offsetof(TmxActionInfoCallbacks, resolveOutputContact), 32u);
    EXPECT_EQ(offsetof(TmxActionInfoCallbacks, resolveNamedId), 40u);
    EXPECT_EQ(offsetof(TmxActionInfoCallbacks, resolveGuidReference), 48u);
    EXPECT_EQ(offsetof(TmxActionInfoCallbacks, resolveChannelGuidReference), 56u);
}

TEST(HeaderTest, TheRecordsArePlain) {
    EXPECT_TRUE(
        (std::is_trivial_v<TmxEventDataRecord> && std::is_standard_layout_v<TmxEventDataRecord>));
    EXPECT_TRUE((std::is_trivial_v<TmxActionInfoCallbacks> &&
                 std::is_standard_layout_v<TmxActionInfoCallbacks>));
    EXPECT_TRUE((std::is_trivial_v<TmxErrorInfo> && std::is_standard_layout_v<TmxErrorInfo>));
    EXPECT_TRUE((std::is_trivial_v<TmxObjectRef> && std::is_standard_layout_v<TmxObjectRef>));
    EXPECT_TRUE((std::is_trivial_v<TmxGuidRef> && std::is_standard_layout_v<TmxGuidRef>));
    EXPECT_TRUE((std::is_trivial_v<TmxDataSet> && std::is_standard_layout_v<TmxDataSet>));
    EXPECT_TRUE((std::is_trivial_v<TmxActionInfo> && std::is_standard_layout_v<TmxActionInfo>));
    EXPECT_TRUE(
        (std::is_trivial_v<TmxEnumValueInfo> && std::is_standard_layout_v<TmxEnumValueInfo>));
}

}  // namespace
}  // namespace edge
