/**
 * @file rtxDiagBitLine.h
 * The lines of a bit listing: four octets a line, as bits, as digits and as characters. A sink takes each
 * line: `sink(bits, hex, chars)`, views of at most 35, 8 and 4 characters.
 */
#ifndef QUORVA_RUNTIME_CORE_RTXDIAGBITLINE_H
#define QUORVA_RUNTIME_CORE_RTXDIAGBITLINE_H

#include <cstring>
#include <string_view>

#include "quorva/rtxDiag.h"
#include "runtime/text/textSteps.h"

namespace quorva {

/** The bits that a listing can show. */
struct BitSource {
   const uint8_t* data = nullptr;
   size_t nbits = 0;

   /** What follows the first `numocts` octets. */
   BitSource from(size_t numocts) const {
      if (numocts >= nbits / 8) return {};
      return {data + numocts, nbits - numocts * 8};
   }
};

/** Builds lines in a line state that may still hold a part of the field before. */
template <typename Sink>
class BitLineWriter {
public:
   BitLineWriter(RtxDiagBitLine& line, Sink& sink) : line_(line), sink_(sink) {}

   /** Lists one field; bits between its end and `nextOffset` show as x. Bits outside of the source don't
    * show. */
   void putField(const BitSource& source, const RtxDiagBitField& field, size_t nextOffset) {
      hideNeighbour();
      const size_t begin = min(field.bitOffset, source.nbits);
      const size_t end = begin + min(field.bitCount, source.nbits - begin);
      for (size_t i = begin; i < end;) {
         if (i % 8 == 0 && end - i >= 8 && line_.mask == 128) {
            putWholeOctet(source.data[i / 8]);
            i += 8;
         } else {
            const bool bit = (source.data[i / 8] >> (7 - i % 8) & 1) != 0;
            putBit(bit ? '1' : '0', bit);
            ++i;
         }
      }
      for (size_t i = end; i < min(nextOffset, source.nbits); ++i) putBit('x', false);
      if (line_.numBits > 0) putUnfinished();
   }

private:
   static constexpr int maxBits = 35;
   static constexpr int maxHex = 8;
   static constexpr int maxChars = 4;

   static size_t min(size_t a, size_t b) { return a < b ? a : b; }

   // A line of bits that don't show.
   static constexpr char hidden[] = "-------- -------- -------- --------";
   static_assert(sizeof(hidden) == maxBits + 1);

   // Keeps the columns of the bits that belong to the field before, but not their values.
   void hideNeighbour() {
      memcpy(line_.bits, hidden, static_cast<size_t>(line_.numBits));
      memset(line_.hex, '-', static_cast<size_t>(line_.numHex));
      memset(line_.chars, '-', static_cast<size_t>(line_.numChars));
   }

   void putBit(char shown, bool value) {
      line_.bits[line_.numBits++] = shown;
      if (value) line_.octet |= line_.mask;
      line_.mask >>= 1;
      if (line_.mask == 0) putOctet();
   }

   void putWholeOctet(uint8_t octet) {
      for (int i = 0; i < 8; ++i)
         line_.bits[line_.numBits + i] = static_cast<char>('0' + (octet >> (7 - i) & 1));
      line_.numBits += 8;
      line_.octet = static_cast<uint8_t>(line_.octet | octet);
      putOctet();
   }

   void putOctet() {
      hexDigits(line_.octet, line_.hex + line_.numHex);
      line_.numHex += 2;
      line_.chars[line_.numChars++] = isPrintable(line_.octet) ? static_cast<char>(line_.octet) : '.';
      line_.octet = 0;
      line_.mask = 128;
      if (line_.numChars < maxChars) {
         line_.bits[line_.numBits++] = ' ';
         return;
      }
      handOn(line_.numBits, line_.numHex, line_.numChars);
      line_.numBits = line_.numHex = line_.numChars = 0;
   }

   // The state stays as it is behind the characters in use, so that the next field goes on in the same line.
   void putUnfinished() {
      memcpy(line_.bits + line_.numBits, hidden + line_.numBits,
             static_cast<size_t>(maxBits - line_.numBits));
      memset(line_.hex + line_.numHex, '-', static_cast<size_t>(maxHex - line_.numHex));
      memset(line_.chars + line_.numChars, '-', static_cast<size_t>(maxChars - line_.numChars));
      handOn(maxBits, maxHex, maxChars);
   }

   // With a NUL behind each text.
   void handOn(int numBits, int numHex, int numChars) {
      line_.bits[numBits] = '\0';
      line_.hex[numHex] = '\0';
      line_.chars[numChars] = '\0';
      sink_(std::string_view(line_.bits, static_cast<size_t>(numBits)),
            std::string_view(line_.hex, static_cast<size_t>(numHex)),
            std::string_view(line_.chars, static_cast<size_t>(numChars)));
   }

   RtxDiagBitLine& line_;
   Sink& sink_;
};

/** What the context's buffer holds. */
BitSource bufferBits(const RtxContext* pctxt);

/** What passed through the context's stream; false if it has no capture. */
bool capturedBits(RtxContext* pctxt, BitSource* pSource);

/** Title of a field, cut to its room: the prefix, the element path, the kind. Any of them may be missing. */
template <size_t room>
class BitFieldTitle {
public:
   BitFieldTitle(const char* prefix, const RtxDiagBitField& field) {
      constexpr size_t maxSuffix = 32;
      append("", prefix, room);
      append(".", field.elemName, room);
      append(" ", field.nameSuffix, maxSuffix);
      text_[used_] = '\0';
   }

   /** NUL-terminated. */
   std::string_view text() const { return {text_, used_}; }

private:
   void append(std::string_view separator, const char* text, size_t maxLength) {
      if (text == nullptr || *text == '\0') return;
      if (used_ > 0) append(separator);
      append({text, strnlen(text, maxLength)});
   }

   void append(std::string_view text) {
      const size_t left = room - 1 - used_;
      const size_t count = text.size() < left ? text.size() : left;
      memcpy(text_ + used_, text.data(), count);
      used_ += count;
   }

   char text_[room];
   size_t used_ = 0;
};

} // namespace quorva

#endif
