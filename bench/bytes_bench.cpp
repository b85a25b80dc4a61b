// What general binary formats take for the same values.
//
// Each contender works as its users are told to when speed counts: buffers, messages, arenas and
// zones are reused and warm, and the kind of the next message is known to it beforehand.
//
//   Build             an object of the contender filled with the values (CreateClose)
//   BuildSerialise    from the values to bytes (CreateStoreClose)
//   Serialise         from a filled object to bytes (StoreBinary)
//   Parse             from bytes to a plain struct with every field (ReadBinaryDecodeClose); texts
//                     stay views into the contender's memory
//   Clone, Equal      of filled objects (CloneClose, Equal)
//   CloneBytes        a copy of finished bytes that can be read in place (CloneClose)
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include "workloads.h"

#ifdef TMXACTIONS_BENCH_PROTOBUF
#include <google/protobuf/arena.h>
#include <google/protobuf/util/message_differencer.h>

#include "actions.pb.h"
#endif
#ifdef TMXACTIONS_BENCH_FLATBUFFERS
#include <flatbuffers/flatbuffers.h>

#include "actions_generated.h"
#endif
#ifdef TMXACTIONS_BENCH_MSGPACK
#include <msgpack.hpp>
#endif

namespace bench {
namespace {

/// One object of a contender for each workload.
template <template <class> class Item>
struct ForEach {
    std::tuple<Item<W1>, Item<W2>, Item<W3>, Item<W4>> items;
    template <class W>
    Item<W>& Of(W) {
        return std::get<W::kIndex>(items);
    }
};

/// Runs an operation of a contender that fills `out` for each workload once, and ends the program
/// where the values don't come back.
template <class Operation>
void RequireValuesBack(const char* contender) {
    Operation run;
    for (std::size_t i = 0; i < kActions; ++i) {
        WithWorkload(i, [&](auto w) {
            run(w);
            Require(run.values.Of(w) == w.values,
                    std::string(contender) + " doesn't give back " + w.kAction);
        });
    }
}

template <class W>
using ValuesOf = typename W::Values;

[[maybe_unused]] constexpr std::size_t kBufferSize = 4096;

#ifdef TMXACTIONS_BENCH_PROTOBUF
namespace protobuf {

namespace pb = tmxactions::bench::pb;

template <class W>
struct MessageOf;
template <>
struct MessageOf<W1> {
    using Type = pb::CameraOn;
};
template <>
struct MessageOf<W2> {
    using Type = pb::ViewerConnect;
};
template <>
struct MessageOf<W3> {
    using Type = pb::SetupChanged;
};
template <>
struct MessageOf<W4> {
    using Type = pb::LenelAccessEvent;
};
template <class W>
using Message = typename MessageOf<W>::Type;

void Set(std::string* target, std::string_view text) { target->assign(text.data(), text.size()); }

void Fill(pb::ObjectRef& m, const RefValue& v) {
    m.set_id(v.id);
    m.set_number(v.number);
    Set(m.mutable_name(), v.name);
}

void Fill(pb::CameraOn& m, const CameraOnValues& v) { Fill(*m.mutable_camera(), v.camera); }

void Fill(pb::ViewerConnect& m, const ViewerConnectValues& v) {
    Fill(*m.mutable_viewer(), v.viewer);
    Fill(*m.mutable_channel(), v.channel);
    m.set_play_mode(v.playMode);
}

void Fill(pb::SetupChanged& m, const SetupChangedValues& v) {
    Set(m.mutable_user(), v.user);
    Set(m.mutable_host(), v.host);
    m.set_date(v.date);
    m.set_resource_kind(v.resourceKind);
    m.mutable_resource_id()->set_id(v.resourceId.id);
    Set(m.mutable_resource_id()->mutable_name(), v.resourceId.name);
    m.set_change_kind(v.changeKind);
    if (v.details) Set(m.mutable_details(), *v.details);
    if (v.clientHost) Set(m.mutable_client_host(), *v.clientHost);
    if (v.clientType) m.set_client_type(*v.clientType);
    if (v.clientAccount) Set(m.mutable_client_account(), *v.clientAccount);
}

void Fill(pb::LenelAccessEvent& m, const LenelAccessEventValues& v) {
    m.set_id(v.id);
    Set(m.mutable_panel(), v.panel);
    Set(m.mutable_device(), v.device);
    m.set_secondary_device(v.secondaryDevice);
    m.set_card_number(v.cardNumber);
    m.set_access_result(v.accessResult);
    m.set_type(v.type);
    m.set_sub_type(v.subType);
    Set(m.mutable_description(), v.description);
    m.set_serial_number(v.serialNumber);
    m.set_time_stamp(v.timeStamp);
    m.set_area_entered_id(v.areaEnteredId);
    m.set_area_exited_id(v.areaExitedId);
    Set(m.mutable_asset_id(), v.assetId);
    m.set_cardholder_entered(v.cardholderEntered);
    m.set_duress(v.duress);
    m.set_elevator_floor(v.elevatorFloor);
    m.set_facility_code(v.facilityCode);
    m.set_is_readable_card(v.isReadableCard);
    m.set_issue_code(v.issueCode);
    Set(m.mutable_comm_server_host_name(), v.commServerHostName);
    Set(m.mutable_event_text(), v.eventText);
}

void Read(const pb::ObjectRef& m, RefValue& v) { v = {m.id(), m.number(), m.name()}; }

void Read(const pb::CameraOn& m, CameraOnValues& v) { Read(m.camera(), v.camera); }

void Read(const pb::ViewerConnect& m, ViewerConnectValues& v) {
    Read(m.viewer(), v.viewer);
    Read(m.channel(), v.channel);
    v.playMode = m.play_mode();
}

void Read(const pb::SetupChanged& m, SetupChangedValues& v) {
    v.user = m.user();
    v.host = m.host();
    v.date = m.date();
    v.resourceKind = m.resource_kind();
    v.resourceId = {m.resource_id().id(), m.resource_id().name()};
    v.changeKind = m.change_kind();
    v.details.reset();
    v.clientHost.reset();
    v.clientType.reset();
    v.clientAccount.reset();
    if (m.has_details()) v.details = m.details();
    if (m.has_client_host()) v.clientHost = m.client_host();
    if (m.has_client_type()) v.clientType = m.client_type();
    if (m.has_client_account()) v.clientAccount = m.client_account();
}

void Read(const pb::LenelAccessEvent& m, LenelAccessEventValues& v) {
    v.id = m.id();
    v.panel = m.panel();
    v.device = m.device();
    v.secondaryDevice = m.secondary_device();
    v.cardNumber = m.card_number();
    v.accessResult = m.access_result();
    v.type = m.type();
    v.subType = m.sub_type();
    v.description = m.description();
    v.serialNumber = m.serial_number();
    v.timeStamp = m.time_stamp();
    v.areaEnteredId = m.area_entered_id();
    v.areaExitedId = m.area_exited_id();
    v.assetId = m.asset_id();
    v.cardholderEntered = m.cardholder_entered();
    v.duress = m.duress();
    v.elevatorFloor = m.elevator_floor();
    v.facilityCode = m.facility_code();
    v.isReadableCard = m.is_readable_card();
    v.issueCode = m.issue_code();
    v.commServerHostName = m.comm_server_host_name();
    v.eventText = m.event_text();
}

template <class M>
void SerialiseTo(const M& message, std::uint8_t* buffer) {
    const std::size_t size = message.ByteSizeLong();
    Require(size <= kBufferSize, "a Protocol Buffers message is larger than the buffer");
    std::uint8_t* end = message.SerializeWithCachedSizesToArray(buffer);
    benchmark::DoNotOptimize(end);
    benchmark::ClobberMemory();
}

/// Two filled messages that agree, and their bytes.
template <class W>
struct Filled {
    Filled() {
        Fill(message, W::values);
        Fill(twin, W::values);
        bytes = message.SerializeAsString();
    }
    Message<W> message;
    Message<W> twin;
    std::string bytes;
};

template <class W>
using Reused = Message<W>;

struct Build {
    template <class W>
    void operator()(W) {
        Message<W> message;
        Fill(message, W::values);
        benchmark::DoNotOptimize(&message);
        benchmark::ClobberMemory();
    }
};

struct BuildSerialise {
    ForEach<Reused> messages;
    std::uint8_t buffer[kBufferSize];
    template <class W>
    void operator()(W w) {
        Message<W>& message = messages.Of(w);
        message.Clear();
        Fill(message, W::values);
        SerialiseTo(message, buffer);
    }
};

struct Serialise {
    ForEach<Filled> filled;
    std::uint8_t buffer[kBufferSize];
    template <class W>
    void operator()(W w) {
        SerialiseTo(filled.Of(w).message, buffer);
    }
};

struct Parse {
    ForEach<Filled> filled;
    ForEach<Reused> messages;
    ForEach<ValuesOf> values;
    template <class W>
    void operator()(W w) {
        const std::string& bytes = filled.Of(w).bytes;
        Message<W>& message = messages.Of(w);
        bool ok = message.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(ok);
        Read(message, values.Of(w));
        benchmark::DoNotOptimize(&values.Of(w));
        benchmark::ClobberMemory();
    }
};

struct Clone {
    ForEach<Filled> filled;
    template <class W>
    void operator()(W w) {
        Message<W> clone(filled.Of(w).message);
        benchmark::DoNotOptimize(&clone);
        benchmark::ClobberMemory();
    }
};

struct Equal {
    ForEach<Filled> filled;
    template <class W>
    void operator()(W w) {
        const Filled<W>& item = filled.Of(w);
        bool equal = google::protobuf::util::MessageDifferencer::Equals(item.message, item.twin);
        benchmark::DoNotOptimize(equal);
    }
};

/// An arena whose first block is large enough for every message, so that it never asks for more.
struct WarmArena {
    static google::protobuf::ArenaOptions Options(char* block, std::size_t size) {
        google::protobuf::ArenaOptions options;
        options.initial_block = block;
        options.initial_block_size = size;
        return options;
    }
    alignas(16) char block[16384];
    google::protobuf::Arena arena{Options(block, sizeof block)};
    template <class W>
    Message<W>& New(W) {
        return *google::protobuf::Arena::CreateMessage<Message<W>>(&arena);
    }
};

struct ArenaBuild {
    WarmArena memory;
    template <class W>
    void operator()(W w) {
        Message<W>& message = memory.New(w);
        Fill(message, W::values);
        benchmark::DoNotOptimize(&message);
        benchmark::ClobberMemory();
        memory.arena.Reset();
    }
};

struct ArenaBuildSerialise {
    WarmArena memory;
    std::uint8_t buffer[kBufferSize];
    template <class W>
    void operator()(W w) {
        Message<W>& message = memory.New(w);
        Fill(message, W::values);
        SerialiseTo(message, buffer);
        memory.arena.Reset();
    }
};

struct ArenaParse {
    ForEach<Filled> filled;
    WarmArena memory;
    ForEach<ValuesOf> values;
    template <class W>
    void operator()(W w) {
        const std::string& bytes = filled.Of(w).bytes;
        Message<W>& message = memory.New(w);
        bool ok = message.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(ok);
        Read(message, values.Of(w));
        benchmark::DoNotOptimize(&values.Of(w));
        benchmark::ClobberMemory();
        memory.arena.Reset();
    }
};

struct ArenaClone {
    ForEach<Filled> filled;
    WarmArena memory;
    template <class W>
    void operator()(W w) {
        Message<W>& clone = memory.New(w);
        clone.CopyFrom(filled.Of(w).message);
        benchmark::DoNotOptimize(&clone);
        benchmark::ClobberMemory();
        memory.arena.Reset();
    }
};

void Register() {
    RequireValuesBack<Parse>("Protocol Buffers");
    RegisterOperation<Build>("Build", "Protobuf");
    RegisterOperation<BuildSerialise>("BuildSerialise", "Protobuf");
    RegisterOperation<Serialise>("Serialise", "Protobuf");
    RegisterOperation<Parse>("Parse", "Protobuf");
    RegisterOperation<Clone>("Clone", "Protobuf");
    RegisterOperation<Equal>("Equal", "Protobuf");
    RegisterOperation<ArenaBuild>("Build", "ProtobufArena");
    RegisterOperation<ArenaBuildSerialise>("BuildSerialise", "ProtobufArena");
    RegisterOperation<ArenaParse>("Parse", "ProtobufArena");
    RegisterOperation<ArenaClone>("Clone", "ProtobufArena");
}

}  // namespace protobuf
#endif

#ifdef TMXACTIONS_BENCH_FLATBUFFERS
namespace flat {

namespace fb = tmxactions::bench::fb;
using flatbuffers::FlatBufferBuilder;
using flatbuffers::Offset;

template <class W>
struct TableOf;
template <>
struct TableOf<W1> {
    using Type = fb::CameraOn;
};
template <>
struct TableOf<W2> {
    using Type = fb::ViewerConnect;
};
template <>
struct TableOf<W3> {
    using Type = fb::SetupChanged;
};
template <>
struct TableOf<W4> {
    using Type = fb::LenelAccessEvent;
};
template <class W>
using Table = typename TableOf<W>::Type;
template <class W>
using Native = typename Table<W>::NativeTableType;

Offset<flatbuffers::String> Text(FlatBufferBuilder& b, std::string_view text) {
    return b.CreateString(text.data(), text.size());
}

Offset<fb::ObjectRef> Write(FlatBufferBuilder& b, const RefValue& v) {
    return fb::CreateObjectRef(b, v.id, v.number, Text(b, v.name));
}

Offset<fb::CameraOn> Write(FlatBufferBuilder& b, const CameraOnValues& v) {
    return fb::CreateCameraOn(b, Write(b, v.camera));
}

Offset<fb::ViewerConnect> Write(FlatBufferBuilder& b, const ViewerConnectValues& v) {
    const auto viewer = Write(b, v.viewer);
    const auto channel = Write(b, v.channel);
    return fb::CreateViewerConnect(b, viewer, channel, v.playMode);
}

Offset<fb::SetupChanged> Write(FlatBufferBuilder& b, const SetupChangedValues& v) {
    const auto optional = [&b](const std::optional<std::string_view>& text) {
        return text ? Text(b, *text) : Offset<flatbuffers::String>();
    };
    const auto user = Text(b, v.user);
    const auto host = Text(b, v.host);
    const auto resource = fb::CreateNamedId(b, v.resourceId.id, Text(b, v.resourceId.name));
    const auto details = optional(v.details);
    const auto clientHost = optional(v.clientHost);
    const auto clientAccount = optional(v.clientAccount);
    return fb::CreateSetupChanged(
        b, user, host, v.date, v.resourceKind, resource, v.changeKind, details, clientHost,
        v.clientType ? flatbuffers::Optional<std::int32_t>(*v.clientType) : flatbuffers::nullopt,
        clientAccount);
}

Offset<fb::LenelAccessEvent> Write(FlatBufferBuilder& b, const LenelAccessEventValues& v) {
    const auto panel = Text(b, v.panel);
    const auto device = Text(b, v.device);
    const auto description = Text(b, v.description);
    const auto assetId = Text(b, v.assetId);
    const auto commServer = Text(b, v.commServerHostName);
    const auto eventText = Text(b, v.eventText);
    return fb::CreateLenelAccessEvent(
        b, v.id, panel, device, v.secondaryDevice, v.cardNumber, v.accessResult, v.type, v.subType,
        description, v.serialNumber, v.timeStamp, v.areaEnteredId, v.areaExitedId, assetId,
        v.cardholderEntered, v.duress, v.elevatorFloor, v.facilityCode, v.isReadableCard,
        v.issueCode, commServer, eventText);
}

std::string_view View(const flatbuffers::String* text) {
    return text != nullptr ? std::string_view(text->c_str(), text->size()) : std::string_view();
}

std::optional<std::string_view> OptionalView(const flatbuffers::String* text) {
    return text != nullptr ? std::optional(View(text)) : std::nullopt;
}

void Read(const fb::ObjectRef* t, RefValue& v) {
    if (t != nullptr) v = {t->id(), t->number(), View(t->name())};
}

void Read(const fb::CameraOn* t, CameraOnValues& v) { Read(t->camera(), v.camera); }

void Read(const fb::ViewerConnect* t, ViewerConnectValues& v) {
    Read(t->viewer(), v.viewer);
    Read(t->channel(), v.channel);
    v.playMode = t->play_mode();
}

void Read(const fb::SetupChanged* t, SetupChangedValues& v) {
    v.user = View(t->user());
    v.host = View(t->host());
    v.date = t->date();
    v.resourceKind = t->resource_kind();
    if (t->resource_id() != nullptr)
        v.resourceId = {t->resource_id()->id(), View(t->resource_id()->name())};
    v.changeKind = t->change_kind();
    v.details = OptionalView(t->details());
    v.clientHost = OptionalView(t->client_host());
    v.clientType.reset();
    if (t->client_type()) v.clientType = *t->client_type();
    v.clientAccount = OptionalView(t->client_account());
}

void Read(const fb::LenelAccessEvent* t, LenelAccessEventValues& v) {
    v.id = t->id().value_or(0);
    v.panel = View(t->panel());
    v.device = View(t->device());
    v.secondaryDevice = t->secondary_device().value_or(0);
    v.cardNumber = t->card_number().value_or(0);
    v.accessResult = t->access_result().value_or(0);
    v.type = t->type().value_or(0);
    v.subType = t->sub_type().value_or(0);
    v.description = View(t->description());
    v.serialNumber = t->serial_number().value_or(0);
    v.timeStamp = t->time_stamp().value_or(0);
    v.areaEnteredId = t->area_entered_id().value_or(0);
    v.areaExitedId = t->area_exited_id().value_or(0);
    v.assetId = View(t->asset_id());
    v.cardholderEntered = t->cardholder_entered().value_or(false);
    v.duress = t->duress().value_or(false);
    v.elevatorFloor = t->elevator_floor().value_or(0);
    v.facilityCode = t->facility_code().value_or(0);
    v.isReadableCard = t->is_readable_card().value_or(false);
    v.issueCode = t->issue_code().value_or(0);
    v.commServerHostName = View(t->comm_server_host_name());
    v.eventText = View(t->event_text());
}

/// Finished bytes and the object form of them.
template <class W>
struct Filled {
    Filled() {
        FlatBufferBuilder builder;
        builder.Finish(Write(builder, W::values));
        bytes = builder.Release();
        const Table<W>* table = flatbuffers::GetRoot<Table<W>>(bytes.data());
        table->UnPackTo(&object);
        table->UnPackTo(&twin);
    }
    flatbuffers::DetachedBuffer bytes;
    Native<W> object;
    Native<W> twin;
};

struct BuildSerialise {
    FlatBufferBuilder builder{kBufferSize};
    template <class W>
    void operator()(W) {
        builder.Clear();
        builder.Finish(Write(builder, W::values));
        benchmark::DoNotOptimize(builder.GetBufferPointer());
        benchmark::ClobberMemory();
    }
};

struct Serialise {
    ForEach<Filled> filled;
    FlatBufferBuilder builder{kBufferSize};
    template <class W>
    void operator()(W w) {
        builder.Clear();
        builder.Finish(Table<W>::Pack(builder, &filled.Of(w).object));
        benchmark::DoNotOptimize(builder.GetBufferPointer());
        benchmark::ClobberMemory();
    }
};

/// Verified, as bytes from elsewhere must be, and read in place.
struct Parse {
    ForEach<Filled> filled;
    ForEach<ValuesOf> values;
    template <class W>
    void operator()(W w) {
        const flatbuffers::DetachedBuffer& bytes = filled.Of(w).bytes;
        flatbuffers::Verifier verifier(bytes.data(), bytes.size());
        bool ok = verifier.VerifyBuffer<Table<W>>(nullptr);
        benchmark::DoNotOptimize(ok);
        Read(flatbuffers::GetRoot<Table<W>>(bytes.data()), values.Of(w));
        benchmark::DoNotOptimize(&values.Of(w));
        benchmark::ClobberMemory();
    }
};

/// A finished buffer can be read where it lies, so a copy of it is a clone.
struct CloneBuffer {
    ForEach<Filled> filled;
    template <class W>
    void operator()(W w) {
        const flatbuffers::DetachedBuffer& bytes = filled.Of(w).bytes;
        void* clone = std::malloc(bytes.size());
        std::memcpy(clone, bytes.data(), bytes.size());
        benchmark::DoNotOptimize(clone);
        benchmark::ClobberMemory();
        std::free(clone);
    }
};

struct CloneObject {
    ForEach<Filled> filled;
    template <class W>
    void operator()(W w) {
        const auto clone = std::make_unique<Native<W>>(filled.Of(w).object);
        benchmark::DoNotOptimize(clone.get());
        benchmark::ClobberMemory();
    }
};

struct Equal {
    ForEach<Filled> filled;
    template <class W>
    void operator()(W w) {
        Filled<W>& item = filled.Of(w);
        benchmark::ClobberMemory();
        bool equal = item.object == item.twin;
        benchmark::DoNotOptimize(equal);
    }
};

void Register() {
    RequireValuesBack<Parse>("FlatBuffers");
    RegisterOperation<BuildSerialise>("BuildSerialise", "FlatBuffers");
    RegisterOperation<Serialise>("Serialise", "FlatBuffers");
    RegisterOperation<Parse>("Parse", "FlatBuffers");
    RegisterOperation<CloneObject>("Clone", "FlatBuffers");
    RegisterOperation<CloneBuffer>("CloneBytes", "FlatBuffers");
    RegisterOperation<Equal>("Equal", "FlatBuffers");
}

}  // namespace flat
#endif

#ifdef TMXACTIONS_BENCH_MSGPACK
namespace messagepack {

using Packer = msgpack::packer<msgpack::sbuffer>;

void Write(Packer& packer, std::string_view text) {
    packer.pack_str(static_cast<std::uint32_t>(text.size()));
    packer.pack_str_body(text.data(), static_cast<std::uint32_t>(text.size()));
}
void Write(Packer& packer, std::int32_t value) { packer.pack_int32(value); }
void Write(Packer& packer, std::int64_t value) { packer.pack_int64(value); }
void Write(Packer& packer, std::uint64_t value) { packer.pack_uint64(value); }
void Write(Packer& packer, bool value) { value ? packer.pack_true() : packer.pack_false(); }
template <class T>
void Write(Packer& packer, const std::optional<T>& value) {
    if (value) {
        Write(packer, *value);
    } else {
        packer.pack_nil();
    }
}
template <class Values>
requires requires { Fields<Values>::kNames; }
void Write(Packer& packer, const Values& values) {
    packer.pack_array(static_cast<std::uint32_t>(Fields<Values>::kNames.size()));
    std::apply([&packer](const auto&... field) { (Write(packer, field), ...); },
               Fields<Values>::Tie(values));
}

void Read(const msgpack::object& o, std::string_view& v) {
    if (o.type != msgpack::type::STR) throw msgpack::type_error();
    v = {o.via.str.ptr, o.via.str.size};
}
template <class T>
requires std::is_arithmetic_v<T>
void Read(const msgpack::object& o, T& v) { o.convert(v); }
template <class T>
void Read(const msgpack::object& o, std::optional<T>& v) {
    if (o.is_nil()) {
        v.reset();
    } else {
        Read(o, v.emplace());
    }
}
template <class Values>
requires requires { Fields<Values>::kNames; }
void Read(const msgpack::object& o, Values& v) {
    if (o.type != msgpack::type::ARRAY || o.via.array.size != Fields<Values>::kNames.size())
        throw msgpack::type_error();
    const msgpack::object* item = o.via.array.ptr;
    std::apply([&item](auto&... field) { (Read(*item++, field), ...); }, Fields<Values>::Tie(v));
}

/// Texts may stay views into the bytes.
bool Refer(msgpack::type::object_type, std::size_t, void*) { return true; }

template <class W>
struct Filled {
    Filled() {
        Packer packer(bytes);
        Write(packer, W::values);
        msgpack::unpack(object, bytes.data(), bytes.size());
        msgpack::unpack(twin, bytes.data(), bytes.size());
    }
    msgpack::sbuffer bytes;
    msgpack::object_handle object;
    msgpack::object_handle twin;
};

struct Serialise {
    msgpack::sbuffer buffer{kBufferSize};
    template <class W>
    void operator()(W) {
        buffer.clear();
        Packer packer(buffer);
        Write(packer, W::values);
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
    }
};

struct Parse {
    ForEach<Filled> filled;
    ForEach<ValuesOf> values;
    msgpack::zone zone;
    template <class W>
    void operator()(W w) {
        const msgpack::sbuffer& bytes = filled.Of(w).bytes;
        zone.clear();
        const msgpack::object object =
            msgpack::unpack(zone, bytes.data(), bytes.size(), &Refer, nullptr);
        Read(object, values.Of(w));
        benchmark::DoNotOptimize(&values.Of(w));
        benchmark::ClobberMemory();
    }
};

struct Clone {
    ForEach<Filled> filled;
    template <class W>
    void operator()(W w) {
        const msgpack::object_handle clone = msgpack::clone(filled.Of(w).object.get());
        benchmark::DoNotOptimize(&clone.get());
        benchmark::ClobberMemory();
    }
};

struct Equal {
    ForEach<Filled> filled;
    template <class W>
    void operator()(W w) {
        const Filled<W>& item = filled.Of(w);
        bool equal = item.object.get() == item.twin.get();
        benchmark::DoNotOptimize(equal);
    }
};

void Register() {
    RequireValuesBack<Parse>("MessagePack");
    // It packs the caller's own values, so that there is nothing to build before.
    RegisterOperation<Serialise>("BuildSerialise", "MessagePack");
    RegisterOperation<Serialise>("Serialise", "MessagePack");
    RegisterOperation<Parse>("Parse", "MessagePack");
    RegisterOperation<Clone>("Clone", "MessagePack");
    RegisterOperation<Equal>("Equal", "MessagePack");
}

}  // namespace messagepack
#endif

}  // namespace

void RegisterBytes() {
#ifdef TMXACTIONS_BENCH_PROTOBUF
    protobuf::Register();
#endif
#ifdef TMXACTIONS_BENCH_FLATBUFFERS
    flat::Register();
#endif
#ifdef TMXACTIONS_BENCH_MSGPACK
    messagepack::Register();
#endif
}

}  // namespace bench
