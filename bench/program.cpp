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

// A file of messages that goes with the object.
class Input {
public:
   Input() {
      close(mkstemp(path_));
      std::vector<std::string> lines;
      for (const char* file : {"eps", "5gs", "ts24008"})
         for (const auto& vector : quorva::bench::vectorsOf(file))
            lines.push_back(quorva::test::hexFromOctets(quorva::bench::plain(vector.octets)));
      std::ofstream out(path_);
      for (size_t i = 0; i < kMessages; ++i) out << lines[i % lines.size()] << '\n';
   }
   ~Input() { unlink(path_); }
   const char* path() const { return path_; }

private:
   char path_[32] = "/tmp/quorvaBenchXXXXXX";
};

double seconds(const timeval& time) {
   return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

void program(benchmark::State& state, const char* command, const char* option) {
   static const Input input;
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

} // namespace
