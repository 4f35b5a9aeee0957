#include "tools/quorva/decode.h"

#include "tools/quorva/annotation.h"
#include "tools/quorva/failure.h"
#include "tools/quorva/innerMessage.h"
#include "tools/quorva/partial.h"
#include "tools/quorva/radio.h"
#include "tools/quorva/recordOutput.h"
#include "tools/quorva/statusName.h"

#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <new>
#include <string_view>

namespace quorva::tool {

namespace {

constexpr std::string_view goodStatus = "status: RTX_OK (0)\n";

void show(std::string_view text) {
   std::fwrite(text.data(), 1, text.size(), stdout);
}

void complain(const Message& message, const std::string& text) {
   std::fflush(stdout);
   std::fprintf(stderr, "quorva: %s: %s\n", shown(message.origin()).c_str(), shown(text).c_str());
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
   if (options_.trace || options_.annotate || !options_.htmlFile.empty() || !options_.annotationFile.empty())
      return decodeTraced(given);
   const auto good = decodeQuickly(given);
   return good ? *good : decodeTraced(given);
}

std::string Decoding::nameOf(const Given& given, Octets octets) {
   const SecurityHeader& header = given.protection.header;
   const bool closed = given.protection.closed || (header.ciphered && given.protection.keys == nullptr);
   return closed ? "protected"
                 : names_.nameOf(given.type, octets.subspan(std::min(header.size, octets.size())));
}

// A message as a line for other programs.
void Decoding::showLine(const Given& given, Octets octets, RtxContext* ctxt, const void* value, int status,
                        const Stop& stop) {
   const Decoded decoded = {given.message, given.type,       value,        ctxt,   status,
                            stop,          given.protection, given.octets, octets, given.inner};
   if (options_.json) return show(jsonLine(decoded, nameOf(given, octets)));
   if (!given.inner) show(columnsLine(decoded, options_.paths));
   if (status < 0 && !given.inner) complain(given.message, statusName(status));
}

// What stands ahead of a message's text. The octets are in the clear as far as they could be opened.
void Decoding::showHead(const Given& given, Octets octets, int status) {
   if (options_.quiet || options_.lines()) return;
   if (options_.summary) {
      if (given.inner) return;
      std::string line = headlines_.of(given.message) + "  " + nameOf(given, octets);
      if (status < 0) line += "  " + statusName(status);
      if (const std::string remark = securityRemark(given.protection); !remark.empty()) line += "  " + remark;
      return show(line + "\n");
   }
   if (printed_++ > 0) show("\n");
   if (given.inner) return;
   std::string text;
   if (given.message.frame != nullptr) text = headlines_.of(given.message) + "\n";
   if (const std::string remark = securityRemark(given.protection); !remark.empty())
      text += "   " + remark + "\n";
   show(text);
}

// Most messages decode well. Of others, no result: which element failed only the trace tells.
std::optional<bool> Decoding::decodeQuickly(const Given& given) {
   // Text that lines are put into is collected.
   const bool collects = isRadio(given.type);
   std::optional<Session>& session = collects ? collecting_ : session_;
   if (!session) session.emplace(collects ? nullptr : stdout);
   RtxContext* ctxt = session->ctxt();
   int status = Security::prepare(ctxt, given.protection);
   if (status < 0) {
      complain(given.message, "no security state: " + statusName(status));
      session.reset();
      return false;
   }
   Value value(given.type);
   if (given.type.init != nullptr) given.type.init(value.get());
   copy_ = given.octets;
   rtxCtxtSetBufPtr(ctxt, copy_.data(), copy_.size());
   status = statusOf(ctxt, given.type.decode(ctxt, value.get()), given.protection.macChecked());
   if (status < 0) {
      session.reset();
      if (!options_.quiet || options_.lines() || given.protection.mayBeNull) return std::nullopt;
      showStatus(status);
      return false;
   }
   showHead(given, copy_, status);
   if (options_.lines()) showLine(given, copy_, ctxt, value.get(), status, {});
   if (showsText()) given.type.print(ctxt, printName(given.type).c_str(), value.get());
   if (showsText() && collects) show(withChannels(session->takeText()));
   showEnd(given.type, ctxt, copy_.size());
   const InnerMessage inner = options_.openRP ? innerMessage(given.type, value.get()) : InnerMessage();
   session->forget();
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
   // Of a message given by itself the code was checked, and what is wrong is told.
   if (status >= 0 || (given.protection.alone && status == RTX_E_MAC_MISMATCH)) return true;
   if (octets.size() <= header.size) return false;
   const Octets message = octets.subspan(header.size);
   const bool begins = header.fiveG ? message[0] == 0x7E || message[0] == 0x2E : message[0] == 0x07;
   return begins && names_.find(given.type, message) != nullptr;
}

// Does it come to a message with this protection?
bool Decoding::opens(const Given& given) {
   Session session;
   RtxContext* ctxt = session.ctxt();
   if (Security::prepare(ctxt, given.protection) < 0) return false;
   Value value(given.type);
   if (given.type.init != nullptr) given.type.init(value.get());
   std::vector<uint8_t> octets = given.octets;
   rtxCtxtSetBufPtr(ctxt, octets.data(), octets.size());
   const int status = given.type.decode(ctxt, value.get());
   return isMessage(given, octets, statusOf(ctxt, status, given.protection.macChecked()));
}

// Has a message whose code is right been deciphered to none?
bool Decoding::doubtsKey(const Given& given, const RtxContext* ctxt, int status) {
   const Protection& protection = given.protection;
   return status == RTX_E_BAD_CHOICE && rtxErrGetErrorCnt(ctxt) == 1 && protection.header.ciphered &&
          protection.keys != nullptr && protection.keys->integrityKey && protection.keys->cipherKey &&
          !protection.taken && !protection.closed && !protection.doubtful && openNames(ctxt).size() <= 2;
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
   status = statusOf(ctxt, given.type.decode(ctxt, value.get()), given.protection.macChecked());
   if (given.protection.mayBeNull && !isMessage(given, octets, status)) {
      // The key does not open it, maybe it needs none; or the other way round.
      const Protection& protection = given.protection;
      Given other = given;
      other.protection.mayBeNull = false;
      other.protection.taken = !protection.taken;
      if (protection.keys->cipherKey && opens(other)) return decodeTraced(other);
      other.protection.closed =
            !protection.keys->cipherKey ||
            protection.cipher.value_or(protection.keys->cipherAlgorithm) != protection.keys->cipherAlgorithm;
      if (other.protection.closed) return decodeTraced(other);
   }

   if (doubtsKey(given, ctxt, status)) {
      Given told = given;
      told.protection.doubtful = true;
      return decodeTraced(told);
   }
   const bool macChecked = given.protection.macChecked();
   const Stop stop = stopOf(given.type, ctxt, status, macChecked);
   bool good = status >= 0;
   showHead(given, octets, status);
   if (options_.lines()) {
      showLine(given, octets, ctxt, value.get(), status, stop);
   } else if (options_.quiet) {
      if (!good) showStatus(status);
   } else if (options_.annotate) {
      if (!good) show(failureText(ctxt, status, stop, macChecked));
      show(annotationText(ctxt, given.type, value.get()));
   } else if (showsText()) {
      if (!good) show(failureText(ctxt, status, stop, macChecked));
      given.type.print(ctxt, printName(given.type).c_str(), value.get());
      std::string text = session.takeText();
      if (stop.early) text = textUpTo(text, stop.path);
      show(isRadio(given.type) ? withChannels(text) : text);
   }
   if (good) showEnd(given.type, ctxt, octets.size());
   if (options_.trace) {
      // The listing moves the fields that it has shown.
      const auto names = bitNames(ctxt, given.type, value.get());
      rtxDiagBitTracePrint(ctxt->bitFields, "");
      show("\n" + withNames(session.takeText(), names));
   }
   if (!options_.htmlFile.empty()) good = writePage(given, ctxt) && good;
   if (!options_.annotationFile.empty()) good = writeAnnotation(given, ctxt, value.get()) && good;
   if (options_.openRP && !stop.early) {
      if (const InnerMessage inner = innerMessage(given.type, value.get()); inner.type != nullptr)
         good = decodeInner(given, inner) && good;
   }
   return good;
}

// What stands behind the text of a good message.
void Decoding::showEnd(const QuorvaType& type, const RtxContext* ctxt, size_t size) {
   if (options_.lines()) return;
   if (options_.quiet || (options_.status && showsText())) show(goodStatus);
   if (ctxt->bufByteIndex < size && showsText() &&
       !(isRadio(type) && isPadding({ctxt->bufData + ctxt->bufByteIndex, size - ctxt->bufByteIndex})))
      show("left over: " + std::to_string(size - ctxt->bufByteIndex) + " of " + std::to_string(size) +
           " octets\n");
}

// The page of the first message has the name given; those of further ones have a number in front of its
// suffix.
std::string Decoding::pageName(const std::string& first, size_t number) const {
   std::filesystem::path file = first;
   if (number > 1)
      file.replace_filename(file.stem().string() + "-" + std::to_string(number) + file.extension().string());
   return file.string();
}

bool Decoding::writePage(const Given& given, RtxContext* ctxt) {
   const std::string file = pageName(options_.htmlFile, ++pages_);
   if (std::FILE* probe = std::fopen(file.c_str(), "w"); probe != nullptr) {
      std::fclose(probe);
   } else {
      complain(given.message, "can't write " + file);
      return false;
   }
   rtxDiagBitTracePrintHTML(file.c_str(), ctxt->bitFields, "");
   return true;
}

bool Decoding::writeAnnotation(const Given& given, RtxContext* ctxt, const void* value) {
   const std::string file = pageName(options_.annotationFile, ++annotations_);
   const std::string page = annotationPage(ctxt, given.type, value, given.message.origin());
   std::FILE* out = std::fopen(file.c_str(), "w");
   const bool written = out != nullptr && std::fwrite(page.data(), 1, page.size(), out) == page.size();
   if ((out == nullptr || std::fclose(out) == 0) && written) return true;
   complain(given.message, "can't write " + file);
   return false;
}

Direction Decoding::directionOf(const Message& message) const {
   const capture::Finding* finding = message.finding;
   if (finding != nullptr && finding->direction != Direction::unknown) return finding->direction;
   return options_.security.uplink ? Direction::uplink : Direction::downlink;
}

// The type to decode a message as; null, with a word about it, if there is none.
const QuorvaType* Decoding::typeOf(const Message& message) {
   const char* found = message.finding == nullptr ? nullptr : message.finding->type;
   const char* const given = !options_.type.empty() ? options_.type.c_str() : found;
   const char* name = typeNameOf(given, message.octets, directionOf(message), names_);
   if (name == nullptr) {
      complain(message, "no protocol has the discriminator of octet 0x" + hexText(message.octets.data(), 1));
      return nullptr;
   }
   if (type_ != nullptr && isType(*type_, name)) return type_;
   const QuorvaType* type = quorvaFindType(name);
   if (type == nullptr || type->decode == nullptr || type->print == nullptr) {
      complain(message, std::string(name) + (type == nullptr ? " is no type; see: quorva types"
                                                             : " has no decoder and printer"));
      return nullptr;
   }
   return type_ = type;
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
