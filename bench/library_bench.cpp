// The library's own operations, their floor, and the main function of the program.
#include <malloc.h>
#include <tmxactions/tmxactions.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "workloads.h"

namespace bench {
namespace {

std::u16string Utf16(std::string_view utf8) {
    std::u16string wide;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : 3;
        Require(lead < 0xF0 && i + length <= utf8.size(), "a workload's text is beyond the BMP");
        char32_t unit = length == 1 ? lead : length == 2 ? lead & 0x1Fu : lead & 0x0Fu;
        for (std::size_t k = 1; k < length; ++k) {
            unit = unit << 6 | (static_cast<unsigned char>(utf8[i + k]) & 0x3Fu);
        }
        wide.push_back(static_cast<char16_t>(unit));
        i += length;
    }
    return wide;
}

// The arguments of the create functions, ready as a caller has them at hand.
struct RefArgument {
    explicit RefArgument(const RefValue& v) : name(Utf16(v.name)) {
        flat = {v.id, name.c_str(), v.number, 0};
    }
    explicit RefArgument(const NamedIdValue& v) : name(Utf16(v.name)) {
        flat = {v.id, name.c_str(), 0, 0};
    }
    RefArgument(const RefArgument&) = delete;
    RefArgument& operator=(const RefArgument&) = delete;
    std::u16string name;
    TmxObjectRef flat;
};

struct Arguments {
    RefArgument camera{W1::values.camera};
    RefArgument viewer{W2::values.viewer};
    RefArgument channel{W2::values.channel};
    RefArgument resource{W3::values.resourceId};
    std::u16string user = Utf16(W3::values.user);
    std::u16string host = Utf16(W3::values.host);
    std::u16string details = Utf16(*W3::values.details);
    std::u16string clientAccount = Utf16(*W3::values.clientAccount);
    TmxDateTime date{W3::values.date};
    std::u16string panel = Utf16(W4::values.panel);
    std::u16string device = Utf16(W4::values.device);
    std::u16string description = Utf16(W4::values.description);
    std::u16string assetId = Utf16(W4::values.assetId);
    std::u16string commServer = Utf16(W4::values.commServerHostName);
    std::u16string eventText = Utf16(W4::values.eventText);
    TmxDateTime timeStamp{W4::values.timeStamp};
};

const Arguments& Args() {
    static const Arguments arguments;
    return arguments;
}

TmxHandle Create(const Arguments& a, W1) { return TmxAct_CreateCameraOn(&a.camera.flat); }

TmxHandle Create(const Arguments& a, W2) {
    return TmxAct_CreateViewerConnect(&a.viewer.flat, &a.channel.flat, W2::values.playMode);
}

TmxHandle Create(const Arguments& a, W3) {
    const SetupChangedValues& v = W3::values;
    return TmxAct_CreateSetupChanged(a.user.c_str(), a.host.c_str(), &a.date, v.resourceKind,
                                     &a.resource.flat, v.changeKind, a.details.c_str(), nullptr,
                                     nullptr, a.clientAccount.c_str());
}

TmxHandle Create(const Arguments& a, W4) {
    const LenelAccessEventValues& v = W4::values;
    return TmxAct_CreateLenelAccessEvent(
        &v.id, a.panel.c_str(), a.device.c_str(), &v.secondaryDevice, &v.cardNumber,
        &v.accessResult, &v.type, &v.subType, a.description.c_str(), &v.serialNumber, &a.timeStamp,
        &v.areaEnteredId, &v.areaExitedId, a.assetId.c_str(), &v.cardholderEntered, &v.duress,
        &v.elevatorFloor, &v.facilityCode, &v.isReadableCard, &v.issueCode, a.commServer.c_str(),
        a.eventText.c_str());
}

// Decode gives every parameter; what comes by pointer is read through it. Each returns false where
// the handle was of another action.
bool Decode(TmxHandle handle, W1) {
    TmxObjectRef camera;
    const bool ok = TmxAct_DecodeCameraOn(handle, &camera);
    benchmark::DoNotOptimize(camera);
    return ok;
}

bool Decode(TmxHandle handle, W2) {
    struct {
        TmxObjectRef viewer;
        TmxObjectRef channel;
        std::int32_t playMode;
    } out;
    const bool ok = TmxAct_DecodeViewerConnect(handle, &out.viewer, &out.channel, &out.playMode);
    benchmark::DoNotOptimize(out);
    return ok;
}

bool Decode(TmxHandle handle, W3) {
    struct {
        const TmxWChar* user;
        const TmxWChar* host;
        TmxDateTime date;
        std::int32_t resourceKind;
        TmxObjectRef resource;
        std::int32_t changeKind;
        const TmxWChar* details;
        const TmxWChar* clientHost;
        const std::int32_t* clientType;
        const TmxWChar* clientAccount;
    } out;
    if (!TmxAct_DecodeSetupChanged(handle, &out.user, &out.host, &out.date, &out.resourceKind,
                                   &out.resource, &out.changeKind, &out.details, &out.clientHost,
                                   &out.clientType, &out.clientAccount))
        return false;
    benchmark::DoNotOptimize(out);
    std::int32_t clientType = out.clientType != nullptr ? *out.clientType : 0;
    benchmark::DoNotOptimize(clientType);
    return true;
}

bool Decode(TmxHandle handle, W4) {
    struct {
        const TmxWChar* panel;
        const TmxWChar* device;
        const TmxWChar* description;
        const TmxWChar* assetId;
        const TmxWChar* commServer;
        const TmxWChar* eventText;
        const std::int32_t* numbers[11];
        const std::int64_t* cardNumber;
        const TmxDateTime* timeStamp;
        const bool* flags[3];
    } out;
    if (!TmxAct_DecodeLenelAccessEvent(
            handle, &out.numbers[0], &out.panel, &out.device, &out.numbers[1], &out.cardNumber,
            &out.numbers[2], &out.numbers[3], &out.numbers[4], &out.description, &out.numbers[5],
            &out.timeStamp, &out.numbers[6], &out.numbers[7], &out.assetId, &out.flags[0],
            &out.flags[1], &out.numbers[8], &out.numbers[9], &out.flags[2], &out.numbers[10],
            &out.commServer, &out.eventText))
        return false;
    benchmark::DoNotOptimize(out);
    struct {
        std::int32_t numbers[11];
        std::int64_t cardNumber;
        std::uint64_t timeStamp;
        bool flags[3];
    } values;
    for (std::size_t i = 0; i < 11; ++i) values.numbers[i] = *out.numbers[i];
    for (std::size_t i = 0; i < 3; ++i) values.flags[i] = *out.flags[i];
    values.cardNumber = *out.cardNumber;
    values.timeStamp = out.timeStamp->value;
    benchmark::DoNotOptimize(values);
    return true;
}

// ---- Operations ---------------------------------------------------------------------------------

constexpr std::uint32_t kBufferSize = 4096;

struct CreateClose {
    const Arguments& arguments = Args();
    template <class W>
    void operator()(W w) {
        TmxHandle handle = Create(arguments, w);
        benchmark::DoNotOptimize(handle);
        TmxAct_CloseHandle(handle);
    }
};

struct CreateStoreClose {
    const Arguments& arguments = Args();
    std::uint8_t buffer[kBufferSize];
    template <class W>
    void operator()(W w) {
        TmxHandle handle = Create(arguments, w);
        std::uint32_t needed = 0;
        TmxAct_StoreToBinBuffer(handle, buffer, kBufferSize, &needed);
        benchmark::DoNotOptimize(needed);
        benchmark::ClobberMemory();
        TmxAct_CloseHandle(handle);
    }
};

struct DecodeAll {
    template <class W>
    void operator()(W w) {
        bool ok = Decode(Get(W::kIndex).object, w);
        benchmark::DoNotOptimize(ok);
    }
};

struct StoreBinary {
    std::uint8_t buffer[kBufferSize];
    template <class W>
    void operator()(W) {
        std::uint32_t needed = 0;
        TmxAct_StoreToBinBuffer(Get(W::kIndex).object, buffer, kBufferSize, &needed);
        benchmark::DoNotOptimize(needed);
        benchmark::ClobberMemory();
    }
};

template <bool kDecode>
struct ReadBinary {
    template <class W>
    void operator()(W w) {
        const Prepared& prepared = Get(W::kIndex);
        std::uint32_t used = 0;
        TmxHandle handle = TmxAct_CreateFromBinBuffer(
            prepared.binary.data(), static_cast<std::int32_t>(prepared.binary.size()),
            TMX_ANY_MESSAGE_CLASS, &used);
        benchmark::DoNotOptimize(used);
        if constexpr (kDecode) Decode(handle, w);
        TmxAct_CloseHandle(handle);
    }
};

struct StoreTextNarrow {
    char buffer[kBufferSize];
    template <class W>
    void operator()(W) {
        std::uint32_t written = 0;
        TmxAct_StoreToTextBufferA(Get(W::kIndex).object, buffer, kBufferSize, false, true,
                                  &written);
        benchmark::DoNotOptimize(written);
        benchmark::ClobberMemory();
    }
};

struct StoreTextWide {
    TmxWChar buffer[kBufferSize];
    template <class W>
    void operator()(W) {
        std::uint32_t written = 0;
        TmxAct_StoreToTextBufferW(Get(W::kIndex).object, buffer, kBufferSize, false, false,
                                  &written);
        benchmark::DoNotOptimize(written);
        benchmark::ClobberMemory();
    }
};

template <bool kDecode>
struct ReadTextNarrow {
    template <class W>
    void operator()(W w) {
        const Prepared& prepared = Get(W::kIndex);
        std::uint32_t consumed = 0;
        TmxHandle handle = TmxAct_CreateFromTextBufferA(
            prepared.narrow.c_str(), static_cast<std::uint32_t>(prepared.narrow.size()),
            TMX_ANY_MESSAGE_CLASS, true, &consumed);
        benchmark::DoNotOptimize(consumed);
        if constexpr (kDecode) Decode(handle, w);
        TmxAct_CloseHandle(handle);
    }
};

struct ReadTextWide {
    template <class W>
    void operator()(W) {
        const Prepared& prepared = Get(W::kIndex);
        std::uint32_t consumed = 0;
        TmxHandle handle = TmxAct_CreateFromTextBufferW(
            prepared.wide.c_str(), static_cast<std::uint32_t>(prepared.wide.size()),
            TMX_ANY_MESSAGE_CLASS, false, &consumed);
        benchmark::DoNotOptimize(consumed);
        TmxAct_CloseHandle(handle);
    }
};

struct CloneClose {
    template <class W>
    void operator()(W) {
        TmxHandle clone = nullptr;
        TmxAct_CloneHandle(Get(W::kIndex).object, &clone);
        benchmark::DoNotOptimize(clone);
        TmxAct_CloseHandle(clone);
    }
};

// Two objects that agree, so that every parameter is looked at.
struct Equal {
    template <class W>
    void operator()(W) {
        const Prepared& prepared = Get(W::kIndex);
        bool equal = false;
        TmxAct_Equal(prepared.object, prepared.twin, &equal);
        benchmark::DoNotOptimize(equal);
    }
};

struct LookupName {
    template <class W>
    void operator()(W) {
        std::uint32_t code = TmxAct_GetActionCodeByNameA(W::kAction);
        benchmark::DoNotOptimize(code);
    }
};

// What no implementation can do without: a block for the object, given back, and the encoded bytes
// copied once. The block is no smaller than the bytes.
enum class Form { kBinary, kNarrow, kWide };

template <Form kForm>
void EncodedBytes(const Prepared& prepared, const void*& data, std::size_t& size) {
    if constexpr (kForm == Form::kBinary) {
        data = prepared.binary.data();
        size = prepared.binary.size();
    } else if constexpr (kForm == Form::kNarrow) {
        data = prepared.narrow.data();
        size = prepared.narrow.size();
    } else {
        data = prepared.wide.data();
        size = prepared.wide.size() * sizeof(char16_t);
    }
}

template <Form kForm>
struct FloorAllocateCopy {
    template <class W>
    void operator()(W) {
        const Prepared& prepared = Get(W::kIndex);
        const void* data;
        std::size_t size;
        EncodedBytes<kForm>(prepared, data, size);
        void* block = std::malloc(std::max(prepared.objectSize, size));
        benchmark::DoNotOptimize(block);
        std::memcpy(block, data, size);
        benchmark::ClobberMemory();
        std::free(block);
    }
};

// The stricter floor of what needs no object of its own.
template <Form kForm>
struct FloorCopy {
    std::uint8_t buffer[kBufferSize];
    template <class W>
    void operator()(W) {
        const void* data;
        std::size_t size;
        EncodedBytes<kForm>(Get(W::kIndex), data, size);
        void* target = buffer;
        benchmark::DoNotOptimize(target);
        std::memcpy(target, data, size);
        benchmark::ClobberMemory();
    }
};

// ---- Preparation --------------------------------------------------------------------------------

Prepared prepared_actions[kActions];

/// Bytes of heap that one live action takes: the growth of the heap over many.
template <class W>
std::size_t MeasureResident(W w) {
    constexpr std::size_t kObjects = 4000;
    std::vector<TmxHandle> handles(kObjects);
    for (int pass = 0; pass < 2; ++pass) {  // the first pass fills the allocator's caches
        const std::size_t before = mallinfo2().uordblks;
        for (TmxHandle& handle : handles) handle = Create(Args(), w);
        const std::size_t after = mallinfo2().uordblks;
        for (TmxHandle handle : handles) TmxAct_CloseHandle(handle);
        if (pass == 1 && after > before) return (after - before) / kObjects;
    }
    return 0;
}

template <class W>
void Prepare(W w) {
    Prepared& p = prepared_actions[W::kIndex];
    const std::string name = W::kAction;
    p.residentSize = MeasureResident(w);
    p.object = Create(Args(), w);
    p.twin = Create(Args(), w);
    Require(p.object != nullptr && p.twin != nullptr, name + " can't be created");
    Require(Decode(p.object, w), name + " can't be decoded");
    // A handle is the address of its object, and so of its block of the heap. Were it not, the
    // number would not fit what the heap has grown by.
    p.objectSize = malloc_usable_size(p.object);
    if (p.objectSize > p.residentSize + 64) p.objectSize = p.residentSize;

    bool equal = false;
    TmxAct_Equal(p.object, p.twin, &equal);
    Require(equal, name + " doesn't equal its twin");
    const auto same = [&](TmxHandle handle, std::string_view form) {
        Require(handle != nullptr, name + " doesn't read back from " + std::string(form));
        bool agrees = false;
        TmxAct_Equal(p.object, handle, &agrees);
        TmxAct_CloseHandle(handle);
        Require(agrees, name + " reads back different from " + std::string(form));
    };

    std::uint32_t size = 0;
    TmxAct_StoreToBinBuffer(p.object, nullptr, 0, &size);
    Require(size > 0 && size <= kBufferSize, name + " has no size in bytes");
    p.binary.resize(size);
    Require(TmxAct_StoreToBinBuffer(p.object, p.binary.data(), size, &size),
            name + " can't be stored as bytes");
    std::uint32_t used = 0;
    same(TmxAct_CreateFromBinBuffer(p.binary.data(), static_cast<std::int32_t>(size),
                                    TMX_ANY_MESSAGE_CLASS, &used),
         "bytes");
    Require(used == size, name + " leaves bytes unread");

    char narrow[kBufferSize];
    Require(TmxAct_StoreToTextBufferA(p.object, narrow, kBufferSize, false, true, &size),
            name + " can't be stored as narrow text");
    p.narrow.assign(narrow, size - 1);
    same(TmxAct_CreateFromTextBufferA(p.narrow.c_str(), size - 1, TMX_ANY_MESSAGE_CLASS, true,
                                      &used),
         "narrow text");
    Require(used == size - 1, name + " leaves narrow text unread");

    TmxWChar wide[kBufferSize];
    Require(TmxAct_StoreToTextBufferW(p.object, wide, kBufferSize, false, false, &size),
            name + " can't be stored as wide text");
    p.wide.assign(wide, size - 1);
    same(
        TmxAct_CreateFromTextBufferW(p.wide.c_str(), size - 1, TMX_ANY_MESSAGE_CLASS, false, &used),
        "wide text");
    Require(used == size - 1, name + " leaves wide text unread");
    Require(p.wide == Utf16(p.narrow), name + " differs in narrow and wide text");

    Require(TmxAct_GetActionCodeByNameA(W::kAction) != TMX_NONE, name + " isn't found by name");
}

void RegisterDispatch() {
    // The scanner, the search of the name and the smallest object of all: an action without
    // parameters.
    benchmark::RegisterBenchmark("DispatchTextNarrow/TmxActions", [](benchmark::State& state) {
        for (auto _ : state) {
            TmxHandle handle = TmxAct_CreateFromTextBufferA("ABCDisconnect ()", 16,
                                                            TMX_ANY_MESSAGE_CLASS, true, nullptr);
            benchmark::DoNotOptimize(handle);
            TmxAct_CloseHandle(handle);
        }
        state.SetItemsProcessed(state.iterations());
    });
    benchmark::RegisterBenchmark("DispatchTextWide/TmxActions", [](benchmark::State& state) {
        for (auto _ : state) {
            TmxHandle handle = TmxAct_CreateFromTextBufferW(u"ABCDisconnect ()", 16,
                                                            TMX_ANY_MESSAGE_CLASS, false, nullptr);
            benchmark::DoNotOptimize(handle);
            TmxAct_CloseHandle(handle);
        }
        state.SetItemsProcessed(state.iterations());
    });
}

}  // namespace

