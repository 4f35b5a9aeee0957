// Bit and octet strings from value notation.
#include "quorva/rtAvn.h"
#include "quorva/rtxBits.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxTxt.h"
#include "runtime/core/rtxBuffer.h"
#include "runtime/values/namedBits.h"
#include "runtime/values/textInput.h"

#include <algorithm>
#include <utility>

using namespace quorva;

namespace {

// Octets of a string that is read: those of the caller, then, where that is allowed, some on the heap.
class Octets {
public:
   Octets(RtxContext* pctxt, uint8_t* data, size_t size, bool grows)
         : pctxt_(pctxt), data_(data), size_(data ? size : 0), grows_(grows) {}
   ~Octets() { rtxMemHeapFreePtr(pctxt_, more_); }
   Octets(const Octets&) = delete;
   Octets& operator=(const Octets&) = delete;

   uint8_t& operator[](size_t index) { return index < size_ ? data_[index] : more_[index - size_]; }

   // Makes room for a number of octets in all.
   int need(size_t count) {
      if (count <= size_ || count - size_ <= capacity_) return RTX_OK;
      if (!grows_) return recordNewFailure(pctxt_, RTX_E_BUFFER_FULL);
      // Whole units of 8 octets, for a static heap.
      const size_t capacity = (std::max(addSizes(capacity_, capacity_), count - size_) + 7) & ~size_t{7};
      void* more = pctxt_->memHeap && (pctxt_->memHeap->flags & RTX_MH_STATIC)
                         ? rtxMemHeapReallocStatic(pctxt_, more_, capacity_, capacity)
                         : rtxMemHeapRealloc(pctxt_, more_, capacity);
      if (!more) return recordNoMemory(pctxt_);
      more_ = static_cast<uint8_t*>(more);
      capacity_ = capacity;
      return RTX_OK;
   }

   // What is on the heap becomes the caller's.
   uint8_t* release() { return std::exchange(more_, nullptr); }

private:
   RtxContext* pctxt_;
   uint8_t* data_;
   size_t size_;
   uint8_t* more_ = nullptr;
   size_t capacity_ = 0;
   bool grows_;
};

// Reads '...'B or '...'H. As long as only the digits 0 and 1 come, they are bits; any other digit, or an H,
// shows that all of them have been halves of octets.
class BitReader {
public:
   BitReader(RtxContext* pctxt, Octets& octets) : pctxt_(pctxt), octets_(octets) {}

   int read() {
      int status = rtxTxtMatchChar(pctxt_, '\'', 1);
      char c = 0;
      while (status == RTX_OK) {
         status = takeChar(pctxt_, &c);
         if (status < 0 || c == '\'') break;
         if (!isSpace(c)) status = add(c);
      }
      if (status == RTX_OK) status = takeChar(pctxt_, &c);
      return status < 0 ? status : end(c);
   }

   size_t numbits() const { return hex_ ? numocts() * 8 - count_ % 2 * 4 : count_; }
   size_t numocts() const { return hex_ ? count_ / 2 + count_ % 2 : count_ / 8 + (count_ % 8 != 0); }

private:
   int add(char c) {
      const int digit = hexDigitValue(c);
      int status = digit < 0 ? recordNewFailure(pctxt_, RTX_E_BAD_FORMAT) : RTX_OK;
      if (digit > 1 && !hex_) status = makeHex();
      if (status == RTX_OK) status = octets_.need(hex_ ? count_ / 2 + 1 : count_ / 8 + 1);
      if (status < 0) return status;
      if (hex_)
         putHalf(count_, digit);
      else if (digit == 1)
         rtxSetBit(&octets_[count_ / 8], 8, count_ % 8);
      else
         rtxClearBit(&octets_[count_ / 8], 8, count_ % 8);
      ++count_;
      return RTX_OK;
   }

   // The high half clears the low one, so that an odd digit at the end has a 0 behind it.
   void putHalf(size_t index, int digit) {
      uint8_t& octet = octets_[index / 2];
      octet = static_cast<uint8_t>(index % 2 == 0 ? digit << 4 : (octet & 0xF0) | digit);
   }

   // Turns each bit into a digit, in place: four times the room. A digit's octet holds no bits before its
   // own, other than in the first octet, where the high half is kept until its turn.
   int makeHex() {
      hex_ = true;
      const int status = octets_.need(numocts());
      if (status < 0) return status;
      for (size_t i = count_; i-- > 0;) {
         const int bit = rtxTestBit(&octets_[i / 8], 8, i % 8) != 0;
         if (i % 2 == 1 || i + 1 == count_)
            putHalf(i, bit);
         else
            octets_[i / 2] = static_cast<uint8_t>(bit << 4 | (octets_[i / 2] & 0x0F));
      }
      return RTX_OK;
   }

   int end(char letter) {
      if (letter == 'H') return hex_ ? RTX_OK : makeHex();
      if (letter != 'B' || hex_) return recordNewFailure(pctxt_, RTX_E_BAD_FORMAT);
      if (count_ % 8 != 0) rtxZeroUnusedBits(&octets_[count_ / 8], count_ % 8);
      return RTX_OK;
   }

