// Ciphering and integrity protection, by each algorithm (1 SNOW 3G, 2 AES, 3 ZUC) in each form. The counters
// are octets per ns, and the time as a multiple of that of a memcpy of the same octets, and of AES in its
// portable form, measured in the same run.
#include "quorva/rt3gppNasSec.h"

#include "quorva/rtxContext.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/nas/aes128.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstring>
#include <ctime>
#include <vector>

namespace {

constexpr uint8_t integKey[16] = {0x2b, 0x7e, 0x15, 0x16, 0x28, 0xae, 0xd2, 0xa6,
                                  0xab, 0xf7, 0x15, 0x88, 0x09, 0xcf, 0x4f, 0x3c};
constexpr uint8_t cipherKey[16] = {0xd3, 0xc5, 0xd5, 0x92, 0x32, 0x7f, 0xb1, 0x1c,
                                   0x40, 0x35, 0xc6, 0x68, 0x0a, 0xf8, 0xc6, 0xd1};

/** Time that this thread has had, so that a busy machine counts less. */
double nowNs() {
   timespec now;
   clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
   return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

/** ns of one memcpy of so many octets. */
double memcpyNs(size_t length) {
   constexpr int turns = 200000;
   std::vector<uint8_t> from(length, 1), to(length);
   double best = 1e9;
   for (int attempt = 0; attempt < 5; ++attempt) {
      const double start = nowNs();
      for (int i = 0; i < turns; ++i) {
         benchmark::DoNotOptimize(from.data());
         std::memcpy(to.data(), from.data(), length);
         benchmark::ClobberMemory();
      }
      best = std::min(best, (nowNs() - start) / turns);
   }
   return best;
}

using Work = void (*)(RtxContext* ctx, std::vector<uint8_t>& data);

void setUp(RtxContext& ctx, int algorithm) {
   rtInitContext(&ctx);
   rtxCtxtSetFlag(&ctx, RTX_CTXT_STANDARD);
   rtx3gppSecInitialize(&ctx);
   rtx3gppAssignAlgorithmKeys(&ctx, integKey, cipherKey, algorithm, algorithm);
   ctx.nasSec->count = 7;
}
void tearDown(RtxContext& ctx) {
   rtx3gppSecFree(&ctx);
   rtFreeContext(&ctx);
}

/** ns of the same work by AES in its portable form. */
double portableAesNs(Work work, size_t length) {
   const bool portable = &quorva::aesForm() == &quorva::aesPortable;
   quorva::aesForcePortable(true);
   RtxContext ctx;
   setUp(ctx, 2);
   std::vector<uint8_t> data(length, 0x5A);
   double best = 1e9;
   for (int attempt = 0; attempt < 20; ++attempt) {
      constexpr int turns = 100;
      const double start = nowNs();
      for (int i = 0; i < turns; ++i) work(&ctx, data);
      best = std::min(best, (nowNs() - start) / turns);
   }
   tearDown(ctx);
   quorva::aesForcePortable(portable);
   return best;
}

/** A keyed context and a message; form, length and algorithm are the arguments of the benchmark. */
class Situation {
public:
   explicit Situation(benchmark::State& state)
         : state_(state), data(static_cast<size_t>(state.range(1)), 0x5A) {
      quorva::aesForcePortable(state.range(0) != 0);
      if (state.range(0) == 0 && quorva::aesHardware() == nullptr) state.SkipWithError("no AES instructions");
      setUp(ctx, static_cast<int>(state.range(2)));
   }
   ~Situation() {
      tearDown(ctx);
      quorva::aesForcePortable(false);
   }

   void run(Work work) {
      const double start = nowNs();
      for (auto _ : state_) {
         work(&ctx, data);
         benchmark::ClobberMemory();
      }
      const double ns = (nowNs() - start) / static_cast<double>(state_.iterations());
      state_.counters["octets/ns"] = static_cast<double>(data.size()) / ns;
      state_.counters["x memcpy"] = ns / memcpyNs(data.size());
      state_.counters["x portable AES"] = ns / portableAesNs(work, data.size());
   }

private:
   benchmark::State& state_;

public:
   RtxContext ctx;
   std::vector<uint8_t> data;
};

void cipher(benchmark::State& state) {
   Situation(state).run([](RtxContext* ctx, auto& data) { rtx3gppCipher(ctx, data.data(), data.size()); });
}

void mac(benchmark::State& state) {
   Situation(state).run([](RtxContext* ctx, auto& data) {
      uint32_t mac = 0;
      rtx3gppComputeMAC(ctx, data.data(), data.size(), &mac);
      benchmark::DoNotOptimize(mac);
   });
}

/** As a receiver does it: the MAC over the enciphered octets, then deciphering. */
void macAndCipher(benchmark::State& state) {
   Situation(state).run([](RtxContext* ctx, auto& data) {
      uint32_t mac = 0;
      rtx3gppComputeMAC(ctx, data.data(), data.size(), &mac);
      rtx3gppCipher(ctx, data.data(), data.size());
   });
}

/** As a sender does it: each step waits for the one before. */
void cipherAndMac(benchmark::State& state) {
   Situation(state).run([](RtxContext* ctx, auto& data) {
      rtx3gppCipher(ctx, data.data(), data.size());
      rtx3gppComputeMAC(ctx, data.data(), data.size(), &ctx->nasSec->count);
   });
}

/** Both keys and the subkeys; the length does not matter. */
void keys(benchmark::State& state) {
   Situation s(state);
   for (auto _ : state) {
      const int algorithm = static_cast<int>(state.range(2));
      rtx3gppAssignAlgorithmKeys(&s.ctx, integKey, cipherKey, algorithm, algorithm);
      benchmark::ClobberMemory();
   }
}

/** As an application sets them up for each message, with a reset between; the record and its memory count. */
void keysAfterReset(benchmark::State& state) {
   Situation s(state);
   for (auto _ : state) {
      rtxMemReset(&s.ctx);
      rtx3gppSecInitialize(&s.ctx);
      const int algorithm = static_cast<int>(state.range(2));
      rtx3gppAssignAlgorithmKeys(&s.ctx, integKey, cipherKey, algorithm, algorithm);
      benchmark::ClobberMemory();
   }
}

const std::vector<std::vector<int64_t>> sizes = {{0, 1}, {81, 128, 1500}, {1, 2, 3}};
const std::vector<std::vector<int64_t>> message = {{0, 1}, {81}, {1, 2, 3}};
const std::vector<std::vector<int64_t>> none = {{0, 1}, {1}, {1, 2, 3}};
const std::vector<std::string> names = {"portable", "octets", "algorithm"};

BENCHMARK(cipher)->ArgNames(names)->ArgsProduct(sizes);
BENCHMARK(mac)->ArgNames(names)->ArgsProduct(sizes);
BENCHMARK(macAndCipher)->ArgNames(names)->ArgsProduct(message);
BENCHMARK(cipherAndMac)->ArgNames(names)->ArgsProduct(message);
BENCHMARK(keys)->ArgNames(names)->ArgsProduct(none);
BENCHMARK(keysAfterReset)->ArgNames(names)->ArgsProduct(none);

} // namespace
