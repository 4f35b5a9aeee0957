// The program "quorva" over a file of real messages: CPU time of a message and memory, beside "wc -l" on the
// same file.

#include "bench/vectors.h"

#include <benchmark/benchmark.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

constexpr size_t kMessages = 100000;

// A number of a capture's headers.
void put(std::ofstream& out, uint32_t word) {
   for (int bit = 24; bit >= 0; bit -= 8) out.put(static_cast<char>(word >> bit));
}

// A file of messages that goes with the object: a message a line, or a capture with a message a frame.
class Input {
public:
   explicit Input(bool capture) {
      close(mkstemp(path_));
      std::vector<std::vector<uint8_t>> messages;
      for (const char* file : {"eps", "5gs", "ts24008"})
         for (const auto& vector : quorva::bench::vectorsOf(file))
            messages.push_back(quorva::bench::plain(vector.octets));
      std::ofstream out(path_, std::ios::binary);
      for (const uint32_t word : {0xA1B2C3D4u, 0x20004u, 0u, 0u, 65535u, 147u})
         if (capture) put(out, word);
      for (size_t i = 0; i < kMessages; ++i) {
         const auto& message = messages[i % messages.size()];
         if (!capture) {
            out << quorva::test::hexFromOctets(message) << '\n';
            continue;
         }
         const auto size = static_cast<uint32_t>(message.size());
         // A thousand frames a second.
         for (const uint32_t word :
              {static_cast<uint32_t>(i / 1000), static_cast<uint32_t>(i % 1000 * 1000), size, size})
            put(out, word);
         out.write(reinterpret_cast<const char*>(message.data()), size);
      }
   }
   ~Input() { unlink(path_); }
   const char* path() const { return path_; }

private:
   char path_[32] = "/tmp/quorvaBenchXXXXXX";
};

double seconds(const timeval& time) {
   return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

void program(benchmark::State& state, const char* command, const char* option, bool capture = false) {
   static const Input inputs[] = {Input(false), Input(true)};
   const Input& input = inputs[capture ? 1 : 0];
   long memory = 0;
   for (auto _ : state) {
      const pid_t child = fork();
      if (child == 0) {
         if (std::freopen("/dev/null", "w", stdout) == nullptr) _exit(127);
         if (option != nullptr)
            execlp(command, command, "decode", option, input.path(), nullptr);
         else
            execlp(command, command, "-l", input.path(), nullptr);
         _exit(127);
      }
      int status = 0;
      rusage usage = {};
      wait4(child, &status, 0, &usage);
      if (!WIFEXITED(status) || WEXITSTATUS(status) > 1) return state.SkipWithError("does not run");
      state.SetIterationTime(seconds(usage.ru_utime) + seconds(usage.ru_stime));
      memory = usage.ru_maxrss;
   }
   state.counters["message"] =
         benchmark::Counter(static_cast<double>(kMessages) * static_cast<double>(state.iterations()),
                            benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
   state.counters["MB"] = static_cast<double>(memory) / 1024;
}

BENCHMARK_CAPTURE(program, wc, "wc", nullptr)->UseManualTime();
BENCHMARK_CAPTURE(program, decode, QUORVA_PROGRAM, "--auto")->UseManualTime();
BENCHMARK_CAPTURE(program, decode quiet, QUORVA_PROGRAM, "--quiet")->UseManualTime();
BENCHMARK_CAPTURE(program, decode capture, QUORVA_PROGRAM, "--auto", true)->UseManualTime();
BENCHMARK_CAPTURE(program, decode capture quiet, QUORVA_PROGRAM, "--quiet", true)->UseManualTime();
BENCHMARK_CAPTURE(program, decode capture summary, QUORVA_PROGRAM, "--summary", true)->UseManualTime();

} // namespace
