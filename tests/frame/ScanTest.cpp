// Messages: optional elements, their scan, and a message inside another one.
#include "src/frame/scan.h"
#include "tests/frame/elements.h"
#include "tests/frame/frameTest.h"

using namespace quorva::test;

namespace {

// A message with an optional element of each class; the last two in a group.
struct Message {
   struct {
      uint8_t tlvPresent : 1;
      uint8_t tvPresent : 1;
      uint8_t halfPresent : 1;
      uint8_t group1Present : 1;
      uint8_t tPresent : 1;
      uint8_t tlvePresent : 1;
   } m;
   uint8_t first;
   LvRecord tlv;
   uint16_t tv;
   uint32_t half;
   TailRecord tlve;
};

// One optional element of a message: its decoder, then its presence bits.
#define ELEMENT(IEI, K, FORMAT, OCTETS, DECODE, ...)                                                         \
   case IEI:                                                                                                 \
      if (scan.expects(K)) {                                                                                 \
         L3_TRY(DECODE);                                                                                     \
         __VA_ARGS__;                                                                                        \
         scan.took(K);                                                                                       \
      } else {                                                                                               \
         L3_TRY(scan.drop(d, Format::FORMAT, OCTETS));                                                       \
      }                                                                                                      \
      break;

int decMessage(RtxContext* pctxt, Message* pvalue) {
   Decoder d(pctxt, kSource);
   L3_TRY(d.begin("Message"));
   pvalue->m = {};
   L3_TRY(d.fields(integer<8>("first", pvalue->first)));
   Scan scan(1u << 9, false);
   while (scan.next(d)) {
      switch (scan.iei()) {
         ELEMENT(0x21, 0, TLV, 0, d.item("tlv", decLv, &pvalue->tlv),
                     pvalue->m.tlvPresent = 1)
         ELEMENT(0x32, 1, TV, 2, d.fields(integer<16>("tv", pvalue->tv)), pvalue->m.tvPresent = 1)
         ELEMENT(0x09, 2, HalfOctet, 0, d.fields(value<Mode>("half", pvalue->half)),
                     pvalue->m.halfPresent = 1)
         ELEMENT(0xA4, 3, T, 0, d.nothing("t"), pvalue->m.group1Present = 1, pvalue->m.tPresent = 1)
         ELEMENT(0x75, 4, TLVE, 0, d.item("tlve", decTail, &pvalue->tlve),
                     pvalue->m.group1Present = 1, pvalue->m.tlvePresent = 1)
      default: L3_TRY(scan.unknown(d)); break;
      }
   }
   return scan.finish(d);
}

// Its elements can leave the flag of the open tail set: `tlve` does here.
int encMessage(RtxContext* pctxt, Message* pvalue) {
   Encoder e(pctxt, kSource);
   L3_TRY(e.begin("Message"));
   L3_TRY(e.fields(integer<8>("first", pvalue->first)));
   if (pvalue->m.tlvePresent && !e.tailOpen()) {
      L3_TRY(e.iei<8>("tlve", 0x75));
      L3_TRY(e.tail(nullptr, pvalue->tlve.contents));
      e.pop();
   }
   if (pvalue->m.tlvPresent && !e.tailOpen()) L3_TRY(e.optional<8>("tlv", 0x21, encLv, &pvalue->tlv));
   if (pvalue->m.halfPresent && !e.tailOpen()) L3_TRY(e.optional<4>("half", 0x9, encMode, pvalue->half));
   if (pvalue->m.group1Present && !e.tailOpen()) {
      if (pvalue->m.tPresent && !e.tailOpen()) L3_TRY(e.optional<8>("t", 0xA4));
   }
   return e.done();
}

std::string presence(const Message& message) {
   std::string text;
   if (message.m.tlvPresent) text += "tlv ";
   if (message.m.tvPresent) text += "tv ";
   if (message.m.halfPresent) text += "half ";
   if (message.m.group1Present) text += "group ";
   if (message.m.tPresent) text += "t ";
   if (message.m.tlvePresent) text += "tlve ";
   return text;
}

struct Case {
   const char *what, *hex, *state, *present;
};

void check(const Case& test) {
   Message message;
   EXPECT_EQ(decoded(test.hex,
                     [&](RtxContext* c) {
                        std::memset(&message, 0xFF, sizeof message);
                        return decMessage(c, &message);
                     }),
             test.state)
         << test.what << ": " << test.hex;
   EXPECT_EQ(presence(message), test.present) << test.what;
}

} // namespace

