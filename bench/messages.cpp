// Whole messages: decode and encode, in ns a message and ns a leaf (a printed line with a value), beside a
// bare TLV walk and a memcpy of the same octets and the prototype of 64 flags, in one run. The first argument
// of a message's row is its place in kMessages.

#include "bench/vectors.h"

#include "quorva/modules.h"
#include "quorva/quorva.hpp"
#include "quorva/registry.h"
#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxPrintToStream.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using quorva::bench::plain;
using quorva::bench::vectorsOf;

struct Message {
   const char* label;
   const char* pdu;
   const char* file;
   const char* vector;
   const char*
         mandatory; // for the walk: octets, or L and E for what stands behind one or two of length; or none
};

constexpr char kL2[] = "TS44018Msg_L2_PSEUDO_LEN_PDU";

// Real messages without a security header.
constexpr Message kMessages[] = {
      {"EPS AuthRequest", "TS24301Msg_PDU", "eps", "authentication-request-1", "3 16 L"},
      {"EPS AuthResponse", "TS24301Msg_PDU", "eps", "authentication-response-3", "2 L"},
      {"EPS SecModeCmd", "TS24301Msg_PDU", "eps", "security-mode-command-2", "2 2 L"},
      {"EPS AttachRequest", "TS24301Msg_PDU", "eps", "attach-request-pdn-connectivity-request-3", "3 L L E"},
      {"EPS AttachAccept", "TS24301Msg_PDU", "eps", "attach-accept-activate-default-eps-bearer-contex-3",
       "4 L E"},
      {"EPS TAURequest", "TS24301Msg_PDU", "eps", "tracking-area-update-request-1", "3 L"},
      {"EPS ActvDfltBearerReq", "TS24301Msg_PDU", "eps", "activate-default-eps-bearer-context-request-7",
       "3 L L L"},
      {"5GS IdentityRequest", "TS24501Msg_PDU", "5gs", "identity-request-1", "4"},
      {"5GS RegRequest", "TS24501Msg_PDU", "5gs", "registration-request-1", "4 E"},
      {"5GS RegAccept", "TS24501Msg_PDU", "5gs", "registration-accept-5", "3 L"},
      {"5GS RegAccept, small", "TS24501Msg_PDU", "5gs", "registration-accept-4", "3 L"},
      {"5GS ULTransport, SessEstReq", "TS24501Msg_PDU", "5gs",
       "ul-nas-transport-pdu-session-establishment-reque-2", "4 E"},
      {"5GS SessEstAccept", "TS24501Msg_PDU", "5gs", "pdu-session-establishment-accept-1", "5 E L"},
      {"5GS SecModeCmd", "TS24501Msg_PDU", "5gs", "security-mode-command-1", "5 L"},
      {"MM LocUpdatingRequest", "TS24008Msg_PDU", "ts24008", "location-updating-request-1", "9 L"},
      {"CC Setup", "TS24008Msg_PDU", "ts24008", "setup-1", "2"},
      {"CC Setup, octets 3b", "TS24008Msg_PDU", "ts24008", "setup-3", "2"},
      {"GMM AttachRequest", "TS24008Msg_PDU", "ts24008", "attach-request-2", "2 L 3 L 6 L"},
      {"SM ActivatePDPCtxtReq", "TS24008Msg_PDU", "ts24008", "activate-pdp-context-request-1", "4 L L"},
      {"BCCH SI3", kL2, "rr-ccch", "system-information-type-3-2", nullptr},
      {"BCCH SI13", kL2, "rr-ccch", "system-information-type-13-2", nullptr},
      {"BCCH SI2quater", kL2, "rr-ccch", "system-information-type-2quater-3", nullptr},
      {"CCCH ImmediateAssignment", kL2, "rr-ccch", "immediate-assignment-1", nullptr},
      {"CCCH PagingRequestType1", kL2, "rr-ccch", "paging-request-type-1-3", nullptr},
      {"DCCH HandoverCommand", "TS44018Msg_DL_DCCH_PDU", "rr-dcch", "handover-command-1", nullptr},
      {"DCCH ClassmarkChange", "TS44018Msg_UL_DCCH_PDU", "rr-dcch", "classmark-change-1", nullptr},
      {"SACCH SI5", kL2, "rr-sacch", "system-information-type-5-1", nullptr},
      {"SACCH MeasurementReport", "TS44018Msg_UL_SACCH_PDU", "rr-sacch", "measurement-report-1", nullptr},
};

