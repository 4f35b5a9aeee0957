// Lists of channel numbers in each format, by channel. The argument is the number of channels of a list; 64
// different lists go in turn. Beside them, what the fields of a tree alone cost at the bit cursor.
#include "quorva/rtxBits.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/TS44018Misc.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

constexpr uint32_t kFormats = 6;
constexpr unsigned kSpans[kFormats] = {124, 1024, 512, 256, 128, 112};
constexpr size_t kLists = 64;

struct Sample {
   std::vector<uint16_t> arfcns;
   uint16_t orig = 0, range = 0;
   std::array<uint8_t, 256> octets{};
   uint32_t bits = 124;
};

struct Bench : benchmark::Fixture {
   RtxContext c;
   std::vector<Sample> samples;
   uint32_t format = 0;
   size_t next = 0;

   void SetUp(const benchmark::State& state) override {
      rtInitContext(&c);
      format = static_cast<uint32_t>(state.range(0));
      std::mt19937 random(1);
      samples.assign(kLists, {});
      for (Sample& sample : samples) {
         const unsigned first = format == 0 ? 1 : random() % 1024;
         std::vector<uint16_t> span(kSpans[format]);
         for (size_t i = 0; i < span.size(); ++i) span[i] = static_cast<uint16_t>((first + i) % 1024);
         std::shuffle(span.begin(), span.end(), random);
         sample.arfcns.assign(span.begin(), span.begin() + state.range(1));
         rtx3GPPGetARFCNRange(sample.arfcns.data(), count(sample), &sample.orig, &sample.range);
         encode(sample);
      }
   }
   void TearDown(const benchmark::State&) override { rtFreeContext(&c); }

   static uint16_t count(const Sample& sample) { return static_cast<uint16_t>(sample.arfcns.size()); }
   Sample& sample() { return samples[next++ % kLists]; }

   void encode(Sample& one) {
      one.octets.fill(0);
      uint8_t* buffer[2] = {one.octets.data(), one.octets.data() + 1};
      if (rtx3GPPEncARFCN(&c, one.arfcns.data(), count(one), format, one.range, one.orig, buffer,
                          format == 5 ? 16 : one.octets.size(), &one.bits) != 0)
         std::abort();
   }

   void report(benchmark::State& state) {
      using benchmark::Counter;
      const auto channels = static_cast<double>(state.range(1));
      state.counters["channel"] = Counter(channels, Counter::kIsIterationInvariantRate | Counter::kInvert);
   }
};

BENCHMARK_DEFINE_F(Bench, Encode)(benchmark::State& state) {
   for (auto _ : state) encode(sample());
   report(state);
}

BENCHMARK_DEFINE_F(Bench, Decode)(benchmark::State& state) {
   for (auto _ : state) {
      const Sample& one = sample();
      uint16_t *list, found;
      if (rtx3GPPDecARFCN(&c, format, one.octets.data(), static_cast<uint16_t>(one.bits), &list, &found) !=
                0 ||
          found != state.range(1))
         std::abort();
      benchmark::DoNotOptimize(list);
      rtxMemHeapReset(&c);
   }
   report(state);
}

BENCHMARK_DEFINE_F(Bench, FieldsAlone)(benchmark::State& state) {
   const auto width = [this](int64_t node) {
      return 11 - format + (format == 1 ? 0 : 1) -
             static_cast<size_t>(std::bit_width(static_cast<uint64_t>(node)));
   };
   for (auto _ : state) {
      Sample& one = sample();
      rtxCtxtSetBufPtr(&c, one.octets.data(), one.octets.size());
      uint32_t value = 0;
      rtxDecBits(&c, &value, format == 1 ? 1 : 10);
      for (int64_t node = 1; node < state.range(1); ++node) {
         rtxDecBits(&c, &value, width(node));
         benchmark::DoNotOptimize(value);
      }
   }
   report(state);
}

BENCHMARK_DEFINE_F(Bench, Span)(benchmark::State& state) {
   for (auto _ : state) {
      const Sample& one = sample();
      uint16_t orig = 0, range = 0;
      rtx3GPPGetARFCNRange(one.arfcns.data(), count(one), &orig, &range);
      benchmark::DoNotOptimize(range);
   }
   report(state);
}

/** What an element of 16 octets holds. */
void fullElements(benchmark::internal::Benchmark* bench) {
   bench->ArgNames({"format", "channels"});
   for (const std::array<int64_t, 2>& one :
        {std::array<int64_t, 2>{1, 16}, {2, 18}, {3, 22}, {4, 29}, {0, 64}, {5, 64}})
      bench->Args({one[0], one[1]});
}
void trees(benchmark::internal::Benchmark* bench) {
   bench->ArgNames({"format", "channels"})->Args({1, 16})->Args({4, 29});
}
BENCHMARK_REGISTER_F(Bench, Encode)->Apply(fullElements)->Args({1, 64})->Args({1, 256});
BENCHMARK_REGISTER_F(Bench, Decode)->Apply(fullElements)->Args({1, 64})->Args({1, 256});
BENCHMARK_REGISTER_F(Bench, FieldsAlone)->Apply(trees);
BENCHMARK_REGISTER_F(Bench, Span)->Apply(trees);

} // namespace
