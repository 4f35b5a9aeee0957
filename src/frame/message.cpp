#include "src/frame/message.h"

namespace quorva::frame {

MessageDecoder::Place MessageDecoder::rowsAside(RtxContext* ctxt, const walk::Module& module, unsigned typeAndRow,
                                                void* record, const uint8_t* at, unsigned count) {
   const bool half = static_cast<int>(count) < 0;
   if (at != nullptr) goOut(ctxt, at, half);
   const int status =
         walk::decodeRows(ctxt, module, typeAndRow >> 16, record, typeAndRow & 0xFFFF, half ? ~count : count);
   return comeBack(ctxt, status);
}

// The name under which what follows may fail.
int MessageDecoder::begin() {
   return Codec(ctxt_, module_.decodeSource).begin(module_.texts + module_.types[type_].decodedName);
}

MessageDecoder::Place MessageDecoder::dropAside(MessageDecoder copy, unsigned row) {
   if (copy.end_ != nullptr) goOut(copy.ctxt_, copy.at_, copy.inside());
   int status = copy.begin();
   Decoder decoder(copy.ctxt_, copy.module_.decodeSource);
   const walk::Wire& wire = copy.module_.wires[copy.module_.types[copy.type_].first + row];
   if (status >= 0) status = copy.Scan::drop(decoder, static_cast<Format>(wire.format), wire.lead);
   return comeBack(copy.ctxt_, status);
}

MessageDecoder::Place MessageDecoder::skipAside(MessageDecoder copy, unsigned last) {
   if (copy.end_ != nullptr) goOut(copy.ctxt_, copy.at_, copy.inside());
   copy.previous_ = last;
   int status = copy.begin();
   Decoder decoder(copy.ctxt_, copy.module_.decodeSource);
   if (status >= 0) status = copy.Scan::unknown(decoder);
   return comeBack(copy.ctxt_, status);
}

bool MessageDecoder::nextInFull(MessageDecoder& copy) {
   Decoder decoder(copy.ctxt_, copy.module_.decodeSource);
   if (const int status = copy.begin(); status < 0) {
      copy.failed_ = true;
      return copy.end(status);
   }
   const bool more = copy.Scan::next(decoder);
   copy.setPlace(comeBack(copy.ctxt_, 0));
   copy.octet_ = 0x100; // the cursor is behind the IEI as it is
   return more;
}

int MessageDecoder::finish(int shifts) {
   if (end_ != nullptr) goOut(ctxt_, at_, false);
   Decoder decoder(ctxt_, module_.decodeSource);
   if (end_ != at_) {
      L3_TRY(begin());
      L3_TRY(decoder.nonImperative(shifts));
   }
   return decoder.ended();
}

MessageEncoder::Place MessageEncoder::rowsAside(RtxContext* ctxt, const walk::Module& module, unsigned typeAndRow,
                                                void* record, size_t index, unsigned count) {
   if (index != kNowhere) ctxt->bufByteIndex = index;
   const int status = walk::encodeRows(ctxt, module, typeAndRow >> 16, record, typeAndRow & 0xFFFF, count);
   return comeBack(ctxt, status);
}

} // namespace quorva::frame
