// Well-formed messages go in the short form: an element that falls out of it is done twice, at many times the
// cost, and nothing else tells.
#include "modules/records.h"
#include "tests/frame/frameTest.h"
#include "tests/support/vectors.h"

#include <set>
#include <sstream>

using namespace quorva::test;

namespace {

using quorva_test::Capture;

// Names that a message has in either form: of the PDU's choice, and of what holds a message.
const std::set<std::string> kOfMessages = {
      "data", "l3HdrOpts", "ueTerm",   "esmMessageContainer", "esmMsgCont", "pduSm", "cpPdu", "container",
      "sms",  "n1sm",      "infoElem", "dataToNet",           "restOctets",
};

// Elements that are done in full for all that, by a name on the way to what falls out.
const struct {
   const char *name, *why;
} kInFull[] = {
      {"forceToStandby", "a half octet alone, there by the direction"},
      {"accessCapOrTech", "an MS radio access capability, coded by hand"},
      {"textString", "a network name: characters of 7 bits"},
      {"keyContent", "lies across octets: a field of one bit where the others count octets"},
      {"extRejectedNSSAI", "lengths of four bits"},
      {"receiveNPDUNumberList", "coded by hand: its last octet may be a half one"},
      {"si10bis-Neighbour-Cell-Info", "a length inside an octet, as there seldom is"},
      {"si10bis-Neighbour-Cell-Info-list", "the same"},
      {"pm", "identities without a length, coded by hand"},
      {"startingTime", "optional in an immediate assignment, which is coded by hand"},
      {"hysteresis", "a multirate configuration, coded by hand"},
      {"vstk_rand", "ciphering parameters of a group call, coded by hand"},
      {"component-4", "an enhanced measurement report, coded by hand"},
      {"extendedBCCHFrequencyList", "behind a pseudo length of 0 that a network sends"},
};

// Only full forms have names, and a spare node of the name stack keeps the last one that it held.
void clearNames(const RtxContext& ctxt) {
   for (RtxDListNode* node = ctxt.memHeap->spareNames; node != nullptr; node = node->next)
      node->data = nullptr;
}

// The names since then, without those of messages: the way to an element that was done in full.
std::vector<std::string> namesInFull(const RtxContext& ctxt) {
   std::vector<std::string> names;
   const RtxDListNode* node = ctxt.memHeap->spareNames;
   for (bool first = true; node != nullptr && node->data != nullptr; node = node->next, first = false) {
      const auto* name = static_cast<const char*>(node->data);
      if (!first && std::strncmp(name, "u.obj_", 6) != 0 && kOfMessages.count(name) == 0)
         names.push_back(name);
   }
   return names;
}

class WellFormed : public testing::Test {
protected:
   void check(const std::string& what) {
      const std::vector<std::string> names = namesInFull(context_.ctxt);
      ++tried_;
      if (names.empty()) return;
      for (const auto& row : kInFull)
         if (std::find(names.begin(), names.end(), row.name) != names.end()) {
            seen_.insert(row.name);
            return;
         }
      std::string path;
      for (const std::string& name : names) path += "." + name;
      ADD_FAILURE() << what << " falls out of the short form at " << path;
   }

   // Decodes, and encodes again what has been decoded.
   void run(const QuorvaType& type, const std::string& what, std::vector<uint8_t> octets) {
      Room place(type, 0);
      clearNames(context_.ctxt);
      const bool good = decode(context_.ctxt, type, octets, place.get()) == 0;
      // Structures that end inside an octet have a short form within others alone.
      if (good && context_.ctxt.bufBitsLeft == 8) {
         check(what + ", decoding,");
         clearNames(context_.ctxt);
         if (encode(context_.ctxt, type, place.get()).status == 0) check(what + ", encoding,");
      }
      rtxErrReset(&context_.ctxt);
      rtxMemReset(&context_.ctxt);
   }

   Capture context_{kTextRoom};
   std::set<std::string> seen_;
   size_t tried_ = 0;
};

TEST_F(WellFormed, GoesInTheShortForm) {
   for (const QuorvaType* type : allTypes()) {
      if (!type->decode || !type->encode || !type->sample) continue;
      if (std::strstr(type->name, "Msg_") == nullptr) continue;
      if (std::strstr(type->name, "_component_") != nullptr) continue; // has none of its own
      const Coded coded = encode(context_.ctxt, *type, type->sample(&context_.ctxt));
      run(*type, type->name, coded.octets);
   }
   for (const auto& [type, vector] : messageVectors(QUORVA_TEST_DATA "/vectors"))
      run(*quorvaFindType(type), vector.name, vector.octets);
   EXPECT_GT(tried_, 900u);
   for (const auto& row : kInFull)
      EXPECT_TRUE(seen_.count(row.name)) << row.name << " goes in the short form now: take it off the table";
}

} // namespace
