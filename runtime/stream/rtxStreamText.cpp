// Texts that a transport holds in place of octets: base64, RFC 4648, and hexadecimal digits.
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "runtime/stream/streamCore.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

using namespace quorva;
using namespace quorva::stream;

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view beginMarker = "-----BEGIN CERTIFICATE-----";
constexpr std::string_view endMarker = "-----END CERTIFICATE-----";

constexpr auto decodeTable = [] {
   std::array<int8_t, 256> table{};
   for (int8_t& entry : table) entry = -1;
   for (size_t i = 0; i < alphabet.size(); ++i)
      table[static_cast<uint8_t>(alphabet[i])] = static_cast<int8_t>(i);
   return table;
}();

struct Base64 : Layer {
   bool seenCertificate;    // a read met the end of the text behind both marker lines
   bool begun, ended, data; // what has been met: the markers, anything between
   bool held;               // `heldChar` is read again
   uint8_t heldChar;
   uint8_t* text; // characters that had been loaded when the layer came
   size_t textIndex, textEnd;
   uint8_t* ready; // octets that the target of a read did not hold
   size_t readyIndex, readyEnd;

   size_t readyLeft() const { return readyEnd - readyIndex; }
};

Base64* base64Of(const RtxStream* stream) {
   return recordOf<Base64>(stream);
}

bool isReader(const RtxStream* stream) {
   return stream->extra != nullptr && (stream->flags & RTX_STREAM_READ) != 0;
}
bool isWriter(const RtxStream* stream) {
   return stream->extra != nullptr && (stream->flags & RTX_STREAM_WRITE) != 0;
}

/** The next character: its count of 1, 0 at the end, or the failure of the stream below. */
ptrdiff_t nextChar(Base64* layer, uint8_t* ch) {
   if (layer->held) {
      layer->held = false;
      *ch = layer->heldChar;
      return 1;
   }
   if (layer->textIndex == layer->textEnd) return readInner(layer, ch, 1);
   *ch = layer->text[layer->textIndex++];
   return 1;
}

/** Position in the text; with a context buffer the core counts octets there. */
void count(RtxStream* stream, size_t numchars) {
   if (!hasContextBuffer(stream)) stream->bufBase += numchars;
}

/** The rest of a marker line whose first character has been read. */
int takeMarker(RtxStream* stream, Base64* layer) {
   const std::string_view marker = layer->data ? endMarker : beginMarker;
   for (size_t i = 1; i < marker.size(); ++i) {
      uint8_t ch = 0;
      const ptrdiff_t got = nextChar(layer, &ch);
      if (got < 0) return static_cast<int>(got);
      if (got == 0 || ch != static_cast<uint8_t>(marker[i])) return RTX_E_BAD_BASE64;
   }
   count(stream, marker.size());
   (layer->data ? layer->ended : layer->begun) = true;
   return RTX_OK;
}

/** Where the octets of a read go: the target, and the layer's own memory for what is more. */
class Octets {
public:
   Octets(Base64* layer, uint8_t* target, size_t room) : layer_(layer), target_(target), room_(room) {}

   size_t count() const { return count_; }
   bool full() const { return count_ == room_; }

   /** `numocts` of the three octets of a group. */
   void put(uint32_t group, size_t numocts) {
      for (size_t i = 0; i < numocts; ++i) {
         const auto octet = static_cast<uint8_t>(group >> (16 - 8 * i));
         if (count_ < room_)
            target_[count_++] = octet;
         else
            over_[more_++] = octet;
      }
   }
   /** More than the target holds. */
   bool over() const { return more_ != 0; }

   /** Keeps for the next read what is beyond the target, or with `all` what is in it as well. */
   int keep(bool all) {
      const size_t from = all ? count_ : 0;
      const size_t left = layer_->readyLeft();
      if (from + more_ + left == 0) return RTX_OK;
      auto* memory = static_cast<uint8_t*>(rtxMemHeapSysAlloc(layer_->pctxt, from + more_ + left));
      if (memory == nullptr) return RTX_E_NOMEM;
      copyOctets(memory, target_, from);
      copyOctets(memory + from, over_, more_);
      if (left != 0) std::memcpy(memory + from + more_, layer_->ready + layer_->readyIndex, left);
      rtxMemHeapSysFreePtr(layer_->pctxt, layer_->ready);
      layer_->ready = memory;
      layer_->readyIndex = 0;
      layer_->readyEnd = from + more_ + left;
      return RTX_OK;
   }

