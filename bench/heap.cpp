/** Heap against malloc and free in the pattern of a decoder, and the cost of name and container nodes. */
#include "quorva/rtxContext.h"
#include "quorva/rtxDList.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"

#include <benchmark/benchmark.h>

#include <cstdlib>

namespace {

/** The pieces of one message: records of elements, list nodes, short strings. */
constexpr size_t kSizes[] = {240, 24, 16, 24, 40, 24, 8,  24, 56, 24, 12, 24, 96, 24, 20, 24,  32,
                             24,  64, 24, 5,  24, 48, 24, 9,  24, 72, 24, 16, 24, 24, 24, 128, 24,
                             7,   24, 40, 24, 15, 24, 88, 24, 33, 24, 18, 24, 50, 24, 11, 24};
constexpr size_t kPieces = sizeof kSizes / sizeof kSizes[0];
static_assert(kPieces == 50);

size_t systemCalls;

void* countingMalloc(size_t nbytes) {
   ++systemCalls;
   return std::malloc(nbytes);
}

void* countingRealloc(void* ptr, size_t nbytes) {
   ++systemCalls;
   return std::realloc(ptr, nbytes);
}

/** Writes to a piece, as a decoder would, and keeps the compiler from leaving the piece out. */
void touch(void* ptr) {
   *static_cast<volatile char*>(ptr) = 1;
}

void HeapDecodingPattern(benchmark::State& state) {
   RtxContext context;
   if (rtxInitContextExt(&context, countingMalloc, countingRealloc, std::free) != 0) abort();
   const auto message = [&] {
      for (size_t size : kSizes) touch(rtxMemHeapAlloc(&context, size));
      rtxMemHeapReset(&context);
   };
   message();
   const size_t before = systemCalls;
   for (auto _ : state) message();
   state.counters["per_piece"] = benchmark::Counter(kPieces, benchmark::Counter::kIsIterationInvariantRate |
                                                                   benchmark::Counter::kInvert);
   state.counters["system_calls"] = static_cast<double>(systemCalls - before); // after the first message: 0
   rtxFreeContext(&context);
}
BENCHMARK(HeapDecodingPattern);

void MallocDecodingPattern(benchmark::State& state) {
   void* pieces[kPieces];
   for (auto _ : state) {
      for (size_t i = 0; i < kPieces; ++i) {
         pieces[i] = std::malloc(kSizes[i]);
         touch(pieces[i]);
      }
      for (void* ptr : pieces) std::free(ptr);
   }
   state.counters["per_piece"] = benchmark::Counter(kPieces, benchmark::Counter::kIsIterationInvariantRate |
                                                                   benchmark::Counter::kInvert);
}
BENCHMARK(MallocDecodingPattern);

/** Allocations of 100 octets without a free: the figure of one must not grow with their number. */
void HeapGrowth(benchmark::State& state) {
   for (auto _ : state) {
      RtxMemHeap* heap = nullptr;
      for (int64_t i = 0; i < state.range(0); ++i) touch(rtxMemHeapAlloc(&heap, 100));
      rtxMemHeapRelease(&heap);
   }
   state.counters["per_piece"] =
         benchmark::Counter(static_cast<double>(state.range(0)),
                            benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(HeapGrowth)->Arg(1000)->Arg(100000)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond);

/** The same for sizes that leave room at the end of most blocks. */
void HeapGrowthMixed(benchmark::State& state) {
   for (auto _ : state) {
      RtxMemHeap* heap = nullptr;
      for (int64_t i = 0; i < state.range(0); ++i)
         touch(rtxMemHeapAlloc(&heap, kSizes[static_cast<size_t>(i) % kPieces] * (1 + i % 3)));
      rtxMemHeapRelease(&heap);
   }
   state.counters["per_piece"] =
         benchmark::Counter(static_cast<double>(state.range(0)),
                            benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(HeapGrowthMixed)->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

/** Error records that are not fatal, and a deep stack of names, with what ends them. */
void ManyErrors(benchmark::State& state) {
   RtxContext context;
   if (rtInitContext(&context) != 0) abort();
   for (auto _ : state) {
      for (int64_t i = 0; i < state.range(0); ++i) {
         rtxCtxtPushElemName(&context, "name");
         rtxErrSetNewData(&context, RTX_E_BAD_TIME, nullptr, 0);
         rtxErrSetNonFatal(&context);
      }
      rtxErrReset(&context);
      rtxMemReset(&context);
   }
   state.counters["per_error"] =
         benchmark::Counter(static_cast<double>(state.range(0)),
                            benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
   rtFreeContext(&context);
}
BENCHMARK(ManyErrors)->Arg(100)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);

/** One piece allocated and freed alone. */
void HeapAllocFree(benchmark::State& state) {
   RtxMemHeap* heap = nullptr;
   void* stays = rtxMemHeapAlloc(&heap, 8);
   for (auto _ : state) {
      void* ptr = rtxMemHeapAlloc(&heap, 40);
      touch(ptr);
      rtxMemHeapFreePtr(&heap, ptr);
   }
   benchmark::DoNotOptimize(stays);
   rtxMemHeapRelease(&heap);
}
BENCHMARK(HeapAllocFree);

/** Pushes a nest of `depth` and pops it again; the figure is a push with its pop. */
template <class Push, class Pop>
void pairs(benchmark::State& state, Push push, Pop pop) {
   RtxContext context;
   if (rtxInitContextExt(&context, countingMalloc, countingRealloc, std::free) != 0) abort();
   const int64_t depth = state.range(0);
   const auto nest = [&] {
      for (int64_t i = 0; i < depth; ++i) push(&context);
      for (int64_t i = 0; i < depth; ++i) pop(&context);
   };
   nest();
   const size_t before = systemCalls;
   for (auto _ : state) {
      nest();
      benchmark::ClobberMemory();
   }
   state.counters["per_pair"] =
         benchmark::Counter(static_cast<double>(depth),
                            benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
   state.counters["system_calls"] = static_cast<double>(systemCalls - before);
   rtxFreeContext(&context);
}

void NamePair(benchmark::State& state) {
   pairs(
         state, [](RtxContext* c) { rtxCtxtPushElemName(c, "name"); },
         [](RtxContext* c) { rtxCtxtPopElemName(c); });
}
BENCHMARK(NamePair)->Arg(1)->Arg(8);

void ContainerPair(benchmark::State& state) {
   pairs(
         state, [](RtxContext* c) { rtxCtxtPushContainerBytes(c, 4); },
         [](RtxContext* c) { rtxCtxtPopContainer(c); });
}
BENCHMARK(ContainerPair)->Arg(1)->Arg(8);

/** What a pair would cost if each node came from the heap and went back. */
void NodePairWithoutRecycling(benchmark::State& state) {
   pairs(
         state, [](RtxContext* c) { rtxDListAppend(c, &c->elemNames, nullptr); },
         [](RtxContext* c) { rtxDListFreeNode(c, &c->elemNames, c->elemNames.tail); });
}
BENCHMARK(NodePairWithoutRecycling)->Arg(1)->Arg(8);

} // namespace