TEST(Scan, ElementsInOrder) {
   const Case cases[] = {
         {"mandatory part alone", "01", "0 @1.0", ""},
         {"all", "01 21020102 320304 95 a4 75000109", "0 @14.0", "tlv tv half group t tlve "},
         {"gaps", "01 95 75000109", "0 @6.0", "half group tlve "},
         {"end ahead of an IEI", "01 320304", "0 @4.0", "tv "},
         {"end behind the IEI", "01 21", "-2 @2.0 names=Message.tlv.length level=2 errors=-2", ""},
         {"end in a value", "01 3203", "-2 @2.0 names=Message.tv level=1 errors=-2", ""},
         {"a failure of an element", "01 210101 02 03", "-66 @5.0 names=Message.tlv level=1 in=1 errors=-66",
          ""},
         {"half octet, value out of its set", "01 91", "-4 @2.0 names=Message.half level=1 errors=-4", ""},
         {"its IEI as a whole octet: the value stands in the next one", "01 09 50", "0 @2.4", "half "},
         {"failed mandatory part", "", "-2 @0.0 names=Message.first level=1 errors=-2", ""},
   };
   for (const Case& test : cases) check(test);
}

TEST(Scan, ElementsOutOfOrderAreDropped) {
   const Case cases[] = {
         {"TLV is skipped", "01 95 21020102 a4", "0 @7.0", "half group t "},
         {"repeated TLV", "01 21020102 21020304 95", "0 @10.0", "tlv half "},
         {"TV is skipped", "01 95 320304 a4", "0 @6.0", "half group t "},
         {"T takes nothing", "01 a4 a4 75000109", "0 @7.0", "group t tlve "},
         {"TLV-E stays in the input", "01 75000109 75000109", "-67 @9.0 errors=-67 parms=0", "group tlve "},
         // 9-: the value nibble and all that follows straddle two octets.
         {"half octet stays in the input", "01 a4 95 a4", "-2 @3.4 names=Message errors=-2", "group t "},
         {"half octet: 5a 01 cc", "01 95 95 a0 1c c0", "0 @5.4", "half "},
         {"half octet in the low nibble", "01 a4 97 50 00 10 9f", "0 @6.4", "group t tlve "},
         {"skip beyond the end", "01 95 2109 01", "-2 @13.0 names=Message errors=-2", "half "},
         {"length not there", "01 95 21", "-2 @3.0 names=Message errors=-2", "half "},
   };
   for (const Case& test : cases) check(test);
}

TEST(Scan, UnknownElements) {
   const Case cases[] = {
         {"bit 8: one octet", "01 80 f1 95", "0 @4.0", "half "},
         {"low nibble", "01 31020102 95", "0 @6.0", "half "},
         {"low nibble clear: reported at the end", "01 30020102 95", "-67 @6.0 errors=-67 parms=48", "half "},
         {"no contents", "01 3000 95", "-67 @4.0 errors=-67 parms=48", "half "},
         {"repeated directly", "01 3000 3000", "-67 @5.0 errors=-67 parms=48", ""},
         {"another one", "01 3000 4000", "-50 @5.0 errors=-67,-67 parms=48,64", ""},
         {"repeated behind something else", "01 3000 95 3000", "-50 @6.0 errors=-67,-67 parms=48,48",
          "half "},
         {"repeated behind one dropped", "01 95 3000 320000 3000", "-50 @9.0 errors=-67,-67 parms=48,48",
          "half "},
         {"length not there", "01 31", "-2 @2.0 names=Message errors=-2", ""},
         {"contents not there", "01 300201", "-2 @5.0 names=Message errors=-2", ""},
         {"a failure behind it", "01 3000 21",
          "-50 @4.0 names=Message.tlv.length level=2 errors=-67,-2,-50 parms=48", ""},
   };
   for (const Case& test : cases) check(test);
}