const Prepared& Get(std::size_t index) { return prepared_actions[index]; }

void PrepareLibrary() {
    for (std::size_t i = 0; i < kActions; ++i) {
        WithWorkload(i, [](auto w) { Prepare(w); });
    }
    TmxHandle probe =
        TmxAct_CreateFromTextBufferA("ABCDisconnect ()", 16, TMX_ANY_MESSAGE_CLASS, true, nullptr);
    Require(probe != nullptr, "ABCDisconnect () isn't read");
    TmxAct_CloseHandle(probe);
    for (std::size_t i = 0; i < kActions; ++i) {
        const Prepared& p = Get(i);
        WithWorkload(i, [&p](auto w) {
            const std::string name = w.kName;
            benchmark::AddCustomContext(
                name, std::string(w.kAction) + ": object " + std::to_string(p.objectSize) +
                          " bytes, on the heap in all " + std::to_string(p.residentSize) +
                          ", binary " + std::to_string(p.binary.size()) + ", UTF-8 text " +
                          std::to_string(p.narrow.size()));
        });
    }
}

std::uint32_t ReleaseLibrary() {
    for (Prepared& p : prepared_actions) {
        TmxAct_CloseHandle(p.object);
        TmxAct_CloseHandle(p.twin);
        p = {};
    }
    return TmxAct_GetNumberOfOpenHandles();
}

