// Event records: filling, restoring and describing, and the display text that a description is held
// against.
#include <tmxactions/tmxactions.h>

#include "workloads.h"

namespace bench {
namespace {

constexpr std::uint32_t kBufferSize = 4096;

// A filled record of each workload, once with its fields alone and once with the stored bytes.
struct Records {
    TmxEventDataRecord fields[kActions];
    TmxEventDataRecord bytes[kActions];
    Records() {
        for (std::size_t i = 0; i < kActions; ++i) {
            const Prepared& prepared = Get(i);
            TmxEventDataRecord& record = fields[i] = {};
            record.size = sizeof record;
            bool complete = false;
            Require(TmxAct_GetActionEventData(prepared.object, &record, &complete),
                    "a record can't be filled");
            bytes[i] = record;
            bytes[i].binarySize = prepared.binary.size();
            bytes[i].binary = prepared.binary.data();
            for (const TmxEventDataRecord* from : {&fields[i], &bytes[i]}) {
                TmxHandle handle = TmxAct_RestoreActionFromEventData(from);
                Require(handle != nullptr, "a record can't be restored");
                TmxAct_CloseHandle(handle);
            }
        }
    }
};

struct FillEvent {
    TmxEventDataRecord record{};
    FillEvent() { record.size = sizeof record; }
    template <class W>
    void operator()(W) {
        bool complete = false;
        TmxAct_GetActionEventData(Get(W::kIndex).object, &record, &complete);
        benchmark::DoNotOptimize(complete);
        benchmark::ClobberMemory();
    }
};

template <TmxEventDataRecord (Records::*kSource)[kActions]>
struct RestoreEvent {
    Records records;
    template <class W>
    void operator()(W) {
        TmxHandle handle = TmxAct_RestoreActionFromEventData(&(records.*kSource)[W::kIndex]);
        benchmark::DoNotOptimize(handle);
        TmxAct_CloseHandle(handle);
    }
};

template <TmxEventDataRecord (Records::*kSource)[kActions]>
struct DescribeEvent {
    Records records;
    std::uint64_t units = 0;
    static void Take(void* context, std::uint32_t, const TmxWChar*, const TmxWChar* value) {
        static_cast<DescribeEvent*>(context)->units += *value;
    }
    template <class W>
    void operator()(W) {
        bool complete = false;
        TmxAct_GetActionEventDescription(&(records.*kSource)[W::kIndex], this, &Take, &complete);
        benchmark::DoNotOptimize(units);
    }
};

struct StoreDisplay {
    TmxWChar buffer[kBufferSize];
    template <class W>
    void operator()(W) {
        std::uint32_t written = 0;
        TmxAct_StoreToTextBufferW(Get(W::kIndex).object, buffer, kBufferSize, true, false,
                                  &written);
        benchmark::DoNotOptimize(written);
        benchmark::ClobberMemory();
    }
};

}  // namespace

void RegisterEvents() {
    RegisterOperation<FillEvent>("FillEvent", "TmxActions");
    RegisterOperation<RestoreEvent<&Records::fields>>("RestoreEventFieldsClose", "TmxActions");
    RegisterOperation<RestoreEvent<&Records::bytes>>("RestoreEventBytesClose", "TmxActions");
    RegisterOperation<StoreDisplay>("StoreTextDisplay", "TmxActions");
    RegisterOperation<DescribeEvent<&Records::fields>>("DescribeEventFields", "TmxActions");
    RegisterOperation<DescribeEvent<&Records::bytes>>("DescribeEventBytes", "TmxActions");
}

}  // namespace bench
