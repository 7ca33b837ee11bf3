// The encodings and checksums of one frame of 8 KB, against a copy of as many bytes.

#include "midi/protocol/Crc32.h"
#include "midi/protocol/DataBlock.h"
#include "midi/protocol/SevenBit.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>

namespace
{

using Frame = std::array<std::uint8_t, midi::MaxFrameLength>;

template <std::size_t Length>
std::array<std::uint8_t, Length> someBytes()
{
    std::array<std::uint8_t, Length> bytes{};
    for (std::size_t i = 0; i < Length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 256);
    return bytes;
}

template <typename Action>
void measure(benchmark::State &state, Action action)
{
    for (auto _ : state) {
        action();
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sizeof(Frame)));
}

void copy(benchmark::State &state)
{
    const Frame from = someBytes<sizeof(Frame)>();
    Frame to{};
    measure(state, [&] {
        std::memcpy(to.data(), from.data(), to.size());
        benchmark::DoNotOptimize(to.data());
    });
}
BENCHMARK(copy);

void crc(benchmark::State &state)
{
    const Frame frame = someBytes<sizeof(Frame)>();
    measure(state, [&] { benchmark::DoNotOptimize(midi::calcCrc(frame)); });
}
BENCHMARK(crc);

void encodeMCoded7(benchmark::State &state)
{
    const auto payload = someBytes<midi::MaxRawPayload>();
    Frame frame{};
    measure(state, [&] { benchmark::DoNotOptimize(midi::encodeMCoded7(payload, frame)); });
}
BENCHMARK(encodeMCoded7)->Name("mcoded7-encode");

/// Decoding is done in place, and what was decoded once is as good an input as any.
void decodeMCoded7(benchmark::State &state)
{
    Frame frame = someBytes<sizeof(Frame)>();
    measure(state, [&] { benchmark::DoNotOptimize(midi::decodeMCoded7(frame)); });
}
BENCHMARK(decodeMCoded7)->Name("mcoded7-decode");

void encodeBlock(benchmark::State &state)
{
    const auto payload = someBytes<midi::MaxRawPayload>();
    measure(state, [&] { benchmark::DoNotOptimize(midi::encodeBlock(payload)); });
}
BENCHMARK(encodeBlock)->Name("block-encode");

void decodeBlock(benchmark::State &state)
{
    const Frame frame = someBytes<sizeof(Frame)>();
    Frame payload{};
    measure(state,
            [&] { benchmark::DoNotOptimize(midi::decodeBlock(frame, frame.size(), payload)); });
}
BENCHMARK(decodeBlock)->Name("block-decode");

} // namespace

BENCHMARK_MAIN();
