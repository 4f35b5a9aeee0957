// Fields, lengths, repetitions, strings and choices, each in the short and in the full form.
#include "tests/frame/elements.h"
#include "tests/frame/frameTest.h"
#include "tests/support/systemMemory.h"

using namespace quorva::test;

namespace {

// Fields of every width and kind in one row.
struct Row {
   uint8_t flag;
   uint8_t three;
   uint32_t mode;
   uint16_t ten;
   uint8_t octet;
   uint16_t two;
   uint32_t three8, four;
   PairRecord pair;
};

int encRow(RtxContext* c, Row* r) {
   Encoder e(c, kSource);
   L3_TRY(e.begin("Row"));
   L3_TRY(e.fields(flag("flag", r->flag), integer<3>("three", r->three), value<Mode>("mode", r->mode)));
   L3_TRY(e.fields(group("group", integer<10>("ten", r->ten), integer<8>("octet", r->octet)),
                   integer<16>("two", r->two)));
   L3_TRY(e.fields(integer<24>("three8", r->three8)));
   L3_TRY(e.fields(integer<32>("four", r->four), integer<6>("six", r->three)));
   L3_TRY(e.fields(record<Pair>("pair", r->pair)));
   return e.done();
}
int decRow(RtxContext* c, Row* r) {
   Decoder d(c, kSource);
   L3_TRY(d.begin("Row"));
   L3_TRY(d.fields(flag("flag", r->flag), integer<3>("three", r->three), value<Mode>("mode", r->mode)));
   L3_TRY(d.fields(group("group", integer<10>("ten", r->ten), integer<8>("octet", r->octet)),
                   integer<16>("two", r->two)));
   L3_TRY(d.fields(integer<24>("three8", r->three8)));
   L3_TRY(d.fields(integer<32>("four", r->four), integer<6>("six", r->three)));
   L3_TRY(d.fields(record<Pair>("pair", r->pair)));
   return d.done();
}

Row sampleRow() {
   return {2, 5, 14, 0x3FF, 0x55, 0x6123, 0x20205012, 0x34567891, {6, 5, 1}};
}

} // namespace

TEST(Fields, OneRunAfterTheOther) {
   Row row = sampleRow();
   std::string encTrace, decTrace;
   const std::string hex = encoded([&](RtxContext* c) { return encRow(c, &row); }, 64, &encTrace);
   Row back{};
   EXPECT_EQ(decoded(
                   hex, [&](RtxContext* c) { return decRow(c, &back); }, &decTrace),
             "0 @14.0");
   EXPECT_EQ(encTrace, decTrace);
   EXPECT_EQ(decTrace, "Row.flag BOOLEAN 1; Row.three INTEGER 3; Row.mode ENUMERATED 4; "
                       "Row.group.ten INTEGER 10; Row.group.octet INTEGER 8; Row.two INTEGER 16; "
                       "Row.three8 INTEGER 24; Row.four INTEGER 32; Row.six INTEGER 6; "
                       "Row.pair.mode ENUMERATED 4; Row.pair.count INTEGER 3; Row.pair.on BOOLEAN 1");
   EXPECT_EQ(back.flag, 1) << "any value but 0 is 1";
   EXPECT_EQ(back.three8, 0x205012u) << "the high octet of an integer of 24 bits is lost";
   EXPECT_EQ(std::tie(back.three, back.mode, back.ten, back.octet, back.two, back.four, back.pair.mode,
                      back.pair.count, back.pair.on),
             std::tie(row.three, row.mode, row.ten, row.octet, row.two, row.four, row.pair.mode,
                      row.pair.count, row.pair.on));
}

TEST(Fields, EncoderTestsAheadOfTheWrite) {
   const struct {
      const char* what;
      void (*spoil)(Row& row);
      const char* state;
   } cases[] = {
         {"bits", [](Row& r) { r.three = 8; }, "-16 @0.1 names=Row.three level=1"},
         {"enumeration: the caller logs", [](Row& r) { r.mode = 4; },
          "-4 @0.4 names=Row.mode level=1 errors=-4"},
         {"enumeration beyond its width", [](Row& r) { r.mode = 16; },
          "-4 @0.4 names=Row.mode level=1 errors=-4"},
         {"inside a group", [](Row& r) { r.ten = 0x400; }, "-16 @1.0 names=Row.group.ten level=2"},
         {"lower bound", [](Row& r) { r.pair.count = 0; },
          "-16 @13.4 names=Row.pair.count level=2 errors=-16"},
   };
   for (const auto& test : cases) {
      Row row = sampleRow();
      test.spoil(row);
      const std::string result = encoded([&](RtxContext* c) { return encRow(c, &row); });
      EXPECT_EQ(result.substr(0, result.find(" wrote")), test.state) << test.what;
   }
}

