// Readers of value notation. Each input is read from a buffer and from a stream that gives a few octets at a
// time, which must not differ; what was read is written and read again.
#include "quorva/rtAvn.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "quorva/rtxTxt.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

void need(bool condition) {
   if (!condition) std::abort();
}

const RtxNamedBit names[] = {{"a", 0}, {"b", 9}, {"c-d", 300}, {"e", UINT32_MAX}, {nullptr, 0}};

std::string octets(const uint8_t* data, size_t size) {
   return std::string(reinterpret_cast<const char*>(data), size);
}

// A line end, which only an overlong form brings into a text, is written as it is, and falls out when read.
template <class Text>
bool holdsLineEnd(const Text& text) {
   return std::any_of(text.data, text.data + text.nchars, [](uint32_t c) { return c >= '\n' && c <= '\r'; });
}

// Reads one kind of value and gives it in octets. With `out`, writes it there.
int readOne(RtxContext* pctxt, uint8_t kind, size_t room, std::string& value, RtxContext* out) {
   int status = 0;
   const std::unique_ptr<uint8_t[]> data(new uint8_t[room]);
   switch (kind) {
   case 0: {
      int64_t number = 0;
      if ((status = rtxTxtReadInt64(pctxt, &number)) == 0) value = std::to_string(number);
      if (out && status == 0) need(rtxTxtWriteInt64(out, number) == 0);
      break;
   }
   case 1: {
      size_t numbits = 0;
      if ((status = rtAvnReadBitString64(pctxt, data.get(), &numbits, room, 0, 0)) != 0) break;
      need(numbits <= room * 8);
      value = std::to_string(numbits) + octets(data.get(), (numbits + 7) / 8);
      if (out) need(rtAvnWriteBitStr(out, numbits, data.get(), room, nullptr) == 0);
      break;
   }
   case 2: {
      RtxDynBitStr bits = {};
      if ((status = rtAvnReadBitStringDyn(pctxt, &bits)) != 0) break;
      const size_t size = (size_t{bits.numbits} + 7) / 8;
      value = std::to_string(bits.numbits) + octets(bits.data, size);
      if (out) need(rtAvnWriteBitStr(out, bits.numbits, bits.data, size, nullptr) == 0);
      break;
   }
   case 3: {
      uint8_t* more = nullptr;
      uint32_t numbits = 0;
      if ((status = rtAvnReadBitStringExt(pctxt, data.get(), room, &more, &numbits)) != 0) break;
      const size_t size = (size_t{numbits} + 7) / 8;
      value = std::to_string(numbits) + octets(data.get(), std::min(size, room));
      if (size > room) value += octets(more, size - room);
      // A half octet in front of the extension would not come back.
      if (out && (size <= room || numbits % 8 != 4))
         need(rtAvnWriteBitStr(out, numbits, data.get(), room, more) == 0);
      else if (out)
         return RTX_E_UNSUPPORTED;
      break;
   }
   case 4: {
      RtxDynOctStr string = {};
      if ((status = rtAvnReadOctStringDyn(pctxt, &string)) != 0) break;
      value = octets(string.data, string.numocts);
      if (out) need(rtAvnWriteOctStr(out, string.numocts, string.data) == 0);
      break;
   }
   case 5: {
      size_t count = 0;
      if ((status = rtAvnReadNamedBits64(pctxt, names, data.get(), &count, room)) != 0) break;
      need(count <= room * 8);
      value = std::to_string(count) + octets(data.get(), room);
      if (out) need(rtAvnWriteBitStrNamed(out, count, data.get(), names) == 0);
      break;
   }
   case 6: {
      const char* text = nullptr;
      if ((status = rtAvnReadString(pctxt, &text)) == 0) value = text;
      if (out && status == 0) need(rtAvnWriteCharStr(out, text) == 0);
      break;
   }
   case 7: {
      Rtx16BitCharString text = {};
      if ((status = rtAvnReadUCS2(pctxt, &text)) != 0) break;
      value = octets(reinterpret_cast<const uint8_t*>(text.data), size_t{text.nchars} * 2);
      if (out) need(rtAvnWriteBMPStr(out, &text) == 0);
      if (out && holdsLineEnd(text)) return RTX_E_UNSUPPORTED;
      break;
   }
   case 8: {
      Rtx32BitCharString text = {};
      if ((status = rtAvnReadUCS4(pctxt, &text)) != 0) break;
      value = octets(reinterpret_cast<const uint8_t*>(text.data), size_t{text.nchars} * 4);
      if (out) need(rtAvnWriteUnivStr(out, &text) == 0);
      if (out && holdsLineEnd(text)) return RTX_E_UNSUPPORTED;
      break;
   }
   case 9: {
      double number = 0;
      if ((status = rtAvnReadReal(pctxt, &number)) != 0) break;
      value = octets(reinterpret_cast<const uint8_t*>(&number), sizeof number);
      if (out) need(rtAvnWriteReal(out, number) == 0);
      if (out) return RTX_E_UNSUPPORTED; // six digits need not hold it
      break;
   }
   case 10: {
      const char* text = nullptr;
      size_t length = 0;
      if ((status = rtAvnReadOpenType(pctxt, &text, &length)) != 0) break;
      value.assign(text, length);
      if (out) need(rtxCopyAsciiText(out, text) == 0);
      if (out && (strlen(text) != length || value.find("--") != value.npos)) return RTX_E_UNSUPPORTED;
      break;
   }
   case 11: {
      uint8_t boolean = 0;
      status = rtAvnReadBoolean(pctxt, &boolean);
      value = std::to_string(boolean);
      if (out && status == 0) need(rtxCopyAsciiText(out, boolean ? "TRUE" : "FALSE") == 0);
      break;
   }
   case 12: {
      const char* text = nullptr;
      if ((status = rtxTxtReadBigInt(pctxt, &text)) == 0) value = text;
      if (out && status == 0) need(rtxCopyAsciiText(out, text) == 0);
      break;
   }
   case 13: {
      const char* text = nullptr;
      if ((status = rtAvnReadIdentifier(pctxt, &text)) == 0) value = text;
      if (out && status == 0) need(rtxCopyAsciiText(out, text) == 0);
      break;
   }
   case 14: {
      uint8_t number = 0;
      if ((status = rtxTxtReadUInt8(pctxt, &number)) == 0) value = std::to_string(number);
      if (out && status == 0) need(rtxTxtWriteUInt(out, number) == 0);
      break;
   }
   case 15:
   case 16: {
      RtxOID oid = {};
      if ((status = kind == 15 ? rtAvnReadObjId(pctxt, &oid) : rtAvnReadRelOID(pctxt, &oid)) != 0) break;
      value = octets(reinterpret_cast<const uint8_t*>(oid.subid), oid.numids * sizeof(oid.subid[0]));
      if (out) need(rtAvnWriteOID(out, &oid) == 0);
      break;
   }
   case 17:
   case 18: {
      const char* text = nullptr;
      if ((status = kind == 17 ? rtAvnReadObjIdStr(pctxt, &text) : rtAvnReadRelOIDStr(pctxt, &text)) != 0)
         break;
      value = text;
      if (out) need(rtAvnWriteOIDStr(out, text) == 0);
      break;
   }
   default: {
      uint32_t numocts = 0;
      if ((status = rtAvnReadOctString(pctxt, data.get(), &numocts, room)) != 0) break;
      value = octets(data.get(), numocts);
      if (out) need(rtAvnWriteOctStr(out, numocts, data.get()) == 0);
   }
   }
   return status;
}

