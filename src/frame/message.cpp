#include "src/frame/message.h"

namespace quorva::frame {

// The name under which what follows may fail.
int MessageDecoder::begin(RtxContext* ctxt, const walk::Module& module, unsigned type) {
   return Codec(ctxt).begin(module.texts + module.types[type].decodedName);
}

int MessageDecoder::restInFull(RtxContext* ctxt, const walk::Module& module, unsigned typeAndRow,
                               void* record, const uint8_t* at) {
   goOut(ctxt, at, false);
   return walk::decodeRest(ctxt, module, typeAndRow >> 16, record, typeAndRow & 0xFFFF);
}

MessageDecoder::Scanned MessageDecoder::scanInFull(RtxContext* ctxt, const walk::Module& module, void* record,
                                                   const uint8_t* at, uint64_t typeAndScanned) {
   const auto type = static_cast<unsigned>(typeAndScanned >> 32);
   const auto scanned = static_cast<unsigned>(typeAndScanned);
   const walk::Type& message = module.types[type];
   unsigned iei = 0;
   if (at != nullptr) {
      const bool half = holdsHalf(message.halfOctets, at[-1]);
      iei = half ? at[-1] >> 4 : at[-1];
      goOut(ctxt, at, half);
   }
   Scan scan(message.halfOctets, (message.flags & walk::kShifts) != 0,
             {scanned >> 16, scanned & 0xFF, scanned >> 8 & 0xFF}, iei);
   Decoder decoder(ctxt);
   const uint8_t* end = nullptr;
   int status = begin(ctxt, module, type);
   for (bool behindIei = at != nullptr; status >= 0 && end == nullptr; behindIei = false) {
      if (!behindIei && !scan.next(decoder)) {
         status = scan.finish(decoder);
         break;
      }
      status = walk::decodeElement(ctxt, module, type, record, scan);
      // There are elements that leave their container behind, by whose end the rest of the message goes.
      if (status >= 0 && ctxt->bufBitsLeft == 8)
         end = messageEnd(ctxt, (message.flags & walk::kElementsEnd) != 0);
   }
   const Scan::Place& place = scan.place();
   return {end, place.codeset << 16 | place.order << 8 | place.previous, end != nullptr ? kUnderWay : status};
}

int MessageDecoder::behindLast(RtxContext* ctxt, const walk::Module& module, unsigned type, int shifts) {
   Decoder decoder(ctxt);
   L3_TRY(begin(ctxt, module, type));
   L3_TRY(decoder.nonImperative(shifts));
   return decoder.ended();
}

MessageEncoder::Place MessageEncoder::elementInFull(RtxContext* ctxt, const walk::Module& module,
                                                    unsigned typeAndRow, void* record, size_t index) {
   ctxt->bufByteIndex = index;
   const int status = walk::encodeElement(ctxt, module, typeAndRow >> 16, record, typeAndRow & 0xFFFF);
   return {ctxt->bufData + ctxt->bufByteIndex, ctxt->bufData + ctxt->bufSize, status};
}

int MessageEncoder::restInFull(RtxContext* ctxt, const walk::Module& module, unsigned typeAndRow,
                               void* record, size_t index) {
   ctxt->bufByteIndex = index;
   return walk::encodeRest(ctxt, module, typeAndRow >> 16, record, typeAndRow & 0xFFFF);
}

} // namespace quorva::frame