TEST(Fields, DecoderTestsBehindTheStore) {
   const struct {
      const char *what, *hex, *state;
      uint32_t mode;
      uint8_t count, on;
   } cases[] = {
         {"all is well", "5b", "0 @1.0", 5, 5, 1},
         {"a bad value stays, what follows is not touched", "1b", "-4 @0.4 names=Pair.mode level=1 errors=-4",
          1, 0xEE, 0xEE},
         {"a bound", "5d", "-16 @0.7 names=Pair.count level=1", 5, 6, 0xEE},
         {"nothing there", "", "-2 @0.0 names=Pair.mode level=1 errors=-2", 0xEEEEEEEE, 0xEE, 0xEE},
   };
   for (const auto& test : cases) {
      PairRecord pair;
      EXPECT_EQ(decoded(test.hex,
                        [&](RtxContext* c) {
                           std::memset(&pair, 0xEE, sizeof pair);
                           return decPair(c, &pair);
                        }),
                test.state)
            << test.what;
      EXPECT_EQ(std::tie(pair.mode, pair.count, pair.on), std::tie(test.mode, test.count, test.on))
            << test.what;
   }
}

TEST(Fields, RunsEndWithTheBuffer) {
   Row row = sampleRow();
   const std::string hex = encoded([&](RtxContext* c) { return encRow(c, &row); });
   for (size_t octets = 0; octets < 14; ++octets) {
      Row back{};
      EXPECT_EQ(
            decoded(hex.substr(0, 2 * octets), [&](RtxContext* c) { return decRow(c, &back); }).substr(0, 3),
            "-2 ")
            << octets;
      EXPECT_EQ(encoded([&](RtxContext* c) { return encRow(c, &row); }, octets).substr(0, 3), "-1 ")
            << octets;
   }
}

TEST(Fields, WhatStandsBehindTheCursorInItsOctet) {
   // A flag is ORed in, an integer below an octet clears the rest: both forms alike.
   Row row{};
   EXPECT_EQ(encoded([&](RtxContext* c) {
                c->bufBitsLeft = 5;
                Encoder e(c, kSource);
                return e.fields(flag("flag", row.flag), flag("flag", row.flag));
             }).substr(0, 7),
             "0 @0.5 ");
   EXPECT_EQ(encoded([&](RtxContext* c) {
                c->bufBitsLeft = 4;
                Encoder e(c, kSource);
                return e.fields(integer<2>("two", row.flag), integer<2>("two", row.flag));
             }),
             "e0");
}

TEST(Fields, ArmsLogBounds) {
   uint8_t value = 9;
   const auto encode = [&](RtxContext* c) {
      return Encoder(c, kSource).fields(armInteger<3>("value", value));
   };
   EXPECT_EQ(encoded(encode), "-16 @0.0 names=value level=1 errors=-16 parms=value,9 wrote ");
   const auto decode = [&](RtxContext* c) {
      return Decoder(c, kSource).fields(armInteger<8, 1, 3>("value", value));
   };
   EXPECT_EQ(decoded("04", decode), "-16 @1.0 names=value level=1 errors=-16 parms=value,4");
}

TEST(Length, Encoder) {
   LvRecord r{};
   r.a = 1, r.b = 2, r.octet3 = {3, 0x0405}, r.octet4 = 6;
   const auto encode = [&](RtxContext* c) { return encLv(c, &r); };
   std::string trace;
   EXPECT_EQ(encoded(encode, 64, &trace), "020102");
   EXPECT_EQ(trace, "Lv.length INTEGER 8; Lv.a INTEGER 8; Lv.b INTEGER 8");
   EXPECT_EQ(r.length, 2);
   r.m.octet3Present = 1;
   EXPECT_EQ(encoded(encode), "050102030405");
   r.m.octet4Present = 1;
   EXPECT_EQ(encoded(encode), "-16 @7.0 names=Lv wrote 06010203040506") << "tested when all is written";
   EXPECT_EQ(encoded(encode, 0), "-1 @0.0 names=Lv.length level=1 errors=-1 wrote ");
   EXPECT_EQ(encoded(encode, 3).substr(0, 26), "-1 @3.0 names=Lv.octet3.c ");
}

