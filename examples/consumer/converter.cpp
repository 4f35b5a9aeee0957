// Messages from octets to JSON and back: a line of hexadecimal digits becomes a line of JSON with the
// message's type and record, a line of JSON such a line of digits. What can't be converted is reported with
// its line and the path of the element, and the others follow.
#include <quorva/quorva.hpp>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace {

// False for digits that are none.
bool octetsOf(const std::string& digits, std::vector<uint8_t>& octets) {
   if (digits.size() % 2 != 0 || digits.find_first_not_of("0123456789abcdefABCDEF") != digits.npos)
      return false;
   for (size_t i = 0; i < digits.size(); i += 2)
      octets.push_back(uint8_t(std::strtoul(digits.substr(i, 2).c_str(), nullptr, 16)));
   return true;
}

quorva::Result<std::string> jsonOf(quorva::Context& ctxt, const std::string& digits) {
   std::vector<uint8_t> octets;
   if (!octetsOf(digits, octets)) return quorva::Error(RTX_E_BAD_HEX, "", "neither JSON nor digits");
   const auto message = ctxt.decode(octets);
   if (!message) return message.error();
   return "{\"type\":\"" + std::string(message->type->name) + "\",\"record\":" + ctxt.to_json(*message) + "}";
}

quorva::Result<std::string> digitsOf(quorva::Context& ctxt, const std::string& json) {
   const char *type = nullptr, *record = nullptr;
   size_t typeSize = 0, recordSize = 0;
   if (quorvaJsonMember(json.data(), json.size(), "type", &type, &typeSize) < 0 ||
       quorvaJsonMember(json.data(), json.size(), "record", &record, &recordSize) < 0 || typeSize < 2)
      return quorva::Error(RTX_E_BAD_FORMAT, "", "no JSON with a type and a record");
   const QuorvaType* known = quorvaFindType(std::string(type + 1, typeSize - 2).c_str());
   if (known == nullptr) return quorva::Error(RTX_E_UNKNOWN_NAME, "", "a type that is none");
   const auto message = ctxt.from_json(*known, {record, recordSize});
   if (!message) return message.error();
   const auto octets = ctxt.encode(*message);
   if (!octets) return octets.error();
   std::string digits;
   for (const uint8_t octet : *octets)
      for (const int digit : {octet >> 4, octet & 15}) digits += "0123456789abcdef"[digit];
   return digits;
}

} // namespace

int main(int argc, char** argv) {
   quorva::Context ctxt(RTX_CTXT_STANDARD); // as other implementations code them
   if (argc > 1 && std::string(argv[1]) == "--uplink") ctxt.next(QUORVA_UPLINK);
   int failures = 0;
   size_t number = 0;
   for (std::string line; std::getline(std::cin, line); ctxt.reset()) {
      ++number;
      if (line.empty()) continue;
      const auto converted = line[0] == '{' ? digitsOf(ctxt, line) : jsonOf(ctxt, line);
      if (converted) {
         std::printf("%s\n", converted->c_str());
      } else {
         std::fprintf(stderr, "line %zu: %s\n", number, converted.error().what());
         failures = 1;
      }
   }
   return failures;
}
