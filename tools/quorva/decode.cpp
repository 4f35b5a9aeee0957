#include "tools/quorva/decode.h"

#include "tools/quorva/headline.h"
#include "tools/quorva/partial.h"
#include "tools/quorva/statusName.h"

#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"
#include "quorva/TS24011Msg.h"
#include "quorva/TS24301Msg.h"
#include "quorva/TS24501Msg.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <sstream>
#include <string_view>

namespace quorva::tool {

namespace {

// The PDU of a first octet, null if no protocol has that discriminator; TS 24.007, 11.2.3.1.1.
const char* pduOf(uint8_t first) {
   if (first == 0x7E || first == 0x2E) return "TS24501Msg_PDU";
   switch (first & 15) {
   case 2:
   case 7: return "TS24301Msg_PDU";
   case 3:
   case 5:
   case 8:
   case 10:
   case 11: return "TS24008Msg_PDU";
   case 9: return "TS24011Msg_CP_PDU";
   default: return nullptr;
   }
}

std::vector<std::string> openNames(const RtxContext* ctxt) {
   std::vector<std::string> names;
   for (const RtxDListNode* node = ctxt->elemNames.head; node != nullptr; node = node->next)
      names.emplace_back(static_cast<const char*>(node->data));
   return names;
}

std::string joined(const std::vector<std::string>& words, const char* separator) {
   std::string text;
   for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
   return text;
}

// The failures on record. A wrong code is none if nobody gave a key to check it with.
std::vector<int> recordedStatuses(const RtxContext* ctxt, bool macChecked) {
   std::vector<int> statuses;
   for (const RtxDListNode* node = ctxt->errList.head; node != nullptr; node = node->next) {
      const int status = static_cast<const RtxErrInfo*>(node->data)->status;
      // An overall status that was handed up is recorded again; it tells nothing.
      if (status != RTX_E_MULTIPLE && (macChecked || status != RTX_E_MAC_MISMATCH))
         statuses.push_back(status);
   }
   return statuses;
}

bool isMacChecked(const Protection& protection) {
   return protection.mac != Protection::Mac::notChecked && protection.mac != Protection::Mac::noneFits;
}

// The status of a message, but for a code that was not checked.
int statusOf(const RtxContext* ctxt, int status, const Protection& protection) {
   if (isMacChecked(protection) || (status != RTX_E_MAC_MISMATCH && status != RTX_E_MULTIPLE)) return status;
   const auto recorded = recordedStatuses(ctxt, false);
   if (recorded.empty()) return 0;
   const bool same =
         std::all_of(recorded.begin(), recorded.end(), [&](int each) { return each == recorded[0]; });
   return same ? recorded[0] : status;
}

// Statuses that a decoder records before it goes on.
bool isReport(int status) {
   return status == RTX_E_MAC_MISMATCH || status == RTX_E_BAD_IEI || status == RTX_E_NO_SECURITY;
}

constexpr std::string_view goodStatus = "status: RTX_OK (0)\n";

void show(std::string_view text) {
   std::fwrite(text.data(), 1, text.size(), stdout);
}

void complain(const Message& message, const std::string& text) {
   std::fflush(stdout);
   std::fprintf(stderr, "quorva: %s: %s\n", message.origin().c_str(), text.c_str());
}

bool isType(const QuorvaType& type, const char* name) {
   return std::strcmp(type.name, name) == 0;
}

// Where a decoder stopped. It leaves the names of the place on the stack then, apart from that of an octet
// string for which there were not enough octets: only the trace has it.
struct Stop {
   bool early = false;            // ahead of the message's end
   std::vector<std::string> path; // of the element, beginning with the type
};

// The element that was traced last. The members of a path are parted by points, but "u.member" is one.
std::vector<std::string> lastTraced(const RtxContext* ctxt) {
   std::vector<std::string> path;
   const RtxSListNode* node = ctxt->bitFields->fieldList.tail;
   const auto* field = node == nullptr ? nullptr : static_cast<const RtxDiagBitField*>(node->data);
   if (field == nullptr || field->elemName == nullptr) return path;
   std::istringstream names(field->elemName);
   for (std::string name; std::getline(names, name, '.');) {
      if (!path.empty() && path.back() == "u") {
         path.back() += "." + name;
      } else {
         path.push_back(name);
      }
   }
   return path;
}

Stop stopOf(const QuorvaType& type, const RtxContext* ctxt, int status, bool macChecked) {
   Stop stop;
   if (status >= 0) return stop;
   stop.early = true;
   stop.path = openNames(ctxt);
   const auto recorded = recordedStatuses(ctxt, macChecked);
   const bool onlyReports = !recorded.empty() && std::all_of(recorded.begin(), recorded.end(), isReport);
   const bool eps = isType(type, "TS24301Msg_PDU");
   const std::string root = printName(type);
   if (onlyReports && stop.path.size() <= 1 && (eps || isType(type, "TS24501Msg_PDU"))) {
      // Without a security state a ciphered message ends at its header. A Service Request, TS 24.301, 8.2.25,
      // is shorter, is read to its end, and leaves the name of the PDU on the stack.
      const bool atHeader = ctxt->bufByteIndex == (eps ? 6u : 7u);
      stop.early = atHeader && recorded.back() == RTX_E_NO_SECURITY;
      stop.path = {root, eps ? "l3HdrOpts" : "protoDiscr"};
   } else if (onlyReports && stop.path.empty()) {
      stop.early = false;
   } else if (recorded.empty() || recorded.back() == RTX_E_END_OF_DATA) {
      const auto traced = lastTraced(ctxt);
      if (traced.size() > stop.path.size() && std::equal(stop.path.begin(), stop.path.end(), traced.begin()))
         stop.path = traced;
   }
   // The look ahead into a 5GS message takes the name of the PDU off the stack.
   if (!stop.path.empty() && stop.path[0] != root &&
       !std::string_view(type.name).ends_with("_" + stop.path[0]))
      stop.path.insert(stop.path.begin(), root);
   return stop;
}

// What the failure records of a context tell.
std::string failureText(const RtxContext* ctxt, int status, const Stop& stop, bool macChecked) {
   std::string text = "status: " + statusName(status) + "\n";
   const auto recorded = recordedStatuses(ctxt, macChecked);
   if (status == RTX_E_MULTIPLE)
      for (const int each : recorded) text += "   recorded: " + statusName(each) + "\n";
   std::vector<std::string> parameters;
   for (size_t i = 0; i < ctxt->errFixed.parmCount; ++i) parameters.emplace_back(ctxt->errFixed.parms[i]);
   if (rtxErrGetFirstError(ctxt) == RTX_E_MAC_MISMATCH && !macChecked && parameters.size() >= 2)
      parameters.erase(parameters.begin(), parameters.begin() + 2);
   if (!recorded.empty() && recorded[0] == RTX_E_MAC_MISMATCH && parameters.size() >= 2) {
      char line[80];
      std::snprintf(line, sizeof line, "   wrong MAC: received 0x%08lx, computed 0x%08lx\n",
                    std::strtoul(parameters[0].c_str(), nullptr, 10),
                    std::strtoul(parameters[1].c_str(), nullptr, 10));
      text += line;
   }
   if (!parameters.empty()) text += "   parameters: " + joined(parameters, ", ") + "\n";
   if (stop.early) {
      // A length may have moved the cursor behind the end.
      text +=
            "   at: " + joined(stop.path, ".") +
            (ctxt->bufByteIndex > ctxt->bufSize ? ", behind the end of "
                                                : ", octet " + std::to_string(ctxt->bufByteIndex) + " of ") +
            std::to_string(ctxt->bufSize) + "\n";
      text += "   decoded so far:\n";
   }
   return text;
}

} // namespace

// A message in the user data of another, which the codec of that one leaves as octets.
struct InnerMessage {
   const char* type = nullptr;
   std::vector<uint8_t> octets;
};

namespace {

InnerMessage innerMessage(const QuorvaType& type, const void* value) {
   InnerMessage inner;
   const auto take = [&inner](const char* name, const uint8_t* octets, size_t count) {
      inner.type = name;
      inner.octets.assign(octets, octets + count);
   };
   const auto takeUserData = [&take](const TS24011Msg_CP_PDU& pdu) {
      if (pdu.data.t != 1) return;
      const auto& data = pdu.data.u.obj_CP_DATA->cpUserData;
      take("TS24011Msg_RP_PDU", data.data, data.numocts);
   };
   if (isType(type, "TS24011Msg_CP_PDU")) {
      takeUserData(*static_cast<const TS24011Msg_CP_PDU*>(value));
   } else if (isType(type, "TS24501Msg_PDU")) {
      // In those of TS 24.501, 8.2.10, 8.2.11 and 8.2.30, the codec has opened the control protocol.
      const auto* pdu = static_cast<const TS24501Msg_PDU*>(value);
      const auto takeFrom = [&takeUserData](const auto& message) {
         if (message.containerType == TS24501IE_PayloadContainerType_sms)
            takeUserData(message.container.u.sms.cpPdu);
      };
      if (pdu->protoDiscr != TS24501Msg_NAS5GProtoDiscr_mobMgmt5G) return inner;
      switch (pdu->msgType) {
      case 0x67: takeFrom(*pdu->data.u.obj_ULNASTrans5G); break;
      case 0x68: takeFrom(*pdu->data.u.obj_DLNASTrans5G); break;
      case 0x4F:
         if (pdu->data.u.obj_ControlPlaneServReq5G->m.containerPresent)
            takeFrom(*pdu->data.u.obj_ControlPlaneServReq5G);
         break;
      default: break;
      }
   } else if (isType(type, "TS24301Msg_PDU")) {
      // The transport messages of TS 24.301, 8.2.12 and 8.2.30, carry a message of the control protocol.
      const auto* pdu = static_cast<const TS24301Msg_PDU*>(value);
      const bool downlink = pdu->msgType == 0x62;
      if (pdu->protoDiscr == TS24007L3_ProtoDiscr_epsMobMgmt && (downlink || pdu->msgType == 0x63)) {
         const auto* container = downlink ? pdu->data.u.obj_DLNASTransport : pdu->data.u.obj_ULNASTransport;
         take("TS24011Msg_CP_PDU", container->data, container->numocts);
      }
   }
   return inner;
}

// What the messages of a terminal have in common: the ends of their connection, in either direction, and its
// name there.
std::string terminalOf(const capture::Finding& finding) {
   if (finding.terminal.empty()) return {};
   const auto text = [](Octets octets) { return std::string(octets.begin(), octets.end()); };
   std::string ends[] = {text({finding.source.octets, finding.source.size}),
                         text({finding.target.octets, finding.target.size})};
   if (ends[1] < ends[0]) std::swap(ends[0], ends[1]);
   return finding.carrier + ends[0] + ends[1] + text(finding.terminal);
}

void showStatus(int status) {
   show("status: " + statusName(status) + "\n");
}

} // namespace

// A message of a type; its octets stay as they are, since deciphering works on a copy.
struct Decoding::Given {
   const Message& message; // that it stands in
   const std::vector<uint8_t>& octets;
   const QuorvaType& type;
   Protection protection = {};
   bool inner = false; // in the user data of another
};

bool Decoding::decode(const Given& given) {
   if (options_.trace || !options_.htmlFile.empty()) return decodeTraced(given);
   const auto good = decodeQuickly(given);
   return good ? *good : decodeTraced(given);
}

// What stands ahead of a message's text. The octets are in the clear as far as they could be opened.
void Decoding::showHead(const Given& given, Octets octets, int status) {
   if (options_.quiet) return;
   if (options_.summary) {
      if (given.inner) return;
      const SecurityHeader& header = given.protection.header;
      std::string line = headline(given.message) + "  ";
      const bool closed = given.protection.closed || (header.ciphered && given.protection.keys == nullptr);
      line += closed ? "protected"
                     : names_.nameOf(given.type, octets.subspan(std::min(header.size, octets.size())));
      if (status < 0) line += "  " + statusName(status);
      if (const std::string remark = securityRemark(given.protection); !remark.empty()) line += "  " + remark;
      return show(line + "\n");
   }
   if (printed_++ > 0) show("\n");
   if (given.message.frame == nullptr || given.inner) return;
   std::string text = headline(given.message) + "\n";
   if (const std::string remark = securityRemark(given.protection); !remark.empty())
      text += "   " + remark + "\n";
   show(text);
}

// Most messages decode well. Of others, no result: which element failed only the trace tells.
std::optional<bool> Decoding::decodeQuickly(const Given& given) {
   if (!session_) session_.emplace(stdout);
   RtxContext* ctxt = session_->ctxt();
   int status = Security::prepare(ctxt, given.protection);
   if (status < 0) {
      complain(given.message, "no security state: " + statusName(status));
      session_.reset();
      return false;
   }
   Value value(given.type);
   if (given.type.init != nullptr) given.type.init(value.get());
   copy_ = given.octets;
   rtxCtxtSetBufPtr(ctxt, copy_.data(), copy_.size());
   status = statusOf(ctxt, given.type.decode(ctxt, value.get()), given.protection);
   if (status < 0) {
      session_.reset();
      if (!options_.quiet || given.protection.mayBeNull) return std::nullopt;
      showStatus(status);
      return false;
   }
   showHead(given, copy_, status);
   if (showsText()) given.type.print(ctxt, printName(given.type).c_str(), value.get());
   showEnd(ctxt, copy_.size());
   const InnerMessage inner = options_.openRP ? innerMessage(given.type, value.get()) : InnerMessage();
   session_->forget();
   return inner.type == nullptr || decodeInner(given, inner);
}

bool Decoding::decodeInner(const Given& given, const InnerMessage& inner) {
   Given within{given.message, inner.octets, *quorvaFindType(inner.type)};
   within.protection.direction = given.protection.direction;
   within.inner = true;
   return decode(within);
}

// Is what came out of a protected message a message of a known type? By half an octet, all that one of EPS
// session management begins with, nothing is told: it has to be right to its end.
bool Decoding::isMessage(const Given& given, Octets octets, int status) {
   const SecurityHeader& header = given.protection.header;
   if (status >= 0) return true;
   if (octets.size() <= header.size) return false;
   const Octets message = octets.subspan(header.size);
   const bool begins = header.fiveG ? message[0] == 0x7E || message[0] == 0x2E : message[0] == 0x07;
   return begins && names_.find(given.type, message) != nullptr;
}

// The status alone.
int Decoding::tryToDecode(const Given& given) {
   Session session;
   RtxContext* ctxt = session.ctxt();
   if (const int status = Security::prepare(ctxt, given.protection); status < 0) return status;
   Value value(given.type);
   if (given.type.init != nullptr) given.type.init(value.get());
   std::vector<uint8_t> octets = given.octets;
   rtxCtxtSetBufPtr(ctxt, octets.data(), octets.size());
   return statusOf(ctxt, given.type.decode(ctxt, value.get()), given.protection);
}

bool Decoding::decodeTraced(const Given& given) {
   Session session;
   RtxContext* ctxt = session.ctxt();
   int status = Security::prepare(ctxt, given.protection);
   if (status < 0) {
      complain(given.message, "no security state: " + statusName(status));
      return false;
   }
   if (!session.startTrace()) throw std::bad_alloc();
   Value value(given.type);
   if (given.type.init != nullptr) given.type.init(value.get());
   std::vector<uint8_t> octets = given.octets;
   rtxCtxtSetBufPtr(ctxt, octets.data(), octets.size());
   status = statusOf(ctxt, given.type.decode(ctxt, value.get()), given.protection);
   if (given.protection.mayBeNull && !isMessage(given, octets, status)) {
      Given other = given;
      other.protection.mayBeNull = false;
      if (given.protection.taken) {
         other.protection.closed = true;
         return decodeTraced(other);
      }
      // The key does not open it; maybe it needs none.
      other.protection.taken = true;
      if (isMessage(other, given.octets, tryToDecode(other))) return decodeTraced(other);
   }

   const bool macChecked = isMacChecked(given.protection);
   const Stop stop = stopOf(given.type, ctxt, status, macChecked);
   bool good = status >= 0;
   showHead(given, octets, status);
   if (options_.quiet) {
      if (!good) showStatus(status);
   } else if (showsText()) {
      if (!good) show(failureText(ctxt, status, stop, macChecked));
      given.type.print(ctxt, printName(given.type).c_str(), value.get());
      show(stop.early ? textUpTo(session.takeText(), stop.path) : session.takeText());
   }
   if (good) showEnd(ctxt, octets.size());
   if (options_.trace) {
      rtxDiagBitTracePrint(ctxt->bitFields, "");
      show("\n" + session.takeText());
   }
   if (!options_.htmlFile.empty()) good = writePage(given, ctxt) && good;
   if (options_.openRP && !stop.early) {
      if (const InnerMessage inner = innerMessage(given.type, value.get()); inner.type != nullptr)
         good = decodeInner(given, inner) && good;
   }
   return good;
}

// What stands behind the text of a good message.
void Decoding::showEnd(const RtxContext* ctxt, size_t size) {
   if (options_.quiet || (options_.status && showsText())) show(goodStatus);
   if (ctxt->bufByteIndex < size && showsText())
      show("left over: " + std::to_string(size - ctxt->bufByteIndex) + " of " + std::to_string(size) +
           " octets\n");
}

// The page of the first message has the name given; those of further ones have a number in front of its
// suffix.
bool Decoding::writePage(const Given& given, RtxContext* ctxt) {
   std::filesystem::path file = options_.htmlFile;
   if (++pages_ > 1)
      file.replace_filename(file.stem().string() + "-" + std::to_string(pages_) + file.extension().string());
   if (std::FILE* probe = std::fopen(file.c_str(), "w"); probe != nullptr) {
      std::fclose(probe);
   } else {
      complain(given.message, "can't write " + file.string());
      return false;
   }
   rtxDiagBitTracePrintHTML(file.c_str(), ctxt->bitFields, "");
   return true;
}

// The type to decode a message as; null, with a word about it, if there is none.
const QuorvaType* Decoding::typeOf(const Message& message) {
   const char* found = message.finding == nullptr ? nullptr : message.finding->type;
   const char* name = !options_.type.empty() ? options_.type.c_str()
                      : found != nullptr     ? found
                                             : pduOf(message.octets[0]);
   if (name == nullptr) {
      complain(message, "no protocol has the discriminator of octet 0x" + hexText(message.octets.data(), 1));
      return nullptr;
   }
   if (type_ != nullptr && isType(*type_, name)) return type_;
   const QuorvaType* type = quorvaFindType(name);
   if (type == nullptr && name == found) {
      showUndecoded(message, std::string(name) + ": no module of the library decodes it");
      return nullptr;
   }
   if (type == nullptr || type->decode == nullptr || type->print == nullptr) {
      complain(message, std::string(name) + (type == nullptr ? " is no type; see: quorva types"
                                                             : " has no decoder and printer"));
      return nullptr;
   }
   return type_ = type;
}

// A message that has nothing to show but where it is.
void Decoding::showUndecoded(const Message& message, const std::string& why) {
   if (options_.quiet) return showStatus(RTX_E_UNSUPPORTED);
   if (!options_.summary && printed_++ > 0) show("\n");
   show(headline(message) + (options_.summary ? "  " : "\n   ") + why + "\n");
}

bool Decoding::decode(const Message& message) {
   if (!message.fault.empty()) {
      if (message.wanted) complain(message, message.fault);
      return !message.wanted;
   }
   const capture::Finding* finding = message.finding;
   Protection protection =
         finding == nullptr ? security_.protect(message.octets)
                            : security_.protect(message.octets, finding->direction, terminalOf(*finding));
   if (!message.wanted) return true;
   const QuorvaType* type = typeOf(message);
   return type != nullptr && decode({message, message.octets, *type, protection});
}

} // namespace quorva::tool
