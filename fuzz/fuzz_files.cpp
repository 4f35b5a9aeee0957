// Headers of charging files and captures, from any octets; a charging header is written and read again.
#include "fuzz/fuzz.h"
#include "quorva/rt3GPPTS32297.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxPcapFile.h"
#include "quorva/rtxPrintToStream.h"

#include <vector>

using namespace quorva::fuzz;

namespace {

int give(RtxContext* ctxt, std::vector<uint8_t>& octets) {
   return rtxCtxtSetBufPtr(ctxt, octets.data(), octets.size());
}

uint8_t numberOf(uint8_t code) {
   return code == 7 ? 10 : static_cast<uint8_t>(code + 3);
}

void charging(RtxContext* ctxt, std::vector<uint8_t>& octets) {
   RtTS32297FileHdr hdr, again;
   rtInitTS32297FileHdr(&hdr);
   rtInitTS32297FileHdr(&again);
   give(ctxt, octets);
   const int length = rtDecTS32297FileHdr(ctxt, &hdr);
   if (length >= 0) {
      need(static_cast<size_t>(length) <= octets.size() && ctxt->bufByteIndex == static_cast<size_t>(length));
      rtPrtToStrmTS32297FileHdr(ctxt, &hdr);
      const bool whole = static_cast<uint32_t>(length) == hdr.headerLength && hdr.lowReleaseExtPresent;
      hdr.highRelease = numberOf(hdr.highRelease);
      hdr.lowRelease = numberOf(hdr.lowRelease);
      std::vector<uint8_t> written(rtTS32297CalcFileHdrLen(&hdr));
      give(ctxt, written);
      need(rtEncTS32297FileHdr(ctxt, &hdr) == static_cast<int>(written.size()));
      // What was read whole comes back as it was.
      if (whole) need(memcmp(written.data(), octets.data(), written.size()) == 0);
      // A filter longer than its file is refused, in what was written as well.
      give(ctxt, written);
      need(rtDecTS32297FileHdr(ctxt, &again) == static_cast<int>(written.size()) || hdr.fileLength < 65536);
   }
   for (const RtTS32297FileHdr* each : {&hdr, &again}) {
      free(each->cdrRoutingFilter.data);
      free(each->privateExtension.data);
   }
   RtTS32297Hdr cdr;
   give(ctxt, octets);
   while (rtDecTS32297Hdr(ctxt, &cdr) > 0) rtPrtToStrmTS32297Hdr(ctxt, &cdr);
}

void texts(const char* text) {
   RtTS32297Timestamp timestamp;
   RtTS32297RelVersId id;
   uint8_t number;
   char out[18];
   if (rtParseTS32297TimestampText(text, &timestamp) == 0) {
      rtTS32297TimestampToText(&timestamp, out, sizeof(out));
      need(memcmp(out, text, 5) == 0 && memcmp(out + 6, text + 6, 11) == 0);
   }
   rtParseTS32297RelVersText(text, &id);
   if (rtParseTS32297TSNumberText(text, &number) == 0)
      need(rtTS32297TSNumberToText(number, out, sizeof(out)) == 0);
}

void capture(RtxContext* ctxt, std::vector<uint8_t>& octets) {
   give(ctxt, octets);
   RtxPcapHdr file;
   RtxPcapRecHdr record;
   RtxEtherHdr frame;
   uint8_t swap = 0;
   if (rtxDecPcapHdr(ctxt, &file, &swap) != 0) return;
   while (rtxDecPcapRecHdr(ctxt, &record, swap) == 0 && rtxDecEtherHdr(ctxt, &frame, swap) == 0) {}
}

int drop(void*, const char*, va_list) {
   return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   Context ctxt;
   rtxSetPrintStream(&ctxt, drop, nullptr);
   std::vector<uint8_t> octets(data, data + size);
   charging(&ctxt, octets);
   capture(&ctxt, octets);
   octets.push_back(0);
   texts(reinterpret_cast<const char*>(octets.data()));
   return 0;
}