   /** What an earlier read has left. */
   void takeReady() {
      const size_t run = std::min(room_, layer_->readyLeft());
      if (run != 0) std::memcpy(target_, layer_->ready + layer_->readyIndex, run);
      layer_->readyIndex += run;
      count_ = run;
   }

private:
   Base64* layer_;
   uint8_t* target_;
   size_t room_;
   size_t count_ = 0;
   uint8_t over_[3] = {};
   size_t more_ = 0;
};

/** Is the target the buffer of a reader above, which comes again for what it did not hold? */
bool isLoad(const RtxStream* stream, const uint8_t* target) {
   const RtxContext* pctxt = base64Of(stream)->pctxt;
   if (pctxt->stream != stream) return true; // a layer's
   return hasContextBuffer(stream) && pctxt->bufData != nullptr && target >= pctxt->bufData &&
          target < pctxt->bufData + stream->ctxtBufSize;
}

ptrdiff_t base64TextRead(RtxStream* stream, uint8_t* target, size_t maxocts) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   Base64* layer = base64Of(stream);
   layer->seenCertificate = false;
   if (maxocts == 0) return 0;
   const bool load = isLoad(stream, target);
   Octets out(layer, target, maxocts);
   out.takeReady();
   const auto tooSmall = [&] {
      const int status = out.keep(true); // no octet is lost
      return status < 0 ? status : RTX_E_TOO_SMALL;
   };
   uint32_t group = 0;
   size_t gathered = 0;
   for (;;) {
      if (load && gathered == 0 && out.full()) {
         const int status = out.keep(false);
         return status < 0 ? status : static_cast<ptrdiff_t>(out.count());
      }
      if (layer->readyLeft() != 0 || out.over()) return tooSmall();
      uint8_t ch = 0;
      const ptrdiff_t got = nextChar(layer, &ch);
      if (got < 0) return got;
      if (got == 0) {
         layer->seenCertificate = layer->begun && layer->ended;
         return static_cast<ptrdiff_t>(out.count());
      }
      if (ch == '-') {
         const int status = gathered != 0 ? RTX_E_BAD_BASE64 : takeMarker(stream, layer);
         if (status < 0) return status;
         continue;
      }
      if (isSpace(ch)) {
         count(stream, 1);
         continue;
      }
      if (out.full() && gathered == 0) {
         layer->held = true;
         layer->heldChar = ch;
         return tooSmall();
      }
      count(stream, 1);
      if (ch == '=') {
         if (gathered != 2 && gathered != 3) return RTX_E_BAD_BASE64;
         out.put(group << (gathered == 2 ? 12 : 6), gathered - 1);
         // The second sign of two.
         if (gathered == 2) {
            do {
               const ptrdiff_t more = nextChar(layer, &ch);
               if (more < 0) return more;
               if (more == 0) break;
               count(stream, 1);
            } while (isSpace(ch));
            if (ch != '=' && !isSpace(ch)) return RTX_E_BAD_BASE64;
         }
         gathered = 0;
         group = 0;
         continue;
      }
      const int digit = decodeTable[ch];
      if (digit < 0) return RTX_E_BAD_BASE64;
      layer->data = true;
      group = group << 6 | static_cast<uint32_t>(digit);
      if (++gathered == 4) {
         out.put(group, 3);
         gathered = 0;
         group = 0;
      }
   }
}

/** Counts characters of the text, not octets. */
int base64TextSkip(RtxStream* stream, size_t numchars) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   Base64* layer = base64Of(stream);
   uint8_t ch;
   for (; numchars != 0 && (layer->held || layer->textIndex != layer->textEnd); --numchars)
      nextChar(layer, &ch);
   if (numchars == 0) return RTX_OK;
   RtxStream* inner = layer->inner;
   return inner->skip != nullptr ? inner->skip(inner, numchars) : RTX_E_NOT_INIT;
}

