// Exports: event records, the walk over references, and client info.
#include <tmxactions/functions.h>

#include "event/action_info.h"
#include "event/client_info.h"
#include "event/event_description.h"
#include "event/event_restore.h"
#include "frame/call.h"
#include "match/match_action.h"
#include "zinc/exceptions.h"

using namespace TmxPLC;
using Frame::Action;

namespace {

template <class Object>
bool GetEventData(const Object& object, TmxEventDataRecord& record, bool& complete) {
    return Frame::Run([&] {
        if (record.size != sizeof record)
            throw TmxPLCException(TMX_WIDE("Wrong structure size"),
                                  TmxPLCException::WrongStructureSize);
        // The thread's record has the room for the values that lie in no object.
        LastError::Fetch();
        object.GetEventData(record, complete);
    });
}

}  // namespace

bool TmxAct_GetActionEventData(TmxHandle handle, TmxEventDataRecord* record, bool* complete) {
    return GetEventData(Action(handle), *record, *complete);
}

bool TmxMatchAct_GetActionEventData(TmxHandle handle, TmxEventDataRecord* record, bool* complete) {
    return GetEventData(static_cast<const CTmxMatchAction&>(Frame::Message(handle)), *record,
                        *complete);
}

TmxHandle TmxAct_RestoreActionFromEventData(const TmxEventDataRecord* record) {
    return Frame::Call([&] { return Frame::Handle(RestoreAction(*record)); });
}

TmxHandle TmxMatchAct_RestoreActionFromEventData(const TmxEventDataRecord* record) {
    return Frame::Call([&] { return Frame::Handle(RestoreMatchAction(*record)); });
}

bool TmxAct_GetActionEventDescription(const TmxEventDataRecord* record, void* context,
                                      TmxEventDescriptionCallback callback, bool* complete) {
    return Frame::Run([&] { DescribeEvent(*record, context, callback, *complete); });
}

bool TmxAct_UpdateActionInfo(TmxHandle handle, void* context,
                             const TmxActionInfoCallbacks* callbacks, bool* ok) {
    return Frame::Run([&] { *ok = UpdateActionInfo(Action(handle), context, *callbacks); });
}

bool TmxAct_GetWindowsClientInfo(TmxHandle handle, const TmxWChar** host, const int32_t** type,
                                 const TmxWChar** account) {
    return Frame::Call(
        [&] { return GetWindowsClientInfo(Action(handle), *host, *type, *account); });
}

bool TmxAct_UpdateWindowsClientInfo(TmxHandle handle, const TmxWChar* host, int32_t type,
                                    const TmxWChar* account) {
    return Frame::Call(
        [&] { return UpdateWindowsClientInfo(Action(handle), host, type, account); });
}

bool TmxAct_UpdateActionSource() {
    return Frame::Run([] {});
}

bool TmxAct_UpdateTimeRangeChanged() { return false; }
