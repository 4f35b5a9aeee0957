// A module of all constructs of structures, against a model of its own: texts of bits that know of the
// pattern and of nothing else. Each runs from every place of an octet, in both forms and directions, cut
// anywhere and short of memory.
#include "quorva/Toy.h"
#include "quorva/rtxBits.h"
#include "tests/frame/forms.h"
#include "tests/support/facts.h"
#include "tests/support/systemMemory.h"

#include <random>

using namespace quorva::test;

namespace {

struct Row {
   const char *type, *bits;
   const char* leaves;          // or the status that it ends with
   const char* again = nullptr; // what is written of what was read, where that differs
   int from = -1;               // the only place that it holds from: where its end is that of the octets
};

// 0 and 1 stand for themselves, L and H for what they are at their place, P for L to the octet's end.
const Row kRows[] = {
      {"Flags", "101 1 10101 H 11 1 1 H H 1001 1 011 L 10",
       "a=5 b=21 c=3 d=true mark=high e.f=9 e.g=3 e.h=low colour=blue"},
      {"Flags", "010 0 L 0 L L 01", "a=2 mark=low colour=green"},
      {"Flags", "000 1 00001 L 1 0 L H 0000 0 H 00", "a=0 b=1 d=false mark=low e.f=0 e.h=high colour=red"},
      {"Endings", "10000001 1 1000001 H 0100001 11111110 H 1 100001 1 101 P",
       "a=129 b=65 c=33 d=254 e=high f.g=33 f.h=5"},
      {"Endings", "10000001 0 L 00000001 L 0 0 P", "a=129 d=1 e=low f={}"},
      {"Endings", "10000001", "a=129 d=0 e=low f={}", "10000001 0 L 00000000 L 0 0 P", 0},
      {"Endings", "10000001 1 1000001", "a=129 b=65 d=0 e=low f={}", "10000001 1 1000001 L 00000000 L 0 0 P",
       0},
      {"Endings", "10000001 1 1000001 H 0100001 00000011", "a=129 b=65 c=33 d=3 e=low f={}",
       "10000001 1 1000001 H 0100001 00000011 L 0 0 P", 0},
      {"Blank", "10000001 1 101 H 1 1", "a=129 b=true c=5 d=high e=true"},
      {"Blank", "10000001", "a=129 b=false c=0 d=low", "10000001 0 000 L 0", 0},

      {"Runs", "1001", "a=9", nullptr, 4},
      {"Runs", "1001 0110", "a=9 b=6", nullptr, 0},
      {"Runs", "1001 0110 10001 011", "a=9 b=6 c.d=17 c.e=3", nullptr, 0},
      {"Runs", "1001 0110 10001 011 11000011", "a=9 b=6 c.d=17 c.e=3 f=195"},
      {"Returning", "L L P", ""},
      {"Returning", "H 101 H 110000001 P", "a=5 b=385"},
      {"Returning", "", "", "L L P", 0},
      {"Returning", "H 101 H 110", "-2", nullptr, 0},
      {"Lists", "0 1 L 0 1 0", ""},
      {"Lists",
       "1 10101 1 00011 0 0 10 1 101 0 01 0 1 H 101 H 100001 H 010 L L 1 0 110 0 001 1 H 10 L 1 1 L 0 0 H 0 "
       "L 1 1 100 1 01 1 011 0 0",
       "ones[0]=21 ones[1]=3 zeros[0].a=2 zeros[0].b=5 zeros[1].a=1 highs[0].c=5 highs[0].d=33 highs[1].c=2 "
       "inner[0].e[0]=6 inner[0].e[1]=1 inner[0].f[0]=2 inner[1]={} marks[0]=high marks[1]=low "
       "pairs[0].left=4 pairs[0].right=1 pairs[1].left=3"},
      {"Lists", "0 1 L 0 1", "", "0 1 L 0 1 0", 3},
      {"_SeqOfToy_Lists_zeros_element", "0 10 1 101 0 01 0", "a=2 b=5 a=1", "0 10 1 101 0 01 0 1",
       5}, // the end of the octets ends each kind
      {"_SeqOfToy_Lists_highs_element", "H 101 H 100001 H 010 L", "c=5 d=33 c=2", "H 101 H 100001 H 010 L L",
       0},

      {"Sizes",
       "010 10001 01110 01 101 1 1001 011 0 110 001 0011 1010 110011 11000011 1010101010101010101 "
       "1100110011001100110011001 000100100011010001010110011110001001 1010010101011010",
       "n=2 some[0]=17 some[1]=14 k=1 parts[0].a=5 parts[0].b=9 parts[1].a=3 grades[0]=6 grades[1]=1 size=3 "
       "text={4,1010xxxx} own={6,110011xx} octs=0xc3 cells={19,aaaa101xxxxx} more={25,cccccc1xxxxxxx} "
       "wide={36,123456781001xxxx} fixed=0xa55a"},
      {"Sizes", "000 00 111 0 000 111 0000 1 000100100011010001010110011110001001 1010010101011010",
       "n=0 k=0 parts[0].a=7 grades[0]=0 grades[1]=7 size=0 text={1,1xxxxxxx} own={0} octs=0x cells={0} "
       "more={0} wide={36,123456781001xxxx} fixed=0xa55a"},
      {"Outer",
       "011 1 10 101 1 01 110 0 H 10101 111 000 101 10100101 11110000 00001111 00000001 00000010 00000011",
       "width=3 parts[0].a=2 parts[0].b={3,101xxxxx} parts[1].a=1 parts[1].b={3,110xxxxx} "
       "nest.c={5,10101xxx} nest.d[0]=7 nest.d[1]=0 nest.d[2]=5 times[0].e=0xa5f00f times[1].e=0x010203"},
      {"Outer", "000 1 11 0 L", "width=0 parts[0].a=3 parts[0].b={0} times[0].e=0x times[1].e=0x"},
      {"Choices", "00 101 0 1001 L 110 LL 1 00 1 110 0 0 0 11",
       "even.a=5 own.c=9 high.f=6 four.h=1 texts.t[0]=6 nest.choice_1.n=3"},
      {"Choices", "01 10 1 011 10 H 1 10001 LH 10 00 1 101 0 0 1 101",
       "even.b.x=2 even.b.y=3 own.d=<null> high.g=17 four.i=2 texts.t[0]=5 nest.choice_1.o=5"},
      {"Choices", "11 110 H 0 HL 101 H 10 01 1010 1 L 10",
       "even={} own={} high={} four.j.k=5 four.j.l=2 texts.u={4,1010xxxx} nest.choice_2.p.r=2"},
      {"Choices", "11 111 10 L 001 HH 10 10000001 11000011 1 H 1001",
       "even={} own.e.z=2 high.f=1 four.m=<null> texts.v=0x81c3 nest.choice_2.p.s=9"},
      {"Choices", "11 10 L 001 HH 110 H H H L 1 H 1001",
       "even={} own.d=<null> high.f=1 four.m=<null> texts.w=3 nest.choice_2.p.s=9"},
      {"Choices", "11 10 L 001 HL 001 L 111 1 11 1 H 1001",
       "even={} own.d=<null> high.f=1 four.j.k=1 texts.q.r=3 nest.choice_2.p.s=9"},
      {"Choices", "11 10 L 001 HL 001 L 111 0 1 H 1001",
       "even={} own.d=<null> high.f=1 four.j.k=1 texts={} nest.choice_2.p.s=9"},
      {"Plain", "0 101", "one=5"},
      {"Plain", "10 101", "two=5"},
      {"Plain", "11 1 1010 1 0101 0", "three[0]=10 three[1]=5"},
      {"Steered", "00 0", "n=0"},
      {"Steered", "10 1 101", "n=2 a=<null> b=5"},
      {"Steered", "11 0 101 01 H 1", "n=3 b=5 c.d=1 c.e=1"},
      {"Unary", "10 L 101 0", "a=2 n=0 b=5"},
      {"Unary", "10 H H H H H H H H H H H L 101 1 H L", "a=2 n=11 b=5 x.m=1"},
      {"Fixed", "101 0000 110 000 10", "a=5 grade=6 b=2"},
      {"Lengths",
       "10 00100 101 0 0 000010 1001 H 10001 L 00000 101 00000010 0101 0 1010 0000000 1 00000010 "
       "100000000001 0 000 10 0000000000000010 100000001 L 000000 1",
       "a=2 size=4 b=5 octs=2 e=9 f[0]=17 g=5 mini.length=2 mini.a=5 mini.c=10 h=1 i=2049 k=2 long=2 l=257 "
       "end=1"},
      {"Lengths",
       "10 01111 101 1 100001 1 1001 0 000001 1001 L 000 101 00000010 0101 1 1000001 1010 1 "
       "00000011 100000000001 1 10001 000000 10 0000000000000010 100000001 H 100001 1",
       "a=2 size=15 b=5 c=33 d[0]=9 octs=1 e=9 g=5 mini.length=2 mini.a=5 mini.b=65 mini.c=10 h=1 i=2049 "
       "j=17 "
       "k=2 long=2 l=257 n=33 end=1"},
      {"Mini", "00000010 1001 1 1000001 1010", "length=2 a=9 b=65 c=10"},
      {"Bare", "00000010 10 H 100000001 0000", "a=2 b=257"},
      {"Bounded", "00000011 100000000001 1 10000000001", "length=3 a=2049 b=1025"},
      {"LongOne", "0000000000000100 1001 1 100000000001 1 000000000011 0 0", "length=4 a=9 b[0]=2049 b[1]=3"},
      {"RestBits", "101 11001", "a=5 b={5,11001xxx}", nullptr, 0},
      {"RestBits", "101 1", "a=5 b={1,1xxxxxxx}", nullptr, 4},
      {"RestOwn", "00000011 10000001 10101010 11110000", "length=3 a=129 b=0xaaf0"},
      {"RestInline", "1001 10101010 11110000", "a=9 note=0xaaf0", nullptr, 4},
      {"RestList", "00000011 101 100000001 010101010 000", "length=3 a=5 b[0]=257 b[1]=170"},
      {"Alone", "1001001101011100", "cells.bits={16,935c}"},
      {"Ahead", "1001001101011100 101 1 1001", "cells.bits={16,935c} a=5 b=9"},
      {"Behind", "10 1 1001001101011100 101 0 0 1001001101011100 1",
       "a=2 cells.cells.bits={16,935c} cells.a=5 "
       "many[0].cells.bits={16,935c}"},
      {"Behind", "10 0 1", "a=2"},
      {"Padded", "H 101 H H 1010 P", "a=5 b.c=10"},
      {"Padded", "L L P", ""},

      // What the grammar does not allow, or does not hold
      {"Choices", "10 101", "-9"},
      {"Fixed", "100 0000 110 000 10", "-16"},
      {"Fixed", "101 1111 110 111 10", "a=5 grade=6 b=2", "101 0000 110 000 10"},
      {"Fixed", "101 0000 110 000 11", "-16"},
      {"Flags", "010 0 L 0 L L 11", "-4"},
      {"Lengths", "10 00000 101 0 0 000000000000", "-66"},
      {"Lengths", "10 01000 101 0 1 1001 0 000000000000", "-66"}, // a length does not end the list in it
      {"Bounded", "00000001 10000000", "-16"},
      {"Bounded", "00000101 1000000000010000 00000000 00000000 00000000", "-16"},
      {"RestInline",
       "1001 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 "
       "00000000 00000000 00000000 00000000",
       "-16", nullptr, 4},
      {"LongOne", "0000000000000010 1001 1 10000000000", "-2", nullptr, 0},
};

std::string bitsOf(const char* text, size_t from) {
   std::string bits;
   const auto low = [&] { return "00101011"[(from + bits.size()) % 8]; };
   for (; *text != '\0'; ++text) {
      if (*text == '0' || *text == '1') bits += *text;
      if (*text == 'L') bits += low();
      if (*text == 'H') bits += low() == '0' ? '1' : '0';
      if (*text == 'P')
         while ((from + bits.size()) % 8 != 0) bits += low();
   }
   return bits;
}

Octets packed(const std::string& bits) {
   Octets octets((bits.size() + 7) / 8);
   for (size_t i = 0; i < bits.size(); ++i)
      if (bits[i] == '1') octets[i / 8] = static_cast<uint8_t>(octets[i / 8] | 0x80 >> i % 8);
   return octets;
}

std::string leavesIn(Capture& capture, const QuorvaType& type, const void* value) {
   std::string all;
   for (const Leaf& leaf : leavesOf("record {\n" + textOf(capture, type, value) + "}\n")) {
      std::string text = leaf.value;
      text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
      if (leaf.path == "value") continue; // nothing in it
      all += (all.empty() ? "" : " ") + leaf.path.substr(leaf.path.find('.') + 1) + "=" + text;
   }
   return all;
}

struct Case {
   const Row& row;
   const QuorvaType& type;
   size_t from;
   std::string bits;
   Octets octets;
};

template <class Run>
void eachCase(Run run) {
   for (const Row& row : kRows) {
      const QuorvaType* type = quorvaFindType((std::string("Toy_") + row.type).c_str());
      ASSERT_NE(type, nullptr) << row.type;
      for (size_t from = 0; from < 8; ++from) {
         if (row.from >= 0 && from != static_cast<size_t>(row.from)) continue;
         SCOPED_TRACE(std::string(row.type) + " " + row.bits + " from bit " + std::to_string(from));
         const std::string bits = bitsOf(row.bits, from);
         run(Case{row, *type, from, bits, packed(std::string(from, '1') + bits)});
         if (testing::Test::HasFailure()) return;
      }
   }
}

TEST(Toy, ReadsAndWritesWhatTheModelSays) {
   eachCase([](const Case& one) {
      for (const int fill : {0x00, 0xA5}) {
         Capture capture(kTextRoom);
         Octets octets = one.octets;
         if (octets.empty()) octets.reserve(1); // no octets, not no buffer
         Room room(one.type, fill);
         rtxCtxtSetBufPtr(&capture.ctxt, octets.data(), octets.size());
         capture.ctxt.bufBitsLeft = static_cast<int16_t>(8 - one.from);
         const int status = one.type.decode(&capture.ctxt, room.get());
         if (one.row.leaves[0] == '-') {
            EXPECT_EQ(status, std::stoi(one.row.leaves));
            continue;
         }
         ASSERT_EQ(status, 0);
         EXPECT_EQ(capture.ctxt.errList.count, 0u);
         EXPECT_EQ(rtxCtxtGetBitOffset(&capture.ctxt), one.from + one.bits.size());
         EXPECT_EQ(leavesIn(capture, one.type, room.get()), one.row.leaves);

         const std::string expected = one.row.again != nullptr ? bitsOf(one.row.again, one.from) : one.bits;
         Octets output(one.octets.size() + 8, 0xFF);
         rtxCtxtSetBufPtr(&capture.ctxt, output.data(), output.size());
         rtxEncBits(&capture.ctxt, 0xFF, one.from);
         ASSERT_EQ(one.type.encode(&capture.ctxt, room.get()), 0);
         ASSERT_EQ(rtxCtxtGetBitOffset(&capture.ctxt), one.from + expected.size());
         output.resize((one.from + expected.size() + 7) / 8);
         EXPECT_EQ(hexFromOctets(output), hexFromOctets(packed(std::string(one.from, '1') + expected)));
      }
   });
}

// 255 of them are the most that the record holds.
TEST(Toy, CountsHighBitsToAnOctet) {
   const QuorvaType& type = *quorvaFindType("Toy_Unary");
   for (const size_t count : {255u, 256u})
      for (size_t from = 0; from < 8; ++from) {
         const std::string text = "10" + std::string(count, 'H') + "L 101 0";
         const Octets octets = packed(std::string(from, '1') + bitsOf(text.c_str(), from));
         Pair().decode(type, octets, static_cast<unsigned>(from));
         Capture capture;
         Room room(type, 0);
         Octets input = octets;
         rtxCtxtSetBufPtr(&capture.ctxt, input.data(), input.size());
         capture.ctxt.bufBitsLeft = static_cast<int16_t>(8 - from);
         EXPECT_EQ(type.decode(&capture.ctxt, room.get()), count == 255 ? 0 : RTX_E_OVERFLOW);
         EXPECT_EQ(static_cast<uint8_t*>(room.get())[offsetof(Toy_Unary, n)], 255);
      }
}

TEST(Toy, IsTheSameInBothForms) {
   std::mt19937 random(3);
   Pair pair;
   eachCase([&](const Case& one) {
      const auto from = static_cast<unsigned>(one.from);
      for (size_t size = 0; size <= one.octets.size(); ++size)
         pair.decode(one.type, {one.octets.begin(), one.octets.begin() + static_cast<long>(size)}, from);
      for (int turn = 0; turn < 8 && one.bits.size() != 0; ++turn) {
         Octets turned = one.octets;
         for (int n = 0; n <= turn % 3; ++n) {
            const size_t at = one.from + random() % one.bits.size();
            turned[at / 8] = static_cast<uint8_t>(turned[at / 8] ^ 0x80 >> at % 8);
         }
         if (turn % 2 != 0) turned.push_back(static_cast<uint8_t>(random()));
         pair.decode(one.type, turned, from);
      }
      pair.decode(one.type, one.octets, from);
      for (size_t room = 0; room < one.octets.size(); ++room) pair.encode(one.type, room, from, false);
   });
}

TEST(Toy, HasSamplesThatComeBack) {
   Pair pair;
   for (const QuorvaType* type : allTypes()) {
      if (type->sample == nullptr) continue;
      for (unsigned bit = 0; bit < 8; ++bit) {
         const Octets octets = pair.encode(*type, 256, bit, true);
         for (size_t size = 0; size <= octets.size(); ++size)
            pair.decode(*type, {octets.begin(), octets.begin() + static_cast<long>(size)}, bit);
         if (HasFailure()) return;
      }
   }
}

// A short form that had no memory is followed by the exact one, which may have some.
TEST(Toy, FailsCleanlyWithoutMemory) {
   eachCase([](const Case& one) {
      if (one.row.leaves[0] == '-') return;
      for (const bool onward : {false, true})
         for (size_t n = 1, calls = n; n <= calls; ++n) {
            system_memory::reset();
            RtxContext ctxt;
            ASSERT_EQ(system_memory::init(&ctxt), 0);
            rtxMemHeapSetFlags(&ctxt, RTX_MH_RAW_ONLY);
            Octets octets = one.octets;
            if (octets.empty()) octets.reserve(1);
            Room room(one.type, 0xA5);
            rtxCtxtSetBufPtr(&ctxt, octets.data(), octets.size());
            ctxt.bufBitsLeft = static_cast<int16_t>(8 - one.from);
            const size_t before = system_memory::calls;
            system_memory::failNth(n, onward);
            const int status = one.type.decode(&ctxt, room.get());
            calls = system_memory::calls - before;
            if (onward && system_memory::failures != 0) {
               EXPECT_EQ(status, RTX_E_NOMEM) << "allocation " << n;
            }
            if (status >= 0) {
               Capture capture(kTextRoom);
               EXPECT_EQ(leavesIn(capture, one.type, room.get()), one.row.leaves) << "allocation " << n;
            }
            rtxFreeContext(&ctxt);
            ASSERT_EQ(system_memory::live, 0u);
         }
   });
}

} // namespace
