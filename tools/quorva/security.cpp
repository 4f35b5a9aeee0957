#include "tools/quorva/security.h"

#include "quorva/rt3gppNasSec.h"

namespace quorva::tool {

// The part of COUNT that a message carries.
struct SequenceNumber {
   uint32_t value;
   unsigned bits;
};

static std::optional<SequenceNumber> sequenceNumberOf(const std::vector<uint8_t>& octets) {
   if (octets.empty()) return std::nullopt;
   const unsigned first = octets[0];
   if (first == 0x7E) { // TS 24.501, 9.1.1
      if (octets.size() < 7 || (octets[1] & 15) == 0) return std::nullopt;
      return SequenceNumber{octets[6], 8};
   }
   if ((first & 15) != 7 || first >> 4 == 0) return std::nullopt;
   if (first >> 4 >= 12) { // Service Request, TS 24.301, 9.9.3.19
      if (octets.size() < 2) return std::nullopt;
      return SequenceNumber{octets[1] & 31u, 5};
   }
   if (octets.size() < 6) return std::nullopt;
   return SequenceNumber{octets[5], 8};
}

uint32_t Security::countOf(const std::vector<uint8_t>& octets) {
   const auto sequence = sequenceNumberOf(octets);
   if (!sequence) return next_;
   const bool exact = !started_ && options_.count.has_value();
   started_ = true;
   uint32_t count = next_;
   if (!exact) {
      const uint32_t range = 1u << sequence->bits;
      count = (next_ & ~(range - 1)) | sequence->value;
      if (count < next_) count += range;
   }
   next_ = count + 1;
   return count;
}

int Security::prepare(RtxContext* ctxt, uint32_t count) const {
   if (options_.uplink) rtxCtxtSetFlag(ctxt, RTX_CTXT_UPLINK);
   if (!options_.any()) return 0;
   int status = rtx3gppSecInitialize(ctxt);
   if (status < 0) return status;
   const auto keyOf = [](const std::optional<Key>& key) { return key ? key->data() : nullptr; };
   status = rtx3gppAssignAlgorithmKeys(ctxt, keyOf(options_.integrityKey), keyOf(options_.cipherKey),
                                       options_.integrityKey ? 2 : 0, options_.cipherKey ? 2 : 0);
   if (status < 0) return status;
   ctxt->nasSec->count = count;
   ctxt->nasSec->bearer = options_.bearer;
   ctxt->nasSec->direction = options_.uplink ? 0 : 1;
   return 0;
}

} // namespace quorva::tool
