// Headers of capture files.
#include "quorva/rtxPcapFile.h"

#include <cstdio>

#include "quorva/rtxBits.h"
#include "runtime/core/rtxInline.h"

namespace {

// Reads numbers in the order of octets of a file, until something fails.
class PcapReader {
public:
   PcapReader(RtxContext* pctxt, bool swap) : pctxt_(pctxt), swap_(swap) {}

   int status() const { return status_; }
   void swap(bool on) { swap_ = on; }

   PcapReader& octets(uint8_t* target, size_t numocts) {
      if (status_ != RTX_OK) return *this;
      const int status = rtxReadBytes(pctxt_, target, numocts);
      if (status < 0) status_ = quorva::recordFailure(pctxt_, status);
      return *this;
   }

   template <typename Int>
   PcapReader& number(Int& value) {
      uint8_t read[sizeof(Int)];
      octets(read, sizeof(Int));
      if (status_ != RTX_OK) return *this;
      uint32_t result = 0;
      for (size_t i = 0; i < sizeof(Int); ++i) result = result << 8 | read[swap_ ? sizeof(Int) - 1 - i : i];
      value = static_cast<Int>(result);
      return *this;
   }

private:
   RtxContext* pctxt_;
   bool swap_;
   int status_ = RTX_OK;
};

} // namespace

int rtxDecPcapHdr(RtxContext* pctxt, RtxPcapHdr* hdr, uint8_t* pSwap) {
   PcapReader reader(pctxt, false);
   if (!hdr) return reader.octets(nullptr, 24).status();
   reader.octets(hdr->magic, sizeof(hdr->magic));
   if (reader.status() != RTX_OK) return reader.status();
   const bool swap = hdr->magic[0] == 0xD4;
   if (pSwap) *pSwap = swap;
   reader.swap(swap);
   return reader.number(hdr->version_major)
         .number(hdr->version_minor)
         .number(hdr->thiszone)
         .number(hdr->sigfigs)
         .number(hdr->snaplen)
         .number(hdr->network)
         .status();
}

int rtxDecPcapRecHdr(RtxContext* pctxt, RtxPcapRecHdr* hdr, uint8_t swap) {
   PcapReader reader(pctxt, swap != 0);
   if (!hdr) return reader.octets(nullptr, 16).status();
   return reader.number(hdr->ts_sec)
         .number(hdr->ts_usec)
         .number(hdr->incl_len)
         .number(hdr->orig_len)
         .status();
}

int rtxDecEtherHdr(RtxContext* pctxt, RtxEtherHdr* hdr, uint8_t swap) {
   PcapReader reader(pctxt, swap != 0);
   if (!hdr) return reader.octets(nullptr, 14).status();
   return reader.octets(hdr->dst, sizeof(hdr->dst))
         .octets(hdr->src, sizeof(hdr->src))
         .number(hdr->type)
         .status();
}

void rtxPrintPcapHdr(const RtxPcapHdr* hdr) {
   printf("magic number = [%02x, %02x, %02x, %02x]\n", hdr->magic[0], hdr->magic[1], hdr->magic[2],
          hdr->magic[3]);
   printf("major version = %d\n", hdr->version_major);
   printf("minor version = %d\n", hdr->version_minor);
   printf("this zone = %d\n", hdr->thiszone);
   printf("sigfigs = %d\n", static_cast<int32_t>(hdr->sigfigs));
   printf("snaplen = %d\n", static_cast<int32_t>(hdr->snaplen));
   printf("network = %d\n", static_cast<int32_t>(hdr->network));
}

void rtxPrintPcapRecHdr(const RtxPcapRecHdr* hdr) {
   printf("ts_sec = %d\n", static_cast<int32_t>(hdr->ts_sec));
   printf("ts_usec = %d\n", static_cast<int32_t>(hdr->ts_usec));
   printf("incl_len = %d\n", static_cast<int32_t>(hdr->incl_len));
   printf("orig_len = %d\n", static_cast<int32_t>(hdr->orig_len));
}
