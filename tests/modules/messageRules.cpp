// The rules of a file of messages, out of the file that goes with it: tests/vectors/facts-*.txt, whose form
// the head of facts-eps.txt tells.

#include "quorva/modules.h"
#include "tests/modules/messages.h"

namespace quorva::test {

namespace {

// What stands in a unit of protocol options of a name server, an address.
std::string nameServer(const Leaves& all, size_t i) {
   return i > 0 && all[i - 1].value == "13" && as::part(all[i]).size() == 4 ? as::ipv4(all, i) : "";
}

// A transaction identifier stays what the options of the header always decode to.
std::string transactionFlag(const Leaves& all, size_t i) {
   return std::to_string(as::numberOf(all[i].value) >> 3);
}
std::string transactionValue(const Leaves& all, size_t i) {
   return std::to_string(as::numberOf(all[i].value) & 7);
}

Conversions known() {
   Conversions all = {{"number", as::number},
                      {"octets", as::octets},
                      {"text", as::text},
                      {"ipv4", as::ipv4},
                      {"plmn", as::plmn},
                      {"timeOfDay", as::timeOfDay},
                      {"timeZone", as::timeZone},
                      {"nameServer", nameServer},
                      {"transactionFlag", transactionFlag},
                      {"transactionValue", transactionValue}};
   for (const int digits : {1, 2, 4, 6, 8}) all["hex" + std::to_string(digits)] = as::hex(digits);
   for (const char digit : {'0', '1', '2', '3', '4'})
      all[std::string("=") + digit] = as::constant(std::string(1, digit));
#define ENUMERATION(name) all[#name] = as::enumeration(name##_ToEnum)
   ENUMERATION(TS24007L3_EPSBearerIdentity), ENUMERATION(TS24007L3_SecHdrType);
   ENUMERATION(TS24008IE_AttachResultValues), ENUMERATION(TS24008IE_CMServiceType);
   ENUMERATION(TS24008IE_IdentityTypeValue_typeOfIdent), ENUMERATION(TS24008IE_LocationUpdatingType_lut);
   ENUMERATION(TS24008IE_RFPowerCapValues), ENUMERATION(TS24008IE_RejectCauseValue);
   ENUMERATION(TS24008IE_ReqTypeValues), ENUMERATION(TS24008IE_ServiceTypeValues);
   ENUMERATION(TS24008IE_TFTOctet1_tftOperationCode), ENUMERATION(TS24008IE_TFTPacketFilterComponentType);
   ENUMERATION(TS24008IE_UpdateResultValues), ENUMERATION(TS24008IE_UpdateTypeValues);
   ENUMERATION(TS24008IE_VoiceDomainPref_enumValue), ENUMERATION(TS24301IE_AddnUpdateResult_value);
   ENUMERATION(TS24301IE_EMMCause), ENUMERATION(TS24301IE_EPSAttachResultValues);
   ENUMERATION(TS24301IE_EPSMobileIdentity_typeOfIdent), ENUMERATION(TS24301IE_EPSUpdateResultValues);
   ENUMERATION(TS24301IE_ESMCause), ENUMERATION(TS24301IE_GenMsgContainerType);
   ENUMERATION(TS24301IE_NASSecurityAlgorithms_typeOfCiph), ENUMERATION(TS24301IE_PDNTypeValue);
   ENUMERATION(TS24301IE_NASSecurityAlgorithms_typeOfProt), ENUMERATION(TS24501IE_CipherTypes);
   ENUMERATION(TS24501IE_PacketFilterTypeId), ENUMERATION(TS24501IE_PayloadContainerType);
   ENUMERATION(TS24501IE_ProtectionTypes), ENUMERATION(TS24501IE_RegistrationTypeValue);
   ENUMERATION(TS24501IE_RequestTypes), ENUMERATION(TS24501IE_RuleOpCodes);
   ENUMERATION(TS24501IE_SSCModeValue), ENUMERATION(TS24501IE_ServiceType);
   ENUMERATION(TS24501IE_TypeOfIdentity), ENUMERATION(TS24501Msg_NAS5GSecHdrType);
   ENUMERATION(TS24501Msg_PDUSessionIdentity);
#undef ENUMERATION
   return all;
}

int statusOf(const std::string& name) {
#define STATUS(status)                                                                                       \
   { #status, status }
   static const std::map<std::string, int> all = {STATUS(RTX_OK),           STATUS(RTX_E_BAD_CHOICE),
                                                  STATUS(RTX_E_BAD_ENUM),   STATUS(RTX_E_BAD_VALUE),
                                                  STATUS(RTX_E_CONSTRAINT), STATUS(RTX_E_LENGTH_OVERRUN),
                                                  STATUS(RTX_E_END_OF_DATA)};
#undef STATUS
   return all.at(name);
}

// The names of the messages that stand in the paths, outer first.
Reader namesOfMessages(const std::map<std::string, std::string>& names) {
   return [names](const FactSource& source) {
      std::string all;
      std::set<std::string> met;
      for (const Leaf& leaf : source.leaves)
         for (size_t begin = 0, end; begin <= leaf.path.size(); begin = end + 1) {
            end = std::min(leaf.path.find('.', begin), leaf.path.size());
            const std::string part = leaf.path.substr(begin, end - begin);
            const auto name = names.find(part.substr(0, part.find('[')));
            if (name != names.end() && met.insert(leaf.path.substr(0, end)).second)
               all += (all.empty() ? "" : " + ") + name->second;
         }
      if (all.empty() && names.count("-") != 0) all = names.at("-");
      return std::vector<std::string>{all};
   };
}

// Whether there is any of these parts, with something in it or not.
Reader partIsThere(const std::vector<Place>& parts) {
   return [parts](const FactSource& source) {
      for (const Leaf& leaf : source.leaves)
         for (size_t end = 0; end != std::string::npos;) {
            end = leaf.path.find('.', end + 1);
            for (const Place& part : parts)
               if (matches(std::string_view(leaf.path).substr(0, end), part.pattern))
                  return std::vector<std::string>{"1"};
         }
      return std::vector<std::string>{"0"};
   };
}

} // namespace

MessageRules loadRules(const std::string& file, const Conversions& own) {
   MessageRules rules;
   Conversions conversions = known();
   conversions.insert(own.begin(), own.end());
   std::map<std::string, std::string> names;
   std::map<std::string, std::vector<Place>> places;
   std::ifstream in(QUORVA_TEST_DATA "/vectors/" + file);
   std::string section;
   for (std::string line; std::getline(in, line);) {
      if (line.empty() || line[0] == '#') continue;
      const size_t bar = std::min(line.find(" | "), line.size());
      const std::string reason = line.substr(std::min(bar + 3, line.size()));
      std::istringstream words(line.substr(0, bar));
      std::string first, second;
      words >> first;
      if (first[0] == '[') {
         section = first;
      } else if (section == "[messages]") {
         std::getline(words >> std::ws, names[first]);
      } else if (section == "[facts]") {
         words >> second;
         const Conversion convert = second == "has" ? Conversion() : conversions.at(second);
         for (std::string path; words >> path;) places[first].push_back({path, convert});
      } else if (section == "[refused]" || section == "[standard]") {
         words >> second;
         auto& refusal =
               (section == "[refused]" ? rules.refused : rules.standard)[first] = {statusOf(second), reason};
         for (std::string key; words >> key;) refusal.outOfReach.push_back(key);
      } else if (section == "[uncanonical]") {
         rules.uncanonical[first] = reason;
      } else if (section == "[otherwise]" && words >> second) {
         rules.readOtherwise[first] = {second, reason};
      } else {
         throw std::runtime_error(file + ": " + line);
      }
   }
   if (places.empty()) throw std::runtime_error(file + ": no facts");
   for (const auto& [key, where] : places)
      rules.facts[key] = where[0].convert ? at(where) : partIsThere(where);
   rules.facts["message"] = namesOfMessages(names);
   rules.facts["length"] = lengthOfMessage;
   return rules;
}

// Of an IMSI no octet tells how many digits the network code has: as many as the fact says.
Reader networksOf(const Conversion& ofPair, const std::vector<std::string>& imsis) {
   return [ofPair, imsis](const FactSource& source) {
      const std::string& fact = source.vector.fact("plmn");
      const Conversion ofImsi = [&fact](const Leaves& all, size_t i) {
         const std::string imsi = as::text(all, i);
         return imsi.substr(0, 3) + "-" + imsi.substr(3, fact.size() - fact.find_last_of('-') - 1);
      };
      std::vector<Place> places = {{"mcc", ofPair}};
      for (const std::string& imsi : imsis) places.push_back({imsi, ofImsi});
      std::vector<std::string> all = at(places)(source);
      all.erase(std::unique(all.begin(), all.end()), all.end()); // a neighbour that is alike was not noted
      return all;
   };
}

} // namespace quorva::test
