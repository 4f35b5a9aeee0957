/** How much memory a message can make a decoder take: the factors that SECURITY.md states. */
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/TS24301Msg.h"
#include "quorva/TS24501IE.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace {

size_t taken; ///< Octets asked of the system; what goes back in the meantime is not taken off.

void* countingAlloc(size_t nbytes) {
   taken += nbytes;
   return std::malloc(nbytes);
}

using Octets = std::vector<uint8_t>;

/** Octets of heap that `decode` takes of an otherwise empty context. */
template <class Record>
size_t heapFor(Octets& message, int (*decode)(RtxContext*, Record*), Record& record, int expected) {
   RtxContext context;
   EXPECT_EQ(rtxInitContextExt(&context, countingAlloc, nullptr, std::free), 0);
   rtxCtxtSetBufPtr(&context, message.data(), message.size());
   taken = 0;
   EXPECT_EQ(decode(&context, &record), expected);
   rtxFreeContext(&context);
   return taken;
}

TEST(Amplification, UnknownElementsCostNothingEach) {
   Octets message = {0x07, 0x44, 0x03};
   for (int i = 0; i < 200000; ++i) { // that must be understood, and never the same twice in a row
      message.push_back(i % 2 == 0 ? 0x30 : 0x40);
      message.push_back(0);
   }
   TS24301Msg_PDU pdu;
   asn1Init_TS24301Msg_PDU(&pdu);
   EXPECT_LE(heapFor(message, NASDec_TS24301Msg_PDU, pdu, RTX_E_MULTIPLE), 4096u * 4);
}

/** The least octets that make an entry of a multiple payload container, which has all its parts inline. */
TEST(Amplification, LargeListEntriesHaveTheirFactorAndTheirEnd) {
   for (const unsigned entries : {1u, 64u, 255u}) {
      Octets message = {static_cast<uint8_t>(entries)};
      for (unsigned i = 0; i < entries; ++i) message.insert(message.end(), {0, 3, 0x11, 0x12, 0});
      TS24501IE_PayloadContainerContents contents;
      asn1Init_TS24501IE_PayloadContainerContents(&contents);
      const size_t heap = heapFor(message, NASDec_TS24501IE_PayloadContainerContents, contents, 0);
      EXPECT_LE(heap, message.size() * 1600);
      EXPECT_LE(heap, 2u << 20);
   }
   // A count without entries behind it takes no more than its first entry.
   Octets message = {255};
   TS24501IE_PayloadContainerContents contents;
   asn1Init_TS24501IE_PayloadContainerContents(&contents);
   EXPECT_LE(heapFor(message, NASDec_TS24501IE_PayloadContainerContents, contents, 0), 8192u);
}

} // namespace
