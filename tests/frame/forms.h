/**
 * @file forms.h
 * A type in the short and in the full form over the same octets: what a codec leaves must not tell in which
 * it ran. The forms differ only in the trace list that the context carries, and in `lastChar`, which the
 * short form leaves alone.
 */
#ifndef QUORVA_TESTS_FRAME_FORMS_H
#define QUORVA_TESTS_FRAME_FORMS_H

#include "modules/records.h"
#include "runtime/core/rtxInline.h"
#include "tests/frame/frameTest.h"

namespace quorva::test {

using quorva_test::Capture;

// An address of the heap or the stack; two runs have their own ones.
inline bool isAddress(uint64_t word) {
   const int here = 0; // elsewhere they lie in one place
   return (word >> 40 >= 0x55 && word >> 40 <= 0x7F) ||
          (word >> 32 != 0 && word >> 32 == reinterpret_cast<uintptr_t>(&here) >> 32);
}

// One form's context and record.
class Runner {
public:
   Runner(Form form, uint32_t mode) : form_(form), capture_(kTextRoom) {
      rtxCtxtSetFlag(&capture_.ctxt, mode);
   }

   void start(std::vector<uint8_t>& octets, unsigned bit) {
      rtxErrReset(&capture_.ctxt);
      rtxMemReset(&capture_.ctxt);
      rtxCtxtClearFlag(&capture_.ctxt, RTX_CTXT_RAW_TAIL);
      capture_.ctxt.level = 0;
      capture_.ctxt.bitFields = nullptr;
      rtxCtxtSetBufPtr(&capture_.ctxt, octets.data(), octets.size());
      capture_.ctxt.bufBitsLeft = static_cast<int16_t>(8 - bit);
      if (form_ == Form::Full) {
         rtxDiagBitFieldListInit(&capture_.ctxt, &list_);
         capture_.ctxt.bitFields = &list_;
      }
   }

   std::string end(int status) {
      RtxContext& ctxt = capture_.ctxt;
      ctxt.bitFields = nullptr;
      std::string text = state(&ctxt, status) + " flags=" + std::to_string(ctxt.flags);
      for (const RtxDListNode* node = ctxt.containers.dlist.head; node != nullptr; node = node->next) {
         const auto* entry = static_cast<const quorva::hot::RtxContainer*>(node->data);
         text += " <" + std::to_string(entry->byteIndex) + "." + std::to_string(entry->bitsLeft);
      }
      return text;
   }

   int decode(const QuorvaType& type, std::vector<uint8_t>& octets, unsigned bit, size_t container) {
      start(octets, bit);
      if (container != 0) rtxCtxtPushContainerBytes(&capture_.ctxt, container);
      room_ = std::make_unique<Room>(type, 0xA5);
      return type.decode(&capture_.ctxt, room_->get());
   }
   std::string print(const QuorvaType& type) { return textOf(capture_, type, room_->get()); }
   const uint64_t* words() const { return static_cast<const uint64_t*>(room_->get()); }
   void* record() { return room_->get(); }
   RtxContext& context() { return capture_.ctxt; }

private:
   Form form_;
   Capture capture_;
   RtxDiagBitFieldList list_{};
   std::unique_ptr<Room> room_;
};

class Pair {
public:
   explicit Pair(uint32_t mode = 0) : runners_{{Form::Short, mode}, {Form::Full, mode}} {}

