#include "tools/quorva/failure.h"

#include "tools/quorva/session.h"
#include "tools/quorva/statusName.h"

#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string_view>

namespace quorva::tool {

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

namespace {

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

// Statuses that a decoder records before it goes on.
bool isReport(int status) {
   return status == RTX_E_MAC_MISMATCH || status == RTX_E_BAD_IEI || status == RTX_E_NO_SECURITY;
}

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

} // namespace

int statusOf(const RtxContext* ctxt, int status, bool macChecked) {
   if (macChecked || (status != RTX_E_MAC_MISMATCH && status != RTX_E_MULTIPLE)) return status;
   const auto recorded = recordedStatuses(ctxt, false);
   if (recorded.empty()) return 0;
   const bool same =
         std::all_of(recorded.begin(), recorded.end(), [&](int each) { return each == recorded[0]; });
   return same ? recorded[0] : status;
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
   // The look ahead into a 5GS message takes the name of the PDU off the stack, and leaves none if it fails.
   if (stop.early && stop.path.empty()) stop.path = {root, "protoDiscr"};
   if (!stop.path.empty() && stop.path[0] != root &&
       !std::string_view(type.name).ends_with("_" + stop.path[0]))
      stop.path.insert(stop.path.begin(), root);
   return stop;
}

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
   if (!parameters.empty()) text += "   parameters: " + shown(joined(parameters, ", ")) + "\n";
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

} // namespace quorva::tool