TEST(Length, Decoder) {
   const struct {
      const char *what, *hex, *state, *present;
   } cases[] = {
         {"mandatory part", "02 01 02", "0 @3.0", "--"},
         {"all", "06 01 02 03 04 05 06", "0 @7.0", "34"},
         {"without octet 4", "05 01 02 03 04 05 ff", "0 @6.0", "3-"},
         {"surplus is skipped", "08 01 02 03 04 05 06 07 08 ff", "0 @9.0", "34"},
         {"bound ahead of everything else", "00 01", "-16 @1.0 names=Lv.length level=1", "--"},
         {"upper bound", "0a 01 02 03 04 05 06", "-16 @1.0 names=Lv.length level=1", "--"},
         {"behind a mandatory element", "01 01 02 03", "-66 @3.0 names=Lv in=1 errors=-66", "--"},
         {"ends inside a group", "04 01 02 03 04 05 06", "-66 @6.0 names=Lv in=1 errors=-66", "3-"},
         {"cut in a group", "05 01 02 03 04", "-2 @4.0 names=Lv.octet3.d level=2 in=1 errors=-2", "--"},
         {"no length", "", "-2 @0.0 names=Lv.length level=1 errors=-2", "--"},
         // Nobody asks for what lies beyond the buffer.
         {"length beyond the buffer", "09 01 02 03 04 05 06", "0 @10.0", "34"},
   };
   for (const auto& test : cases) {
      LvRecord r;
      EXPECT_EQ(decoded(test.hex,
                        [&](RtxContext* c) {
                           std::memset(&r, 0xFF, sizeof r);
                           return decLv(c, &r);
                        }),
                test.state)
            << test.what;
      const std::string present = {r.m.octet3Present ? '3' : '-', r.m.octet4Present ? '4' : '-'};
      EXPECT_EQ(present, test.present) << test.what;
      EXPECT_TRUE(*test.hex != 0 || r.length == 0xFF) << "what was not read is not stored";
   }
   std::string trace;
   LvRecord r;
   decoded(
         "00", [&](RtxContext* c) { return decLv(c, &r); }, &trace);
   EXPECT_EQ(trace, "Lv.length INTEGER 0") << "a field that failed its bound stays open";
   decoded(
         "04 01 02 03 04 05", [&](RtxContext* c) { return decLv(c, &r); }, &trace);
   EXPECT_EQ(trace, "Lv.length INTEGER 8; Lv.a INTEGER 8; Lv.b INTEGER 8; Lv.octet3.c INTEGER 8; "
                    "Lv.octet3.d INTEGER 16");
}

TEST(Length, FourBits) {
   // Length and cause share an octet; the cause is neither in the container nor counted.
   struct {
      uint8_t length, cause;
      uint8_t a;
   } r{};
   const auto encode = [&](RtxContext* c) -> int {
      Encoder e(c, kSource);
      OpenLength length;
      L3_TRY(e.open<4>("length", length));
      L3_TRY(e.fields(integer<4>("cause", r.cause)));
      for (unsigned i = 0; i < r.a; ++i) L3_TRY(e.fields(integer<8>("a", r.a)));
      return e.closeNibble(length, r.length, Limits{1});
   };
   r = {0, 7, 2};
   EXPECT_EQ(encoded(encode), "270202");
   EXPECT_EQ(r.length, 2);
   r.a = 0;
   EXPECT_EQ(encoded(encode), "-16 @1.0 errors=-16 parms=?,0 wrote 07");
   r.a = 16; // does not fit the length
   EXPECT_EQ(encoded(encode).substr(0, 20), "-16 @17.0 errors=-16");
   const auto decode = [&](RtxContext* c) -> int {
      Decoder d(c, kSource);
      Length length;
      L3_TRY(d.openNibble("length", r.length, Limits{1}));
      L3_TRY(d.fields(integer<4>("cause", r.cause)));
      L3_TRY(d.pushContainer(r.length, length));
      L3_TRY(d.fieldsIn(length, integer<8>("a", r.a)));
      return d.close(length);
   };
   EXPECT_EQ(decoded("37 04 05 06 ff", decode), "0 @4.0");
   EXPECT_EQ(std::tie(r.length, r.cause, r.a), std::make_tuple(3, 7, 4));
   EXPECT_EQ(decoded("07", decode), "-16 @0.4 names=length level=1 errors=-16 parms=length,0");
}

