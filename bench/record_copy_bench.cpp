// What it costs to write a frame's record into its slot: in one pass, as the process does it, and by wiping the whole
// record first and copying over it, which is its definition. The slots lie in a mapping as a channel's do, five of them
// in turn; the outputs' buffers lie on the heap.
//
// full   a record with everything in it, 1.5 MB
// mask   the mask alone, 230 kB
// 360p   frames of 640 × 360; 144p: 256 × 144, where most of the mask is zeros
// failed a record that holds a status and zeros
//
// Bytes per second are bytes of the record.

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "helpers/calyr_output.h"
#include "helpers/hvq_output.h"
#include "platform/kernel_objects.h"
#include "platform/threads.h"
#include "support/plain_record_copy.h"

namespace {

constexpr std::size_t kSlots = 5;

// Five slots in a named mapping of their own.
class MappedSlots {
 public:
    MappedSlots() {
        static std::atomic<int> counter{0};
        const std::string name =
            "bench-copy" + std::to_string(platform::CurrentProcessId()) + "-" + std::to_string(++counter) + "_shm";
        constexpr std::size_t kBytes = kSlots * sizeof(calyr_ipc::OutputSlot);
        m_mapping = platform::SystemKernelObjects().CreateMapping(name, kBytes);
        m_slots = m_mapping ? m_mapping->Map(kBytes) : nullptr;
        if (m_slots != nullptr) std::memset(m_slots, 0, kBytes);  // the pages are there from now on
    }
    bool IsOpen() const { return m_slots != nullptr; }
    calyr_ipc::OutputSlot& Next() {
        m_next = (m_next + 1) % kSlots;
        return *static_cast<calyr_ipc::OutputSlot*>(
            static_cast<void*>(m_slots + m_next * sizeof(calyr_ipc::OutputSlot)));
    }

 private:
    std::unique_ptr<platform::NamedMapping> m_mapping;
    std::byte* m_slots = nullptr;
    std::size_t m_next = 0;
};

struct OnePass {
    template <class Output>
    static void Copy(const Output& output, calyr_ipc::OutputSlot& slot) {
        output.CopyToIpcRecord(slot);
    }
};
struct WipeThenCopy {
    template <class Output>
    static void Copy(const Output& output, calyr_ipc::OutputSlot& slot) {
        support::CopyPlainly(output, slot);
    }
};

void FillFloats(auto& floats) {
    float value = 0;
    for (float& each : floats)
        each = value += 0.5F;
}

void FillResults(rvo_calyr::RvoHvqOutput& output) {
    std::uint8_t value = 0;
    for (std::uint8_t& pixel : output.MaskBytes())
        pixel = value++;
}

void FillResults(rvo_calyr::RvoCalyrOutput& output) {
    FillResults(static_cast<rvo_calyr::RvoHvqOutput&>(output));
    FillFloats(*output.gesture);
    FillFloats(*output.landmarks);
    FillFloats(*output.lutVertices);
    FillFloats(*output.lut);
}

template <class Output, class Record, class Way>
void CopyRecord(benchmark::State& state) {
    calyr_ipc::IpcFrameHeader header{};
    header.width = static_cast<std::uint32_t>(state.range(0));
    header.height = static_cast<std::uint32_t>(state.range(1));
    Output output(header);
    FillResults(output);
    output.status = static_cast<std::int32_t>(state.range(2));
    MappedSlots slots;
    if (!slots.IsOpen()) return state.SkipWithError("no mapping");
    for (auto _ : state) {
        Way::Copy(output, slots.Next());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(sizeof(Record)));
}

using Full = rvo_calyr::RvoCalyrOutput;
using FullRecord = calyr_ipc::RvoCalyrIpcOutput;
using Mask = rvo_calyr::RvoHvqOutput;
using MaskRecord = calyr_ipc::RvoInhouseIpcOutput;

BENCHMARK(CopyRecord<Full, FullRecord, OnePass>)->Name("full/360p/one-pass")->Args({640, 360, 0});
BENCHMARK(CopyRecord<Full, FullRecord, WipeThenCopy>)->Name("full/360p/wipe-then-copy")->Args({640, 360, 0});
BENCHMARK(CopyRecord<Full, FullRecord, OnePass>)->Name("full/144p/one-pass")->Args({256, 144, 0});
BENCHMARK(CopyRecord<Full, FullRecord, WipeThenCopy>)->Name("full/144p/wipe-then-copy")->Args({256, 144, 0});
BENCHMARK(CopyRecord<Full, FullRecord, OnePass>)->Name("full/failed/one-pass")->Args({640, 360, 2});
BENCHMARK(CopyRecord<Full, FullRecord, WipeThenCopy>)->Name("full/failed/wipe-then-copy")->Args({640, 360, 2});
BENCHMARK(CopyRecord<Mask, MaskRecord, OnePass>)->Name("mask/360p/one-pass")->Args({640, 360, 0});
BENCHMARK(CopyRecord<Mask, MaskRecord, WipeThenCopy>)->Name("mask/360p/wipe-then-copy")->Args({640, 360, 0});
BENCHMARK(CopyRecord<Mask, MaskRecord, OnePass>)->Name("mask/144p/one-pass")->Args({256, 144, 0});
BENCHMARK(CopyRecord<Mask, MaskRecord, WipeThenCopy>)->Name("mask/144p/wipe-then-copy")->Args({256, 144, 0});

}  // namespace
