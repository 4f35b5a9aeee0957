/**
 * @file context.h
 * A context for one test, freed with it.
 */
#ifndef QUORVA_TESTS_SUPPORT_CONTEXT_H
#define QUORVA_TESTS_SUPPORT_CONTEXT_H

#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "tests/support/vectors.h"

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

   /** Gives the octets as input. They are kept in a block of their own size, for the sanitizers. */
   TestContext& decode(const Octets& octets) {
      input_.assign(octets.begin(), octets.end());
      input_.shrink_to_fit();
      rtxCtxtSetBufPtr(&context_, input_.data(), input_.size());
      return *this;
   }

   /** Gives an output that holds `capacity` octets and does not grow. */
   TestContext& encode(size_t capacity = 512) {
      input_.assign(capacity, 0xEE);
      input_.shrink_to_fit();
      rtxCtxtSetBufPtr(&context_, input_.data(), input_.size());
      return *this;
   }

   /** What has been written, the octet under the cursor included if bits of it are. */
   std::string written() const {
      return hexFromOctets(input_.data(), context_.bufByteIndex + (context_.bufBitsLeft == 8 ? 0 : 1));
   }

   /** Octets passed by the cursor. */
   size_t used() const { return context_.bufByteIndex; }

   /** Parameters on record. */
   std::vector<std::string> parms() const {
      const RtxErrInfo& info = context_.errFixed;
      return {info.parms, info.parms + info.parmCount};
   }

private:
   RtxContext context_;
   Octets input_;
};

} // namespace quorva::test

#endif
