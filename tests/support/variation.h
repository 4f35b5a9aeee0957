/**
 * @file variation.h
 * Random values of any type, made from its samples by its fields' names.
 */
#ifndef QUORVA_TESTS_SUPPORT_VARIATION_H
#define QUORVA_TESTS_SUPPORT_VARIATION_H

#include "quorva/reflect.h"
#include "quorva/rtxContext.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace quorva::test {

/** Varies values of one type; the same seed gives the same values. */
class Variation {
public:
   /**
    * @param fixed    Fields that stay as they are: "field", or "message.field" where they are of a message.
    * @param kept     Choices that keep their arm, and optional fields that stay there or absent.
    * @param without  Optional fields that are taken out.
    */
   Variation(const QuorvaType& type, uint64_t seed, const std::set<std::string>& fixed,
             const std::set<std::string>& kept, const std::set<std::string>& without)
         : type_(type), fixed_(fixed), kept_(kept), without_(without), state_(seed * 2 + 1) {}

   /** A number below a limit. */
   uint64_t below(uint64_t limit) {
      state_ ^= state_ << 13, state_ ^= state_ >> 7, state_ ^= state_ << 17;
      return (state_ * 0x2545F4914F6CDD1D >> 11) % limit;
   }

   /**
    * Varies what is at a path, a field of the type: one leaf, list, choice or option of `rarity`. What is new
    * there has values of its own. What an earlier field steers stays as it says.
    */
   void vary(RtxContext* ctxt, void* value, const std::string& path, const QuorvaField& field,
             uint64_t rarity) {
      ctxt_ = ctxt, value_ = value;
      inside(path, field, rarity);
   }

private:
   const std::vector<QuorvaField>& fieldsIn(const QuorvaField& field) {
      std::vector<QuorvaField>& fields = fields_[{field.module_, field.row_, field.offset}];
      if (fields.empty()) {
         fields.resize(quorvaFieldsIn(&field, nullptr, 0));
         quorvaFieldsIn(&field, fields.data(), fields.size());
      }
      return fields;
   }

   bool there(const std::string& path) {
      QuorvaItem item;
      return quorvaGet(ctxt_, &type_, value_, path.c_str(), &item) == 0;
   }
   bool set(const std::string& path, const std::string& text) {
      return quorvaSet(ctxt_, &type_, value_, path.c_str(), text.c_str()) == 0;
   }

   void each(const std::string& path, const QuorvaField& field, uint64_t rarity) {
      for (const QuorvaField& inner : fieldsIn(field)) {
         const bool named = inner.name[0] != 0;
         const std::string where = !named ? path : path.empty() ? inner.name : path + "." + inner.name;
         const bool optional = inner.presenceBit != QUORVA_NONE || inner.groupBit != QUORVA_NONE;
         uint64_t own = rarity;
         if (listed(without_, path, inner)) {
            if (optional)
               (void)quorvaRemove(ctxt_, &type_, value_, where.c_str());
            else
               (void)set(where, inner.kind == QUORVA_BITS ? "/0" : "");
            continue;
         }
         if (optional && named) {
            bool present = there(where);
            if (below(rarity) == 0 && !listed(kept_, path, inner)) {
               const bool wanted = below(2) == 0;
               if (!wanted) (void)quorvaRemove(ctxt_, &type_, value_, where.c_str());
               if (wanted && !present && set(where, inner.kind == QUORVA_FLAG ? "true" : "0")) own = 1;
               present = there(where);
            }
            if (!present) continue;
         }
         inside(where, inner, own);
      }
   }

   bool listed(const std::set<std::string>& names, const std::string& path, const QuorvaField& field) const {
      const size_t message = path.rfind("obj_");
      return names.count(field.name) != 0 ||
             (message != std::string::npos && path.find('.', message) == std::string::npos &&
              names.count(path.substr(message + 4) + "." + field.name) != 0);
   }

   void inside(const std::string& path, const QuorvaField& field, uint64_t rarity) {
      const size_t dot = path.rfind('.');
      const std::string around = field.name[0] == 0         ? path
                                 : dot == std::string::npos ? ""
                                                            : path.substr(0, dot);
      if (listed(fixed_, around, field)) return;
      QuorvaItem item;
      const bool empty = field.kind == QUORVA_TEXT &&
                         quorvaGet(ctxt_, &type_, value_, path.c_str(), &item) == 0 && item.count == 0;
      const bool now =
            (empty || below(rarity) == 0) && (field.kind != QUORVA_CHOICE || !listed(kept_, around, field));
      switch (field.kind) {
      case QUORVA_RECORD: each(path, field, rarity); return;
      case QUORVA_LIST: list(path, field, rarity, now); return;
      case QUORVA_CHOICE: choice(path, field, rarity, now); return;
      case QUORVA_NULL: return;
      case QUORVA_FLAG:
         if (now) (void)quorvaSetNumber(ctxt_, &type_, value_, path.c_str(), below(2));
         return;
      case QUORVA_NUMBER:
      case QUORVA_ENUM:
         if (now) (void)quorvaSetNumber(ctxt_, &type_, value_, path.c_str(), numberFor(field));
         return;
      default:
         if (now) (void)set(path, textFor(path, field));
         return;
      }
   }

