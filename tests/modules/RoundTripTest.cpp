// Over all types: what a sample encodes to decodes to the same text and the same octets.

#include "modules/records.h"
#include "support/systemMemory.h"
#include "support/vectors.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>

using namespace quorva::test;
using quorva_test::Capture;

namespace {

// Types that do not decode on their own what they encode on their own.
const std::map<std::string, std::string> kNotAlone = {
      // They begin within an octet of the record around them; alone, their contents lie across octets.
      {"TS24501IE_CipherDataSet_eutraPosSIB", "half an octet ahead of its contents"},
      {"TS24501IE_CipherDataSet_nrPosSIB", "half an octet ahead of its contents"},
      {"TS44018IE_Frequency_List_component_2_choice_2", "a tail that ends with the octets of the list"},
      {"TS44018Msg__SeqOfTS44018Msg_Enhanced_Measurement_report_component_7_element",
       "entries to the end, where it is the message that has ended"},
      {"TS24501IE_UEParamUpdateContainer_updateOrAck", "a bit ahead of octets with lengths"},
};

bool standsAlone(const QuorvaType& type) {
   // Parts of structures that somebody else tells the size of have none alone.
   const bool sized = std::strstr(type.explanation, "tells its size") == nullptr;
   return type.sample && type.encode && type.decode && type.print && sized && kNotAlone.count(type.name) == 0;
}

TEST(RoundTrip, SampleEncodesDecodesAndPrintsAlike) {
   size_t tried = 0;
   for (auto* type : allTypes()) {
      if (!standsAlone(*type)) continue;
      SCOPED_TRACE(type->name);
      ++tried;
      Capture there(kTextRoom), back(kTextRoom);
      void* sample = type->sample(&there.ctxt);
      ASSERT_NE(sample, nullptr);
      Coded coded = encode(there.ctxt, *type, sample);
      EXPECT_GE(coded.status, 0);
      if (coded.status < 0) continue;
      const std::string text = textOf(there, *type, sample);
      // What the decoder leaves unset must not show.
      for (int fill : {0x00, 0xFF}) {
         Room place(*type, fill);
         EXPECT_GE(decode(back.ctxt, *type, coded.octets, place.get()), 0);
         EXPECT_EQ(rtxCtxtGetBitOffset(&back.ctxt), coded.bits);
         EXPECT_EQ(textOf(back, *type, place.get()), text);
         EXPECT_EQ(encode(back.ctxt, *type, place.get()).octets, coded.octets);
      }
   }
   EXPECT_GT(tried, 800u);
}

// A buffer that grows may move or stay where it is, whatever wrote into it at that moment: an element, a
// message inside or a text. Neither is anything lost, nor is a place beyond its end taken for room.
TEST(RoundTrip, BuffersGrowAnywhere) {
   Capture fixed(kTextRoom), growing(kTextRoom);
   for (auto* type : allTypes()) {
      if (!type->sample || !type->encode) continue;
      SCOPED_TRACE(type->name);
      const Coded coded = encode(fixed.ctxt, *type, type->sample(&fixed.ctxt));
      for (size_t room = 1; coded.status >= 0 && room <= std::min<size_t>(coded.octets.size(), 300); ++room) {
         RtxContext& ctxt = growing.ctxt;
         void* sample = type->sample(&ctxt);
         ASSERT_EQ(rtxCtxtSetBufPtr(&ctxt, nullptr, room), 0);
         EXPECT_EQ(type->encode(&ctxt, sample), coded.status);
         ASSERT_LE(rtxCtxtGetBitOffset(&ctxt), ctxt.bufSize * 8) << room;
         const Octets octets(ctxt.bufData, ctxt.bufData + coded.octets.size());
         ASSERT_EQ(hexFromOctets(octets), hexFromOctets(coded.octets)) << room;
         ctxt.flags &= ~RTX_CTXT_RAW_TAIL;
         rtxMemReset(&ctxt);
         rtxErrReset(&ctxt);
      }
      rtxMemReset(&fixed.ctxt);
   }
}

// A record in fresh pages of its own, which the system counts once they are read or written.
class Pages {
public:
   explicit Pages(size_t size)
         : size_((size + kPage - 1) / kPage * kPage),
           memory_(mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
      madvise(memory_, size_, MADV_NOHUGEPAGE);
   }
   ~Pages() { munmap(memory_, size_); }
   Pages(const Pages&) = delete;
   Pages& operator=(const Pages&) = delete;
   void* get() { return memory_; }
   size_t count() const { return size_ / kPage; }
   size_t touched() const {
      std::vector<unsigned char> resident(count());
      EXPECT_EQ(mincore(memory_, size_, resident.data()), 0);
      return static_cast<size_t>(std::count(resident.begin(), resident.end(), 1));
   }

private:
   inline static const size_t kPage = static_cast<size_t>(sysconf(_SC_PAGESIZE));
   size_t size_;
   void* memory_;
};

// A record is as large as its bounds make it, 300,000 octets and more. The initialiser goes to the counts and
// presence bits in it, the others no further than the message fills it.
TEST(Records, AreTouchedNoFurtherThanFilled) {
   const struct {
      const char* type;
      const char* hex;
   } cases[] = {
         {"TS24501Msg_RegAccept", "0101"},
         {"TS24501Msg_CfgUpdateCmd", "D1"},
         {"TS24301Msg_TrkAreaUpdAccept", "00"},
         {"TS24501IE_NSAGInformation", "0006050102010105"}, // one entry of 32
         {"TS24501IE_CipheringKeyData",                     // one of 16
          "002900112233445566778899AABBCCDDEEFF0201020180024020221120010203000078070009F107000001"},
   };
   for (const auto& c : cases) {
      SCOPED_TRACE(c.type);
      const QuorvaType& type = *quorvaFindType(c.type);
      Capture capture(kTextRoom);
      Pages record(type.size);
      type.init(record.get());
      const size_t initialised = record.touched();
      EXPECT_LE(initialised * 4, record.count());
      std::vector<uint8_t> octets = octetsFromHex(c.hex);
      EXPECT_EQ(decode(capture.ctxt, type, octets, record.get()), 0);
      EXPECT_EQ(encode(capture.ctxt, type, record.get()).octets, octets);
      EXPECT_NE(textOf(capture, type, record.get()), "");
      EXPECT_LE(record.touched(), initialised + 1);
   }
}

TEST(Sample, TwiceTheSame) {
   for (auto* type : allTypes()) {
      if (!type->sample || !type->print) continue;
      Capture capture(kTextRoom);
      void* first = type->sample(&capture.ctxt);
      void* second = type->sample(&capture.ctxt);
      EXPECT_NE(first, second) << type->name;
      EXPECT_EQ(textOf(capture, *type, first), textOf(capture, *type, second)) << type->name;
   }
}

TEST(Sample, FailsCleanlyWithoutMemory) {
   for (auto* type : allTypes()) {
      if (!type->sample) continue;
      SCOPED_TRACE(type->name);
      for (size_t failAt = 1;; ++failAt) {
         system_memory::reset();
         RtxContext ctxt;
         ASSERT_EQ(system_memory::init(&ctxt), 0);
         // Each allocation is one of the system's own.
         rtxMemHeapSetFlags(&ctxt, RTX_MH_RAW_ONLY);
         system_memory::failAt = system_memory::calls + failAt;
         void* sample = type->sample(&ctxt);
         const bool failed = system_memory::failures != 0;
         EXPECT_EQ(sample == nullptr, failed);
         rtFreeContext(&ctxt);
         EXPECT_EQ(system_memory::live, 0u);
         if (!failed) break;
      }
   }
}

// Lines of a print that show spare bits, as name and value.
std::vector<std::string> spareLines(const std::string& text) {
   std::vector<std::string> lines;
   std::istringstream all(text);
   for (std::string line; std::getline(all, line);) {
      const size_t start = line.find_first_not_of(' ');
      if (line.compare(start, 5, "spare") == 0 && line.find(" = ") != std::string::npos &&
          line.compare(start, 9, "spareBits") != 0) // a string
         lines.push_back(line.substr(start));
   }
   return lines;
}

// What was in the memory of a record does not go out on the wire with its spare bits.
TEST(Init, ClearsSpareBits) {
   size_t lines = 0;
   for (auto* type : allTypes()) {
      if (!type->init || !type->print) continue;
      Capture capture(kTextRoom);
      Room place(*type, 0xFF);
      for (const std::string& line : spareLines(textOf(capture, *type, place.get()))) {
         ++lines;
         EXPECT_TRUE(line.ends_with(" = 0") || line.ends_with(" = false")) << type->name << ": " << line;
      }
   }
   EXPECT_GT(lines, 100u);
}

TEST(Init, EmptyRecordsPrint) {
   for (auto* type : allTypes()) {
      if (!type->init || !type->print) continue;
      Capture capture(kTextRoom);
      for (int fill : {0x00, 0xFF}) {
         Room place(*type, fill);
         EXPECT_EQ(type->init(place.get()), 0) << type->name;
         (void)textOf(capture, *type, place.get());
      }
   }
}

} // namespace
