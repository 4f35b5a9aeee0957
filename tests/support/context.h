/**
 * @file context.h
 * A context for one test, freed with it.
 */
#ifndef QUORVA_TESTS_SUPPORT_CONTEXT_H
#define QUORVA_TESTS_SUPPORT_CONTEXT_H

#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorva::test {

class TestContext {
public:
   TestContext() {
      if (rtInitContext(&context_) != 0) throw std::runtime_error("no context");
   }
   ~TestContext() { rtFreeContext(&context_); }
   TestContext(const TestContext&) = delete;
   TestContext& operator=(const TestContext&) = delete;

   operator RtxContext*() { return &context_; }
   RtxContext* operator->() { return &context_; }

   /** Gives the octets as input. They stand in a block of their own size, for the sanitizers. */
   TestContext& decode(const Octets& octets) {
      give(octets.size());
      std::copy(octets.begin(), octets.end(), buffer_.get());
      return *this;
   }

   /** Gives an output that holds `capacity` octets and does not grow. */
   TestContext& encode(size_t capacity = 512) {
      give(capacity);
      std::fill_n(buffer_.get(), capacity, uint8_t{0xEE});
      return *this;
   }

   /** What has been written, the octet under the cursor included if bits of it are. */
   std::string written() const {
      return hexFromOctets(buffer_.get(), context_.bufByteIndex + (context_.bufBitsLeft == 8 ? 0 : 1));
   }

   /** Octets passed by the cursor. */
   size_t used() const { return context_.bufByteIndex; }

   /** Parameters on record. */
   std::vector<std::string> parms() const {
      const RtxErrInfo& info = context_.errFixed;
      return {info.parms, info.parms + info.parmCount};
   }

   /** Gives a status back and clears what is on record of it. */
   ptrdiff_t cleared(ptrdiff_t status) {
      rtxErrReset(&context_);
      return status;
   }

private:
   void give(size_t size) {
      buffer_.reset(new uint8_t[size]);
      rtxCtxtSetBufPtr(&context_, buffer_.get(), size);
   }

   RtxContext context_;
   std::unique_ptr<uint8_t[]> buffer_;
};

} // namespace quorva::test

#endif