   void list(const std::string& path, const QuorvaField& field, uint64_t rarity, bool now) {
      QuorvaItem item;
      if (quorvaGet(ctxt_, &type_, value_, path.c_str(), &item) != 0) return;
      const size_t before = item.count;
      size_t count = before;
      if (now) {
         count = countFor(field, 5);
         if (quorvaSetNumber(ctxt_, &type_, value_, (path + ".n").c_str(), count) != 0) count = before;
      }
      const QuorvaField& entry = fieldsIn(field).front();
      for (size_t i = 0; i < std::min<size_t>(count, 40); ++i)
         inside(path + "[" + std::to_string(i) + "]", entry, i < before ? rarity : 1);
   }

   void choice(const std::string& path, const QuorvaField& field, uint64_t rarity, bool now) {
      const std::vector<QuorvaField>& arms = fieldsIn(field);
      const auto at = [&](const QuorvaField& arm) {
         return arm.name[0] == 0 ? path : path.empty() ? arm.name : path + "." + arm.name;
      };
      if (now && !arms.empty()) {
         const QuorvaField& arm = arms[below(arms.size())];
         const std::string where = at(arm);
         if (arm.name[0] != 0 && !there(where) && set(where, "0")) {
            inside(where, arm, 1);
            return;
         }
      }
      for (const QuorvaField& arm : arms)
         if (arm.name[0] != 0 && there(at(arm))) {
            inside(at(arm), arm, rarity);
            return;
         }
   }

   uint64_t numberFor(const QuorvaField& field) {
      // A reserved value would keep the dissector from what it steers.
      if (field.nameCount > 0) return static_cast<uint64_t>(field.names[below(field.nameCount)].value);
      const uint64_t room = field.bits == 0 || field.bits > 63 ? UINT64_MAX : (uint64_t{1} << field.bits) - 1;
      const uint64_t low = field.low, high = std::min(field.high, room);
      if (high <= low) return low;
      const uint64_t span = high - low;
      switch (below(4)) {
      case 0: return below(2) == 0 ? low : high;
      case 1: return low + below(std::min<uint64_t>(span, 8) + 1);
      default: return span == UINT64_MAX ? below(UINT64_MAX) : low + below(span + 1);
      }
   }

   /** A count or a length, seldom more than `usual` above the least. */
   size_t countFor(const QuorvaField& field, uint64_t usual) {
      uint64_t high = field.high;
      if (field.capacity != 0) high = std::min<uint64_t>(high, field.capacity);
      if (high <= field.low) return static_cast<size_t>(field.low);
      const uint64_t span = high - field.low;
      return static_cast<size_t>(field.low + below(std::min(span, usual) + 1));
   }

   std::string textFor(const std::string& path, const QuorvaField& field) {
      QuorvaItem item;
      if (quorvaGet(ctxt_, &type_, value_, path.c_str(), &item) != 0) return {};
      static const char* const kDigits = "0123456789abcdef";
      const bool octets = field.kind == QUORVA_OCTETS || field.kind == QUORVA_BITS;
      const bool letters =
            !octets && std::any_of(item.text, item.text + std::char_traits<char>::length(item.text),
                                   [](char ch) { return ch > '9'; });
      size_t count = countFor(field, 16);
      if (std::strcmp(field.name, "mcc") == 0) count = 3;
      if (std::strcmp(field.name, "mnc") == 0)
         count = 2 + below(2);
      else if (!octets && !letters)
         count = std::max<size_t>(
               count, std::min<uint64_t>({6, field.high, field.capacity == 0 ? 6 : field.capacity}));
      std::string text;
      const size_t signs = field.kind == QUORVA_OCTETS ? 2 * count
                           : field.kind == QUORVA_BITS ? (count + 7) / 8 * 2
                                                       : count;
      for (size_t i = 0; i < signs; ++i)
         text += letters ? static_cast<char>('a' + below(26)) : kDigits[below(octets ? 16 : 10)];
      if (field.kind == QUORVA_BITS) {
         // Bits behind the last one are 0.
         if (count % 8 != 0) {
            const unsigned last = static_cast<unsigned>(below(256)) & (0xFF00u >> count % 8 & 0xFF);
            text[signs - 2] = kDigits[last >> 4], text[signs - 1] = kDigits[last & 15];
         }
         text += "/" + std::to_string(count);
      }
      return text;
   }

   struct Key {
      const void *module, *row;
      size_t offset;
      bool operator<(const Key& other) const {
         return row != other.row         ? row < other.row
                : module != other.module ? module < other.module
                                         : offset < other.offset;
      }
   };

   const QuorvaType& type_;
   const std::set<std::string>&fixed_, &kept_, &without_;
   uint64_t state_;
   RtxContext* ctxt_ = nullptr;
   void* value_ = nullptr;
   std::map<Key, std::vector<QuorvaField>> fields_;
};

} // namespace quorva::test

#endif
