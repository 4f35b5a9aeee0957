// Printing decoded messages: ns a printed line through each kind of print stream, beside a memcpy of the
// finished text; the same as JSON, and JSON read back, a leaf and an octet of it, beside writer, printer and
// encoder; and the listings of a traced message. What matters is the ratio of rows of one run.

#include "bench/vectors.h"

#include "quorva/json.h"
#include "quorva/reflect.h"
#include "quorva/registry.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxPrintToStream.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

struct Message {
   const char* label;
   const char* pdu;
   const char* file;
   const char* vector;
};

constexpr Message kMessages[] = {
      {"EPS AttachRequest", "TS24301Msg_PDU", "eps", "attach-request-pdn-connectivity-request-3"},
      {"EPS AttachAccept", "TS24301Msg_PDU", "eps", "attach-accept-activate-default-eps-bearer-contex-3"},
      {"5GS RegRequest", "TS24501Msg_PDU", "5gs", "registration-request-1"},
      {"5GS SessEstAccept", "TS24501Msg_PDU", "5gs", "pdu-session-establishment-accept-1"},
      {"CC Setup", "TS24008Msg_PDU", "ts24008", "setup-1"},
};

// A callback of the caller's own that does the same as the stock one.
int toString(void* user, const char* format, va_list arguments) {
   return rtxPrintStreamToStringCB(user, format, arguments);
}

// A message decoded once, with its trace if asked for.
class Fixture {
public:
   Fixture(const Message& message, bool traced) : type(quorvaFindType(message.pdu)), memory(1 << 20) {
      rtInitContext(&ctxt);
      for (auto& vector : quorva::bench::vectorsOf(message.file))
         if (vector.name == message.vector) octets = quorva::bench::plain(vector.octets);
      record.resize(type->size);
      status = decode(traced);
      rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &text);
      print();
      lines = static_cast<double>(std::count(memory.data(), memory.data() + text.used, '\n'));
      const auto count = [](void* user, const QuorvaItem*) { return ++*static_cast<size_t*>(user), 0; };
      size_t found = 0;
      const QuorvaVisitor visitor = {nullptr, count, nullptr, &found};
      quorvaVisit(&ctxt, type, record.data(), &visitor);
      leaves = static_cast<double>(found);
   }
   ~Fixture() { rtxFreeContext(&ctxt); }

   int decode(bool traced) {
      rtxMemReset(&ctxt);
      ctxt.bitFields = nullptr;
      if (traced) {
         auto* list = static_cast<RtxDiagBitFieldList*>(rtxMemHeapAlloc(&ctxt, sizeof(RtxDiagBitFieldList)));
         rtxDiagBitFieldListInit(&ctxt, list);
         ctxt.bitFields = list;
      }
      if (type->init != nullptr) type->init(record.data());
      rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
      return type->decode(&ctxt, record.data());
   }

   void print() {
      text.used = 0;
      type->print(&ctxt, "PDU", record.data());
   }

   RtxContext ctxt;
   const QuorvaType* type;
   std::vector<uint8_t> octets, record;
   std::vector<char> memory;
   RtxPrintToStringBuffer text{memory.data(), memory.size(), 0};
   double lines = 0, leaves = 0;
   int status = 0;
};

benchmark::Counter perLine(const benchmark::State& state, const Fixture& fixture) {
   return {fixture.lines * static_cast<double>(state.iterations()),
           benchmark::Counter::kIsRate | benchmark::Counter::kInvert};
}

void printMessage(benchmark::State& state, const Message* message, RtxPrintCallback callback) {
   Fixture fixture(*message, false);
   if (fixture.status != 0) return state.SkipWithError("does not decode");
   std::FILE* file = callback == rtxPrintStreamToFileCB ? std::fopen("/dev/null", "w") : nullptr;
   rtxSetPrintStream(&fixture.ctxt, callback, file != nullptr ? static_cast<void*>(file) : &fixture.text);
   for (auto _ : state) fixture.print();
   state.counters["line"] = perLine(state, fixture);
   if (file != nullptr) std::fclose(file);
}

// To standard output, as when nothing is registered: each line is flushed.
void printUnregistered(benchmark::State& state, const Message* message) {
   Fixture fixture(*message, false);
   if (fixture.status != 0) return state.SkipWithError("does not decode");
   rtxPrintStreamRelease(&fixture.ctxt);
   std::fflush(stdout);
   const int kept = dup(STDOUT_FILENO), sink = open("/dev/null", O_WRONLY);
   dup2(sink, STDOUT_FILENO);
   close(sink);
   for (auto _ : state) fixture.print();
   std::fflush(stdout);
   dup2(kept, STDOUT_FILENO);
   close(kept);
   state.counters["line"] = perLine(state, fixture);
}

