#include "src/frame/pdu.h"

#include "runtime/core/rtxMemHeapInline.h"

namespace quorva::frame {

int decodeMessage(Decoder d, const MessageRow& row, void* data, int* reported, int line) {
   RtxContext* ctxt = d.ctxt();
   void* record = data;
   if (row.decode != nullptr) {
      if (!row.isInline) {
         record = hot::alloc(ctxt, row.size);
         if (record == nullptr) return RTX_E_NOMEM;
         std::memcpy(data, &record, sizeof record);
      }
      if (row.init != nullptr) row.init(record);
   }
   L3_TRY(d.push(row.member));
   if (row.decode != nullptr) L3_TRY(d.inner(line, row.decode, record, reported));
   d.pop();
   return 0;
}

int encodeMessage(Encoder e, const MessageTable& table, uint32_t selector, void* data, int line) {
   const MessageRow* row = table.select(selector);
   if (row == nullptr) return e.failed(RTX_E_BAD_CHOICE, line);
   L3_TRY(e.push(row->member));
   if (row->encode != nullptr) {
      void* record = data;
      if (!row->isInline) {
         std::memcpy(&record, data, sizeof record);
         if (record == nullptr) return e.failed(RTX_E_NULL, line);
      }
      if (const int status = row->encode(e.ctxt(), record); status < 0) return e.failed(status, line);
   }
   e.pop();
   return 0;
}

int unknownMessage(Decoder d, unsigned type, int line) {
   RtxContext* ctxt = d.ctxt();
   const int status = rtxErrInvUIntOpt(ctxt, type);
   const Site where = d.site(line);
   const int overall = rtxErrSetNewData(ctxt, status, where.file, where.line);
   return overall < 0 ? overall : status;
}

} // namespace quorva::frame
