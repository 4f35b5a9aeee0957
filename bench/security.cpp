// Ciphering and integrity protection, in each form of AES. The counters are octets per ns, and the time as a
// multiple of that of a memcpy of the same octets, measured in the same run.
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

/** A keyed context and a message; the form of AES and the length are the arguments of the benchmark. */
class Situation {
public:
   explicit Situation(benchmark::State& state)
         : state_(state), data(static_cast<size_t>(state.range(1)), 0x5A) {
      quorva::aesForcePortable(state.range(0) != 0);
      if (state.range(0) == 0 && quorva::aesHardware() == nullptr) state.SkipWithError("no AES instructions");
      rtInitContext(&ctx);
      rtx3gppSecInitialize(&ctx);
      rtx3gppAssignAlgorithmKeys(&ctx, integKey, cipherKey, 2, 2);
      ctx.nasSec->count = 7;
   }
   ~Situation() {
      rtx3gppSecFree(&ctx);
      rtFreeContext(&ctx);
      quorva::aesForcePortable(false);
   }

   template <class Work>
   void run(const Work& work) {
      const double start = nowNs();
      for (auto _ : state_) {
         work();
         benchmark::ClobberMemory();
      }
      const double ns = (nowNs() - start) / static_cast<double>(state_.iterations());
      state_.counters["octets/ns"] = static_cast<double>(data.size()) / ns;
      state_.counters["x memcpy"] = ns / memcpyNs(data.size());
   }

private:
   benchmark::State& state_;

public:
   RtxContext ctx;
   std::vector<uint8_t> data;
   uint32_t mac = 0;
};

void cipher(benchmark::State& state) {
   Situation s(state);
   s.run([&] { rtx3gppCipher(&s.ctx, s.data.data(), s.data.size()); });
}

void mac(benchmark::State& state) {
   Situation s(state);
   s.run([&] { rtx3gppComputeMAC(&s.ctx, s.data.data(), s.data.size(), &s.mac); });
}

/** As a receiver does it: the MAC over the enciphered octets, then deciphering. */
void macAndCipher(benchmark::State& state) {
   Situation s(state);
   s.run([&] {
      rtx3gppComputeMAC(&s.ctx, s.data.data(), s.data.size(), &s.mac);
      rtx3gppCipher(&s.ctx, s.data.data(), s.data.size());
   });
}

/** As a sender does it: each step waits for the one before. */
void cipherAndMac(benchmark::State& state) {
   Situation s(state);
   s.run([&] {
      rtx3gppCipher(&s.ctx, s.data.data(), s.data.size());
      rtx3gppComputeMAC(&s.ctx, s.data.data(), s.data.size(), &s.mac);
      s.ctx.nasSec->count = s.mac;
   });
}

/** Both keys and the subkeys; the length does not matter. */
void keys(benchmark::State& state) {
   Situation s(state);
   for (auto _ : state) {
      rtx3gppAssignAlgorithmKeys(&s.ctx, integKey, cipherKey, 2, 2);
      benchmark::ClobberMemory();
   }
}

/** As an application sets them up for each message, with a reset between; the record and its memory count. */
void keysAfterReset(benchmark::State& state) {
   Situation s(state);
   for (auto _ : state) {
      rtxMemReset(&s.ctx);
      rtx3gppSecInitialize(&s.ctx);
      rtx3gppAssignAlgorithmKeys(&s.ctx, integKey, cipherKey, 2, 2);
      benchmark::ClobberMemory();
   }
}

const std::vector<std::vector<int64_t>> sizes = {{0, 1}, {128, 1500}};
const std::vector<std::vector<int64_t>> message = {{0, 1}, {81}};
const std::vector<std::vector<int64_t>> none = {{0, 1}, {1}};

BENCHMARK(cipher)->ArgNames({"portable", "octets"})->ArgsProduct(sizes);
BENCHMARK(mac)->ArgNames({"portable", "octets"})->ArgsProduct(sizes);
BENCHMARK(macAndCipher)->ArgNames({"portable", "octets"})->ArgsProduct(message);
BENCHMARK(cipherAndMac)->ArgNames({"portable", "octets"})->ArgsProduct(message);
BENCHMARK(keys)->ArgNames({"portable", "octets"})->ArgsProduct(none);
BENCHMARK(keysAfterReset)->ArgNames({"portable", "octets"})->ArgsProduct(none);

} // namespace
