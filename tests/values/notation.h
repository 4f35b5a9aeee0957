/**
 * @file notation.h
 * Runs readers and writers of value notation over a buffer and over streams, which must not differ.
 */
#ifndef QUORVA_TESTS_VALUES_NOTATION_H
#define QUORVA_TESTS_VALUES_NOTATION_H

#include "core/coreTest.h"
#include "quorva/rtAvn.h"
#include "quorva/rtxTxt.h"
#include "support/vectors.h"

#include <functional>
#include <memory>
#include <string>

namespace notation {

using quorva::test::hexFromOctets;

/** Reads something and gives it as text. */
using Reader = std::function<int(RtxContext*, std::string&)>;
using Writer = std::function<int(RtxContext*)>;

inline std::string outcome(Context& c, int status, const std::string& value, const std::string& rest) {
   std::string text = status < 0 ? std::to_string(status) : value;
   if (status < 0)
      for (const std::string& parm : c.parms()) text += " " + parm;
   return rest.empty() ? text : text + "|" + rest;
}

/** What a reader makes of a text: the value, or the status with its parameters, then "|" and what is unread.
 */
inline std::string readBy(const Reader& reader, const std::string& text) {
   std::string value;
   // A block of its own size, for the sanitizers.
   const std::unique_ptr<uint8_t[]> octets(new uint8_t[text.size()]);
   std::copy(text.begin(), text.end(), octets.get());
   Context c;
   rtxCtxtSetBufPtr(&c, octets.get(), text.size());
   const int status = reader(&c, value);
   const std::string result = outcome(c, status, value, text.substr(c.bufByteIndex));
   for (size_t chunk : {1u, 7u, 4096u}) {
      Streamed s(RTX_STREAM_READ, Octets(text.begin(), text.end()));
      static_cast<Transport&>(s).chunk = chunk;
      value.clear();
      const int streamed = reader(&s, value);
      const size_t unread = s.octets.size() - s.pos + s.bufSize - s.bufByteIndex;
      EXPECT_EQ(outcome(s, streamed, value, text.substr(text.size() - unread)), result) << text << chunk;
   }
   return result;
}

/** What a writer writes, or its status. It must say so when the room is too small, whatever the room. */
inline std::string writtenBy(const Writer& writer) {
   Context c;
   EXPECT_EQ(rtxInitContextBuffer(&c, nullptr, 1), 0);
   const int status = writer(&c);
   if (status < 0) return outcome(c, status, "", "");
   const std::string text(reinterpret_cast<const char*>(c.bufData), c.bufByteIndex);
   for (size_t room = 0; room <= text.size(); room += room < 300 ? 1 : 100) {
      const std::unique_ptr<uint8_t[]> octets(new uint8_t[room]);
      Context small;
      rtxCtxtSetBufPtr(&small, octets.get(), room);
      EXPECT_EQ(writer(&small), room < text.size() ? RTX_E_BUFFER_FULL : 0) << text << room;
   }
   Streamed s(RTX_STREAM_WRITE);
   EXPECT_EQ(writer(&s), 0);
   EXPECT_EQ(rtxStreamFlush(&s), 0);
   EXPECT_EQ(std::string(s.octets.begin(), s.octets.end()), text);
   return text;
}

/* Readers whose values are given as text. */

template <class Int>
Reader integer(int (*read)(RtxContext*, Int*)) {
   return [read](RtxContext* c, std::string& value) {
      Int number = 0;
      const int status = read(c, &number);
      value = std::to_string(number);
      return status;
   };
}

inline Reader text(int (*read)(RtxContext*, const char**)) {
   return [read](RtxContext* c, std::string& value) {
      const char* text = nullptr;
      const int status = read(c, &text);
      if (text) value = text;
      return status;
   };
}

/** "bits:octets" of a bit string in `size` octets. */
inline Reader bits(size_t size) {
   return [size](RtxContext* c, std::string& value) {
      const std::unique_ptr<uint8_t[]> data(new uint8_t[size]{});
      uint32_t numbits = 0;
      const int status = rtAvnReadBitString(c, data.get(), &numbits, size, 0, 0);
      if (status == 0) value = std::to_string(numbits) + ":" + hexFromOctets(data.get(), (numbits + 7) / 8);
      return status;
   };
}

inline int bitsDyn(RtxContext* c, std::string& value) {
   RtxDynBitStr string = {};
   const int status = rtAvnReadBitStringDyn(c, &string);
   value = std::to_string(string.numbits) + ":" + hexFromOctets(string.data, (string.numbits + 7) / 8);
   return status;
}

inline int octetsDyn(RtxContext* c, std::string& value) {
   RtxDynOctStr string = {};
   const int status = rtAvnReadOctStringDyn(c, &string);
   value = hexFromOctets(string.data, string.numocts);
   return status;
}

inline int real(RtxContext* c, std::string& value) {
   double number = 0;
   const int status = rtAvnReadReal(c, &number);
   char digits[40];
   snprintf(digits, sizeof digits, "%.17g", number);
   value = digits;
   return status;
}

} // namespace notation

#endif