   // Octets behind the decoded ones are not there; those ahead of `bit` are. `container`: octets of one
   // around, if it is not 0.
   void decode(const QuorvaType& type, const std::vector<uint8_t>& octets, unsigned bit,
               size_t container = 0) {
      std::vector<uint8_t> input[2] = {octets, octets};
      int status[2];
      std::string left[2];
      for (int i = 0; i < 2; ++i) {
         input[i].shrink_to_fit();
         if (input[i].empty()) input[i].reserve(1); // no octets, not no buffer
         status[i] = runners_[i].decode(type, input[i], bit, container);
         left[i] = runners_[i].end(status[i]);
      }
      ASSERT_EQ(left[0], left[1]) << type.name << " " << hexFromOctets(octets) << " from bit " << bit
                                  << " in " << container;
      const uint64_t* words[2] = {runners_[0].words(), runners_[1].words()};
      for (size_t i = 0; i < type.size / 8; ++i) {
         if (isAddress(words[0][i]) && isAddress(words[1][i])) continue;
         ASSERT_EQ(words[0][i], words[1][i]) << type.name << " " << hexFromOctets(octets) << " record at "
                                             << 8 * i << ", status " << status[0];
      }
      // Fixed octets that are cut fail without a word, and leave heap memory behind that nobody filled.
      if (status[0] < 0 || runners_[0].context().errList.count != 0) return;
      if (type.print != nullptr) {
         ASSERT_EQ(runners_[0].print(type), runners_[1].print(type))
               << type.name << " " << hexFromOctets(octets);
      }
      if (type.encode == nullptr) return;
      for (const unsigned at : {0u, 4u})
         for (const uint32_t flags : {0u, RTX_CTXT_RAW_TAIL})
            encode(type, octets.size() + 8, at, false, flags);
   }

   // Of a fresh sample, or of what has been decoded. `flags`: what an element ahead has left.
   std::vector<uint8_t> encode(const QuorvaType& type, size_t capacity, unsigned bit, bool sample,
                               uint32_t flags = 0) {
      std::vector<uint8_t> output[2];
      std::string left[2];
      for (int i = 0; i < 2; ++i) {
         Runner& runner = runners_[i];
         // Ahead of the cursor and behind the first octets there is something else.
         output[i].assign(capacity, 0xEE);
         if (!sample) { // the record's memory must live on
            RtxContext& ctxt = runner.context();
            rtxErrReset(&ctxt);
            ctxt.flags &= ~RTX_CTXT_RAW_TAIL;
            ctxt.level = 0;
            rtxCtxtSetBufPtr(&ctxt, output[i].data(), capacity);
            ctxt.bufBitsLeft = static_cast<int16_t>(8 - bit);
            ctxt.bitFields = i == 0 ? nullptr : full();
            rtxCtxtSetFlag(&ctxt, flags);
            left[i] = runner.end(type.encode(&ctxt, runner.record()));
         } else {
            runner.start(output[i], bit);
            void* record = type.sample(&runner.context());
            rtxCtxtSetFlag(&runner.context(), flags);
            left[i] = runner.end(type.encode(&runner.context(), record));
         }
         used_ = runner.context().bufByteIndex + (runner.context().bufBitsLeft != 8);
      }
      EXPECT_EQ(left[0], left[1]) << type.name << " room " << capacity << " bit " << bit;
      EXPECT_EQ(hexFromOctets(output[0]), hexFromOctets(output[1])) << type.name << " room " << capacity;
      return {output[0].begin(), output[0].begin() + static_cast<long>(std::min(used_, capacity))};
   }

private:
   RtxDiagBitFieldList* full() {
      auto& ctxt = runners_[1].context();
      auto* list = static_cast<RtxDiagBitFieldList*>(rtxMemHeapAlloc(&ctxt, sizeof(RtxDiagBitFieldList)));
      rtxDiagBitFieldListInit(&ctxt, list);
      return list;
   }

   Runner runners_[2];
   size_t used_ = 0;
};

// The octets moved on by half an octet.
inline std::vector<uint8_t> shifted(const std::vector<uint8_t>& octets) {
   std::vector<uint8_t> out;
   unsigned last = 0;
   for (const uint8_t octet : octets) {
      out.push_back(static_cast<uint8_t>(last << 4 | octet >> 4));
      last = octet;
   }
   out.push_back(static_cast<uint8_t>(last << 4));
   return out;
}

} // namespace quorva::test

#endif
