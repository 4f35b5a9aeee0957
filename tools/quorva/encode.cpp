#include "tools/quorva/encode.h"

#include "tools/quorva/failure.h"
#include "tools/quorva/hexText.h"
#include "tools/quorva/radio.h"
#include "tools/quorva/session.h"
#include "tools/quorva/source.h"
#include "tools/quorva/statusName.h"

#include "quorva/json.h"
#include "quorva/reflect.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <unordered_set>

namespace quorva::tool {

namespace {

// Finds the ends of JSON values that follow one another, whatever is between them.
class Splitter {
public:
   // Takes another character; true if it is the last one of a value.
   bool take(char c) {
      if (inText_) {
         if (escaped_)
            escaped_ = false;
         else if (c == '\\')
            escaped_ = true;
         else if (c == '"')
            inText_ = false;
         return !inText_ && depth_ == 0;
      }
      const bool blank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
      // A number or a word ends ahead of what is none of it.
      const bool ended = inWord_ && blank;
      inWord_ = depth_ == 0 && !blank && c != '{' && c != '[' && c != '"';
      inText_ = c == '"';
      if (c == '{' || c == '[') ++depth_;
      if ((c == '}' || c == ']') && depth_ > 0) return --depth_ == 0;
      return ended;
   }
   bool isBlank() const { return !inText_ && !inWord_ && depth_ == 0; }

private:
   size_t depth_ = 0;
   bool inText_ = false, escaped_ = false, inWord_ = false;
};

class Encoder {
public:
   explicit Encoder(const EncodeOptions& options)
         : options_(options), keys_(keysOf(options.security)),
           name_(options.file.empty() || options.file == "-" ? "standard input" : options.file),
           security_(keys_) {}

   void read(Source& source) {
      Splitter splitter;
      std::string text;
      size_t line = 1, column = 0; // that the text begins at
      const auto endValue = [&] {
         if (text.find_first_not_of(" \t\r\n") != std::string::npos)
            good = encode(text, line, column) && good;
         line += static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
         const size_t newLine = text.rfind('\n');
         column = newLine == std::string::npos ? column + text.size() : text.size() - newLine - 1;
         text.clear();
      };
      do {
         const std::string_view held = source.held();
         for (const char c : held) {
            text += c;
            if (splitter.take(c)) endValue();
         }
         source.take(held.size());
         if (text.size() > kMostCharacters) {
            complain(line, "more than 256 MiB in one value");
            good = false;
            return;
         }
      } while (source.fill());
      endValue();
   }

   bool good = true;
   size_t count = 0; // of values

private:
   static constexpr size_t kMostCharacters = 4 * kMostOctets;

   // Of a file the keys of one subscriber: no code tells yet whose they are.
   static SecurityOptions keysOf(const SecurityOptions& options) {
      SecurityOptions keys = options;
      if (keys.subscribers.size() > 1) throw std::runtime_error("keys of several subscribers");
      if (keys.subscribers.size() == 1 && !keys.keys.any()) keys.keys = keys.subscribers[0];
      keys.subscribers.clear();
      return keys;
   }

   void complain(size_t line, const std::string& what) const {
      std::fflush(stdout);
      // Names of members that are none come from the input.
      std::fprintf(stderr, "quorva: %s:%zu: %s\n", shown(name_).c_str(), line, shown(what).c_str());
   }

   // A record by itself, or with its type in what "decode --json" writes.
   bool encode(std::string_view text, size_t line, size_t column) {
      ++count;
      const char* member = nullptr;
      size_t size = 0;
      std::string typeName = options_.type;
      const auto has = [&](const char* name) {
         return quorvaJsonMember(text.data(), text.size(), name, &member, &size) == 0;
      };
      if (has("input") && has("type") && size > 2) {
         if (typeName.empty()) typeName.assign(member + 1, size - 2);
         if (!has("record")) {
            complain(line, "a message without a record");
            return false;
         }
         const std::string_view record = {member, size};
         if (has("direction")) keys_.uplink = std::string_view(member, size) == "\"uplink\"";
         const std::string_view skipped = text.substr(0, static_cast<size_t>(record.data() - text.data()));
         line += static_cast<size_t>(std::count(skipped.begin(), skipped.end(), '\n'));
         const size_t newLine = skipped.rfind('\n');
         column = newLine == std::string_view::npos ? column + skipped.size() : skipped.size() - newLine - 1;
         text = record;
      }
      const QuorvaType* type = quorvaFindType(typeName.c_str());
      if (type == nullptr || type->encode == nullptr) {
         complain(line, typeName.empty() ? "no type is given: --type NAME"
                                         : "'" + typeName + "' is no type that can be encoded");
         return false;
      }
      Session session;
      Value value(*type);
      QuorvaJsonFault fault;
      const int status = quorvaFromJson(session.ctxt(), type, value.get(), text.data(), text.size(), &fault);
      if (status < 0) {
         if (fault.line > 1) column = 0;
         complain(line + fault.line - 1,
                  "column " + std::to_string(column + fault.column) + ": " +
                        (*fault.path == 0 ? std::string() : fault.path + std::string(": ")) + fault.reason +
                        ", " + statusName(status));
         return false;
      }
      return write(session, *type, value, line);
   }

