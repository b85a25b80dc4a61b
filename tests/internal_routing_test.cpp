// The routing accessors that no export shows: event types, GUID references and those of channels.
#include <gtest/gtest.h>
#include <tmxactions/tmxactions.h>

#include <map>
#include <span>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "objects/generic_action.h"

namespace {

using namespace TmxPLC;

struct Reference {
    const char* action;
    const char* parameter;
    std::uint32_t kind;
};

constexpr Reference kGuidReferences[] = {
    {"AbortAutoBackup", "Schedule", 21},
    {"StartAutoBackup", "Schedule", 21},
    {"AutoBackupFileDone", "Schedule", 21},
    {"AutoBackupFileProgress", "Schedule", 21},
    {"AutoBackupFileStarted", "Schedule", 21},
    {"AutoBackupOperationDone", "Schedule", 21},
    {"AutoBackupOperationStarted", "Schedule", 21},
    {"AutoBackupScheduleDone", "Schedule", 21},
    {"AutoBackupScheduleStarted", "Schedule", 21},
    {"BackupEvent", "Destination", 20},
    {"EventBackupDone", "Destination", 20},
    {"EventBackupFileDone", "Destination", 20},
    {"EventBackupFileProgress", "Destination", 20},
    {"EventBackupFileStarted", "Destination", 20},
    {"EventBackupStarted", "Destination", 20},
    {"SystemSettingsChanged", "TimeRange", 9},
};
// ChangeSentaraParameterSet has such a parameter too, and must not answer.
constexpr Reference kChannelGuidReferences[] = {
    {"ChangeADParameterSet", "ParameterSet", 13},
    {"ChangeVMDParameterSet", "ParameterSet", 14},
    {"ChangeCPAParameterSet", "ParameterSet", 18},
    {"ChangePathwiseParameterSet", "ParameterSet", 19},
};
constexpr const char* kNamedIds[][2] = {
    {"BackupEvent", "TypeID"},
    {"EventRecordingChanged", "TypeID"},
    {"EventStarted", "TypeID"},
    {"EventStopped", "TypeID"},
    {"PicsaveExportEventImage", "TypeID"},
    {"KillEvent", "TypeID"},
    {"StartEvent", "TypeID"},
    {"StopEvent", "TypeID"},
    {"VCAlarmQueueConfirmByType", "TypeID"},
    {"VCAlarmQueueNotification", "TypeID"},
    {"VCAlarmQueueRemoveByType", "TypeID"},
    {"VCAlarmQueueSelectByType", "TypeID"},
    {"ViewerShowAlarmByType", "TypeID"},
    {"EventBackupDone", "EventTypeID"},
    {"EventBackupFileDone", "EventTypeID"},
    {"EventBackupFileProgress", "EventTypeID"},
    {"EventBackupFileStarted", "EventTypeID"},
    {"EventBackupStarted", "EventTypeID"},
    {"SetupChanged", "ResourceID"},
};

// Whether each action's parameters are optional.
const std::map<std::uint32_t, std::vector<bool>>& OptionalFlags() {
    static const std::map<std::uint32_t, std::vector<bool>> flags = [] {
        std::map<std::uint32_t, std::vector<bool>> result;
#define TMX_ACTION(code, name, typed) result[code];
#define TMX_PARAMETER(code, name, type, kind, optional) result[code].push_back((optional) != 0);
#include <tmxactions/actions.def>
        return result;
    }();
    return flags;
}

void AppendValue(std::vector<std::uint8_t>& bytes, std::uint32_t type, std::uint8_t mark) {
    const auto zeros = [&](std::size_t count) { bytes.insert(bytes.end(), count, 0); };
    const auto text = [&](std::size_t unit) {
        bytes.insert(bytes.end(), {2, 0, 0, 0, mark});
        zeros(2 * unit - 1);
    };
    switch (type) {
        case ParamInt64:
        case ParamDateTime:
        case ParamDouble:
        case ParamRectangle:
            return zeros(8);
        case ParamAnsiText:
            return text(1);
        case ParamWideText:
        case ParamDataSet:
            return text(2);
        case ParamBool:
            return zeros(1);
        case ParamGuid:
            return zeros(16);
        case ParamNamedId:
            zeros(8);
            return text(2);
        case ParamObjectRef:
            zeros(12);
            return text(2);
        case ParamGuidRef:
            zeros(16);
            return text(2);
        default:
            return zeros(4);
    }
}

// Each text holds one letter that tells the parameter's place.
std::vector<std::uint8_t> BytesOf(const ActionRecord& record, bool present) {
    std::vector<std::uint8_t> bytes = {1, 0, 0, 0};
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<std::uint8_t>(record.code >> shift));
    for (std::size_t i = 0; i < record.parameters.size(); ++i) {
        const bool optional = OptionalFlags().at(record.code)[i];
        if (optional) bytes.push_back(present ? 1 : 0);
        if (!optional || present)
            AppendValue(bytes, record.parameters[i].type, static_cast<std::uint8_t>('A' + i));
    }
    return bytes;
}

