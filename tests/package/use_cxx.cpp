// A program in C++: a typed create, the failure of a wrong decode, a query of the catalogue.
#include <tmxactions/tmxactions.h>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

class Action {
  public:
    explicit Action(TmxHandle handle) : handle_(handle) {}
    ~Action() {
        if (handle_ != nullptr) TmxAct_CloseHandle(handle_);
    }
    Action(const Action&) = delete;
    Action& operator=(const Action&) = delete;
    TmxHandle get() const { return handle_; }

    std::string Text() const {
        std::uint32_t size = 0;
        TmxAct_StoreToTextBufferA(handle_, nullptr, 0, false, true, &size);
        std::string text(size, '\0');
        if (!TmxAct_StoreToTextBufferA(handle_, &text[0], size, false, true, nullptr)) return {};
        text.resize(size - 1);
        return text;
    }

  private:
    TmxHandle handle_;
};

}  // namespace

int main() {
    const std::int64_t number = 7;
    const Action action(TmxAct_CreateCustomAction(&number, u"h\u00e9llo"));
    if (action.get() == nullptr) return 1;
    if (action.Text() != "CustomAction (7, \"h\xc3\xa9llo\")") return 2;

    TmxObjectRef camera;
    TmxErrorInfo error;
    if (TmxAct_DecodeCameraOn(action.get(), &camera)) return 3;
    if (!TmxAct_GetLastError(&error) || error.code != TmxErrorCode_Actions ||
        error.subcode != TmxActionsError_WrongDecodeMethod)
        return 4;

    TmxActionInfo info;
    if (!TmxAct_GetActionInfo(&info, TmxActionCode_CustomAction)) return 5;
    if (std::strcmp(info.name, "CustomAction") != 0 || info.parameterCount != 2) return 6;
    std::printf("%s, one of %u actions\n", action.Text().c_str(), TmxAct_GetNumberOfActions());
    return 0;
}
