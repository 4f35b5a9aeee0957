#include "tools/quorva/radio.h"

#include "quorva/reflect.h"
#include "quorva/rtxContext.h"
#include "quorva/TS44018Misc.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace quorva::tool {

using capture::Direction;
using capture::Octets;

namespace {

constexpr const char* kWithPseudoLength = "TS44018Msg_L2_PSEUDO_LEN_PDU";
constexpr const char* kDownlinkDedicated = "TS44018Msg_DL_DCCH_PDU";
constexpr const char* kUplinkDedicated = "TS44018Msg_UL_DCCH_PDU";
constexpr const char* kUplinkSlow = "TS44018Msg_UL_SACCH_PDU";
constexpr const char* kShort = "TS44018Msg_RR_Short_PD_PDU";

// Protocol discriminators, TS 24.007, 11.2.3.1.1.
enum Discriminator : unsigned { kCallControl = 3, kGprsTransparent = 4, kMobility = 5, kRadio = 6, kSms = 9 };

unsigned discriminatorOf(Octets octets) {
   return octets[0] & 15u;
}

// The pseudo length has 01 at its end, and what follows is radio resource management. No protocol whose
// discriminator ends in 01 has a message type that ends in 6.
bool hasPseudoLength(Octets octets) {
   return (octets[0] & 3) == 1 && octets.size() > 1 && (octets[1] & 15) == kRadio;
}

// A protocol discriminator of one bit, a type of five, a short layer 2 header of two: TS 44.018, 10.1.
bool beginsShort(Octets octets) {
   constexpr unsigned kTypes = 14;
   return (octets[0] & 0x80) == 0 && octets[0] >> 2 < kTypes;
}

const char* dedicatedPdu(Direction direction) {
   return direction == Direction::uplink ? kUplinkDedicated : kDownlinkDedicated;
}

// GPRS INFORMATION is the one message of its protocol.
bool isGprsInformation(Octets octets) {
   return discriminatorOf(octets) == kGprsTransparent && octets.size() > 1 && octets[1] == 0;
}

const char* pduOnDedicated(Octets octets, Direction direction) {
   switch (discriminatorOf(octets)) {
   case kCallControl:
   case kMobility:
   case 11: return "TS24008Msg_PDU";
   case kSms: return "TS24011Msg_CP_PDU";
   case kRadio: return dedicatedPdu(direction);
   default: break;
   }
   return beginsShort(octets) && !isGprsInformation(octets) ? kShort : dedicatedPdu(direction);
}

const char* pduOnSlow(Octets octets, Direction direction) {
   if (hasPseudoLength(octets)) return kWithPseudoLength;
   if (discriminatorOf(octets) == kSms) return "TS24011Msg_CP_PDU";
   if (discriminatorOf(octets) != kRadio && beginsShort(octets)) return kShort;
   return direction == Direction::uplink ? kUplinkSlow : kWithPseudoLength;
}

// The PDU of a message on a channel.
const char* pduOnChannel(std::string_view channel, Octets octets, Direction direction) {
   if (channel == "dcch") return pduOnDedicated(octets, direction);
   if (channel == "sacch") return pduOnSlow(octets, direction);
   return kWithPseudoLength; // all that these have
}

// The radio resource PDU that octets of an unknown channel begin like.
const char* radioPduOf(Octets octets, Direction direction, MessageNames& names) {
   if (hasPseudoLength(octets)) return kWithPseudoLength;
   const char* const dedicated = dedicatedPdu(direction);
   switch (discriminatorOf(octets)) {
   case kRadio:
      for (const char* pdu : {dedicated, kUplinkDedicated, kDownlinkDedicated, kUplinkSlow})
         if (names.find(*quorvaFindType(pdu), octets) != nullptr) return pdu;
      return dedicated;
   case kGprsTransparent: return isGprsInformation(octets) || !beginsShort(octets) ? dedicated : kShort;
   // Discriminators of protocols that the library does not have. Where they end in 8, GMM goes first.
   case 0:
   case 12: return beginsShort(octets) ? kShort : nullptr;
   default: return nullptr;
   }
}

// What the bits of a list of channels are called in print, TS 44.018, 10.5.2.13.
struct Format {
   std::string_view name;
   uint32_t number;
};

constexpr Format kFormats[] = {
      {"bitmap0", RTX_ARFCN_BITMAP0},
      {"ca_arfcn", RTX_ARFCN_BITMAP0},
      {"range_1024", RTX_ARFCN_RANGE_1024},
      {"range_512", RTX_ARFCN_RANGE_512},
      {"range_256", RTX_ARFCN_RANGE_256},
      {"range_128", RTX_ARFCN_RANGE_128},
      {"variable_bitmap", RTX_ARFCN_VARIABLE_BITMAP},
};

// Octets as two hexadecimal digits each; a last one that is not whole as eight bits, of which an x is none.
std::vector<uint8_t> octetsOf(std::string_view text) {
   std::vector<uint8_t> octets;
   while ((text = text.substr(std::min(text.find_first_not_of(" \n"), text.size()))), !text.empty()) {
      const std::string_view word = text.substr(0, text.find_first_of(" \n"));
      text.remove_prefix(word.size());
      unsigned octet = 0;
      if (word.size() == 8) {
         for (const char bit : word) octet = octet << 1 | (bit == '1' ? 1u : 0u);
      } else {
         std::from_chars(word.data(), word.data() + word.size(), octet, 16);
      }
      octets.push_back(static_cast<uint8_t>(octet));
   }
   return octets;
}

// "3, 12, 40"; empty if the bits are none of the format.
std::string channelText(uint32_t format, const std::vector<uint8_t>& octets, unsigned bits) {
   std::string text;
   RtxContext ctxt;
   if (octets.size() * 8 < bits || bits > UINT16_MAX || rtInitContext(&ctxt) < 0) return text;
   uint16_t* channels = nullptr;
   uint16_t count = 0;
   if (rtx3GPPDecARFCN(&ctxt, format, octets.data(), static_cast<uint16_t>(bits), &channels, &count) == 0) {
      std::sort(channels, channels + count);
      const uint16_t* const end = std::unique(channels, channels + count);
      for (const uint16_t* each = channels; each < end; ++each)
         text.append(text.empty() ? "" : ", ").append(std::to_string(*each));
      if (text.empty()) text = "none";
   }
   rtFreeContext(&ctxt);
   return text;
}

// What a text begins with: a line, or all of a list of channels, which is one like
// "   range_512 = { 25, be 09 1a 0xxxxxxx }", or several if it is long.
struct BitsText {
   explicit BitsText(std::string_view text) : size(std::min(text.find('\n'), text.size() - 1) + 1) {
      const std::string_view line = text.substr(0, size);
      const size_t equals = line.find(" = { ");
      if (equals == std::string_view::npos) return;
      indent = line.find_first_not_of(' ');
      const std::string_view name = line.substr(indent, equals - indent);
      const auto* format = std::find_if(std::begin(kFormats), std::end(kFormats),
                                        [&](const Format& each) { return each.name == name; });
      const size_t brace = text.find("}\n", equals);
      if (format == std::end(kFormats) || brace == std::string_view::npos) return;
      size = text.find('\n', brace) + 1;
      const std::string_view inside = text.substr(equals + 5, brace - equals - 5);
      const size_t comma = inside.find(',');
      unsigned bits = 0;
      std::from_chars(inside.data(), inside.data() + inside.size(), bits);
      if (comma != std::string_view::npos)
         channels = channelText(format->number, octetsOf(inside.substr(comma + 1)), bits);
   }

