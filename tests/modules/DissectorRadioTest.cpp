// A sample of each radio resource message, looked at by a program that owes nothing to this library.

#include "quorva/registry.h"
#include "tests/support/dissector.h"

using namespace quorva::test;

namespace {

// Octets of a type's sample; none if there is no such type.
Octets sampleOf(const std::string& name) {
   const QuorvaType* type = quorvaFindType(name.c_str());
   if (type == nullptr) return {};
   TestContext context;
   void* record = type->sample(context);
   context.encode(4096);
   EXPECT_EQ(type->encode(context, record), 0) << name;
   return octetsFromHex(context.written());
}

// The type of the rest octets behind a message.
std::string restOf(const std::string& message) {
   static const std::map<std::string, std::string> kNames = {
         {"SystemInformationType20", "SI18"}, {"ImmediateAssignmentExtended", "IAX"},
         {"ImmediateAssignment", "IA"},       {"ImmediateAssignmentReject", "IAR"},
         {"NotificationNch", "NT_N"},         {"ImmediatePacketAssignment", "IPA"}};
   // Octets as they are: they don't say what is in them.
   static const std::map<std::string, std::string> kOctets = {{"3", "SI3"}, {"7", "SI7"}, {"8", "SI8"}};
   const auto name = kNames.find(message);
   const std::string type = message.substr(std::min(message.find("Type"), message.size() - 4) + 4);
   return "TS44018IE_" + (name != kNames.end() ? name->second : (message[0] == 'P' ? "P" : "SI") + type) +
          "_Rest_Octets";
}

// Samples of all messages in the figure of a PDU. The registry has them, so that none is forgotten.
std::vector<DissectorInput> samplesOf(const char* pdu, bool pseudoLength = false, bool shortHeader = false) {
   std::vector<DissectorInput> inputs;
   const QuorvaType* type = quorvaFindType(pdu);
   std::istringstream lines(quorvaExplain(pdu));
   bool table = false;
   for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      std::string disc, code, selector, member, record;
      words >> disc >> code >> selector >> member >> record;
      if (table) {
         DissectorInput input{
               member.substr(4), static_cast<unsigned>(std::stoul(code, nullptr, 16)), {}, {}, {}, {}, {}};
         const auto octet = static_cast<uint8_t>(input.type);
         const Octets message = sampleOf("TS44018Msg_" + record);
         if (pseudoLength) input.octets.push_back(static_cast<uint8_t>((2 + message.size()) << 2 | 1));
         if (shortHeader)
            input.octets.push_back(static_cast<uint8_t>(octet << 2));
         else
            input.octets.insert(input.octets.end(), {static_cast<uint8_t>(std::stoul(disc)), octet});
         input.octets.insert(input.octets.end(), message.begin(), message.end());
         if (pseudoLength) {
            const Octets rest = sampleOf(restOf(input.name));
            input.octets.insert(input.octets.end(), rest.begin(), rest.end());
         }
         // Padding follows in a block, and later releases have fields there.
         if (pseudoLength || shortHeader) input.octets.insert(input.octets.end(), 8, 0x2B);
         traceFields(input, [&](RtxContext* ctxt) {
            void* again = rtxMemHeapAlloc(ctxt, type->size);
            type->init(again);
            EXPECT_EQ(type->decode(ctxt, again), 0) << input.name;
         });
         inputs.push_back(std::move(input));
      }
      table = table || disc == "Discriminator";
   }
   EXPECT_FALSE(inputs.empty());
   return inputs;
}

const struct Channel {
   const char *pdu, *dissector, *type, *section;
   bool pseudoLength, shortHeader;
} kChannels[] = {
      {"TS44018Msg_L2_PSEUDO_LEN_PDU", "gsm_a_ccch", "gsm_a.dtap.msg_rr_type", "rr-ccch", true, false},
      {"TS44018Msg_DL_DCCH_PDU", "gsm_a_dtap", "gsm_a.dtap.msg_rr_type", "rr-downlink", false, false},
      {"TS44018Msg_UL_DCCH_PDU", "gsm_a_dtap", "gsm_a.dtap.msg_rr_type", "rr-uplink", false, false},
      {"TS44018Msg_UL_SACCH_PDU", "gsm_a_dtap", "gsm_a.dtap.msg_rr_type", "rr-uplink", false, false},
      {"TS44018Msg_RR_Short_PD_PDU", "gsm_a_sacch", "gsm_a.rr.short_pd_type", "rr-short", false, true},
};

TEST(Dissector, Radio) {
   if (!haveDissector()) GTEST_SKIP() << "tshark is not installed";
   for (const Channel& channel : kChannels) {
      SCOPED_TRACE(channel.pdu);
      std::vector<DissectorInput> inputs = samplesOf(channel.pdu, channel.pseudoLength, channel.shortHeader);
      // Of transparent transport the dissector knows no messages.
      std::erase_if(inputs, [](const DissectorInput& input) { return input.name == "GprsInformation"; });
      compareDissections(inputs, channel.dissector, {channel.type}, objectionsOf(channel.section));
   }
}

} // namespace