TEST(Length, CountsThatItCannotTell) {
   // Octets that no length can tell are refused, not lost.
   const auto encode = [](RtxContext* c) -> int {
      Encoder e(c, kSource);
      OpenLength length;
      uint32_t count = 0;
      L3_TRY(e.open<8>("length", length));
      for (uint8_t i = 0; i < 128; ++i) {
         uint16_t two = i;
         L3_TRY(e.fields(integer<16>("two", two)));
      }
      return e.close<8>(length, count, Limits{});
   };
   EXPECT_EQ(encoded(encode).substr(0, 12), "-16 @257.0 w");
   const uint8_t zeros[256] = {};
   const RtxDynOctStr string{256, zeros};
   EXPECT_EQ(encoded([&](RtxContext* c) { return Encoder(c, kSource).counted<1>("string", string); }),
             "-16 @0.0 names=string level=1 wrote ");
}

TEST(Length, OfBits) {
   struct {
      uint8_t length, a, b;
   } r{};
   const auto decode = [&](RtxContext* c) -> int {
      Decoder d(c, kSource);
      Length length;
      L3_TRY(d.openBits<7>("length", r.length, length));
      L3_TRY(d.fieldsIn(length, integer<4>("a", r.a)));
      if (d.more()) L3_TRY(d.fields(integer<3>("b", r.b)));
      return d.closeBits(length);
   };
   EXPECT_EQ(decoded("0f 68", decode), "0 @1.6") << "7 bits";
   EXPECT_EQ(std::tie(r.a, r.b), std::make_tuple(11, 2));
   EXPECT_EQ(decoded("0b 68", decode), "-66 @1.6 in=1 errors=-66") << "5 bits";
   const auto encode = [&](RtxContext* c) -> int {
      Encoder e(c, kSource);
      OpenLength length;
      L3_TRY(e.open<7>("length", length));
      L3_TRY(e.fields(integer<4>("a", r.a), integer<3>("b", r.b)));
      L3_TRY(e.closeBits<7>(length, r.length));
      e.align();
      return 0;
   };
   EXPECT_EQ(encoded(encode), "0f68");
}

TEST(Repetition, Inline) {
   PairsRecord r{};
   r.n = 2;
   r.elem[0] = {5, 1, 0}, r.elem[1] = {6, 2, 1};
   const auto encode = [&](RtxContext* c) { return encPairs(c, &r); };
   std::string trace;
   EXPECT_EQ(encoded(encode, 64, &trace), "025265");
   EXPECT_EQ(trace.substr(trace.find("Pairs.pairs.elem[1].mode")),
             "Pairs.pairs.elem[1].mode ENUMERATED 4; Pairs.pairs.elem[1].count INTEGER 3; "
             "Pairs.pairs.elem[1].on BOOLEAN 1");
   r.elem[1].mode = 1;
   EXPECT_EQ(encoded(encode), "-4 @2.0 names=Pairs.pairs.elem[1].mode level=3 errors=-4 wrote 0052");
   for (const uint8_t n : {uint8_t{0}, uint8_t{5}}) {
      r.n = n;
      EXPECT_EQ(encoded(encode), "-16 @1.0 names=Pairs.pairs level=1 wrote 00") << "nothing of the array";
   }
   const struct {
      const char *what, *hex, *state;
      uint8_t n;
   } cases[] = {
         {"four", "04 52 52 52 52 ff", "0 @5.0", 4},
         {"bounds", "05 52 52 52 52 52", "-16 @5.0 names=Pairs.pairs level=1 in=1", 0xEE},
         {"element", "02 52 12", "-4 @2.4 names=Pairs.pairs.elem[1].mode level=3 in=1 errors=-4", 0xEE},
         {"cut", "02 52", "-2 @2.0 names=Pairs.pairs.elem[1].mode level=3 in=1 errors=-2", 0xEE},
   };
   for (const auto& test : cases) {
      std::memset(&r, 0xEE, sizeof r);
      EXPECT_EQ(decoded(test.hex, [&](RtxContext* c) { return decPairs(c, &r); }), test.state) << test.what;
      EXPECT_EQ(r.n, test.n) << test.what;
   }
}

