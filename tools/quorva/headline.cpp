#include "tools/quorva/headline.h"

#include "tools/quorva/session.h"

#include <arpa/inet.h>

#include <algorithm>
#include <ctime>
#include <sstream>

namespace quorva::tool {

// Frames follow one another within a second.
const std::string& Headlines::secondText(int64_t seconds) {
   if (second_.empty() || seconds != seconds_) {
      const auto time = static_cast<std::time_t>(seconds);
      std::tm parts{};
      char text[40] = "";
      if (gmtime_r(&time, &parts) != nullptr) std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S.", &parts);
      second_ = text;
      seconds_ = seconds;
   }
   return second_;
}

// With nanoseconds where there are any.
static std::string fractionText(uint32_t nanoseconds) {
   const bool micro = nanoseconds % 1000 == 0;
   std::string digits = std::to_string(micro ? nanoseconds / 1000 : nanoseconds);
   digits.insert(0, std::max<size_t>(micro ? 6 : 9, digits.size()) - digits.size(), '0');
   return digits;
}

std::string addressText(const capture::Address& address) {
   char text[INET6_ADDRSTRLEN];
   if (address.size == 0) return "-";
   const char* done = inet_ntop(address.size == 4 ? AF_INET : AF_INET6, address.octets, text, sizeof text);
   return done == nullptr ? "-" : done;
}

std::string Headlines::timeOf(const capture::Frame& frame) {
   return secondText(frame.seconds) + fractionText(frame.nanoseconds) + 'Z';
}

std::string Headlines::of(const Message& message) {
   if (message.frame == nullptr) return shown(message.origin());
   const capture::Frame& frame = *message.frame;
   std::string line = "frame " + std::to_string(frame.number) + "  " + timeOf(frame);
   const capture::Finding* finding = message.finding;
   if (finding == nullptr) return line;
   static constexpr const char* kDirections[] = {"-", "uplink", "downlink"};
   line += std::string("  ") + kDirections[static_cast<size_t>(finding->direction)] + "  ";
   line += finding->source.size + finding->target.size == 0
                 ? "-"
                 : addressText(finding->source) + " > " + addressText(finding->target);
   return line + "  " + finding->carrier;
}

static std::string macText(const Protection& protection) {
   std::string text;
   switch (protection.mac) {
   case Protection::Mac::none: return text;
   case Protection::Mac::notChecked: text = "MAC not checked"; break;
   case Protection::Mac::noneFits: text = "MAC not checked: no keys given fit"; break;
   case Protection::Mac::wrong: text = "MAC wrong"; break;
   case Protection::Mac::right: text = "MAC right"; break;
   }
   if (protection.keys != nullptr && protection.keys->any()) {
      text += ", COUNT " + std::to_string(protection.count);
      if (!protection.keys->name.empty()) text += ", keys of " + protection.keys->name;
   }
   return text;
}

static std::string closedText(const Protection& protection) {
   const bool fiveG = protection.header.fiveG;
   const std::string option = fiveG ? "--nea" : "--eea";
   if (protection.alone) return ", ciphered; give " + option + "2 or " + option + '0';
   const unsigned number = protection.cipher.value_or(2);
   if (number < 1 || number > 3)
      return std::string(", ciphered by ") + (fiveG ? "5G-EA" : "EEA") + std::to_string(number) +
             ", which the library does not have";
   return ", ciphered: opened by " + option + std::to_string(number) + " KEY or --keys FILE" +
          (protection.cipher ? "" : ", by " + option + "0 if with the null algorithm");
}

std::string securityRemark(const Protection& protection) {
   const std::string text = protection.doubtful && protection.alone ? "MAC right" : macText(protection);
   // Of a message given by itself the status tells the rest.
   if (text.empty() || (protection.alone && !protection.closed && !protection.doubtful)) return {};
   if (protection.doubtful) return text + ", ciphering key doubtful";
   if (protection.closed) return text + closedText(protection);
   if (!protection.taken) return text;
   return text + (protection.cipher == uint8_t{0} ? ", null-ciphered" : ", taken as null-ciphered");
}

// Where the message type stands, which of its bits count, and the discriminator ahead of it.
struct TypePlace {
   size_t at;
   unsigned discriminator;
   unsigned mask = 0xFF;
   unsigned shift = 0; // of the bits
};

static TypePlace typePlaceOf(const QuorvaType& type, Octets octets) {
   const std::string_view name = type.name;
   const unsigned first = octets[0];
   const unsigned half = first & 15;
   if (name == "TS24501Msg_PDU") return {first == 0x2E ? size_t{3} : size_t{2}, first};
   if (name == "TS24301Msg_PDU") return {half == 2 ? size_t{2} : size_t{1}, half};
   // Of radio resources, TS 44.018, 10.1: behind a pseudo length, or in an octet.
   if (name == "TS44018Msg_L2_PSEUDO_LEN_PDU") return {2, octets.size() > 1 ? octets[1] & 15u : 0};
   if (name == "TS44018Msg_RR_Short_PD_PDU") return {0, first >> 7, 31, 2};
   // Of mobility and call control two bits are a sequence number, TS 24.007, 11.2.3.2.
   const bool numbered = half == 3 || half == 5 || half == 11;
   return {1, half, numbered ? 0x3Fu : 0xFFu};
}

std::string MessageNames::nameOf(const QuorvaType& type, Octets octets) {
   const std::string* name = find(type, octets);
   return name == nullptr ? type.name : *name;
}

const std::string* MessageNames::find(const QuorvaType& type, Octets octets) {
   const auto [entry, isNew] = names_.try_emplace(&type);
   Names& names = entry->second;
   if (isNew && type.explanation != nullptr) {
      // The table of messages is part of the explanation: discriminator, type, selector, member.
      std::istringstream lines(type.explanation);
      std::string line, member;
      while (std::getline(lines, line) && !line.starts_with("Discriminator")) {}
      unsigned discriminator = 0, number = 0, selector = 0;
      while (lines >> std::hex >> discriminator >> number >> std::dec >> selector >> member &&
             std::getline(lines, line))
         names.try_emplace(discriminator << 8 | number,
                           member.starts_with("obj_") ? member.substr(4) : member);
   }
   if (octets.empty()) return nullptr;
   const uint8_t first = octets[0];
   const bool shortForm =
         type.name == std::string_view("TS24301Msg_PDU") && first >= 0xC0 && (first & 15) == 7;
   const TypePlace place = typePlaceOf(type, octets);
   if (place.at >= octets.size()) return nullptr;
   const unsigned number = octets[place.at] >> place.shift & place.mask;
   const auto found = names.find(place.discriminator << 8 | (shortForm ? 0u : number));
   return found == names.end() ? nullptr : &found->second;
}

} // namespace quorva::tool
