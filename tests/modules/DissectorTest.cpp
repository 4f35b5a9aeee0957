// Messages, looked at by a program that owes nothing to this library: a sample of each, and random ones.

#include "tests/support/dissector.h"
#include "quorva/modules.h"
#include "quorva/registry.h"
#include "quorva/rt3gppNasSec.h"
#include "tests/support/variation.h"

using namespace quorva::test;

namespace {

const char* const kMissing = "tshark is not installed";

struct Protocol {
   const char *name, *pdu, *dissector, *section;
   std::vector<std::string> typeFields;
   // What goes ahead of a message: where the discriminator or the message is the first, or always; path;
   // value.
   struct Header {
      const char *where, *path, *value;
   };
   std::vector<Header> headers;
   std::vector<Meaningful> sensible;
};

// EPS messages are integrity protected by the null algorithm, as the dissector begins with such a header.
const Protocol kProtocols[] = {
      {"Eps",
       "TS24301Msg_PDU",
       "nas-eps",
       "eps",
       {"nas_eps.nas_msg_emm_type", "nas_eps.nas_msg_esm_type", "nas_eps.security_header_type"},
       {{nullptr, "secHdr.secHdrType", "integProt"},
        {"obj_ServiceRequest", "secHdr.secHdrType", "secHdrForSvcReq"},
        {nullptr, "secHdr.protoDiscr", "7"},
        {nullptr, "secHdr.msgAuthCode", "0"},
        {nullptr, "secHdr.seqNumber", "0"},
        {"epsMobMgmt", "l3HdrOpts.secHdr", "0"},
        {"epsSessMgmt", "l3HdrOpts.epsBearerIdent", "id5"},
        {"epsSessMgmt", "pti.value", "1"}},
       {{"3304c5e2ff1c", "330400020102", "flow mobility parameters: identifier, length, value"},
        {"6204c5e2ff1c", "62040a462491", "a session management message in a container"},
        {"6304c5e2ff1c", "63040a462491", "the same"},
        {"6704c5e2ff1c", "67040a462491", "the same"},
        {"0004c5e2ff1c", "00040a462491", "the same"},
        {"790004a3c0ddfa", "790004074411a1", "an attach reject as the message replayed"}}},
      {"FiveGS",
       "TS24501Msg_PDU",
       "nas-5gs",
       "5gs",
       {"nas_5gs.mm.message_type", "nas_5gs.sm.message_type"},
       {{"mobMgmt5G", "hdrData.mm.secHdrType", "0"},
        {"sessMgmt5G", "hdrData.sm.pduSessIdent", "5"},
        {"sessMgmt5G", "hdrData.sm.procTransIdent", "1"}},
       {{"990104c5e2ff1c", "99010402074100", "a relay message in a short message"},
        {"710004a3c0ddfa", "7100047e004411", "a registration reject as the message inside"},
        {"700004a3c0ddfa", "700004074411a1", "an EPS attach reject as the message inside"}}},
      {"Ts24008",
       "TS24008Msg_PDU",
       "gsm_a_dtap",
       "ts24008",
       {"gsm_a.dtap.msg_mm_type", "gsm_a.dtap.msg_cc_type", "gsm_a.dtap.msg_gmm_type",
        "gsm_a.dtap.msg_sm_type", "gsm_a.dtap.msg_ss_type"},
       {{"callCtrl", "l3HdrOpts.transId.value", "1"}, {"sessMgmt", "l3HdrOpts.transId.value", "1"}},
       {{"3304c5e2ff1c", "330400020102", "flow mobility parameters: identifier, length, value"},
        {"1c04c5e2ff1c", "1c04a2020500", "a component of a supplementary service"},
        {"3a04c5e2ff1c", "3a04a2020500", "the same"},
        {"0bab04c5e2ff1c", "0bab04a2020500", "the same"},
        {"1d04c5e2ff1c", "1d04a2020500", "the same"},
        {"1b04c5e2ff1c", "1b04a2020500", "the same"}}},
      {"Sms",
       "TS24011Msg_CP_PDU",
       "gsm_a_dtap",
       "sms",
       {"gsm_a.dtap.msg_sms_type"},
       {{nullptr, "l3HdrOpts.skipInd", "1"}},
       {}},
};

// Messages of a protocol: all that its PDU has, so that none is forgotten.
class Messages {
public:
   explicit Messages(const Protocol& protocol)
         : protocol_(protocol), type_(*quorvaFindType(protocol.pdu)), pdu_(quorvaFields(&type_, nullptr, 0)) {
      quorvaFields(&type_, pdu_.data(), pdu_.size());
      const auto data = std::find_if(pdu_.begin(), pdu_.end(), [](const QuorvaField& field) {
         return std::string(field.name) == "data";
      });
      all.resize(quorvaFieldsIn(&*data, nullptr, 0));
      quorvaFieldsIn(&*data, all.data(), all.size());
   }