TEST(Repetition, OnTheHeapAndCounted) {
   struct {
      uint32_t n;
      uint8_t* elem;
   } list{};
   const auto octet = [](auto& d, auto& x) { return d.fields(integer<8>(nullptr, x)); };
   std::string trace;
   EXPECT_EQ(decoded(
                   std::string(2 * 300, '1'),
                   [&](RtxContext* c) {
                      const int status =
                            Decoder(c, kSource).repeat("list", list.n, list.elem, Limits{}, octet);
                      EXPECT_EQ(list.n, 300u);
                      EXPECT_EQ(list.elem[299], 0x11);
                      return status;
                   },
                   &trace),
             "0 @300.0");
   EXPECT_EQ(trace.substr(trace.rfind(';')), "; list.elem[299] INTEGER 8");
   uint8_t n = 0, two[2];
   const auto times = [&](size_t count) {
      return decoded("01 02 03", [&](RtxContext* c) {
         return Decoder(c, kSource).repeatTimes("two", count, n, two, Limits{1}, octet);
      });
   };
   EXPECT_EQ(times(2), "0 @2.0");
   EXPECT_EQ(n, 2);
   EXPECT_EQ(times(3), "-16 @2.0 names=two level=1") << "never past the capacity";
   EXPECT_EQ(times(0), "-16 @0.0 names=two level=1");
   EXPECT_EQ(decoded("01",
                     [&](RtxContext* c) {
                        return Decoder(c, kSource).repeat("none", n, two, Limits{}, [](auto&, auto&) {
                           return 0;
                        });
                     }),
             "-16 @0.0 names=none level=1")
         << "an element that takes nothing ends the loop";
}

TEST(Repetition, LedByBits) {
   uint8_t ext = 0;
   uint32_t n = 0;
   uint8_t* elem = nullptr;
   const auto seven = [](auto& d, auto& x) { return d.fields(integer<7>(nullptr, x)); };
   for (const char* name : {static_cast<const char*>(nullptr), "octets"}) {
      const auto chain = [&](RtxContext* c) {
         return Decoder(c, kSource).repeatExt(name, n, elem, ext, seven);
      };
      EXPECT_EQ(decoded("01 02 83 04", chain), "0 @3.0");
      EXPECT_EQ(n, 3u);
      EXPECT_EQ(decoded("01 02", chain), "0 @2.0") << "an ext bit that is not there ends the list";
      EXPECT_EQ(n, 2u);
      const auto flags = [&](RtxContext* c) { return Decoder(c, kSource).repeatFlags(name, n, elem, seven); };
      EXPECT_EQ(decoded("81 82 00", flags), "0 @2.1");
      EXPECT_EQ(n, 2u);
   }
   uint8_t values[2] = {1, 2};
   std::string trace;
   EXPECT_EQ(
         encoded([&](RtxContext* c) { return Encoder(c, kSource).repeatExt("octets", 2u, values, seven); }, 9,
                 &trace),
         "0182");
   EXPECT_EQ(trace, "octets.elem[0] ext bit 1; octets.elem[0] INTEGER 7; octets.elem[1] ext bit 1; "
                    "octets.elem[1] INTEGER 7");
   EXPECT_EQ(encoded([&](RtxContext* c) -> int {
                Encoder e(c, kSource);
                L3_TRY(e.repeatFlags(nullptr, 2u, values, seven));
                e.align();
                return 0;
             }),
             "818200");
   const auto skip = [](RtxContext* c) -> int {
      uint8_t ended = 0;
      L3_TRY(Decoder(c, kSource).skipExtensions(ended));
      return Decoder(c, kSource).skipExtensions(ended); // nothing more
   };
   EXPECT_EQ(decoded("01 7f 80 00", skip), "0 @3.0");
   EXPECT_EQ(decoded("01 7f", skip), "-2 @2.0 errors=-2");
}