std::vector<uint8_t> octetsOf(const Message& message) {
   for (auto& vector : vectorsOf(message.file))
      if (vector.name == message.vector) return plain(vector.octets);
   return {};
}

// Lines of the printed record that hold a value.
int countLeaves(void* user, const char* format, va_list arguments) {
   char text[2048];
   const int length = std::vsnprintf(text, sizeof text, format, arguments);
   if (std::strstr(text, " = ") != nullptr || std::strstr(text, " =\n") != nullptr)
      ++*static_cast<size_t*>(user);
   return length;
}

size_t systemCalls;
void* countedMalloc(size_t nbytes) {
   ++systemCalls;
   return std::malloc(nbytes);
}
void* countedRealloc(void* ptr, size_t nbytes) {
   ++systemCalls;
   return std::realloc(ptr, nbytes);
}

// Allocations from the heap that a message takes: with this flag each of them is one of the system.
size_t heapCalls(const QuorvaType& type, std::vector<uint8_t> octets) {
   RtxContext ctxt;
   rtxInitContextExt(&ctxt, countedMalloc, countedRealloc, std::free);
   rtxMemHeapSetFlags(&ctxt, RTX_MH_RAW_ONLY);
   std::vector<uint8_t> record(type.size);
   if (type.init != nullptr) type.init(record.data());
   rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
   const size_t before = systemCalls;
   type.decode(&ctxt, record.data());
   const size_t count = systemCalls - before;
   rtxFreeContext(&ctxt);
   return count;
}

// A context with a message decoded once.
class Fixture {
public:
   explicit Fixture(const Message& message) : Fixture(message.pdu, octetsOf(message)) {}
   Fixture(const char* pdu, std::vector<uint8_t> input)
         : type(quorvaFindType(pdu)), octets(std::move(input)) {
      rtxInitContextExt(&ctxt, countedMalloc, countedRealloc, std::free);
      record.resize(type->size);
      output.resize(octets.size() + 64);
      if (type->init != nullptr) type->init(record.data());
      status = decode();
      if (status != 0) return;
      rtxSetPrintStream(&ctxt, countLeaves, &leaves);
      type->print(&ctxt, "PDU", record.data());
   }
   ~Fixture() { rtxFreeContext(&ctxt); }

   int decode() {
      rtxMemReset(&ctxt);
      rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
      return type->decode(&ctxt, record.data());
   }
   int encode() {
      rtxErrReset(&ctxt);
      rtxCtxtClearFlag(&ctxt, RTX_CTXT_RAW_TAIL);
      rtxCtxtSetBufPtr(&ctxt, output.data(), output.size());
      return type->encode(&ctxt, record.data());
   }

   RtxContext ctxt;
   const QuorvaType* type;
   std::vector<uint8_t> octets, output;
   std::vector<uint8_t> record;
   size_t leaves = 0;
   int status = 0;
};