   RtxContext* pctxt_;
   Octets& octets_;
   size_t count_ = 0; // digits
   bool hex_ = false;
};

template <class Count>
int giveCount(RtxContext* pctxt, size_t count, Count* pcount) {
   if (count > static_cast<Count>(-1)) return recordNewFailure(pctxt, RTX_E_OVERFLOW);
   if (pcount) *pcount = static_cast<Count>(count);
   return RTX_OK;
}

template <class Count>
int readBits(RtxContext* pctxt, uint8_t* data, Count* pnumbits, size_t size, bool namedBits, size_t limit) {
   Octets octets(pctxt, data, size, false);
   BitReader reader(pctxt, octets);
   const int status = reader.read();
   if (status < 0) return status;
   size_t numbits = reader.numbits();
   if (namedBits) {
      numbits = static_cast<size_t>(rtxLastBitSet(data, numbits) + 1);
      if (limit != 0 && numbits > limit) return recordNewFailure(pctxt, RTX_E_BUFFER_FULL);
   }
   return giveCount(pctxt, numbits, pnumbits);
}

template <class Count>
int readBitsExt(RtxContext* pctxt, uint8_t* data, size_t size, uint8_t** pextdata, Count* pnumbits) {
   if (!pextdata) return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   Octets octets(pctxt, data, size, true);
   BitReader reader(pctxt, octets);
   int status = reader.read();
   if (status == RTX_OK) status = giveCount(pctxt, reader.numbits(), pnumbits);
   if (status == RTX_OK) *pextdata = octets.release();
   return status;
}

template <class Count>
int readOctets(RtxContext* pctxt, uint8_t* data, Count* pnumocts, size_t size) {
   Octets octets(pctxt, data, size, false);
   BitReader reader(pctxt, octets);
   const int status = reader.read();
   return status < 0 ? status : giveCount(pctxt, reader.numocts(), pnumocts);
}

template <class String, class Count>
int readDyn(RtxContext* pctxt, String* pvalue, Count String::*pcount, size_t (BitReader::*count)() const) {
   if (!pvalue) return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   Octets octets(pctxt, nullptr, 0, true);
   BitReader reader(pctxt, octets);
   int status = reader.read();
   if (status == RTX_OK) status = giveCount(pctxt, (reader.*count)(), &(pvalue->*pcount));
   if (status == RTX_OK) pvalue->data = octets.release();
   return status;
}

template <class Count>
int readNamed(RtxContext* pctxt, const RtxNamedBit* table, uint8_t* data, Count* pcount, size_t size) {
   if (!table) return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   NamedBits bits(pctxt, table, data, size);
   char c = 0;
   int status = rtxTxtMatchChar(pctxt, '{', 1);
   if (status == RTX_OK) status = rtxTxtPeekChar(pctxt, &c, 1);
   if (status < 0) return status;
   if (c == '}') {
      status = dropChar(pctxt);
   } else {
      do {
         TextBuffer name(pctxt, 64);
         status = rtAvnReadIdentifierToBuffer(pctxt, &name);
         if (status == RTX_OK) status = name.append('\0');
         if (status == RTX_OK) status = bits.add(name.text().data());
         if (status == RTX_OK) status = skipSpace(pctxt, nullptr);
         if (status == RTX_OK) status = takeChar(pctxt, &c);
         if (status < 0) return status;
      } while (c == ',');
      if (c != '}') return badChar(pctxt, c);
   }
   return status < 0 ? status : giveCount(pctxt, bits.count(), pcount);
}

} // namespace

int rtAvnReadBitString(RtxContext* pctxt, uint8_t* data, uint32_t* pnumbits, size_t size, int namedBits,
                       size_t limit) {
   return readBits(pctxt, data, pnumbits, size, namedBits != 0, limit);
}

int rtAvnReadBitString64(RtxContext* pctxt, uint8_t* data, size_t* pnumbits, size_t size, int namedBits,
                         size_t limit) {
   return readBits(pctxt, data, pnumbits, size, namedBits != 0, limit);
}

int rtAvnReadBitStringExt(RtxContext* pctxt, uint8_t* data, size_t size, uint8_t** pextdata,
                          uint32_t* pnumbits) {
   return readBitsExt(pctxt, data, size, pextdata, pnumbits);
}

int rtAvnReadBitStringExt64(RtxContext* pctxt, uint8_t* data, size_t size, uint8_t** pextdata,
                            size_t* pnumbits) {
   return readBitsExt(pctxt, data, size, pextdata, pnumbits);
}

int rtAvnReadBitStringDyn(RtxContext* pctxt, RtxDynBitStr* pvalue) {
   return readDyn(pctxt, pvalue, &RtxDynBitStr::numbits, &BitReader::numbits);
}

int rtAvnReadBitStringDyn64(RtxContext* pctxt, RtxDynBitStr64* pvalue) {
   return readDyn(pctxt, pvalue, &RtxDynBitStr64::numbits, &BitReader::numbits);
}

int rtAvnReadOctString(RtxContext* pctxt, uint8_t* data, uint32_t* pnumocts, size_t size) {
   return readOctets(pctxt, data, pnumocts, size);
}

int rtAvnReadOctString64(RtxContext* pctxt, uint8_t* data, size_t* pnumocts, size_t size) {
   return readOctets(pctxt, data, pnumocts, size);
}

int rtAvnReadOctStringDyn(RtxContext* pctxt, RtxDynOctStr* pvalue) {
   return readDyn(pctxt, pvalue, &RtxDynOctStr::numocts, &BitReader::numocts);
}

int rtAvnReadOctStringDyn64(RtxContext* pctxt, RtxDynOctStr64* pvalue) {
   return readDyn(pctxt, pvalue, &RtxDynOctStr64::numocts, &BitReader::numocts);
}

int rtAvnReadNamedBits(RtxContext* pctxt, const RtxNamedBit* table, uint8_t* data, uint32_t* pcount,
                       size_t size) {
   return readNamed(pctxt, table, data, pcount, size);
}

int rtAvnReadNamedBits64(RtxContext* pctxt, const RtxNamedBit* table, uint8_t* data, size_t* pcount,
                         size_t size) {
   return readNamed(pctxt, table, data, pcount, size);
}