TEST(Strings, Counted) {
   struct {
      uint8_t numocts;
      uint8_t data[4];
   } text{};
   RtxDynOctStr heap{};
   const struct {
      const char *hex, *state;
      uint8_t numocts;
   } cases[] = {
         {"02 aa bb cc", "0 @3.0", 2},
         {"01 aa", "-16 @2.0 names=text level=1", 1},             // bounds when it has been read
         {"05 01 02 03 04 05", "-16 @6.0 names=text level=1", 0}, // capacity: passed, not stored
         {"05 01 02", "-2 @6.0 names=text level=1 errors=-2", 0},
         {"03 aa", "-2 @2.0 names=text level=1 errors=-2", 3},
         {"", "-2 @0.0 names=text level=1 errors=-2", 0},
   };
   for (const auto& test : cases) {
      text = {};
      EXPECT_EQ(
            decoded(test.hex,
                    [&](RtxContext* c) { return Decoder(c, kSource).counted<1>("text", text, Limits{2}); }),
            test.state);
      EXPECT_EQ(text.numocts, test.numocts) << test.hex;
   }
   std::string trace;
   EXPECT_EQ(decoded(
                   "00 02 aa bb",
                   [&](RtxContext* c) { return Decoder(c, kSource).counted<2>("heap", heap, Limits{}); },
                   &trace),
             "0 @4.0");
   EXPECT_EQ(trace, "heap OCTET STRING 32") << "one field for count and contents";
   // A count can't ask for memory that no octets stand for.
   EXPECT_EQ(decoded("ff ff aa",
                     [&](RtxContext* c) { return Decoder(c, kSource).counted<2>("heap", heap, Limits{}); }),
             "-2 @2.0 names=heap level=1 errors=-2");
   text = {3, {1, 2, 3, 4}};
   EXPECT_EQ(encoded([&](RtxContext* c) { return Encoder(c, kSource).counted<1>("text", text); }),
             "03010203");
   text.numocts = 5;
   EXPECT_EQ(encoded([&](RtxContext* c) { return Encoder(c, kSource).counted<1>("text", text); }),
             "-16 @0.0 names=text level=1 wrote ");
   EXPECT_EQ(encoded([&](RtxContext* c) { return Encoder(c, kSource).sized("text", 2, text); }),
             "-16 @0.0 names=text level=1 wrote ");
}

TEST(Strings, FixedOctetsAreNotLookedAt) {
   uint8_t data[4] = {1, 2, 3, 4};
   const auto decode = [&](RtxContext* c) -> int {
      Decoder d(c, kSource);
      L3_TRY(d.begin("Fixed"));
      (void)d.octets<4>("first", data);
      const int status = d.octets<2>("last", data);
      return d.done(status);
   };
   EXPECT_EQ(decoded("010203040506", decode), "0 @6.0");
   EXPECT_EQ(decoded("01020304", decode), "-2 @4.0 errors=-2") << "the names are popped all the same";
   EXPECT_EQ(data[0] | data[1], 0) << "no old memory stays";
   data[0] = 1, data[1] = 2;
   const auto encode = [&](RtxContext* c) -> int {
      Encoder e(c, kSource);
      (void)e.octets<4>("dropped", data);
      return e.octets<2>("last", data);
   };
   EXPECT_EQ(encoded(encode), "010203040102");
   EXPECT_EQ(encoded(encode, 2), "0 @2.0 errors=-1 wrote 0102");
}

