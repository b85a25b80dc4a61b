// Exports: module, errors, handles and messages.
#include <tmxactions/functions.h>

#include "catalogue/catalogue.h"
#include "frame/call.h"

using namespace TmxPLC;
using Frame::Message;

namespace {

// The generic action has no record: what reads through it fails there.
const ActionRecord& RecordOf(TmxHandle handle) {
    const ActionRecord* record = Message(handle).GetInfo().catalogueRecord;
    if (record == nullptr) throw Zinc::ZincException("The generic action has no catalogue record");
    return *record;
}

}  // namespace

uint32_t TmxAct_InterfaceVersion() { return 106; }

const char* TmxAct_InterfaceDate() { return "26.02.2018"; }

bool TmxAct_GetLastError(TmxErrorInfo* info) {
    const auto* record = static_cast<const LastErrorRecord*>(Zinc::ThreadState::Current());
    if (record == nullptr || record->present == 0) return false;
    *info = {record->code,    record->subcode,  record->exceptionClass,
             record->message, record->messageW, record->details};
    return true;
}

uint32_t TmxAct_GetNumberOfOpenHandles() { return LiveObjects::Count(); }

bool TmxAct_CloneHandle(TmxHandle handle, TmxHandle* clone) {
    return Frame::Run([&] { *clone = Frame::Handle(Message(handle).Clone()); });
}

bool TmxAct_DuplicateHandle(TmxHandle handle) {
    return Frame::Run([&] { Message(handle).AddRef(); });
}

bool TmxAct_CloseHandle(TmxHandle handle) {
    return Frame::Run([&] { Message(handle).Release(); });
}

bool TmxAct_GetReferenceCounter(TmxHandle handle, uint32_t* count) {
    return Frame::Run([&] { *count = Message(handle).referenceCount.load(); });
}

bool TmxAct_GetMessageClass(TmxHandle handle, uint32_t* messageClass) {
    return Frame::Run([&] { *messageClass = Message(handle).GetInfo().messageClass; });
}

bool TmxAct_SetMessageFlags(TmxHandle handle, uint32_t flags) {
    return Frame::Run([&] { Message(handle).messageFlags = flags; });
}

bool TmxAct_GetMessageFlags(TmxHandle handle, uint32_t* flags) {
    return Frame::Run([&] { *flags = Message(handle).messageFlags; });
}

bool TmxAct_SetInternalData(TmxHandle handle, uint64_t data) {
    return Frame::Run([&] { Message(handle).internalData = data; });
}

bool TmxAct_GetInternalData(TmxHandle handle, uint64_t* data) {
    return Frame::Run([&] { *data = Message(handle).internalData; });
}

bool TmxAct_GetInternalIndex(TmxHandle handle, uint32_t* index) {
    return Frame::Run([&] { *index = RecordOf(handle).index; });
}

bool TmxAct_Equal(TmxHandle a, TmxHandle b, bool* equal) {
    return Frame::Run([&] {
        const Descriptor& descriptor = Message(a).GetInfo();
        *equal = &descriptor == &Message(b).GetInfo() &&
                 (descriptor.messageClass == ActionMessage
                      ? Frame::Action(a).Equal(Frame::Action(b))
                      : Frame::Template(a).Equal(Frame::Template(b)));
    });
}

bool TmxAct_GetActionCode(TmxHandle handle, uint32_t* code) {
    return Frame::Run([&] { *code = Message(handle).code; });
}

bool TmxAct_GetActionClass(TmxHandle handle, uint32_t* classId) {
    return Frame::Run([&] { *classId = RecordOf(handle).classId; });
}

bool TmxAct_GetActionNameA(TmxHandle handle, const char** name) {
    return Frame::Run([&] { *name = RecordOf(handle).text.name; });
}

bool TmxAct_GetActionNameW(TmxHandle handle, const TmxWChar** name) {
    return Frame::Run([&] { *name = RecordOf(handle).text.nameW; });
}

bool TmxAct_GetActionPlainNameA(TmxHandle handle, const char** name) {
    return Frame::Run([&] { *name = RecordOf(handle).text.Plain().narrow; });
}

bool TmxAct_GetActionPlainNameW(TmxHandle handle, const TmxWChar** name) {
    return Frame::Run([&] { *name = RecordOf(handle).text.Plain().wide; });
}