void copyText(benchmark::State& state, const Message* message) {
   Fixture fixture(*message, false);
   std::vector<char> copy(fixture.text.used);
   for (auto _ : state) {
      std::memcpy(copy.data(), fixture.memory.data(), copy.size());
      benchmark::DoNotOptimize(copy.data());
      benchmark::ClobberMemory();
   }
   state.counters["line"] = perLine(state, fixture);
}

// The same value by each of four ways, which are measured against each other in one go.
enum Way : size_t { kPrinted, kWritten, kRead, kEncoded, kWays };

class Ways {
public:
   explicit Ways(const Message& message) : fixture_(message, false) {
      memory_.resize(fixture_.memory.size());
      octets_.resize(fixture_.octets.size() + 64);
      ready_ = fixture_.status == 0 && go(kWritten);
      written_ = length_;
   }

   bool go(Way way) {
      Fixture& f = fixture_;
      switch (way) {
      case kPrinted: f.print(); return true;
      case kWritten:
         return quorvaToJson(&f.ctxt, f.type, f.record.data(), memory_.data(), memory_.size(), &length_) == 0;
      case kRead:
         // The memory that the record points to may go: it is read whole.
         rtxMemReset(&f.ctxt);
         return quorvaFromJson(&f.ctxt, f.type, f.record.data(), memory_.data(), written_, nullptr) == 0;
      default:
         rtxErrReset(&f.ctxt);
         rtxCtxtSetBufPtr(&f.ctxt, octets_.data(), octets_.size());
         return f.type->encode(&f.ctxt, f.record.data()) == 0;
      }
   }

   void run(benchmark::State& state, Way way) {
      if (!ready_) return state.SkipWithError("does not decode");
      for (auto _ : state)
         if (!go(way)) return state.SkipWithError("fails");
      double ns[kWays];
      for (size_t other = 0; other < kWays; ++other) ns[other] = least(static_cast<Way>(other));
      state.counters["line"] = perLine(state, fixture_);
      state.counters["ns/leaf"] = ns[way] / fixture_.leaves;
      if (way != kEncoded) state.counters["x encode"] = ns[way] / ns[kEncoded];
      if (way != kWritten && way != kRead) return;
      state.counters["ns/octet"] = ns[way] / static_cast<double>(written_);
      state.counters["x text"] = ns[way] / ns[kPrinted];
      if (way == kRead) state.counters["x JSON"] = ns[way] / ns[kWritten];
   }

private:
   // ns once, of the thread's own time.
   double least(Way way) {
      constexpr int turns = 300;
      double best = 1e9;
      for (int attempt = 0; attempt < 9; ++attempt) {
         const double start = now();
         for (int i = 0; i < turns; ++i) benchmark::DoNotOptimize(go(way));
         best = std::min(best, (now() - start) / turns);
      }
      return best;
   }
   static double now() {
      timespec time;
      clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
      return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
   }

   Fixture fixture_;
   std::vector<char> memory_;
   std::vector<uint8_t> octets_;
   size_t length_ = 0, written_ = 0;
   bool ready_;
};

void measureWay(benchmark::State& state, const Message* message, Way way) {
   Ways(*message).run(state, way);
}

enum class Listing { None, Text, Html };

void traceMessage(benchmark::State& state, const Message* message, bool traced, Listing listing) {
   Fixture fixture(*message, traced);
   if (fixture.status != 0) return state.SkipWithError("does not decode");
   for (auto _ : state) {
      benchmark::DoNotOptimize(fixture.decode(traced));
      fixture.text.used = 0;
      if (listing == Listing::Text) rtxDiagBitTracePrint(fixture.ctxt.bitFields, "PDU");
      if (listing == Listing::Html) rtxDiagBitTracePrintHTML("/dev/null", fixture.ctxt.bitFields, "PDU");
   }
}

const bool registered = [] {
   for (const Message& message : kMessages) {
      const std::string name = message.label;
      const auto add = [&name](const std::string& row, auto function, auto... arguments) {
         benchmark::RegisterBenchmark((row + "/" + name).c_str(), function, arguments...);
      };
      add("memcpy of the text", copyText, &message);
      add("string", printMessage, &message, rtxPrintStreamToStringCB);
      add("file", printMessage, &message, rtxPrintStreamToFileCB);
      add("nothing registered", printUnregistered, &message);
      add("own callback", printMessage, &message, toString);
      add("text", measureWay, &message, kPrinted);
      add("JSON", measureWay, &message, kWritten);
      add("JSON read", measureWay, &message, kRead);
      add("encode", measureWay, &message, kEncoded);
      add("decode", traceMessage, &message, false, Listing::None);
      add("decode with trace", traceMessage, &message, true, Listing::None);
      add("decode with trace and listing", traceMessage, &message, true, Listing::Text);
      add("decode with trace and page", traceMessage, &message, true, Listing::Html);
   }
   return true;
}();

} // namespace
