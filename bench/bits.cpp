// What a field costs: bit input and output, with and without the name and container bookkeeping around it.
#include "quorva/rtxBits.h"
#include "quorva/rtxContext.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

struct Bench : benchmark::Fixture {
   RtxContext c;
   std::vector<uint8_t> octets = std::vector<uint8_t>(4096, 0xA5);
   void SetUp(const benchmark::State&) override {
      rtInitContext(&c);
      rtxCtxtSetBufPtr(&c, octets.data(), octets.size());
   }
   void TearDown(const benchmark::State&) override { rtFreeContext(&c); }
};

BENCHMARK_DEFINE_F(Bench, DecBits)(benchmark::State& state) {
   const auto nbits = static_cast<size_t>(state.range(0));
   for (auto _ : state) {
      rtxCtxtSetBitOffset(&c, 3);
      uint32_t value = 0;
      for (int i = 0; i < 64; ++i) {
         rtxDecBits(&c, &value, nbits);
         benchmark::DoNotOptimize(value);
      }
   }
   state.SetItemsProcessed(state.iterations() * 64);
}
BENCHMARK_REGISTER_F(Bench, DecBits)->Arg(1)->Arg(4)->Arg(8)->Arg(17)->Arg(32);

BENCHMARK_DEFINE_F(Bench, EncBits)(benchmark::State& state) {
   const auto nbits = static_cast<size_t>(state.range(0));
   for (auto _ : state) {
      rtxCtxtSetBitOffset(&c, 3);
      for (uint32_t i = 0; i < 64; ++i) rtxEncBits(&c, i, nbits);
      benchmark::ClobberMemory();
   }
   state.SetItemsProcessed(state.iterations() * 64);
}
BENCHMARK_REGISTER_F(Bench, EncBits)->Arg(1)->Arg(4)->Arg(8)->Arg(17)->Arg(32);

// 64 flags as a caller of the exported functions reads them, each with its name.
BENCHMARK_F(Bench, NamedFlags)(benchmark::State& state) {
   for (auto _ : state) {
      rtxCtxtSetBitOffset(&c, 0);
      uint8_t flag = 0;
      for (int i = 0; i < 64; ++i) {
         rtxCtxtPushElemName(&c, "flag");
         rtxDecBit(&c, &flag);
         benchmark::DoNotOptimize(flag);
         rtxCtxtPopElemName(&c);
      }
   }
   state.SetItemsProcessed(state.iterations() * 64);
}

BENCHMARK_F(Bench, Containers)(benchmark::State& state) {
   for (auto _ : state) {
      rtxCtxtPushContainerBytes(&c, 4);
      benchmark::DoNotOptimize(rtxCtxtContainerHasRemBits(&c));
      rtxCtxtPopContainer(&c);
   }
}

BENCHMARK_DEFINE_F(Bench, BitStrings)(benchmark::State& state) {
   std::vector<uint8_t> copy(2048);
   const auto start = static_cast<size_t>(state.range(0));
   for (auto _ : state) {
      rtxCtxtSetBitOffset(&c, start);
      rtxDecBitsToByteArray(&c, copy.data(), copy.size(), 2000 * 8);
      rtxCtxtSetBitOffset(&c, start);
      rtxEncBitsFromByteArray(&c, copy.data(), 2000 * 8);
   }
   state.SetBytesProcessed(state.iterations() * 4000);
}
BENCHMARK_REGISTER_F(Bench, BitStrings)->Arg(0)->Arg(3);

} // namespace