   bool write(Session& session, const QuorvaType& type, Value& value, size_t line) {
      RtxContext* ctxt = session.ctxt();
      Protection protection;
      protection.direction = keys_.uplink ? Direction::uplink : Direction::downlink;
      int status = 0;
      if (keys_.any()) {
         // What its header says of COUNT shows once it is there.
         static const Keys kNoKeys;
         protection.keys = &kNoKeys;
         status = encodeOnce(ctxt, type, value, protection);
         if (status >= 0) protection = security_.protect({ctxt->bufData, ctxt->bufByteIndex});
      }
      if (status >= 0) status = encodeOnce(ctxt, type, value, protection);
      if (status < 0) {
         const std::string path = joined(openNames(ctxt), ".");
         complain(line, statusName(status) + (path.empty() ? "" : " at " + path));
         return false;
      }
      const size_t octets = (rtxCtxtGetBitOffset(ctxt) + 7) / 8;
      if (options_.binary)
         std::fwrite(ctxt->bufData, 1, octets, stdout);
      else
         std::printf("%s\n", digitsOfOctets({ctxt->bufData, octets}).c_str());
      return true;
   }

   static int encodeOnce(RtxContext* ctxt, const QuorvaType& type, Value& value,
                         const Protection& protection) {
      rtxErrReset(ctxt);
      rtxCtxtClearFlag(ctxt, RTX_CTXT_RAW_TAIL);
      if (const int status = Security::prepare(ctxt, protection); status < 0) return status;
      rtxCtxtSetBufPtr(ctxt, nullptr, 0);
      return type.encode(ctxt, value.get());
   }

   const EncodeOptions& options_;
   SecurityOptions keys_; // and the direction of the message at hand
   std::string name_;
   Security security_; // by these
};

using Leaves = std::vector<std::pair<std::string, std::string>>;

// The fields of a message; none, with a word about it, of one that can't be decoded.
Leaves leavesOf(const DecodeOptions& options, const Message& message) {
   const auto complain = [&](const std::string& what) {
      std::fprintf(stderr, "quorva: %s: %s\n", shown(message.origin()).c_str(), shown(what).c_str());
   };
   Leaves leaves;
   if (!message.fault.empty()) {
      complain(message.fault);
      return leaves;
   }
   MessageNames names;
   const char* const name =
         typeNameOf(options.type.empty() ? nullptr : options.type.c_str(), message.octets,
                    options.security.uplink ? Direction::uplink : Direction::downlink, names);
   const QuorvaType* type = name == nullptr ? nullptr : quorvaFindType(name);
   if (type == nullptr || type->decode == nullptr) {
      complain("no type decodes it");
      return leaves;
   }
   Session session;
   Security security(options.security);
   Value value(*type);
   if (type->init != nullptr) type->init(value.get());
   std::vector<uint8_t> octets = message.octets;
   int status = Security::prepare(session.ctxt(), security.protect(message.octets));
   if (status >= 0) {
      rtxCtxtSetBufPtr(session.ctxt(), octets.data(), octets.size());
      status = type->decode(session.ctxt(), value.get());
   }
   if (status < 0) {
      complain(statusName(status));
      return leaves;
   }
   const auto take = [](void* user, const QuorvaItem* item) {
      static_cast<Leaves*>(user)->emplace_back(item->path, withMeaning(shown(item->text), item->meaning));
      return 0;
   };
   const QuorvaVisitor visitor = {nullptr, take, nullptr, &leaves};
   quorvaVisit(session.ctxt(), type, value.get(), &visitor);
   return leaves;
}

std::unordered_set<std::string> pathsOf(const Leaves& leaves) {
   std::unordered_set<std::string> paths;
   for (const auto& leaf : leaves) paths.insert(leaf.first);
   return paths;
}

} // namespace

bool encodeFile(const EncodeOptions& options) {
   Encoder encoder(options);
   const std::string file = options.file.empty() ? "-" : options.file;
   if (!readFrom(file, [&](Source& source) { encoder.read(source); })) {
      std::fprintf(stderr, "quorva: %s: %s\n", file.c_str(), std::strerror(errno));
      return false;
   }
   if (encoder.count == 0 && encoder.good) std::fputs("quorva: no value\n", stderr);
   return encoder.good && encoder.count > 0;
}

int showDifferences(const DecodeOptions& options, const Message& first, const Message& second) {
   const Leaves one = leavesOf(options, first), other = leavesOf(options, second);
   if (one.empty() || other.empty()) return 2;
   bool same = true;
   const auto show = [&](char sign, const std::pair<std::string, std::string>& leaf) {
      std::printf("%c %s = %s\n", sign, leaf.first.c_str(), leaf.second.c_str());
      same = false;
   };
   const auto inOne = pathsOf(one), inOther = pathsOf(other);
   size_t i = 0, j = 0;
   while (i < one.size() || j < other.size()) {
      if (i < one.size() && j < other.size() && one[i].first == other[j].first) {
         if (one[i].second != other[j].second) {
            show('-', one[i]);
            show('+', other[j]);
         }
         ++i, ++j;
      } else if (j < other.size() &&
                 (i == one.size() || (inOther.contains(one[i].first) && !inOne.contains(other[j].first)))) {
         show('+', other[j++]);
      } else {
         show('-', one[i++]);
      }
   }
   return same ? 0 : 1;
}

} // namespace quorva::tool