void RegisterLibrary() {
    RegisterOperation<FloorAllocateCopy<Form::kBinary>>("FloorBinary", "Floor");
    RegisterOperation<FloorAllocateCopy<Form::kNarrow>>("FloorTextNarrow", "Floor");
    RegisterOperation<FloorAllocateCopy<Form::kWide>>("FloorTextWide", "Floor");
    RegisterOperation<FloorCopy<Form::kBinary>>("CopyBinary", "Floor");
    RegisterOperation<CreateClose>("CreateClose", "TmxActions");
    RegisterOperation<DecodeAll>("Decode", "TmxActions");
    RegisterOperation<StoreBinary>("StoreBinary", "TmxActions");
    RegisterOperation<CreateStoreClose>("CreateStoreClose", "TmxActions");
    RegisterOperation<ReadBinary<false>>("ReadBinaryClose", "TmxActions");
    RegisterOperation<ReadBinary<true>>("ReadBinaryDecodeClose", "TmxActions");
    RegisterOperation<CloneClose>("CloneClose", "TmxActions");
    RegisterOperation<Equal>("Equal", "TmxActions");
    RegisterOperation<StoreTextNarrow>("StoreTextNarrow", "TmxActions");
    RegisterOperation<StoreTextWide>("StoreTextWide", "TmxActions");
    RegisterOperation<ReadTextNarrow<false>>("ReadTextNarrowClose", "TmxActions");
    RegisterOperation<ReadTextNarrow<true>>("ReadTextNarrowDecodeClose", "TmxActions");
    RegisterOperation<ReadTextWide>("ReadTextWideClose", "TmxActions");
    RegisterOperation<LookupName>("LookupName", "TmxActions");
    RegisterDispatch();
}

}  // namespace bench

int main(int argc, char** argv) {
    bench::PrepareLibrary();
    bench::RegisterLibrary();
    bench::RegisterEvents();
    bench::RegisterBytes();
    bench::RegisterText();
    bench::RegisterLoad();
    bench::RegisterMatch();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    bench::ReleaseMatch();
    const std::uint32_t open = bench::ReleaseLibrary();
    bench::Require(open == 0, std::to_string(open) + " handles were left open");
    return 0;
}
