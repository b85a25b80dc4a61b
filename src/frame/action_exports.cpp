// Exports: the generic action, routing and properties.
#include <tmxactions/functions.h>

#include "event/property_list.h"
#include "frame/call.h"
#include "objects/generic_action.h"

using namespace TmxPLC;
using Frame::Action;

namespace {

WideView NameOf(const TmxWChar* name) noexcept { return name != nullptr ? name : WideView(); }

}  // namespace

TmxHandle TmxAct_CreateGenericAction(const TmxObjectRef* videoInput,
                                     const TmxObjectRef* videoOutput,
                                     const TmxObjectRef* inputContact,
                                     const TmxObjectRef* outputContact, int32_t genericInt32) {
    return Frame::Call([&] {
        return Frame::Handle(new (std::nothrow) CTmxGenericAction(
            videoInput, videoOutput, inputContact, outputContact, genericInt32));
    });
}

bool TmxAct_GetGenericInt32Parameter(TmxHandle handle, int32_t* value) {
    return Frame::Run([&] { *value = Action(handle).GetGenericInt32Parameter(); });
}

bool TmxAct_GetVideoInput(TmxHandle handle, TmxObjectRef** reference) {
    return Frame::Run([&] { *reference = Action(handle).GetVideoInput(); });
}

bool TmxAct_GetVideoOutput(TmxHandle handle, TmxObjectRef** reference) {
    return Frame::Run([&] { *reference = Action(handle).GetVideoOutput(); });
}

bool TmxAct_GetInputContact(TmxHandle handle, TmxObjectRef** reference) {
    return Frame::Run([&] { *reference = Action(handle).GetInputContact(); });
}

bool TmxAct_GetOutputContact(TmxHandle handle, TmxObjectRef** reference) {
    return Frame::Run([&] { *reference = Action(handle).GetOutputContact(); });
}

bool TmxAct_GetForeignKey(TmxHandle handle, int64_t** key) {
    return Frame::Run([&] { *key = Action(handle).GetForeignKey(); });
}

bool TmxAct_SetProperty(TmxHandle handle, const TmxWChar* name, const TmxWChar* value) {
    return Frame::Run([&] {
        Properties& properties = Action(handle).properties;
        if (value != nullptr)
            properties.Set(NameOf(name), value);
        else
            properties.Remove(NameOf(name));
    });
}

bool TmxAct_GetProperty(TmxHandle handle, const TmxWChar* name, const TmxWChar** value) {
    return Frame::Run([&] {
        const WideString* found = Action(handle).properties.Find(NameOf(name));
        *value = found != nullptr ? found->c_str() : TMX_WIDE("");
    });
}

bool TmxAct_GetProperties(TmxHandle handle, const TmxWChar** text) {
    return Frame::Run([&] { *text = ListProperties(Action(handle).properties).c_str(); });
}
