// Exports: templates.
#include <tmxactions/functions.h>

#include "frame/call.h"
#include "match/match_action.h"
#include "zinc/text.h"

using namespace TmxPLC;
using Frame::Template;

bool TmxAct_CreateMatchActionFromTemplate(TmxHandle handle, TmxHandle* matchAction) {
    return Frame::Run(
        [&] { *matchAction = Frame::Handle(Frame::Action(handle).CreateMatchAction()); });
}

bool TmxMatchAct_CreateActionFromTemplate(TmxHandle handle, TmxHandle source, TmxHandle* action) {
    return Frame::Run([&] {
        CTmxAction* from = source != nullptr ? &Frame::Action(source) : nullptr;
        *action = Frame::Handle(Template(handle).CreateAction(from));
    });
}

bool TmxMatchAct_Matches(TmxHandle handle, TmxHandle action, bool* matches) {
    return Frame::Run([&] { *matches = Template(handle).Matches(Frame::Action(action)); });
}

bool TmxMatchAct_SetDescriptionW(TmxHandle handle, const TmxWChar* text) {
    return Frame::Run([&] {
        if (text == nullptr) return Template(handle).ClearDescription();
        WideText description;
        description.AssignTerminated(text);
        Template(handle).SetDescription(std::move(description));
    });
}

bool TmxMatchAct_SetDescriptionA(TmxHandle handle, const char* text) {
    return Frame::Run([&] {
        if (text == nullptr) return Template(handle).ClearDescription();
        WideText description;
        description.Assign(Zinc::AnsiToWide(text));
        Template(handle).SetDescription(std::move(description));
    });
}

bool TmxMatchAct_GetDescriptionW(TmxHandle handle, const TmxWChar** text) {
    return Frame::Run([&] {
        const auto& description = Template(handle).Description();
        *text = description.IsSet ? description.Value.c_str() : TMX_WIDE("");
    });
}

bool TmxMatchAct_GetDescriptionA(TmxHandle handle, const char** text) {
    return Frame::Run([&] {
        CTmxMatchAction& object = Template(handle);
        *text = object.Description().IsSet ? object.NarrowDescription().c_str() : "";
    });
}

bool TmxMatchAct_HasDescription(TmxHandle handle, bool* has) {
    return Frame::Run([&] { *has = Template(handle).Description().IsSet; });
}

// What a template tells of its action it tells as the action does.

bool TmxMatchAct_GetActionCode(TmxHandle handle, uint32_t* code) {
    return TmxAct_GetActionCode(handle, code);
}

bool TmxMatchAct_GetActionClass(TmxHandle handle, uint32_t* classId) {
    return TmxAct_GetActionClass(handle, classId);
}

bool TmxMatchAct_GetActionNameA(TmxHandle handle, const char** name) {
    return TmxAct_GetActionNameA(handle, name);
}

bool TmxMatchAct_GetActionNameW(TmxHandle handle, const TmxWChar** name) {
    return TmxAct_GetActionNameW(handle, name);
}

bool TmxMatchAct_GetActionPlainNameA(TmxHandle handle, const char** name) {
    return TmxAct_GetActionPlainNameA(handle, name);
}

bool TmxMatchAct_GetActionPlainNameW(TmxHandle handle, const TmxWChar** name) {
    return TmxAct_GetActionPlainNameW(handle, name);
}
