#include "tools/quorva/recordOutput.h"

#include "tools/quorva/hexText.h"
#include "tools/quorva/jsonText.h"
#include "tools/quorva/statusName.h"

#include "quorva/reflect.h"

#include <algorithm>
#include <string_view>

namespace quorva::tool {

namespace {

std::string inputText(const Message& message) {
   std::string text = "{\"input\":{\"name\":" + quoted(message.source);
   if (message.line != 0) text += ",\"line\":" + std::to_string(message.line);
   if (message.frame != nullptr) {
      text += ",\"frame\":" + std::to_string(message.frame->number);
      text += ",\"time\":" + quoted(Headlines().timeOf(*message.frame));
   }
   if (const capture::Finding* finding = message.finding; finding != nullptr) {
      text += ",\"source\":" + quoted(addressText(finding->source));
      text += ",\"target\":" + quoted(addressText(finding->target));
      text += ",\"carrier\":" + quoted(finding->carrier);
   }
   return text + "}";
}

std::string textOf(const RtxContext* ctxt, const QuorvaItem& item) {
   if (item.kind > QUORVA_CHOICE) return item.text;
   return item.type == nullptr ? std::string() : jsonOf(ctxt, *item.type, item.data);
}

struct Search {
   const RtxContext* ctxt;
   std::string suffix; // ".name"
   std::string found;
   bool any = false;
};

// Does a path end with the names that are looked for? Numbers of entries there may be left out.
bool fits(std::string_view path, std::string_view suffix) {
   std::string names = ".";
   for (size_t i = 0; i < path.size(); ++i) {
      if (path[i] == '[')
         i = std::min(path.find(']', i), path.size() - 1);
      else
         names += path[i];
   }
   return ("." + std::string(path)).ends_with(suffix) || names.ends_with(suffix);
}

int search(void* user, const QuorvaItem* item) {
   auto& search = *static_cast<Search*>(user);
   if (!fits(item->path, search.suffix)) return 0;
   if (search.any) search.found += ',';
   search.any = true;
   search.found += textOf(search.ctxt, *item);
   return 0;
}

// Numbers of a record that mean something, by their paths: an object as a member, or nothing.
std::string meaningsOf(const Decoded& decoded) {
   std::string text;
   const auto take = [](void* user, const QuorvaItem* item) {
      auto& all = *static_cast<std::string*>(user);
      if (*item->meaning != 0)
         all += (all.empty() ? ",\"meanings\":{" : ",") + quoted(item->path) + ':' + quoted(item->meaning);
      return 0;
   };
   const QuorvaVisitor visitor = {nullptr, take, nullptr, &text};
   quorvaVisit(decoded.ctxt, &decoded.type, decoded.value, &visitor);
   return text.empty() ? text : text + '}';
}

} // namespace

std::string jsonLine(const Decoded& decoded, const std::string& name) {
   std::string line = inputText(decoded.message);
   if (decoded.inner) line += ",\"inner\":true";
   line += ",\"octets\":" + quoted(digitsOfOctets(decoded.octets));
   if (!std::ranges::equal(decoded.octets, decoded.clear))
      line += ",\"clear\":" + quoted(digitsOfOctets(decoded.clear));
   const bool uplink = decoded.protection.direction == Direction::uplink;
   line += std::string(",\"direction\":\"") + (uplink ? "uplink\"" : "downlink\"");
   if (const std::string remark = securityRemark(decoded.protection); !remark.empty())
      line += ",\"security\":" + quoted(remark);
   line += ",\"type\":" + quoted(decoded.type.name) + ",\"name\":" + quoted(name);
   const std::string status = statusName(decoded.status);
   line += ",\"status\":" + quoted(status.substr(0, status.find(' ')));
   if (decoded.status < 0) {
      line += ",\"error\":{\"number\":" + std::to_string(decoded.status);
      if (decoded.stop.early) {
         line += ",\"path\":" + quoted(joined(decoded.stop.path, ".")) +
                 ",\"octet\":" + std::to_string(decoded.ctxt->bufByteIndex);
      }
      line += "}";
   } else if (decoded.ctxt->bufByteIndex < decoded.clear.size()) {
      line += ",\"leftOver\":" + std::to_string(decoded.clear.size() - decoded.ctxt->bufByteIndex);
   }
   if (!decoded.stop.early)
      line += meaningsOf(decoded) + ",\"record\":" + jsonOf(decoded.ctxt, decoded.type, decoded.value);
   return line + "}\n";
}

std::string jsonLine(const Message& message, const std::string& why) {
   return inputText(message) + ",\"error\":{\"text\":" + quoted(why) + "}}\n";
}

std::string columnsLine(const Decoded& decoded, const std::vector<std::string>& paths) {
   std::string line;
   for (const std::string& path : paths) {
      if (&path != &paths.front()) line += '\t';
      if (decoded.stop.early) continue;
      if (path.starts_with("**.")) {
         Search wanted{decoded.ctxt, path.substr(2), {}, false};
         const QuorvaVisitor visitor = {search, search, nullptr, &wanted};
         quorvaVisit(decoded.ctxt, &decoded.type, decoded.value, &visitor);
         line += shown(wanted.found);
         continue;
      }
      QuorvaItem item;
      const int status = quorvaGet(decoded.ctxt, &decoded.type, decoded.value, path.c_str(), &item);
      if (status == 0) line += shown(textOf(decoded.ctxt, item));
   }
   return line + "\n";
}

} // namespace quorva::tool
