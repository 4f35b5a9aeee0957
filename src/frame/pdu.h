// Messages of a PDU: which codec goes with which type, a message inside a message, the look ahead.
#pragma once

#include "src/frame/decoder.h"
#include "src/frame/encoder.h"

namespace quorva::frame {

// A place in the buffer to come back to, with the flags that belong to it.
class Mark {
public:
   explicit Mark(const RtxContext* ctxt)
         : index(ctxt->bufByteIndex), bits(ctxt->bufBitsLeft), flags(ctxt->flags) {}

   void restore(RtxContext* ctxt) const {
      ctxt->bufByteIndex = index;
      ctxt->bufBitsLeft = bits;
      ctxt->flags = flags;
   }

   const size_t index;
   const int16_t bits;
   const uint32_t flags;
};

// One message of a PDU. A message of its header alone has no size and no functions.
struct MessageRow {
   uint8_t disc;
   uint8_t type;
   uint16_t selector;
   bool isInline; // the value lies in the union itself
   uint32_t size;
   const char* member; // element name, with the union: "u.obj_..."
   // Initialises the record first. `end`: that of shortEnd() for the short form; null for any other case.
   int (*decode)(RtxContext* ctxt, void* record, const uint8_t* end);
   int (*encode)(RtxContext* ctxt, void* record);
};

// Ways into the rows of a table: place plus 1 of the row with a discriminator and type, or with a selector.
// Without a search, since no two messages running tell a processor how one ends.
struct MessageIndex {
   static constexpr size_t kMostDiscs = 4;
   uint8_t discs[256]; // number of a discriminator, from 1
   uint8_t byType[kMostDiscs + 1][256];
   uint8_t bySelector[256];
};

template <size_t N>
consteval MessageIndex indexOf(const MessageRow (&rows)[N]) {
   static_assert(N < 255);
   MessageIndex index{};
   uint8_t discs = 0;
   for (size_t i = 0; i < N; ++i) {
      uint8_t& disc = index.discs[rows[i].disc];
      if (disc == 0) disc = ++discs;
      uint8_t& place = index.byType[disc][rows[i].type];
      if (place == 0) place = static_cast<uint8_t>(i + 1);
      uint8_t& selected = index.bySelector[rows[i].selector];
      if (selected == 0) selected = static_cast<uint8_t>(i + 1);
   }
   return index;
}

// The messages of one PDU, by discriminator and type and by selector.
struct MessageTable {
   const MessageRow* rows;
   const MessageIndex* index;

   const MessageRow* find(uint8_t disc, uint8_t type) const {
      if (rows == nullptr) __builtin_unreachable();
      const unsigned place = index->byType[index->discs[disc]][type];
      return place == 0 ? nullptr : &rows[place - 1];
   }
   const MessageRow* select(uint32_t selector) const {
      if (rows == nullptr) __builtin_unreachable();
      const unsigned place = selector > 255 ? 0 : index->bySelector[selector];
      return place == 0 ? nullptr : &rows[place - 1];
   }
};

// Where a header stands or goes, if so many octets of it are there or have room; null otherwise, and if
// somebody looks.
L3_INLINE uint8_t* plainHeader(const RtxContext* ctxt, size_t numocts = 0) {
   return isPlain(ctxt) && hasOctets(ctxt, numocts) ? ctxt->bufData + ctxt->bufByteIndex : nullptr;
}

// A header, by a function over both coders: in short form, or anew field by field. It may go as far as the
// buffer does, whatever container is around. `plain` is the cursor if plainHeader() gives it.
template <class Header>
[[gnu::noinline]] int headerInFull(Decoder d, Header header) {
   return header(d);
}
template <class Header>
L3_INLINE int decodeHeader(Decoder d, const uint8_t* plain, Header header) {
   if (plain != nullptr) [[likely]] {
      RtxContext* ctxt = d.ctxt();
      ShortDecoder bare(plain, ctxt->bufData + ctxt->bufSize, ctxt);
      const int status = header(bare);
      if (const uint8_t* behind = bare.result(status)) [[likely]] {
         ctxt->bufByteIndex = static_cast<size_t>(behind - ctxt->bufData);
         return 0;
      }
   }
   return headerInFull(d, header);
}
template <class Header>
[[gnu::noinline]] int headerInFull(Encoder e, Header header) {
   return header(e);
}
template <class Header>
L3_INLINE int encodeHeader(Encoder e, Header header) {
   RtxContext* ctxt = e.ctxt();
   if (uint8_t* at = plainHeader(ctxt)) {
      ShortEncoder bare(at, ctxt->bufData + ctxt->bufSize, ctxt);
      const int status = header(bare);
      if (const uint8_t* behind = bare.result(status)) [[likely]] {
         ctxt->bufByteIndex = static_cast<size_t>(behind - ctxt->bufData);
         return 0;
      }
   }
   return headerInFull(e, header);
}

// The choice of a PDU that holds its message; some have a second one.
inline constexpr char kData[] = "data";

// Allocates the record of the message, initialises and decodes it under its member's name and that of the
// choice. `data` is the union of the PDU's record, `reported` takes the status that the message's decoder
// gave at its end. -10 if there is no memory for the record, directly.
int decodeMessage(Decoder d, const MessageRow& row, const char* choice, void* data, int* reported);

// An unknown message type: -9, with the type among the parameters of the error.
L3_COLD int unknownMessage(Decoder d, const char* choice, unsigned type);

// A choice of messages: selector and union.
template <class Data>
L3_INLINE int decodeData(Decoder d, Data& data, const MessageTable& table, uint32_t discriminator,
                         uint8_t type, int* reported = nullptr, const char* choice = kData) {
   const MessageRow* row = table.find(static_cast<uint8_t>(discriminator), type);
   if (row == nullptr) [[unlikely]]
      return unknownMessage(d, choice, type);
   data.t = row->selector;
   return decodeMessage(d, *row, choice, &data.u, reported);
}

// Encodes the message of a row; -9 for none.
int encodeMessage(Encoder e, const MessageRow* row, const char* choice, void* data);

template <class Data>
L3_INLINE int encodeData(Encoder e, Data& data, const MessageTable& table, const char* choice = kData) {
   return encodeMessage(e, table.select(data.t), choice, &data.u);
}

} // namespace quorva::frame
