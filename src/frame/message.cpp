#include "src/frame/message.h"

namespace quorva::frame {

// The name under which what follows may fail.
int MessageDecoder::begin() {
   return Codec(ctxt_).begin(module_.texts + module_.types[type_].decodedName);
}

void MessageDecoder::comeBack() {
   at_ = ctxt_->bufData + ctxt_->bufByteIndex;
   const bool elementsEnd = (module_.types[type_].flags & walk::kElementsEnd) != 0;
   end_ = ctxt_->bufBitsLeft == 8 ? messageEnd(ctxt_, elementsEnd) : nullptr;
}

int MessageDecoder::rest() {
   goOut(ctxt_, at_, false);
   return walk::decodeRest(ctxt_, module_, type_, record_, row_);
}

bool MessageDecoder::nextInFull(MessageDecoder& copy) {
   Decoder decoder(copy.ctxt_);
   if (const int status = copy.begin(); status < 0) {
      copy.failed_ = true;
      return copy.end(status);
   }
   const bool more = copy.Scan::next(decoder);
   copy.comeBack();
   copy.octet_ = 0; // the cursor is behind the IEI as it is
   return more;
}

int MessageDecoder::elementInFull(MessageDecoder& copy) {
   if (copy.end_ != nullptr) goOut(copy.ctxt_, copy.at_, copy.inside());
   int status = copy.begin();
   if (status >= 0) status = walk::decodeElement(copy.ctxt_, copy.module_, copy.type_, copy.record_, copy);
   copy.comeBack();
   return status;
}

int MessageDecoder::finish(int shifts) {
   goOut(ctxt_, at_, false);
   Decoder decoder(ctxt_);
   if (decoder.more()) {
      L3_TRY(begin());
      L3_TRY(decoder.nonImperative(shifts));
   }
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