   size_t size;
   size_t indent = 0;
   std::string channels; // empty if it is no list, or none that can be read
};

} // namespace

bool isRadioChannel(std::string_view name) {
   return name == "bcch" || name == "ccch" || name == "dcch" || name == "sacch";
}

const char* typeNameOf(const char* given, Octets octets, Direction direction, MessageNames& names) {
   if (given != nullptr) return isRadioChannel(given) ? pduOnChannel(given, octets, direction) : given;
   if (const char* pdu = radioPduOf(octets, direction, names)) return pdu;
   const QuorvaType* type = quorvaTypeOf(octets.data(), octets.size(), QUORVA_DOWNLINK);
   return type == nullptr ? nullptr : type->name;
}

bool isRadio(const QuorvaType& type) {
   return std::string_view(type.name).starts_with("TS44018");
}

bool isPadding(Octets octets) {
   return std::all_of(octets.begin(), octets.end(), [](uint8_t octet) { return octet == 0x2B; });
}

std::string withChannels(std::string_view text) {
   std::string result;
   while (!text.empty()) {
      const BitsText bits(text);
      result.append(text.substr(0, bits.size));
      if (!bits.channels.empty())
         result.append(bits.indent, ' ').append("# channels ").append(bits.channels) += '\n';
      text.remove_prefix(bits.size);
   }
   return result;
}

} // namespace quorva::tool
