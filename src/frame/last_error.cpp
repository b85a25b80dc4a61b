#include "frame/last_error.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "zinc/exceptions.h"

namespace TmxPLC::LastError {

namespace {

using Platform::WideChar;

void Free(Zinc::ThreadState* state) noexcept {
    Zinc::ThreadStates::Remove(*state);
    delete static_cast<LastErrorRecord*>(state);
}

template <typename Char, std::size_t N>
void CopyCut(Char (&field)[N], std::basic_string_view<Char> text) noexcept {
    field[text.copy(field, N - 1)] = 0;
}

// The conversions go straight into the fields: recording a failure must not fail, also where memory
// is what is missing. As many units as the field holds are converted; where a converted text would
// not fit, less of its source is.
template <std::size_t N>
void ConvertCut(char (&field)[N], std::basic_string_view<WideChar> text) noexcept {
    const std::ptrdiff_t count =
        Platform::WideToNarrow(Platform::CodePage::Ansi, Platform::kCompositeCheck, text.data(),
                               std::min(text.size(), N - 1), field, N - 1);
    field[count > 0 ? count : 0] = 0;
}
template <std::size_t N>
void ConvertCut(WideChar (&field)[N], std::string_view text) noexcept {
    const std::ptrdiff_t count =
        Platform::NarrowToWide(Platform::CodePage::Ansi, Platform::kPrecomposed, text.data(),
                               std::min(text.size(), N - 1), field, N - 1);
    field[count > 0 ? count : 0] = 0;
}

// What a handler tells of its exception. A null text is one that the exception hasn't got.
struct Failure {
    std::uint32_t code = 0;
    std::uint32_t subcode = 0;
    std::string_view exceptionClass{};
    const char* message = nullptr;
    const WideChar* messageW = nullptr;
    std::string_view details{};
};

void Record(const Failure& failure) noexcept {
    LastErrorRecord* record = Fetch();
    if (record == nullptr) return;
    record->present = 1;
    record->code = failure.code;
    record->subcode = failure.subcode;
    CopyCut(record->exceptionClass, failure.exceptionClass);
    CopyCut(record->details, failure.details);
    const std::string_view message(failure.message ? failure.message : "");
    const Zinc::WideView messageW(failure.messageW ? failure.messageW : TMX_WIDE(""));
    if (failure.message != nullptr)
        CopyCut(record->message, message);
    else
        ConvertCut(record->message, messageW);
    if (failure.messageW != nullptr)
        CopyCut(record->messageW, messageW);
    else
        ConvertCut(record->messageW, message);
}

constexpr std::string_view kGenericException = "Zinc::GenericException";
constexpr const char* kUnknownException = "Zinc::UnknownException";

void RecordZincException(const Zinc::ZincException& error) noexcept {
    Failure failure{.code = error.code,
                    .subcode = error.subcode,
                    .message = error.what(),
                    .messageW = error.messageW.c_str(),
                    .details = error.details};
    try {
        const std::string exceptionClass = error.GetClassName();
        failure.exceptionClass = exceptionClass;
        Record(failure);
    } catch (const std::exception&) {
        // No memory for the name of the class: the rest is recorded all the same.
        failure.exceptionClass = {};
        Record(failure);
    }
}

}  // namespace

void Attach() noexcept {
    Zinc::ThreadStates::First();  // makes the lock, which outlives this module's end
    Platform::AllocateThreadSlot([](void* state) { Free(static_cast<Zinc::ThreadState*>(state)); });
}

void Detach() noexcept {
    Platform::FreeThreadSlot();
    while (Zinc::ThreadState* state = Zinc::ThreadStates::First()) Free(state);
}

LastErrorRecord* Make() noexcept {
    auto* record = new (std::nothrow) LastErrorRecord;
    if (record == nullptr) return nullptr;
    record->exceptionClass[0] = 0;
    record->message[0] = 0;
    record->messageW[0] = 0;
    record->details[0] = 0;
    if (!Platform::SetThreadSlot(static_cast<Zinc::ThreadState*>(record))) {
        delete record;
        return nullptr;
    }
    Zinc::ThreadStates::Add(*record);
    return record;
}

void RecordCurrentException() noexcept {
    // The order of the handlers decides what a failure is recorded as.
    try {
        throw;
    } catch (const Zinc::ZincException& error) {
        RecordZincException(error);
    } catch (const std::exception& error) {
        Record({.exceptionClass = kGenericException, .message = error.what()});
    } catch (const char* text) {
        Record({.exceptionClass = kGenericException, .message = text});
    } catch (const WideChar* text) {
        Record({.exceptionClass = kGenericException, .messageW = text});
    } catch (...) {
        Record({.code = 0xffffffff,
                .exceptionClass = kUnknownException,
                .message = kUnknownException});
    }
}

}  // namespace TmxPLC::LastError