TEST(Strings, OpenTail) {
   const uint8_t octets[] = {1, 2, 3};
   TailRecord r{0, 9, {3, octets}};
   const auto encode = [&](RtxContext* c) { return encTail(c, &r); };
   EXPECT_EQ(encoded(encode), "000409010203") << "the length clears the flag";
   EXPECT_EQ(encoded([&](RtxContext* c) { return Encoder(c, kSource).tail("x", r.contents); }),
             "0 @3.0 tail wrote 010203");
   const auto halfOctet = [&](RtxContext* c) -> int {
      Encoder e(c, kSource);
      OpenLength length;
      L3_TRY(e.open<8>("length", length));
      L3_TRY(e.fields(integer<4>("kind", r.kind)));
      L3_TRY(e.tail("contents", r.contents));
      return e.close<8>(length, r.length, Limits{});
   };
   EXPECT_EQ(encoded(halfOctet), "-112 @4.4 errors=-112 tail wrote 0090102030");
   r.contents.numocts = 0;
   EXPECT_EQ(encoded(halfOctet), "-112 @1.4 errors=-112 tail wrote 0090");
   r.contents.numocts = 3;
   const auto kept = [&](RtxContext* c) -> int {
      Encoder e(c, kSource);
      OpenLength length;
      L3_TRY(e.open<8>("length", length));
      L3_TRY(e.tail("contents", r.contents));
      return e.close<8, true>(length, r.length, Limits{});
   };
   EXPECT_EQ(encoded(kept), "0 @4.0 tail wrote 03010203");
   const struct {
      const char *hex, *state;
      uint32_t numocts;
   } cases[] = {
         {"0003 09 aabb cc", "0 @5.0", 2},
         {"0001 09 aabb", "0 @3.0", 0},
         {"0000 09", "-16 @2.0 names=Tail.length level=1", 77},
         {"0009 09 aabb", "-2 @3.0 names=Tail.contents level=1 in=1 errors=-2", 8},
   };
   for (const auto& test : cases) {
      EXPECT_EQ(decoded(test.hex,
                        [&](RtxContext* c) {
                           r = {0, 0, {77, octets}};
                           return decTail(c, &r);
                        }),
                test.state);
      EXPECT_EQ(r.contents.numocts, test.numocts) << test.hex;
      EXPECT_EQ(r.contents.data == octets, test.numocts != 2) << "the pointer stays unless octets were read";
   }
   std::string trace;
   decoded(
         "0001 09", [&](RtxContext* c) { return decTail(c, &r); }, &trace);
   EXPECT_EQ(trace, "Tail.length INTEGER 16; Tail.kind INTEGER 8") << "no field for an empty tail";
}

TEST(Strings, Bits) {
   const uint8_t data[] = {0xAB, 0xC0};
   RtxDynBitStr heap{10, data};
   EXPECT_EQ(encoded([&](RtxContext* c) { return Encoder(c, kSource).tailOfBits("bits", heap); }),
             "0 @1.2 tail wrote abc0");
   EXPECT_EQ(encoded([&](RtxContext* c) { return Encoder(c, kSource).restOfBits("bits", heap); }),
             "0 @1.2 wrote abc0");
   struct {
      uint8_t numbits;
      uint8_t data[1];
   } small{9, {1}};
   EXPECT_EQ(encoded([&](RtxContext* c) { return Encoder(c, kSource).tailOfBits("bits", small); }),
             "-16 @0.0 names=bits level=1 wrote ");
   std::string trace;
   EXPECT_EQ(decoded(
                   "ab c0 de",
                   [&](RtxContext* c) {
                      rtxCtxtPushContainerBits(c, 11);
                      const int status = Decoder(c, kSource).restOfBits("bits", heap);
                      EXPECT_EQ(heap.numbits, 11u);
                      EXPECT_EQ(heap.data[1], 0xC0);
                      return status;
                   },
                   &trace),
             "0 @1.3 in=1");
   EXPECT_EQ(trace, "bits BIT STRING 11");
   EXPECT_EQ(decoded("abcd", [&](RtxContext* c) { return Decoder(c, kSource).restOfBits("bits", small); }),
             "-16 @0.0 names=bits level=1");
}

TEST(Choice, BySelector) {
   struct {
      uint32_t t;
      uint8_t value;
   } r{};
   const auto encode = [&](RtxContext* c) -> int {
      Encoder e(c, kSource);
      L3_TRY(e.selector(2, r.t));
      switch (r.t) {
      case 1:
      case 3: L3_TRY(e.fields(armInteger<6>("value", r.value))); break;
      default: return e.badChoice();
      }
      return e.done();
   };
   r = {3, 5};
   std::string trace;
   EXPECT_EQ(encoded(encode, 9, &trace), "85");
   EXPECT_EQ(trace, " choice selector 2; value INTEGER 6");
   r.t = 2;
   EXPECT_EQ(encoded(encode), "-9 @0.2 errors=-9 wrote 40");
   EXPECT_EQ(decoded("85", [&](RtxContext* c) { return Decoder(c, kSource).selector(2, r.t); }), "0 @0.2");
   EXPECT_EQ(r.t, 3u);
   uint8_t bit = 0;
   EXPECT_EQ(
         decoded(
               "80", [&](RtxContext* c) { return Decoder(c, kSource).leadBit("optional bit", bit); }, &trace),
         "0 @0.1");
   EXPECT_EQ(trace, " optional bit 1");
}

