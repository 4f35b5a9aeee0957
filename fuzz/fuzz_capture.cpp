// Captures: whole files, and frames of each link type, to the messages in them and their security; dumps in
// text. The first octet chooses.
#include "fuzz/fuzz.h"
#include "tools/quorva/capture/captureFile.h"
#include "tools/quorva/capture/carriers.h"
#include "tools/quorva/dump.h"
#include "tools/quorva/security.h"

#include <string_view>
#include <vector>

using namespace quorva;
using quorva::fuzz::need;

namespace {

constexpr int kLinkTypes[] = {0, 1, 12, 108, 113, 147, 217, 228, 248, 252, 276};
constexpr unsigned kFile = std::size(kLinkTypes), kText = kFile + 1, kChoices = kText + 1;

tool::SecurityOptions options(bool keys) {
   tool::SecurityOptions security;
   if (!keys) return security;
   security.keys.integrityKey = tool::Key{1, 2, 3};
   security.keys.cipherKey = tool::Key{4, 5, 6};
   security.subscribers.resize(1);
   security.subscribers[0].integrityKey = tool::Key{7, 8, 9};
   return security;
}

void findAll(capture::Carriers& carriers, tool::Security& security, int linkType, capture::Octets frame) {
   size_t found = 0;
   carriers.find(linkType, frame, [&](const capture::Finding& finding) {
      need(finding.fault.empty() != finding.octets.empty());
      unsigned sum = 0;
      for (const uint8_t octet : finding.octets) sum += octet;
      for (const uint8_t octet : finding.terminal) sum += octet;
      const auto protection = security.protect(finding.octets, finding.direction, std::to_string(sum % 4));
      need(protection.header.size <= finding.octets.size());
      ++found;
   });
   // Each message takes octets of the frame, and what ends early is one fault.
   need(found <= frame.size() + 1);
}

void dumps(std::string_view text) {
   tool::Dump dump;
   std::string fault;
   const auto finish = [&] {
      const auto octets = dump.finish(fault);
      need(octets.empty() != fault.empty());
      need(octets.size() <= size_t{64} << 20);
   };
   while (!text.empty()) {
      const size_t length = std::min(text.find('\n'), text.size());
      const std::string_view line = text.substr(0, length);
      text.remove_prefix(std::min(length + 1, text.size()));
      if (dump.open() && dump.goOn(line)) continue;
      if (dump.open()) finish();
      dump.begin(line);
   }
   if (dump.open()) finish();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 2) return 0;
   static const tool::SecurityOptions with = options(true), without = options(false);
   tool::Security security((data[0] & 0x80) != 0 ? with : without);
   capture::Carriers carriers;
   const unsigned choice = (data[0] & 0x7Fu) % kChoices;
   const capture::Octets octets(data + 1, size - 1);
   if (choice < kFile) {
      // Two frames: what is open after the first is known in the second.
      const size_t half = octets.size() / 2;
      findAll(carriers, security, kLinkTypes[choice], octets);
      findAll(carriers, security, kLinkTypes[choice], octets.first(half));
      findAll(carriers, security, kLinkTypes[choice], octets.subspan(half));
   } else if (choice == kText) {
      dumps({reinterpret_cast<const char*>(octets.data()), octets.size()});
   } else {
      std::FILE* file = fmemopen(const_cast<uint8_t*>(octets.data()), octets.size(), "r");
      if (file == nullptr) return 0;
      capture::CaptureFile captured(file);
      while (const auto frame = captured.next())
         findAll(carriers, security, captured.linkType(), frame->octets);
   }
   return 0;
}