   // A PDU with the sample of a message.
   void* sample(RtxContext* ctxt, const QuorvaField& message) const {
      EXPECT_EQ(rtx3gppSecInitialize(ctxt), 0);
      rtxCtxtSetFlag(ctxt, modeOfSamples);
      void* pdu = quorvaNew(ctxt, &type_);
      const std::string path = std::string("data.") + message.name;
      const auto fill = [&](const std::string& where, const QuorvaType* type) {
         QuorvaItem item = {}, sample = {};
         void* value = type == nullptr || type->sample == nullptr ? nullptr : type->sample(ctxt);
         if (value != nullptr) (void)quorvaGet(ctxt, type, value, "", &sample);
         const bool leaf = value != nullptr && sample.kind > QUORVA_NULL;
         EXPECT_EQ(quorvaSet(ctxt, &type_, pdu, where.c_str(), leaf ? sample.text : ""), 0) << where;
         EXPECT_EQ(quorvaGet(ctxt, &type_, pdu, where.c_str(), &item), 0) << where;
         if (value != nullptr && !leaf) std::memcpy(const_cast<void*>(item.data), value, type->size);
      };
      fill(path, message.type);
      QuorvaItem item;
      EXPECT_EQ(quorvaGet(ctxt, &type_, pdu, "protoDiscr", &item), 0);
      for (const Protocol::Header& header : protocol_.headers) {
         if (header.where == nullptr || std::string(header.where) == item.text ||
             std::string(header.where) == message.name) {
            EXPECT_EQ(quorvaSet(ctxt, &type_, pdu, header.path, header.value), 0) << header.path;
         }
      }
      const std::string name = message.name;
      // Its form depends on the direction, which a capture of bare messages does not tell; the dissector
      // guesses.
      if (type_.name == std::string("TS24301Msg_PDU") && name == "obj_DetachRequest") {
         fill(path + ".ueOrig", quorvaFindType("TS24301Msg_DetachRequestUEOrig"));
      }
      // In default mode the ciphering data of EPS departs from the standard, without which the rest would not
      // be looked at.
      if (modeOfSamples == 0 && type_.name == std::string("TS24301Msg_PDU"))
         (void)quorvaRemove(ctxt, &type_, pdu, (path + ".cipherKeyData").c_str());
      return pdu;
   }

   // The message as encoded, with its elements and fields; none if the encoder refuses it. `same` tells
   // whether what it wrote is read, and written again to the same octets.
   std::optional<DissectorInput> input(RtxContext* ctxt, const QuorvaField& message, void* pdu,
                                       bool& same) const {
      const std::optional<Octets> octets = encode(ctxt, pdu);
      if (!octets) return {};
      QuorvaItem type;
      EXPECT_EQ(quorvaGet(ctxt, &type_, pdu, "msgType", &type), 0);
      DissectorInput input{message.name + 4, static_cast<unsigned>(type.number), *octets, {}, {}, {}, {}};
      // The short form has no type: its security header tells.
      if (input.name == "ServiceRequest" && protocol_.section == std::string("eps")) input.type = 12;
      same = read(input);
      return input;
   }

   // Fills in what is in a message; false if it is not read, or written in another way then.
   bool read(DissectorInput& input) const {
      std::optional<Octets> again;
      traceFields(input, [&](RtxContext* reader) {
         void* read = quorvaNew(reader, &type_);
         const int status = type_.decode(reader, read);
         reader->bitFields = nullptr;
         if (status == 0 || status == RTX_E_MAC_MISMATCH) again = encode(reader, read);
         noteRecord(input, reader, type_, read);
      });
      return again == input.octets;
   }