/** No state passes from one call to the next: a count that is no multiple of 3 ends the text. */
int base64TextWrite(RtxStream* stream, const uint8_t* octets, size_t numocts) {
   if (!isWriter(stream)) return RTX_E_BAD_ARGUMENT;
   const Base64* layer = base64Of(stream);
   for (size_t i = 0; i < numocts; i += 3) {
      const size_t run = std::min<size_t>(3, numocts - i);
      uint32_t group = 0;
      for (size_t k = 0; k < 3; ++k) group = group << 8 | (k < run ? octets[i + k] : 0u);
      uint8_t chars[4];
      for (size_t k = 0; k < 4; ++k)
         chars[k] = static_cast<uint8_t>(k <= run ? alphabet[group >> (18 - 6 * k) & 63] : '=');
      const int status = writeInner(layer, chars, 4);
      if (status < 0) return status;
   }
   return RTX_OK;
}

int base64TextFlush(RtxStream* stream) {
   if (!isWriter(stream)) return RTX_E_BAD_ARGUMENT;
   RtxStream* inner = base64Of(stream)->inner;
   return inner->flush != nullptr ? inner->flush(inner) : RTX_OK;
}

int base64TextClose(RtxStream* stream) {
   Base64* layer = base64Of(stream);
   if (layer == nullptr) return RTX_OK;
   const int status = closeInner(layer);
   rtxMemHeapSysFreePtr(layer->pctxt, layer->text);
   rtxMemHeapSysFreePtr(layer->pctxt, layer->ready);
   rtxMemHeapSysFreePtr(layer->pctxt, layer);
   stream->extra = nullptr;
   return status;
}

} // namespace

int rtxStreamBase64TextAttach(RtxContext* pctxt) {
   if (pctxt->stream == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   // Text that has been loaded already is still to be decoded.
   uint8_t* text = nullptr;
   size_t numchars = 0;
   const bool buffered = hasContextBuffer(pctxt->stream);
   if (readable(pctxt->stream) && buffered && pctxt->bufData != nullptr) numchars = octetsAtHand(pctxt);
   if (numchars != 0) {
      text = static_cast<uint8_t*>(newRecord(pctxt, numchars));
      if (text == nullptr) return RTX_E_NOMEM;
      std::memcpy(text, pctxt->bufData + pctxt->bufByteIndex, numchars);
   }
   auto* layer = static_cast<Base64*>(pushLayer(pctxt, sizeof(Base64)));
   if (layer == nullptr) {
      rtxMemHeapSysFreePtr(pctxt, text);
      return rtxErrGetLastError(pctxt);
   }
   RtxStream* stream = pctxt->stream;
   RtxStream* inner = layer->inner;
   layer->text = text;
   layer->textEnd = numchars;
   stream->flags = inner->flags;
   setFlags(stream, RTX_STREAM_TEXT_FILTER);
   stream->close = base64TextClose;
   if (writable(stream)) {
      stream->write = base64TextWrite;
      stream->flush = base64TextFlush;
   } else {
      stream->read = base64TextRead;
      stream->skip = base64TextSkip;
   }
   if (hasContextBuffer(inner)) { // the buffer holds octets from here on
      if (readable(stream)) pctxt->bufByteIndex = pctxt->bufSize = 0;
      stream->ctxtBufSize = inner->ctxtBufSize;
      clearFlags(inner, RTX_STREAM_CTXT_BUF);
   } else {
      clearFlags(stream, RTX_STREAM_CTXT_BUF);
   }
   return RTX_OK;
}

int rtxStreamHexTextAttach(RtxContext* pctxt) {
   if (pctxt->stream == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   RtxStream* stream = pctxt->stream;
   setFlags(stream, RTX_STREAM_HEX_TEXT);
   // The text gives way, so that `bufData` can hold octets.
   if (stream->kind == RTX_STREAM_KIND_MEMORY && readable(stream)) stashMemory(stream);
   return RTX_OK;
}