// One for all runs: a context is fit for use again after any failure.
struct Context : RtxContext {
   Context() { need(rtInitContext(this) == 0); }
   ~Context() { rtFreeContext(this); }
};

struct Source {
   const uint8_t* data;
   size_t left;
   size_t chunk;
};

void attach(RtxContext* pctxt, Source* source) {
   auto* stream = static_cast<RtxStream*>(rtxMemHeapSysAllocZ(pctxt, sizeof(RtxStream)));
   need(stream != nullptr);
   stream->extra = source;
   stream->kind = RTX_STREAM_KIND_FILE;
   stream->flags = RTX_STREAM_READ;
   stream->read = [](RtxStream* self, uint8_t* target, size_t maxocts) {
      auto* from = static_cast<Source*>(self->extra);
      const size_t run = std::min(std::min(maxocts, from->chunk), from->left);
      if (run != 0) memcpy(target, from->data, run);
      from->data += run;
      from->left -= run;
      return static_cast<ptrdiff_t>(run);
   };
   stream->close = [](RtxStream*) { return 0; };
   pctxt->stream = stream;
   pctxt->flags &= ~RTX_CTXT_BUFFER_MODE;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 2) return 0;
   const uint8_t kind = data[0] % 20;
   const size_t room = data[1] & 31;
   const size_t chunk = 1 + (data[1] >> 5) * size_t{3};
   const std::unique_ptr<uint8_t[]> input(new uint8_t[size - 2]);
   if (size > 2) memcpy(input.get(), data + 2, size - 2);

   static Context buffered, streamed, out;
   rtxCtxtSetBufPtr(&buffered, input.get(), size - 2);
   Source source = {input.get(), size - 2, chunk};
   attach(&streamed, &source);

   std::string value, other;
   const int status = readOne(&buffered, kind, room, value, nullptr);
   need(readOne(&streamed, kind, room, other, nullptr) == status && other == value);
   need(source.left + streamed.bufSize - streamed.bufByteIndex == buffered.bufSize - buffered.bufByteIndex);
   need(status <= 0 && (status == 0) == (rtxErrGetErrorCnt(&buffered) == 0));

   if (status == 0) {
      rtxCtxtSetBufPtr(&out, nullptr, 16);
      rtxCtxtSetBufPtr(&buffered, input.get(), size - 2);
      const bool comesBack = readOne(&buffered, kind, room, other, &out) == 0;
      const std::string text = octets(out.bufData, out.bufByteIndex);
      const std::unique_ptr<uint8_t[]> again(new uint8_t[text.size()]);
      if (!text.empty()) memcpy(again.get(), text.data(), text.size());
      rtxCtxtSetBufPtr(&buffered, again.get(), text.size());
      if (comesBack) need(readOne(&buffered, kind, room, other, nullptr) == 0 && other == value);
   }
   rtxStreamClose(&streamed);
   for (Context* context : {&buffered, &streamed, &out}) {
      context->bufData = nullptr;
      rtxMemReset(context);
   }
   return 0;
}
