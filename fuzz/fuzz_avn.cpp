// Readers of value notation. Each input is read from a buffer and from a stream that gives a few octets at a
// time, which must not differ; what was read is written and read again.
#include "fuzz/fuzz.h"
#include "quorva/rtAvn.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "quorva/rtxTxt.h"

#include <algorithm>
#include <string>

using namespace quorva::fuzz;

namespace {

const RtxNamedBit names[] = {{"a", 0}, {"b", 9}, {"c-d", 300}, {"e", UINT32_MAX}, {nullptr, 0}};

std::string octets(const void* data, size_t size) {
   return std::string(static_cast<const char*>(data), size);
}

// Reads one kind of value and gives it in octets. With `out`, writes it there; whether that reads as the same
// is the result then.
int readOne(RtxContext* pctxt, uint8_t kind, size_t room, std::string& value, RtxContext* out) {
   int status = 0;
   bool comesBack = true;
   const std::unique_ptr<uint8_t[]> data(new uint8_t[room]);
   const auto took = [&](int result, const auto& give) {
      if ((status = result) == 0) value = give();
      return out != nullptr && status == 0;
   };
   const auto number = [&](auto n, auto read, auto write) {
      if (took(read(pctxt, &n), [&] { return octets(&n, sizeof n); })) need(write(out, n) == 0);
   };
   const auto text = [&](auto read, auto write) {
      const char* chars = nullptr;
      if (took(read(pctxt, &chars), [&] { return std::string(chars); })) need(write(out, chars) == 0);
   };
   const auto units = [&](auto string, auto read, auto write) {
      const auto all = [&] { return octets(string.data, size_t{string.nchars} * sizeof *string.data); };
      if (!took(read(pctxt, &string), all)) return;
      need(write(out, &string) == 0);
      // A line end, which only an overlong form brings into a text, is written as it is, and falls out when
      // read.
      comesBack = std::none_of(string.data, string.data + string.nchars,
                               [](uint32_t c) { return c >= '\n' && c <= '\r'; });
   };
   const auto oid = [&](auto read) {
      RtxOID id = {};
      if (took(read(pctxt, &id), [&] { return octets(id.subid, id.numids * sizeof id.subid[0]); }))
         need(rtAvnWriteOID(out, &id) == 0);
   };
   const auto bits = [](size_t count, const void* at, size_t size) {
      return std::to_string(count) + octets(at, std::min(size, (count + 7) / 8));
   };
   switch (kind) {
   case 0: number(int64_t{}, rtxTxtReadInt64, rtxTxtWriteInt64); break;
   case 1: {
      size_t count = 0;
      if (took(rtAvnReadBitString64(pctxt, data.get(), &count, room, 0, 0),
               [&] { return need(count <= room * 8), bits(count, data.get(), room); }))
         need(rtAvnWriteBitStr(out, count, data.get(), room, nullptr) == 0);
      break;
   }
   case 2: {
      RtxDynBitStr string = {};
      if (took(rtAvnReadBitStringDyn(pctxt, &string),
               [&] { return bits(string.numbits, string.data, SIZE_MAX); }))
         need(rtAvnWriteBitStr(out, string.numbits, string.data, (size_t{string.numbits} + 7) / 8, nullptr) ==
              0);
      break;
   }
   case 3: {
      uint8_t* more = nullptr;
      uint32_t count = 0;
      const int result = rtAvnReadBitStringExt(pctxt, data.get(), room, &more, &count);
      const size_t size = (size_t{count} + 7) / 8;
      if (took(result,
               [&] { return bits(count, data.get(), room) + octets(more, size > room ? size - room : 0); })) {
         // A half octet in front of the extension would not come back.
         comesBack = size <= room || count % 8 != 4;
         if (comesBack) need(rtAvnWriteBitStr(out, count, data.get(), room, more) == 0);
      }
      break;
   }
   case 4: {
      RtxDynOctStr string = {};
      if (took(rtAvnReadOctStringDyn(pctxt, &string), [&] { return octets(string.data, string.numocts); }))
         need(rtAvnWriteOctStr(out, string.numocts, string.data) == 0);
      break;
   }
   case 5: {
      size_t count = 0;
      if (took(rtAvnReadNamedBits64(pctxt, names, data.get(), &count, room),
               [&] { return need(count <= room * 8), std::to_string(count) + octets(data.get(), room); }))
         need(rtAvnWriteBitStrNamed(out, count, data.get(), names) == 0);
      break;
   }
   case 6: text(rtAvnReadString, rtAvnWriteCharStr); break;
   case 7: units(Rtx16BitCharString{}, rtAvnReadUCS2, rtAvnWriteBMPStr); break;
   case 8: units(Rtx32BitCharString{}, rtAvnReadUCS4, rtAvnWriteUnivStr); break;
   case 9:
      number(double{}, rtAvnReadReal, rtAvnWriteReal);
      comesBack = false; // six digits need not hold it
      break;
   case 10: {
      const char* chars = nullptr;
      size_t length = 0;
      if (took(rtAvnReadOpenType(pctxt, &chars, &length), [&] { return std::string(chars, length); })) {
         need(rtxCopyAsciiText(out, chars) == 0);
         comesBack = strlen(chars) == length && value.find("--") == value.npos;
      }
      break;
   }
   case 11:
      number(uint8_t{}, rtAvnReadBoolean,
             [](RtxContext* to, uint8_t b) { return rtxCopyAsciiText(to, b ? "TRUE" : "FALSE"); });
      break;
   case 12: text(rtxTxtReadBigInt, rtxCopyAsciiText); break;
   case 13: text(rtAvnReadIdentifier, rtxCopyAsciiText); break;
   case 14: number(uint8_t{}, rtxTxtReadUInt8, rtxTxtWriteUInt); break;
   case 15: oid(rtAvnReadObjId); break;
   case 16: oid(rtAvnReadRelOID); break;
   case 17: text(rtAvnReadObjIdStr, rtAvnWriteOIDStr); break;
   case 18: text(rtAvnReadRelOIDStr, rtAvnWriteOIDStr); break;
   default: {
      uint32_t count = 0;
      if (took(rtAvnReadOctString(pctxt, data.get(), &count, room),
               [&] { return octets(data.get(), count); }))
         need(rtAvnWriteOctStr(out, count, data.get()) == 0);
   }
   }
   return status == 0 && out != nullptr ? comesBack : status;
}

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
   const auto input = blockOf(data + 2, size - 2);

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
      const bool comesBack = readOne(&buffered, kind, room, other, &out) == 1;
      const auto again = blockOf(out.bufData, out.bufByteIndex);
      rtxCtxtSetBufPtr(&buffered, again.get(), out.bufByteIndex);
      if (comesBack) need(readOne(&buffered, kind, room, other, nullptr) == 0 && other == value);
   }
   rtxStreamClose(&streamed);
   for (Context* context : {&buffered, &streamed, &out}) {
      context->bufData = nullptr;
      rtxMemReset(context);
   }
   return 0;
}
