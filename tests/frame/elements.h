/**
 * @file elements.h
 * Small types made by hand in the frame's words, each for a rule of its own.
 */
#ifndef QUORVA_TESTS_FRAME_ELEMENTS_H
#define QUORVA_TESTS_FRAME_ELEMENTS_H

#include "quorva/rtxBits.h"
#include "src/frame/decoder.h"
#include "src/frame/encoder.h"

namespace quorva::test {

using namespace quorva::frame;

inline const char kSource[] = "FrameTest";

/** Enumeration of 4 bits: 0 and 5 to 15. */
int encMode(RtxContext* c, uint32_t value);
int decMode(RtxContext* c, uint32_t* value);
struct Mode {
   using Record = uint32_t;
   static constexpr unsigned bits = 4;
   static constexpr LegalSet legal{{0xFFE1, 0, 0, 0}};
   static constexpr bool legalOnWire(uint32_t value) { return legal.has(value); }
   static constexpr bool legalInRecord(uint32_t value) { return legal.has(value); }
   static constexpr auto encode = &encMode;
   static constexpr auto decode = &decMode;
};
inline int encMode(RtxContext* c, uint32_t value) {
   Encoder e(c, kSource);
   L3_TRY(e.begin("Mode"));
   L3_TRY(e.enumeration<Mode>(value));
   return e.done();
}
inline int decMode(RtxContext* c, uint32_t* value) {
   Decoder d(c, kSource);
   L3_TRY(d.begin("Mode"));
   L3_TRY(d.enumeration<Mode>(*value));
   return d.done();
}

/** A record that is a run: mode, three bits, one bit. */
struct PairRecord {
   uint32_t mode;
   uint8_t count;
   uint8_t on;
};
int encPair(RtxContext* c, PairRecord* r);
int decPair(RtxContext* c, PairRecord* r);
struct Pair {
   using Record = PairRecord;
   static constexpr unsigned bits = 8;
   template <class Function>
   static L3_INLINE auto withParts(Record& r, Function function) {
      return function(value<Mode>("mode", r.mode), integer<3, 1, 5>("count", r.count), flag("on", r.on));
   }
   static constexpr auto encode = &encPair;
   static constexpr auto decode = &decPair;
};
inline int encPair(RtxContext* c, PairRecord* r) {
   Encoder e(c, kSource);
   L3_TRY(e.begin("Pair"));
   L3_TRY(e.fields(value<Mode>("mode", r->mode), integer<3, 1, 5>("count", r->count), flag("on", r->on)));
   return e.done();
}
inline int decPair(RtxContext* c, PairRecord* r) {
   Decoder d(c, kSource);
   L3_TRY(d.begin("Pair"));
   L3_TRY(d.fields(value<Mode>("mode", r->mode), integer<3, 1, 5>("count", r->count), flag("on", r->on)));
   return d.done();
}

/** LV of at least one octet: a, b, then octet3 {c, d} if there, then octet4. */
struct LvRecord {
   struct {
      uint8_t octet3Present : 1;
      uint8_t octet4Present : 1;
   } m;
   uint8_t length, a, b;
   struct {
      uint8_t c;
      uint16_t d;
   } octet3;
   uint8_t octet4;
};
inline int encLv(RtxContext* c, LvRecord* r) {
   Encoder e(c, kSource);
   L3_TRY(e.begin("Lv"));
   OpenLength length;
   L3_TRY(e.open<8>("length", length));
   L3_TRY(e.fields(integer<8>("a", r->a), integer<8>("b", r->b)));
   if (r->m.octet3Present)
      L3_TRY(e.fields(group("octet3", integer<8>("c", r->octet3.c), integer<16>("d", r->octet3.d))));
   if (r->m.octet4Present) L3_TRY(e.fields(integer<8>("octet4", r->octet4)));
   L3_TRY(e.close<8>(length, r->length, Limits{1, 5}));
   return e.done();
}
inline int decLv(RtxContext* c, LvRecord* r) {
   Decoder d(c, kSource);
   L3_TRY(d.begin("Lv"));
   r->m = {};
   Length length;
   L3_TRY(d.open<8>("length", r->length, Limits{1, 9}, length));
   L3_TRY(d.fieldsIn(length, integer<8>("a", r->a), integer<8>("b", r->b)));
   if (d.more()) {
      L3_TRY(d.fields(group("octet3", integer<8>("c", r->octet3.c), integer<16>("d", r->octet3.d))));
      r->m.octet3Present = 1;
      L3_TRY(d.within(length));
   }
   if (d.more()) {
      L3_TRY(d.fields(integer<8>("octet4", r->octet4)));
      r->m.octet4Present = 1;
      L3_TRY(d.within(length));
   }
   L3_TRY(d.close(length));
   return d.done();
}

/** LV-E of octets that end where it ends: an open tail. */
struct TailRecord {
   uint16_t length;
   uint8_t kind;
   RtxDynOctStr contents;
};
inline int encTail(RtxContext* c, TailRecord* r) {
   Encoder e(c, kSource);
   L3_TRY(e.begin("Tail"));
   OpenLength length;
   L3_TRY(e.open<16>("length", length));
   L3_TRY(e.fields(integer<8>("kind", r->kind)));
   L3_TRY(e.tail("contents", r->contents));
   L3_TRY(e.close<16>(length, r->length, Limits{1}));
   return e.done();
}
inline int decTail(RtxContext* c, TailRecord* r) {
   Decoder d(c, kSource);
   L3_TRY(d.begin("Tail"));
   Length length;
   L3_TRY(d.open<16>("length", r->length, Limits{1}, length));
   L3_TRY(d.fieldsIn(length, integer<8>("kind", r->kind)));
   L3_TRY(d.sized("contents", kRest, r->contents, Limits{}));
   L3_TRY(d.within(length));
   L3_TRY(d.close(length));
   return d.done();
}

/** LV of 1 to 4 pairs. */
struct PairsRecord {
   uint8_t length, n;
   PairRecord elem[4];
};
inline int encPairs(RtxContext* c, PairsRecord* r) {
   Encoder e(c, kSource);
   L3_TRY(e.begin("Pairs"));
   OpenLength length;
   L3_TRY(e.open<8>("length", length));
   L3_TRY(e.repeat("pairs", r->n, r->elem, Limits{1, 4},
                   [](auto& e, auto& x) { return encPair(e.ctxt(), &x); }));
   L3_TRY(e.close<8>(length, r->length, Limits{1}));
   return e.done();
}
inline int decPairs(RtxContext* c, PairsRecord* r) {
   Decoder d(c, kSource);
   L3_TRY(d.begin("Pairs"));
   Length length;
   L3_TRY(d.open<8>("length", r->length, Limits{1}, length));
   L3_TRY(d.repeat("pairs", r->n, r->elem, Limits{1, 4},
                   [](auto& d, auto& x) { return decPair(d.ctxt(), &x); }));
   L3_TRY(d.within(length));
   L3_TRY(d.close(length));
   return d.done();
}

} // namespace quorva::test

#endif