   // A sample of each, as the dissector can make sense of it.
   std::vector<DissectorInput> samples() const {
      std::vector<DissectorInput> inputs;
      for (const QuorvaField& message : all) {
         TestContext context;
         bool same = false;
         const std::optional<DissectorInput> one = input(context, message, sample(context, message), same);
         EXPECT_TRUE(one && (same || modeOfSamples == 0)) << message.name;
         if (one) inputs.push_back(*one);
      }
      replaceArbitrary(inputs, protocol_.sensible);
      return inputs;
   }

   std::vector<QuorvaField> all;
   const QuorvaType& type() const { return type_; }

private:
   std::optional<Octets> encode(RtxContext* ctxt, void* pdu) const {
      Octets octets(8192);
      rtxCtxtSetBufPtr(ctxt, octets.data(), octets.size());
      if (type_.encode(ctxt, pdu) < 0 || rtxErrGetStatus(ctxt) < 0) return {};
      octets.resize(ctxt->bufByteIndex);
      return octets;
   }

   const Protocol& protocol_;
   const QuorvaType& type_;
   std::vector<QuorvaField> pdu_;
};

class DissectorModes : public testing::TestWithParam<std::tuple<uint32_t, Protocol>> {
protected:
   DissectorModes() { modeOfSamples = std::get<0>(GetParam()); }
   ~DissectorModes() override { modeOfSamples = 0; }
};
INSTANTIATE_TEST_SUITE_P(Both, DissectorModes,
                         testing::Combine(testing::Values(0u, RTX_CTXT_STANDARD),
                                          testing::ValuesIn(kProtocols)),
                         [](const auto& of) {
                            return std::get<1>(of.param).name +
                                   std::string(std::get<0>(of.param) == 0 ? "Default" : "Standard");
                         });

TEST_P(DissectorModes, ReadsSamples) {
   if (!haveDissector()) GTEST_SKIP() << kMissing;
   const Protocol& protocol = std::get<1>(GetParam());
   compareDissections(Messages(protocol).samples(), protocol.dissector, protocol.typeFields,
                      objectionsOf(protocol.section));
}

// --- SMS

// Each kind of RP message inside of CP-DATA, with a message of its direction in it: submit, deliver, reports.
std::vector<DissectorInput> samplesRp() {
   static const struct {
      const char* name;
      const char* tpdu;
   } kinds[] = {
         {"dataToNet", "01830a816000000000000005d4f29cae00"},
         {"dataToMS", "04069121436500006110711260952b0141"},
         {"ackToNet", "0000"},
         {"ackToMS", "01006110711260952b"},
         {"errorToNet", "00d000"},
         {"errorToMS", "01c0006110711260952b"},
         {"smma", ""},
   };
   std::vector<DissectorInput> inputs;
   for (uint8_t type = 0; type < 7; ++type) {
      const Octets tpdu = octetsFromHex(kinds[type].tpdu);
      TestContext context;
      TS24011Msg_RP_PDU rp;
      asn1Init_TS24011Msg_RP_PDU(&rp);
      rp.header = {0, type, 3};
      TS24011IE_RPUserData* data = nullptr;
      switch (type) {
      case 0:
         rp.infoElem.u.dataToNet = *asn1Test_TS24011Msg_RPDataMSOriginating(context);
         rp.infoElem.u.dataToNet.origAddrLen = 0; // no address follows
         data = &rp.infoElem.u.dataToNet.userData;
         break;
      case 1:
         rp.infoElem.u.dataToMS = *asn1Test_TS24011Msg_RPDataMSTerminated(context);
         rp.infoElem.u.dataToMS.destAddrLen = 0;
         data = &rp.infoElem.u.dataToMS.userData;
         break;
      case 2:
      case 3:
         rp.infoElem.u.ackToNet = *asn1Test_TS24011Msg_RP_ACK(context);
         data = &rp.infoElem.u.ackToNet.userData;
         break;
      case 4:
      case 5:
         rp.infoElem.u.errorToNet = *asn1Test_TS24011Msg_RP_ERROR(context);
         data = &rp.infoElem.u.errorToNet.userData;
         break;
      default: break;
      }
      if (data != nullptr) {
         data->numocts = static_cast<uint8_t>(tpdu.size());
         std::copy(tpdu.begin(), tpdu.end(), data->data);
      }
      EXPECT_GE(NASEnc_TS24011Msg_RP_PDU(context.encode(), &rp), 0) << kinds[type].name;
      const std::string octets = context.written();
      const auto count = static_cast<uint8_t>(octets.size() / 2);
      inputs.push_back({kinds[type].name,
                        type,
                        octetsFromHex("1901" + hexFromOctets(&count, 1) + octets),
                        {},
                        {},
                        {},
                        {}});
   }
   return inputs;
}

TEST(Dissector, SmsRelay) {
   if (!haveDissector()) GTEST_SKIP() << kMissing;
   const std::vector<DissectorInput> inputs = samplesRp();
   compareDissections(inputs, "gsm_a_dtap", {"gsm_a.rp.msg_type"}, {});
}

// --- Random messages in standard mode

size_t numberFrom(const char* variable, size_t otherwise) {
   const char* text = std::getenv(variable);
   return text == nullptr ? otherwise : std::strtoull(text, nullptr, 0);
}

class DissectorVaried : public testing::TestWithParam<Protocol> {
protected:
   DissectorVaried() { modeOfSamples = RTX_CTXT_STANDARD; }
   ~DissectorVaried() override { modeOfSamples = 0; }
};
INSTANTIATE_TEST_SUITE_P(Of, DissectorVaried, testing::ValuesIn(kProtocols),
                         [](const auto& of) { return std::string(of.param.name); });

// What the dissector doesn't know is left out. More messages or others: QUORVA_VARIED=200 QUORVA_SEED=7.
TEST_P(DissectorVaried, ReadsTheSameValues) {
   if (!haveDissector()) GTEST_SKIP() << kMissing;
   const Protocol& protocol = GetParam();
   const Messages messages(protocol);
   const Freedom freedom = freedomOf(protocol.section);
   Meanings meanings(protocol.section, freedom.otherwise);
   const std::vector<DissectorInput> samples = messages.samples();
   meanings.learn(samples);
   const size_t wanted = numberFrom("QUORVA_VARIED", 20);
   uint64_t seed = numberFrom("QUORVA_SEED", 1);
   std::vector<DissectorInput> inputs;
   for (const QuorvaField& message : messages.all) {
      Variation variation(messages.type(), ++seed * 0x9E3779B97F4A7C15, freedom.fixed, freedom.kept,
                          freedom.without);
      size_t made = 0, refused = 0;
      while (made < wanted && refused < 50 * wanted) {
         static const uint64_t kRarities[] = {3, 10, 30, 100};
         TestContext context;
         void* pdu = messages.sample(context, message);
         const std::string path = std::string("data.") + message.name;
         variation.vary(context, pdu, path, message, kRarities[(made + refused) % 4]);
         bool same = false;
         std::optional<DissectorInput> input = messages.input(context, message, pdu, same);
         if (input && same) {
            // What the record has for the standard alone reflection does not know.
            *input = input->without(freedom.elementsOf(*input));
            same = messages.read(*input);
         }
         if (!input || !same) {
            ++refused;
            continue;
         }
         ++made;
         inputs.push_back(std::move(*input));
      }
      EXPECT_EQ(made, wanted) << message.name << ", refused " << refused;
      EXPECT_LE(refused, 4 * wanted) << message.name;
   }
   replaceArbitrary(inputs, protocol.sensible);
   for (size_t at = 0; at < inputs.size(); at += 2000) {
      const std::vector<DissectorInput> part(
            inputs.begin() + static_cast<std::ptrdiff_t>(at),
            inputs.begin() + static_cast<std::ptrdiff_t>(std::min(at + 2000, inputs.size())));
      meanings.compare(part, protocol.dissector, freedom.remarks);
   }
   RecordProperty("messages", static_cast<int>(inputs.size()));
   RecordProperty("fields", static_cast<int>(meanings.compared));
   RecordProperty("numbers", static_cast<int>(meanings.numbers));
   EXPECT_GT(meanings.compared, 0u);
}

// --- Fields

TEST(Dissector, ShowsEachFieldUnderItsName) {
   if (!haveDissector()) GTEST_SKIP() << kMissing;
   for (const Protocol& protocol : kProtocols)
      compareMeanings(Messages(protocol).samples(), protocol.dissector, meaningsOf(protocol.section));
}

} // namespace