void report(benchmark::State& state, const Fixture& fixture, size_t callsBefore) {
   const auto runs = static_cast<double>(state.iterations());
   state.counters["leaves"] = static_cast<double>(fixture.leaves);
   state.counters["leaf"] = benchmark::Counter(static_cast<double>(fixture.leaves) * runs,
                                               benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
   state.counters["sysalloc"] = static_cast<double>(systemCalls - callsBefore);
}

void decodeMessage(benchmark::State& state, const Message* message) {
   Fixture fixture(*message);
   if (fixture.octets.empty() || fixture.status != 0) return state.SkipWithError("does not decode");
   state.counters["heap"] = static_cast<double>(heapCalls(*fixture.type, fixture.octets));
   fixture.decode();
   const size_t before = systemCalls;
   for (auto _ : state) benchmark::DoNotOptimize(fixture.decode());
   report(state, fixture, before);
}

void encodeMessage(benchmark::State& state, const Message* message) {
   Fixture fixture(*message);
   if (fixture.octets.empty() || fixture.status != 0 || fixture.encode() != 0)
      return state.SkipWithError("does not encode");
   const size_t before = systemCalls;
   for (auto _ : state) benchmark::DoNotOptimize(fixture.encode());
   report(state, fixture, before);
}

// Protected by EIA2 and EEA2. What an application does a message is all in it: key set-up, a copy of the
// octets, since they are deciphered in place, MAC and cipher.
void secure(RtxContext& ctxt) {
   static const uint8_t key[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
   rtx3gppSecInitialize(&ctxt);
   rtx3gppAssignAlgorithmKeys(&ctxt, key, key, 2, 2);
}

template <class Pdu>
void protect(Fixture& fixture) {
   auto& pdu = *reinterpret_cast<Pdu*>(fixture.record.data());
   pdu.m.secHdrPresent = 1;
   pdu.secHdr = {};
   pdu.secHdr.secHdrType = 2;
   if constexpr (std::is_same_v<Pdu, TS24301Msg_PDU>)
      pdu.secHdr.protoDiscr = TS24007L3_ProtoDiscr_epsMobMgmt;
   else
      pdu.secHdr.protoDiscr = TS24501Msg_NAS5GProtoDiscr_mobMgmt5G;
   secure(fixture.ctxt);
   if (fixture.encode() != 0) fixture.status = -1;
   fixture.octets.assign(fixture.output.begin(),
                         fixture.output.begin() + static_cast<ptrdiff_t>(fixture.ctxt.bufByteIndex));
}

bool protectedForm(Fixture& fixture, const Message& message) {
   if (fixture.octets.empty() || fixture.status != 0) return false;
   if (std::strcmp(message.file, "eps") == 0)
      protect<TS24301Msg_PDU>(fixture);
   else
      protect<TS24501Msg_PDU>(fixture);
   return fixture.status == 0;
}

void decodeProtected(benchmark::State& state, const Message* message, bool wrongMac) {
   Fixture fixture(*message);
   if (!protectedForm(fixture, *message)) return state.SkipWithError("does not decode");
   std::vector<uint8_t> wire = fixture.octets;
   if (wrongMac) // behind the header, which is 1 octet of EPS and 2 of 5GS
      wire[2] = static_cast<uint8_t>(~wire[2]);
   const size_t before = systemCalls;
   for (auto _ : state) {
      rtxMemReset(&fixture.ctxt);
      secure(fixture.ctxt);
      std::memcpy(fixture.octets.data(), wire.data(), wire.size());
      rtxCtxtSetBufPtr(&fixture.ctxt, fixture.octets.data(), fixture.octets.size());
      if (fixture.type->decode(&fixture.ctxt, fixture.record.data()) != (wrongMac ? RTX_E_MAC_MISMATCH : 0))
         return state.SkipWithError("does not decode");
   }
   report(state, fixture, before);
}

// By the header for C++, which copies the octets and makes the record: beside "decode" and "encode".
void decodeByHeader(benchmark::State& state, const Message* message) {
   Fixture fixture(*message);
   quorva::Context ctxt;
   const auto decode = [&] {
      ctxt.reset();
      return (message->file == std::string_view("eps")
                    ? ctxt.decode<TS24301Msg_PDU>(fixture.octets).status()
                    : ctxt.decode<TS24501Msg_PDU>(fixture.octets).status());
   };
   if (fixture.octets.empty() || decode() != 0) return state.SkipWithError("does not decode");
   const size_t before = systemCalls;
   for (auto _ : state) benchmark::DoNotOptimize(decode());
   report(state, fixture, before);
}

void encodeProtected(benchmark::State& state, const Message* message) {
   Fixture fixture(*message);
   if (!protectedForm(fixture, *message)) return state.SkipWithError("does not encode");
   const size_t before = systemCalls;
   for (auto _ : state) {
      rtx3gppSecFree(&fixture.ctxt);
      secure(fixture.ctxt);
      benchmark::DoNotOptimize(fixture.encode());
   }
   report(state, fixture, before);
}

// All messages of a family that decode, with one context: each many times in a row, or in a random order,
// where the processor's prediction helps as little as in a real program. ns a message.
void decodeMix(benchmark::State& state, const char* module, bool shuffled) {
   struct Sample {
      const QuorvaType* type;
      std::vector<uint8_t> octets;
   };
   std::vector<Sample> samples;
   size_t leaves = 0, record = 0;
   for (const auto& [pdu, vector] : quorva::test::messageVectors(QUORVA_VECTORS)) {
      if (std::strncmp(pdu, module, std::strlen(module)) != 0) continue;
      const Fixture one(pdu, plain(vector.octets));
      if (one.status != 0) continue;
      samples.push_back({one.type, one.octets});
      leaves += one.leaves;
      record = std::max(record, one.record.size());
   }
   if (samples.empty()) return state.SkipWithError("no vectors");
   constexpr size_t kRow = 64;
   std::vector<Sample*> order;
   for (Sample& sample : samples) order.insert(order.end(), kRow, &sample);
   if (shuffled) std::shuffle(order.begin(), order.end(), std::mt19937(1));
   Fixture fixture(samples[0].type->name, {});
   fixture.record.resize(record);
   for (auto _ : state)
      for (Sample* sample : order) {
         rtxMemReset(&fixture.ctxt);
         rtxCtxtSetBufPtr(&fixture.ctxt, sample->octets.data(), sample->octets.size());
         benchmark::DoNotOptimize(sample->type->decode(&fixture.ctxt, fixture.record.data()));
      }
   const auto rate = [&](size_t count) {
      return benchmark::Counter(static_cast<double>(count * kRow) * static_cast<double>(state.iterations()),
                                benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
   };
   state.counters["messages"] = static_cast<double>(samples.size());
   state.counters["message"] = rate(samples.size());
   state.counters["leaf"] = rate(leaves);
}

// Each message of a file that decodes whole and fails when its second half is missing: what the failure
// costs, as a ratio to the whole. The least time of a row of each counts.
void decodeHalves(benchmark::State& state, const char* pdu, const char* file) {
   Fixture fixture(pdu, {});
   struct Pair {
      std::string name;
      std::vector<uint8_t> octets;
      double least[2] = {1e9, 1e9};
      double ratio() const { return least[1] / least[0]; }
   };
   std::vector<Pair> pairs;
   const auto decode = [&](const std::vector<uint8_t>& octets, size_t numocts) {
      rtxMemReset(&fixture.ctxt);
      rtxCtxtSetBufPtr(&fixture.ctxt, const_cast<uint8_t*>(octets.data()), numocts);
      return fixture.type->decode(&fixture.ctxt, fixture.record.data());
   };
   for (auto& vector : vectorsOf(file)) {
      Pair pair{vector.name, plain(vector.octets)};
      if (decode(pair.octets, pair.octets.size()) == 0 && decode(pair.octets, pair.octets.size() / 2) < 0)
         pairs.push_back(std::move(pair));
   }
   if (pairs.empty()) return state.SkipWithError("no vectors");
   constexpr int kRow = 32;
   for (auto _ : state)
      for (Pair& pair : pairs)
         for (size_t half : {0, 1}) {
            const auto start = std::chrono::steady_clock::now();
            for (int i = 0; i < kRow; ++i)
               benchmark::DoNotOptimize(decode(pair.octets, pair.octets.size() >> half));
            const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
            pair.least[half] = std::min(pair.least[half], time.count());
         }
   std::sort(pairs.begin(), pairs.end(), [](auto& a, auto& b) { return a.ratio() > b.ratio(); });
   const auto above = std::count_if(pairs.begin(), pairs.end(), [](auto& pair) { return pair.ratio() > 3; });
   state.counters["messages"] = static_cast<double>(pairs.size());
   state.counters["worst"] = pairs.front().ratio();
   state.counters["median"] = pairs[pairs.size() / 2].ratio();
   state.counters["above 3"] = static_cast<double>(above);
   state.SetLabel(pairs.front().name);
}

// The least that any reader does: IEI, length, skip. False if it loses its way.
bool walk(const std::vector<uint8_t>& octets, const char* mandatory, const uint8_t* sizes) {
   const size_t end = octets.size();
   size_t at = 0;
   for (const char* part = mandatory; *part != 0 && at < end; ++part) {
      if (*part == 'L') at += size_t{1} + octets[at];
      if (*part == 'E' && at + 1 < end) at += size_t{2} + (octets[at] << 8 | octets[at + 1]);
      if (*part >= '0' && *part <= '9') {
         char* behind;
         at += std::strtoul(part, &behind, 10);
         part = behind - 1;
      }
   }
   while (at < end) {
      const uint8_t iei = octets[at];
      if (sizes[iei] != 0)
         at += sizes[iei];
      else if (at + 2 < end && iei >> 4 == 7)
         at += size_t{3} + (octets[at + 1] << 8 | octets[at + 2]);
      else if (at + 1 < end)
         at += size_t{2} + octets[at + 1];
      else
         return false;
      benchmark::DoNotOptimize(iei);
   }
   return at == end;
}

void walkMessage(benchmark::State& state, const Message* message) {
   const std::vector<uint8_t> octets = octetsOf(*message);
   uint8_t sizes[256] = {}; // of elements without a length, the IEI counted
   std::memset(sizes + 0x80, 1, 0x80);
   const auto set = [&](std::initializer_list<std::pair<int, int>> list) {
      for (auto [iei, size] : list) sizes[iei] = static_cast<uint8_t>(size);
   };
   if (std::strcmp(message->file, "eps") == 0) {
      set({{0x13, 6},
           {0x17, 2},
           {0x19, 4},
           {0x32, 2},
           {0x52, 6},
           {0x53, 2},
           {0x55, 5},
           {0x59, 2},
           {0x5A, 2},
           {0x5C, 3}});
      if ((octets[0] & 15) == 2) set({{0x58, 2}});
   } else if (std::strcmp(message->file, "5gs") == 0) {
      set({{0x12, 2}, {0x52, 7}, {0x55, 3}, {0x59, 2}});
   } else {
      set({{0x17, 2}, {0x19, 4}});
   }
   if (!walk(octets, message->mandatory, sizes)) return state.SkipWithError("loses its way");
   for (auto _ : state) benchmark::DoNotOptimize(walk(octets, message->mandatory, sizes));
}

void copyMessage(benchmark::State& state, const Message* message) {
   const std::vector<uint8_t> octets = octetsOf(*message);
   std::vector<uint8_t> copy(octets.size());
   for (auto _ : state) {
      std::memcpy(copy.data(), octets.data(), octets.size());
      benchmark::DoNotOptimize(copy.data());
      benchmark::ClobberMemory();
   }
}

// The prototype: 64 flags one by one, each with a recycled name node, the trace test and an inlined read.
struct NameNode {
   const char* name;
   NameNode *next, *prev;
};
struct Prototype {
   const uint8_t* data;
   size_t index, size;
   int bitsLeft;
   NameNode *tail, *head, *spare;
   size_t count;
   uint8_t level;
   void* trace;
};

[[gnu::noinline]] void traceField(Prototype& p) {
   benchmark::DoNotOptimize(&p);
}

template <bool Named>
[[gnu::always_inline]] inline bool prototypeFlag(Prototype& p, const char* name, uint8_t& value) {
   if constexpr (Named) {
      ++p.level;
      NameNode* node = p.spare;
      if (node == nullptr) return false;
      p.spare = node->next;
      node->name = name;
      node->next = nullptr;
      node->prev = p.tail;
      if (p.tail != nullptr) {
         p.tail->next = node;
      } else {
         p.head = node;
      }
      p.tail = node;
      ++p.count;
      if (p.trace != nullptr) traceField(p);
   }
   if (p.index >= p.size) return false;
   --p.bitsLeft;
   value = static_cast<uint8_t>(p.data[p.index] >> p.bitsLeft & 1);
   if (p.bitsLeft == 0) {
      ++p.index;
      p.bitsLeft = 8;
   }
   if constexpr (Named) {
      if (p.trace != nullptr) traceField(p);
      NameNode* node = p.tail;
      p.tail = node->prev;
      if (p.tail != nullptr) {
         p.tail->next = nullptr;
      } else {
         p.head = nullptr;
      }
      --p.count;
      node->next = p.spare;
      p.spare = node;
      --p.level;
   }
   return true;
}

template <bool Named, size_t... I>
bool prototypeFlags(Prototype& p, uint8_t* values, std::index_sequence<I...>) {
   return (prototypeFlag<Named>(p, "flag", values[I]) && ...);
}

template <bool Named>
void prototype(benchmark::State& state) {
   const uint8_t octets[8] = {0xA5, 0x5A, 0xFF, 0, 0x81, 0x7E, 0xC3, 0x3C};
   uint8_t values[64] = {};
   NameNode nodes[2] = {};
   nodes[0].next = &nodes[1];
   Prototype p{octets, 0, 8, 8, nullptr, nullptr, nodes, 0, 0, nullptr};
   for (auto _ : state) {
      p.index = 0;
      p.bitsLeft = 8;
      benchmark::DoNotOptimize(p);
      benchmark::DoNotOptimize(prototypeFlags<Named>(p, values, std::make_index_sequence<64>()));
      benchmark::ClobberMemory();
   }
   state.counters["leaf"] = benchmark::Counter(64.0 * static_cast<double>(state.iterations()),
                                               benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

const bool registered = [] {
   benchmark::RegisterBenchmark("prototype/64 flags", prototype<true>);
   benchmark::RegisterBenchmark("prototype/64 flags, no names and no trace test", prototype<false>);
   for (const Message& message : kMessages) {
      const std::string name = message.label;
      benchmark::RegisterBenchmark(("decode/" + name).c_str(), decodeMessage, &message);
      benchmark::RegisterBenchmark(("encode/" + name).c_str(), encodeMessage, &message);
      if (std::strcmp(message.file, "eps") == 0 || std::strcmp(message.file, "5gs") == 0) {
         benchmark::RegisterBenchmark(("decode by quorva.hpp/" + name).c_str(), decodeByHeader, &message);
         benchmark::RegisterBenchmark(("decode protected/" + name).c_str(), decodeProtected, &message, false);
         benchmark::RegisterBenchmark(("wrong MAC/" + name).c_str(), decodeProtected, &message, true);
         benchmark::RegisterBenchmark(("encode protected/" + name).c_str(), encodeProtected, &message);
      }
      if (message.mandatory != nullptr)
         benchmark::RegisterBenchmark(("tlv walk/" + name).c_str(), walkMessage, &message);
      benchmark::RegisterBenchmark(("memcpy/" + name).c_str(), copyMessage, &message);
   }
   for (const Message& first : {kMessages[0], kMessages[7], kMessages[14]})
      benchmark::RegisterBenchmark((std::string("cut in half/") + first.file).c_str(), decodeHalves,
                                   first.pdu, first.file)
            ->Iterations(100);
   for (const auto& [name, module] : {std::pair("eps", "TS24301Msg"),
                                      {"5gs", "TS24501Msg"},
                                      {"ts24008", "TS24008Msg"},
                                      {"rr", "TS44018Msg"}}) {
      benchmark::RegisterBenchmark((std::string("in rows/") + name).c_str(), decodeMix, module, false);
      benchmark::RegisterBenchmark((std::string("random mix/") + name).c_str(), decodeMix, module, true);
   }
   return true;
}();

} // namespace