CTmxAction* MakeFrom(const ActionRecord& record, bool present) {
    const std::vector<std::uint8_t> bytes = BytesOf(record, present);
    const TmxHandle handle = TmxAct_CreateFromBinBuffer(
        bytes.data(), static_cast<std::int32_t>(bytes.size()), TMX_NONE, nullptr);
    return static_cast<CTmxAction*>(reinterpret_cast<CTmxMessage*>(handle));
}

std::string ParameterOf(const ActionRecord& record, const WideText& name) {
    const auto place = static_cast<std::size_t>(name.c_str()[0] - 'A');
    return place < record.parameters.size() ? record.parameters[place].text.name : "?";
}

// Holds the answers of one accessor over all actions against its table.
using Accessor = GuidRef* (CTmxAction::*)(std::uint32_t&);
void ExpectAnswers(Accessor accessor, std::span<const Reference> references) {
    std::map<std::string, Reference> expected;
    for (const Reference& reference : references) expected[reference.action] = reference;
    for (const ActionRecord& record : TheCatalogue().actions) {
        CTmxAction* action = MakeFrom(record, true);
        ASSERT_NE(action, nullptr) << record.text.name;
        std::uint32_t kind = 77;
        const GuidRef* found = (action->*accessor)(kind);
        const auto wanted = expected.find(record.text.name);
        ASSERT_EQ(found != nullptr, wanted != expected.end()) << record.text.name;
        if (found != nullptr) {
            EXPECT_EQ(ParameterOf(record, found->nameText), wanted->second.parameter);
            EXPECT_EQ(kind, wanted->second.kind) << record.text.name;
        } else {
            EXPECT_EQ(kind, 77u) << record.text.name;
        }
        action->Release();
    }
}

TEST(InternalRouting, GuidReferencesAreThoseOfTheTableAndNoOthers) {
    ExpectAnswers(&CTmxAction::GetGuidReference, kGuidReferences);
}

TEST(InternalRouting, AnAbsentTimeRangeGivesNullAndItsKindAllTheSame) {
    const ActionRecord* record = TheCatalogue().FindAction(TmxActionCode_SystemSettingsChanged);
    CTmxAction* action = MakeFrom(*record, false);
    std::uint32_t kind = 77;
    EXPECT_EQ(action->GetGuidReference(kind), nullptr);
    EXPECT_EQ(kind, 9u);
    action->Release();
}

TEST(InternalRouting, ChannelGuidReferencesLeaveOutTheSentaraParameterSet) {
    ExpectAnswers(&CTmxAction::GetChannelGuidReference, kChannelGuidReferences);
}

TEST(InternalRouting, NamedIdsAreTheEventTypesAndTheResourceOfASetupChange) {
    std::map<std::string, std::string> expected;
    for (const auto& [action, parameter] : kNamedIds) expected[action] = parameter;
    for (const ActionRecord& record : TheCatalogue().actions) {
        CTmxAction* action = MakeFrom(record, true);
        const NamedId* found = action->GetNamedId();
        const auto wanted = expected.find(record.text.name);
        ASSERT_EQ(found != nullptr, wanted != expected.end()) << record.text.name;
        if (found != nullptr) {
            EXPECT_EQ(ParameterOf(record, found->nameText), wanted->second);
        }
        action->Release();
    }
}

TEST(InternalRouting, AGenericActionHasNoneOfThem) {
    CTmxGenericAction action;
    std::uint32_t kind = 77;
    EXPECT_EQ(action.GetGuidReference(kind), nullptr);
    EXPECT_EQ(action.GetChannelGuidReference(kind), nullptr);
    EXPECT_EQ(action.GetNamedId(), nullptr);
    EXPECT_EQ(action.GetForeignKey(), nullptr);
    EXPECT_EQ(kind, 77u);
}

TEST(Message, DumpTextIsALiteral) {
    const CTmxGenericAction action;
    std::string text = "before";
    action.DumpText(text);
    EXPECT_EQ(text, "<refptr/>");
}

}  // namespace
