/**
 * @file rtxDiagBitLine.h
 * The lines of a bit listing: four octets a line, as bits, as digits and as characters. A sink takes each
 * line: `sink(bits, hex, chars)`, texts of at most 35, 8 and 4 characters.
 */
#ifndef QUORVA_RUNTIME_CORE_RTXDIAGBITLINE_H
#define QUORVA_RUNTIME_CORE_RTXDIAGBITLINE_H

#include <cstring>

#include "quorva/rtxDiag.h"
#include "quorva/rtxHexDump.h"
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
      for (size_t i = begin; i < end; ++i) {
         const bool bit = rtxTestBit(source.data, source.nbits, i) != 0;
         putBit(bit ? '1' : '0', bit);
      }
      for (size_t i = end; i < min(nextOffset, source.nbits); ++i) putBit('x', false);
      if (line_.numBits > 0) putUnfinished();
   }

private:
   static constexpr int maxBits = 35;
   static constexpr int maxHex = 8;
   static constexpr int maxChars = 4;

   static size_t min(size_t a, size_t b) { return a < b ? a : b; }

   // Is this column of the bit text the blank between two groups?
   static bool isGap(int column) { return column % 9 == 8; }

   // Keeps the columns of the bits that belong to the field before, but not their values.
   void hideNeighbour() {
      for (int i = 0; i < line_.numBits; ++i) line_.bits[i] = isGap(i) ? ' ' : '-';
      memset(line_.hex, '-', static_cast<size_t>(line_.numHex));
      memset(line_.chars, '-', static_cast<size_t>(line_.numChars));
   }

   void putBit(char shown, bool value) {
      line_.bits[line_.numBits++] = shown;
      if (value) line_.octet |= line_.mask;
      line_.mask >>= 1;
      if (line_.mask == 0) putOctet();
   }

   void putOctet() {
      rtxByteToHexChar(line_.octet, line_.hex + line_.numHex, 3);
      line_.numHex += 2;
      line_.chars[line_.numChars++] = isPrintable(line_.octet) ? static_cast<char>(line_.octet) : '.';
      line_.octet = 0;
      line_.mask = 128;
      if (line_.numChars < maxChars) {
         line_.bits[line_.numBits++] = ' ';
         return;
      }
      terminate(line_.numBits, line_.numHex, line_.numChars);
      sink_(line_.bits, line_.hex, line_.chars);
      line_.numBits = line_.numHex = line_.numChars = 0;
   }

   // The state stays as it is behind the characters in use, so that the next field goes on in the same line.
   void putUnfinished() {
      for (int i = line_.numBits; i < maxBits; ++i) line_.bits[i] = isGap(i) ? ' ' : '-';
      memset(line_.hex + line_.numHex, '-', static_cast<size_t>(maxHex - line_.numHex));
      memset(line_.chars + line_.numChars, '-', static_cast<size_t>(maxChars - line_.numChars));
      terminate(maxBits, maxHex, maxChars);
      sink_(line_.bits, line_.hex, line_.chars);
   }

   void terminate(int numBits, int numHex, int numChars) {
      line_.bits[numBits] = '\0';
      line_.hex[numHex] = '\0';
      line_.chars[numChars] = '\0';
   }

   RtxDiagBitLine& line_;
   Sink& sink_;
};

/** What the context's buffer holds. */
BitSource bufferBits(const RtxContext* pctxt);

/** What passed through the context's stream; false if it has no capture. */
bool capturedBits(RtxContext* pctxt, BitSource* pSource);

/**
 * Title of a field, cut to `size`: the prefix, the element path, the kind. Any of them may be missing.
 */
void bitFieldTitle(char* title, size_t size, const char* prefix, const RtxDiagBitField& field);

} // namespace quorva

#endif
