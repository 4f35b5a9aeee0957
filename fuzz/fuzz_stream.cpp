// Any sequence of operations on any stack of streams. The octets steer the steps, and are the input as well.
#include "fuzz/fuzz.h"
#include "quorva/rtxBits.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "quorva/TS24301Msg.h"

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace quorva::fuzz;

namespace {

struct Source {
   const uint8_t* octets;
   size_t left, chunk;
};

ptrdiff_t readSource(RtxStream* stream, uint8_t* target, size_t maxocts) {
   auto* source = static_cast<Source*>(stream->extra);
   const size_t run = std::min({maxocts, source->chunk, source->left});
   if (run != 0) memcpy(target, source->octets, run);
   source->octets += run;
   source->left -= run;
   return static_cast<ptrdiff_t>(run);
}

void attachSource(RtxContext* pctxt, Source& source, uint16_t flags) {
   if (rtxStreamInit(pctxt) < 0) return;
   RtxStream* stream = pctxt->stream;
   stream->extra = &source;
   stream->kind = 99;
   stream->flags = flags;
   stream->inputLimit = SIZE_MAX;
   stream->read = readSource;
   stream->write = [](RtxStream*, const uint8_t* octets, size_t numocts) {
      uint8_t sum = 0; // every octet is looked at
      for (size_t i = 0; i < numocts; ++i) sum = static_cast<uint8_t>(sum + octets[i]);
      return sum == 77 && numocts == 3 ? RTX_E_FILE_WRITE : 0;
   };
   stream->skip = [](RtxStream* self, size_t numocts) {
      auto* from = static_cast<Source*>(self->extra);
      if (numocts > from->left) return RTX_E_END_OF_STREAM;
      from->octets += numocts;
      from->left -= numocts;
      return 0;
   };
   stream->close = [](RtxStream*) { return 0; };
}

// Base64 above base64 takes time by powers: the caller stacks layers, not the input.
unsigned layers;

void layer(RtxContext* pctxt, unsigned which) {
   if (++layers > 8) return;
   switch (which % 9) {
   case 0: rtxStreamBufferedCreate(pctxt, which / 9 & 1); break;
   case 1: rtxStreamCtxtBufCreate(pctxt); break;
   case 2: rtxStreamDirectBufCreate(pctxt); break;
   case 3: rtxStreamBase64TextAttach(pctxt); break;
   case 4: rtxStreamHexTextAttach(pctxt); break;
   case 5: rtxStreamBufferedRelease(pctxt); break;
   case 6: rtxStreamCtxtBufFree(pctxt); break;
   case 7: rtxStreamDirectBufCheck(pctxt); break;
   default: rtxStreamCtxtBufCheck(pctxt); break;
   }
}

void message(RtxContext* pctxt, bool encode) {
   static TS24301Msg_PDU pdu;
   if (!encode) {
      memset(&pdu, 0, sizeof pdu);
      NASDec_TS24301Msg_PDU(pctxt, &pdu);
      return;
   }
   TS24301IE_UENetworkCapability capability{};
   asn1Init_TS24301IE_UENetworkCapability(&capability);
   NASEnc_TS24301IE_UENetworkCapability(pctxt, &capability);
}

std::vector<std::vector<uint8_t>> own; // buffers that the caller gave

void step(RtxContext* pctxt, RtxMemBuf* copy, unsigned op, size_t count) {
   static uint8_t target[70000];
   size_t pos = 0;
   uint32_t value = 0;
   if (op >= 0x80) count *= 17;
   switch (op % 32) {
   case 0: rtxStreamRead(pctxt, target, count); break;
   case 1: rtxStreamRead2(pctxt, target, count / 2, count); break;
   case 2: rtxStreamRead(pctxt, nullptr, count); break;
   case 3: rtxStreamSkip(pctxt, count); break;
   case 4: rtxStreamMark(pctxt, count * 4); break;
   case 5: rtxStreamReset(pctxt); break;
   case 6: rtxStreamGetPos(pctxt, &pos); break;
   case 7: rtxStreamSetPos(pctxt, count); break;
   case 8: rtxDecBits(pctxt, &value, count % 33); break;
   case 9: rtxReadBytes(pctxt, target, count); break;
   case 10: rtxDecBitsToByteArray(pctxt, target, sizeof target, count * 3); break;
   case 11: rtxSkipBytes(pctxt, count); break;
   case 12: rtxMoveBitCursor(pctxt, static_cast<int32_t>(count) - 40); break;
   case 13: rtxPeekByte(pctxt, target); break;
   case 14: rtxPeekBytes(pctxt, target, sizeof target, count, &pos); break;
   case 15: rtxStreamDirectBufPreRead(pctxt, count); break;
   case 16: rtxStreamBufferedPrependReadBuf(pctxt, target, count); break;
   case 17: rtxStreamBufferedSetPreReadBuf(pctxt, target, count); break;
   case 18: rtxStreamWrite(pctxt, target, count); break;
   case 19: rtxWriteBytes(pctxt, target, count); break;
   case 20: rtxEncBits(pctxt, 0xA5A5A5A5, count % 33); break;
   case 21: rtxEncBitsFromByteArray(pctxt, target, count * 3); break;
   case 22: rtxStreamFlush(pctxt); break;
   case 23: rtxStreamSetCapture(pctxt, count % 2 ? copy : nullptr); break;
   case 24:
      if (op < 0x80) {
         rtxStreamMemoryGetBuffer(pctxt, &pos);
      } else {                             // a buffer of the caller's, or a new one
         own.emplace_back(count % 64 + 1); // a memory stream may hold on to it
         rtxCtxtSetBufPtr(pctxt, count % 3 != 0 ? own.back().data() : nullptr, own.back().size());
      }
      break;
   case 25: message(pctxt, count % 2 != 0); break;
   case 26: // a frame
      if (pctxt->stream != nullptr) pctxt->stream->inputLimit = rtxCtxtGetBitOffset(pctxt) / 8 + count;
      break;
   case 27:
      if (op >= 0x80) rtxCtxtClearFlag(pctxt, RTX_CTXT_BUFFER_MODE);
      if (pctxt->stream != nullptr) pctxt->stream->inputLimit = SIZE_MAX;
      break;
   case 28: op < 0x80 ? rtxMarkPos(pctxt, &pos) : rtxResetToPos(pctxt, count); break;
   case 29: rtxStreamReadDirect(pctxt, target, count); break;
   case 30: rtxMemReset(pctxt); break; // between two messages
   default: layer(pctxt, static_cast<unsigned>(count));
   }
   rtxErrReset(pctxt);
   if (pctxt->bufBitsLeft < 1 || pctxt->bufBitsLeft > 8) abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 4) return 0;
   own.clear();
   Context ctxt;
   layers = 0;
   std::vector<uint8_t> octets(data + 4, data + size);
   octets.resize(octets.size() * (1 + data[2] % 8), 'A');
   Source source{octets.data(), octets.size(), 1 + data[1] % 32u};
   RtxMemBuf copy;
   rtxMemBufInit(&ctxt, &copy, 0);
   FILE* file = nullptr;
   const uint16_t flags = data[0] & 0x80 ? RTX_STREAM_WRITE : RTX_STREAM_READ;
   switch (data[0] % 4) {
   case 0: attachSource(&ctxt, source, flags); break;
   case 1: rtxStreamMemoryAttach(&ctxt, octets.data(), octets.size(), flags); break;
   case 2: rtxStreamMemoryCreate(&ctxt, RTX_STREAM_WRITE); break;
   default:
      file = flags & RTX_STREAM_WRITE ? fopen("/dev/null", "wb")
                                      : fmemopen(octets.data(), octets.size(), "rb");
      if (file != nullptr) rtxStreamFileAttach(&ctxt, file, flags);
   }
   layer(&ctxt, data[3]);
   const size_t steps = std::min<size_t>(size - 4, 400) / 2;
   for (size_t i = 0; i < steps && ctxt.stream != nullptr; ++i) {
      // The heap's copy ends with the heap.
      const unsigned op = data[4 + 2 * i];
      if (op % 32 == 30) {
         rtxStreamSetCapture(&ctxt, nullptr);
         rtxMemBufInit(&ctxt, &copy, 0);
      }
      step(&ctxt, &copy, op, data[5 + 2 * i]);
   }
   rtxStreamSetCapture(&ctxt, nullptr);
   rtxStreamClose(&ctxt);
   if (file != nullptr) fclose(file);
   return 0;
}