TEST(Release, KnowsAndFits) {
   const struct {
      uint16_t release;
      bool five, six;
   } cases[] = {{0, true, true}, {4, false, false}, {5, true, false}, {6, true, true}, {17, true, true}};
   for (const auto& test : cases) {
      TestContext context;
      context->protocolRelease = test.release;
      const Decoder d(context, kSource);
      EXPECT_EQ(d.knows(5), test.five) << test.release;
      EXPECT_EQ(d.knows(6), test.six) << test.release;
   }
}

TEST(Names, OnlyTheOutermostTypeStands) {
   // Within an element a nested type pushes no name; an index beyond the prepared ones reads alike.
   EXPECT_EQ(decoded("",
                     [](RtxContext* c) -> int {
                        Decoder d(c, kSource);
                        L3_TRY(d.begin("Outer"));
                        L3_TRY(d.push("element"));
                        L3_TRY(d.begin("Inner"));
                        L3_TRY(d.pushIndex(255));
                        L3_TRY(d.pushIndex(256));
                        return 0;
                     }),
             "0 @0.0 names=Outer.element.elem[255].elem[256] level=3");
}

TEST(Choice, ABitAheadEndsWithTheData) {
   // Behind the one octet that is given stands a bit that nobody may see.
   uint8_t octets[] = {0x01, 0x80};
   TestContext context;
   rtxCtxtSetBufPtr(context, octets, 1);
   const Decoder full(context, kSource);
   EXPECT_EQ(full.bitAhead(8), 1u);
   EXPECT_EQ(full.bitAhead(9), 0u);
   const ShortDecoder brief(octets, octets + 1, context);
   EXPECT_EQ(brief.bitAhead(8), 1u);
   EXPECT_EQ(brief.bitAhead(9), static_cast<uint32_t>(INT32_MAX)) << "no alternative: the full form decides";
}

// An element that gave up in its short form, behind an open tail; and one that did not.
namespace {
struct Tails {
   static uint8_t* shortEncode(uint8_t* at, uint8_t* end, RtxContext* ctxt, bool fails) {
      ShortEncoder(at, end, ctxt).setTail();
      return fails ? nullptr : at + 1;
   }
};
} // namespace

TEST(ShortForm, LeavesTheFlagsWhenItGivesUp) {
   TestContext context;
   context.encode(4);
   EXPECT_FALSE(encodeShort<Tails>(context, true));
   EXPECT_EQ(context->flags & RTX_CTXT_RAW_TAIL, 0u);
   EXPECT_EQ(context.used(), 0u);
   EXPECT_TRUE(encodeShort<Tails>(context, false));
   EXPECT_NE(context->flags & RTX_CTXT_RAW_TAIL, 0u);
   EXPECT_EQ(context.used(), 1u);
}

TEST(Repetition, GrowsInOnePlace) {
   system_memory::reset();
   RtxContext context;
   ASSERT_EQ(rtxInitContextExt(&context, system_memory::alloc, system_memory::realloc, system_memory::free),
             0);
   rtxMemHeapSetFlags(&context, RTX_MH_RAW_ONLY); // each piece is one of the system's
   void* array = nullptr;
   size_t capacity = 0;
   for (size_t used = 0, whole = 0; used < 1000; used = capacity) {
      ASSERT_EQ(growArray(&context, &array, used, &capacity, sizeof(uint32_t)), 0);
      if (used == 0) whole = system_memory::live;
      EXPECT_EQ(system_memory::live, whole) << "what was there before goes back";
      auto* numbers = static_cast<uint32_t*>(array);
      for (size_t i = 0; i < used; ++i) EXPECT_EQ(numbers[i], i);
      for (size_t i = used; i < capacity; ++i) numbers[i] = static_cast<uint32_t>(i);
   }
   rtFreeContext(&context);
   EXPECT_EQ(system_memory::live, 0u);
}