TEST(Scan, Trace) {
   Message message;
   std::string trace;
   decoded(
         "01 95 320304 3000 a4", [&](RtxContext* c) { return decMessage(c, &message); }, &trace);
   EXPECT_EQ(trace, "Message.first INTEGER 8; Message IEI 4; Message.half ENUMERATED 4; Message IEI 8; "
                    "Message IEI 8; Message IEI 8")
         << "what is dropped has no field";
}

TEST(Scan, Encoder) {
   const uint8_t octets[] = {7, 8};
   Message message{};
   message.first = 1, message.tlv.a = 2, message.tlv.b = 3, message.half = 5;
   message.tlve.contents = {2, octets};
   const auto encode = [&](RtxContext* c) { return encMessage(c, &message); };
   std::string trace;
   message.m.tlvPresent = message.m.halfPresent = message.m.tPresent = 1;
   EXPECT_EQ(encoded(encode, 64, &trace), "0121020203"
                                          "95")
         << "the group's bit is clear";
   EXPECT_EQ(trace, "Message.first INTEGER 8; Message.tlv.length INTEGER 8; Message.tlv.a INTEGER 8; "
                    "Message.tlv.b INTEGER 8; Message.half ENUMERATED 4")
         << "an IEI has no field";
   message.m.group1Present = 1;
   EXPECT_EQ(encoded(encode), "012102020395a4");
   EXPECT_EQ(encoded(encode, 5), "-1 @5.0 names=Message.half level=1 errors=-1 wrote 0121020203");
   message.m.tlvePresent = 1;
   EXPECT_EQ(encoded(encode), "0 @4.0 tail wrote 01750708") << "nothing more behind an open tail";
   // No message clears the flag: it takes the optional elements of the next message of the context too.
   message.m.tlvePresent = 0;
   TestContext context;
   context.encode();
   rtxCtxtSetFlag(context, RTX_CTXT_RAW_TAIL);
   EXPECT_EQ(encMessage(context, &message), 0);
   EXPECT_EQ(context.written(), "01");
   EXPECT_NE(context->flags & RTX_CTXT_RAW_TAIL, 0u);
   rtxCtxtClearFlag(context, RTX_CTXT_RAW_TAIL);
   rtxCtxtSetBufPtr(context, context->bufData, context->bufSize);
   EXPECT_EQ(encMessage(context, &message), 0);
   EXPECT_EQ(context.written(), "012102020395a4");
}

TEST(Scan, WithoutOptionalElements) {
   const auto decode = [](RtxContext* c) -> int {
      Decoder d(c, kSource);
      L3_TRY(d.begin("Short"));
      L3_TRY(d.nonImperative(0));
      return d.ended();
   };
   EXPECT_EQ(decoded("", decode), "0 @0.0");
   EXPECT_EQ(decoded("80 290100", decode), "0 @4.0");
   EXPECT_EQ(decoded("090100", decode),
             "-60 @2.0 names=Short errors=-60 parms=comprehension required on unknown IEI");
}

TEST(Message, InsideAnother) {
   // What the inner message reports is no failure; if it stopped, it is.
   Message inner;
   uint8_t behind = 0;
   const auto decode = [&](RtxContext* c) -> int {
      Decoder d(c, kSource);
      L3_TRY(d.begin("Outer"));
      Length length;
      uint8_t octets = 0;
      L3_TRY(d.open<8>("length", octets, Limits{}, length));
      L3_TRY(d.message("inner", decMessage, &inner));
      L3_TRY(d.close(length));
      L3_TRY(d.fields(integer<8>("behind", behind)));
      return d.ended(messageStatus(c));
   };
   EXPECT_EQ(decoded("02 01 95 33", decode), "0 @4.0");
   EXPECT_EQ(decoded("03 01 3000 33", decode), "-67 @5.0 errors=-67 parms=48");
   EXPECT_EQ(behind, 0x33);
   EXPECT_EQ(decoded("02 01 91 33", decode), "-4 @3.0 names=Outer.inner.half level=2 in=1 errors=-4");
}
