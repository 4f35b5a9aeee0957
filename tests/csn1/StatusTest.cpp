// What structures say to records that the grammar does not have, and what they leave in the trace.
#include "quorva/Toy.h"
#include "tests/frame/frameTest.h"

using namespace quorva::test;

namespace {

// The state in which an encoder leaves the context of a changed sample, in both forms.
template <class Record>
std::string refusal(Record* (*sample)(RtxContext*), int (*encode)(RtxContext*, Record*),
                    void (*change)(Record&)) {
   const std::string text = encoded([=](RtxContext* context) {
      Record* record = sample(context);
      change(*record);
      return encode(context, record);
   });
   return text.substr(0, text.find(" wrote"));
}

#define REFUSAL(TYPE, CHANGE)                                                                                \
   refusal<Toy_##TYPE>(asn1Test_Toy_##TYPE, NASEnc_Toy_##TYPE, [](Toy_##TYPE& record) { CHANGE; })

TEST(ToyStatus, EncodersRefuse) {
   EXPECT_EQ(REFUSAL(Fixed, record.a = 4), "-16 @0.0 names=Fixed.a level=1");
   EXPECT_EQ(REFUSAL(Fixed, record.b = 3), "-16 @1.5 names=Fixed.b level=1");
   EXPECT_EQ(REFUSAL(Flags, record.a = 8), "-16 @0.0 names=Flags.a level=1");
   EXPECT_EQ(REFUSAL(Flags, record.colour = 3), "-4 @3.1 names=Flags.colour level=1 errors=-4");
   EXPECT_EQ(REFUSAL(Choices, record.even.t = 0), "-9 @0.0 names=Choices.even level=1 errors=-9");
   EXPECT_EQ(REFUSAL(Choices, record.own.t = 5), "-9 @0.5 names=Choices.own level=1 errors=-9");
   EXPECT_EQ(REFUSAL(Choices, record.high.t = 3), "-9 @1.2 names=Choices.high level=1 errors=-9");
   // Strings of another size than told, and too few entries.
   EXPECT_EQ(REFUSAL(Sizes, record.text.numbits = 16), "-16 @4.4 names=Sizes.text level=1");
   EXPECT_EQ(REFUSAL(Sizes, record.own.numbits = 29), "-16 @4.6 names=Sizes.own level=1");
   EXPECT_EQ(REFUSAL(Sizes, record.octs.numocts += 1), "-16 @5.0 names=Sizes.octs level=1");
   EXPECT_EQ(REFUSAL(Sizes, record.some.n -= 1), "-16 @0.3 names=Sizes.some level=1");
   EXPECT_EQ(REFUSAL(Outer, record.width = 7), "-16 @0.6 names=Outer.parts.elem[0].b level=3 errors=-16");
   EXPECT_EQ(REFUSAL(Lists, record.ones.elem[0] = 32),
             "-16 @0.1 names=Lists.ones.elem[0] level=2 errors=-16");
   EXPECT_EQ(REFUSAL(Lists, record.zeros.elem = nullptr), "-47 @1.5 names=Lists.zeros level=1 errors=-47");
   // Contents that the width of the length does not tell.
   static uint8_t many[90];
   EXPECT_EQ(REFUSAL(Lengths, record.d.n = 20; record.d.elem = many), "-16 @14.6 names=Lengths");
   EXPECT_EQ(REFUSAL(Lengths, record.f.n = 90; record.f.elem = many), "-16 @73.2 names=Lengths");
}

// Bits that lead an entry stand outside of it, those that lead a part in what holds it.
TEST(ToyStatus, Trace) {
   std::string trace;
   const auto lists = [](RtxContext* context) {
      Toy_Lists record;
      asn1Init_Toy_Lists(&record);
      return NASDec_Toy_Lists(context, &record);
   };
   EXPECT_EQ(decoded("D49338E500", lists, &trace), "0 @4.1");
   EXPECT_EQ(
         trace,
         "Lists.ones ext bit 1; Lists.ones.elem[0] INTEGER 5; Lists.ones eol bit 1; Lists.zeros ext bit 1; "
         "Lists.zeros.elem[0].a INTEGER 2; Lists.zeros.elem[0] optional bit 1; Lists.zeros eol bit 1; "
         "Lists.highs ext bit 1; Lists.highs.elem[0].c INTEGER 3; Lists.highs.elem[0] optional bit 1; "
         "Lists.highs eol bit 1; Lists.inner ext bit 1; Lists.inner.elem[0].e eol bit 1; "
         "Lists.inner.elem[0].f eol bit 1; Lists.inner eol bit 1; Lists.marks ext bit 1; "
         "Lists.marks.elem[0] ENUMERATED 1; Lists.marks eol bit 1; Lists.pairs ext bit 1; "
         "Lists.pairs.elem[0].left INTEGER 3; Lists.pairs.elem[0] optional bit 1; "
         "Lists.pairs.elem[0].right INTEGER 2; Lists.pairs eol bit 1");
   const auto choices = [](RtxContext* context) {
      return NASEnc_Toy_Choices(context, asn1Test_Toy_Choices(context));
   };
   EXPECT_EQ(encoded(choices, 512, &trace), "01b79dc1");
   EXPECT_EQ(trace,
             "Choices.even choice selector 2; Choices.even.a INTEGER 3; Choices.own choice selector 1; "
             "Choices.own.c INTEGER 4; Choices.high choice selector 1; Choices.high.f INTEGER 3; "
             "Choices.four choice selector 2; Choices.four.h INTEGER 1; Choices.texts choice selector 2; "
             "Choices.texts.t ext bit 1; Choices.texts.t.elem[0] INTEGER 3; Choices.texts.t ext bit 1; "
             "Choices.texts.t.elem[1] INTEGER 3; Choices.texts.t eol bit 1; Choices.nest choice selector 1; "
             "Choices.nest.choice-1 choice selector 1; Choices.nest.choice-1.n INTEGER 2");
}

} // namespace
