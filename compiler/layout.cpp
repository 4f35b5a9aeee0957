#include "compiler/layout.h"

#include "compiler/naming.h"
#include "compiler/program.h"
#include "compiler/walk.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <set>

namespace l3c {

Passing passing(const Type& type) {
   const Type& base = baseType(type);
   switch (base.kind) {
   case TypeKind::Enum:
   case TypeKind::Number: return Passing::Value;
   case TypeKind::Octets:
   case TypeKind::Bits: return base.count != 0 ? Passing::Array : Passing::Pointer;
   case TypeKind::Digits:
   case TypeKind::Text: return base.storage.heap ? Passing::TextPointer : Passing::Text;
   case TypeKind::Empty: return Passing::Nothing;
   default: return Passing::Pointer;
   }
}

bool hasRecord(const Type& type) {
   return type.kind != TypeKind::Empty;
}

bool hasSample(const Type& type) {
   return hasRecord(type) && (!type.nested || type.ownSample);
}

bool hasDecoder(const Type& type) {
   return !type.noDecoder;
}

std::string uintType(uint64_t bits) {
   return bits <= 8 ? "uint8_t" : bits <= 16 ? "uint16_t" : bits <= 32 ? "uint32_t" : "uint64_t";
}

bool isLed(Entries entries) {
   return entries == Entries::Ones || entries == Entries::Zeros || entries == Entries::Highs;
}

uint64_t patternBits(const std::string& pattern) {
   uint64_t bits = 0;
   for (char c : pattern) bits = bits << 1 | (c == '1' || c == 'H' ? 1u : 0u);
   return bits;
}

bool namesOuter(const Expr& e) {
   return e.parameter || (e.left && namesOuter(*e.left)) || (e.right && namesOuter(*e.right));
}

std::string countType(const Storage& storage, Entries entries) {
   if (isLed(entries)) return "uint64_t";
   if (storage.heap) return "uint32_t";
   return storage.capacity <= 255 ? "uint8_t" : storage.capacity <= 65535 ? "uint16_t" : "uint32_t";
}

std::string encodeArgument(const Type& type, const std::string& place) {
   return passing(type) == Passing::Pointer ? "&" + place : place;
}

std::string pointerArgument(const Type& type, const std::string& place) {
   const Passing how = passing(type);
   return how == Passing::Array || how == Passing::Text ? place : "&" + place;
}

static std::string valueParameter(const Type& type, const char* word) {
   switch (passing(type)) {
   case Passing::Value: return ", " + recordName(type) + " value";
   case Passing::Array: return ", const uint8_t* value";
   case Passing::Text:
   case Passing::TextPointer: return ", const char* value";
   case Passing::Nothing: return "";
   case Passing::Pointer: break;
   }
   return ", " + (word + recordName(type)) + "* pvalue";
}

std::string encodeParameters(const Type& type) {
   return valueParameter(type, "");
}

std::string printParameters(const Type& type) {
   return valueParameter(type, "const ");
}

// The value behind `v`, as the type's encoder and printer take it.
std::string valueOf(const Type& type, bool constant) {
   const std::string record = recordName(type);
   const std::string word = constant ? "const " : "";
   switch (passing(type)) {
   case Passing::Value: return ", *static_cast<" + word + record + "*>(v)";
   case Passing::Array: return ", static_cast<" + word + "uint8_t*>(v)";
   case Passing::Text: return ", static_cast<" + word + "char*>(v)";
   case Passing::TextPointer: return std::string(", *static_cast<const char* ") + word + "*>(v)";
   case Passing::Nothing: return "";
   case Passing::Pointer: break;
   }
   return ", static_cast<" + word + record + "*>(v)";
}

std::string targetOf(const Type& type) {
   switch (passing(type)) {
   case Passing::Array: return ", static_cast<uint8_t*>(v)";
   case Passing::Text: return ", static_cast<char*>(v)";
   case Passing::TextPointer: return ", static_cast<const char**>(v)";
   case Passing::Nothing: return "";
   default: return ", static_cast<" + recordName(type) + "*>(v)";
   }
}

std::string limitsText(const Bounds& bounds) {
   if (bounds.empty()) return "Limits{}";
   std::string text = "Limits{" + std::to_string(bounds.low.value_or(0));
   if (bounds.high) text += ", " + std::to_string(*bounds.high);
   if (!bounds.values.empty()) {
      uint64_t mask = 0;
      for (uint64_t value : bounds.values) mask |= uint64_t{1} << (value & 63);
      text += ", " + hex(mask);
   }
   return text + "}";
}

Bounds boundsOfBare(const Type& type) {
   Bounds bounds;
   const uint64_t octets = type.kind == TypeKind::Octets ? type.count : type.bits / 8;
   if (octets != 0 && type.kind != TypeKind::List) bounds.low = bounds.high = octets;
   return bounds;
}

// What the caller of a decoder hands over beside the target, each with this word ahead.
static std::string parameters(const Type& type, const std::string& word) {
   if (type.kind == TypeKind::Digits) return ", " + word + "numocts";
   std::string text;
   for (auto& parameter : type.parameters) text += ", " + word + cName(parameter);
   return text;
}

std::string decodeParameters(const Type& type) {
   const std::string more = parameters(baseType(type), "uint32_t ");
   switch (passing(type)) {
   case Passing::Array: return ", uint8_t* value" + more;
   case Passing::Text: return ", char* value" + more;
   case Passing::TextPointer: return ", const char** pvalue" + more;
   case Passing::Nothing: return "";
   default: return ", " + recordName(type) + "* pvalue" + more;
   }
}

std::string argumentNames(const Type& type, bool encode) {
   const Passing how = passing(type);
   if (how == Passing::Nothing) return "";
   const bool decoded = how == Passing::Value || how == Passing::TextPointer;
   return (how == Passing::Pointer || (decoded && !encode) ? ", pvalue" : ", value") +
          (encode ? "" : parameters(baseType(type), ""));
}

namespace {

bool isMessage(const Type& type) {
   const TypeKind kind = baseType(type).kind;
   return kind == TypeKind::Pdu || kind == TypeKind::Message;
}

} // namespace

bool quits(const Type& type) {
   return anyField(type.fields, [&](const Field& field) {
      return (field.kind == Kind::Since && type.returns) ||
             (field.type.type != nullptr &&
              (field.type.type->cls == Class::V || field.type.type->cls == Class::LB) &&
              quits(*field.type.type));
   });
}

bool leavesContainer(const Type& type) {
   return (type.cls == Class::LV || type.cls == Class::LVE) && quits(type);
}

bool hasShortPart(const Type& part, bool twice) {
   return part.pattern || (hasShortForm(part) && !twice && (part.structure || !part.custom));
}

// Is all of a structure, or of a list's entry, behind a part without a short form?
static bool beginsInFull(const Type& type) {
   if (type.kind == TypeKind::List)
      return type.base.type != nullptr && !hasShortForm(baseType(*type.base.type));
   if (type.fields.empty()) return false;
   const Field& first = *type.fields.front();
   if (first.kind != Kind::Named || first.optional || first.guarded) return false;
   const Type& part = baseType(*first.type.type);
   return !part.presized && !part.outer && !hasShortPart(part, first.second != nullptr);
}

bool hasShortForm(const Type& type) {
   // Of a structure, what has none inside is left to the exact form when it is there.
   if (type.structure && type.kind != TypeKind::Alias)
      return !type.custom && !type.presized && !type.outer && !beginsInFull(type);
   // Codecs by hand are templates over both forms, but for those of messages.
   if (type.custom && type.kind == TypeKind::List) return hasShortEntry(*type.base.type);
   if (type.custom) return type.kind == TypeKind::Record || type.kind == TypeKind::Text;
   switch (type.kind) {
   case TypeKind::Text:
   case TypeKind::Enum:
   case TypeKind::Number:
   case TypeKind::Octets:
   case TypeKind::Digits: return true;
   case TypeKind::Alias:
   case TypeKind::List: return type.base.type == nullptr || hasShortForm(*type.base.type);
   case TypeKind::Record:
      return type.cls != Class::L4 && !anyField(type.fields, [](const Field& field) {
                if (field.kind == Kind::Bits || field.kind == Kind::Messages ||
                    (field.kind == Kind::Fill && field.bits == 16))
                   return true;
                const Type* inner = field.type.type;
                return inner != nullptr && !isMessage(*inner) &&
                       (!hasShortForm(*inner) || leavesContainer(*inner));
             });
   default: return false;
   }
}

bool hasShortEntry(const Type& type) {
   return hasShortForm(type) && !type.placed;
}

bool isUniform(const Type& type) {
   return hasShortEntry(type) && !type.custom && passing(type) == Passing::Pointer &&
          type.parameters.empty() && type.kind != TypeKind::Alias;
}

bool hasMessageForm(const Type& type) {
   return type.kind == TypeKind::Message && !type.custom;
}

namespace {

// Collects the types of values that follow a bit.
class BehindBits {
public:
   void search(const Type& type) {
      if (type.kind == TypeKind::List && type.entries != Entries::Rest) add(type.base.type);
      for (auto& field : type.fields) search(*field, false);
   }

   bool has(const Type& type) const { return types_.count(&type) != 0; }

private:
   void search(const Field& field, bool behind) {
      behind = behind || field.lead != Lead::None ||
               (field.kind == Kind::Each && field.entries != Entries::Rest);
      if (behind) add(field.type.type);
      for (auto& inner : field.fields) search(*inner, behind || field.kind == Kind::Chain);
      for (auto& arm : field.arms)
         if (arm.field != nullptr) search(*arm.field, behind);
   }

   // What is in such a record stands behind the bit too.
   void add(const Type* type) {
      type = withoutAliases(type); // which ends for one that is an alias of itself too
      if (type == nullptr || type->custom || type->kind != TypeKind::Record || type->cls != Class::V ||
          !types_.insert(type).second)
         return;
      for (auto& field : type->fields) search(*field, true);
   }

   std::set<const Type*> types_;
};

} // namespace

void markBehindBits(Model& model) {
   BehindBits behind;
   for (auto& module : model.modules)
      for (auto& type : module->types) behind.search(*type);
   for (auto& module : model.modules)
      for (auto& type : module->types)
         if (behind.has(*type)) type->amongBits = true;
}

bool standsAmongBits(const Type& type) {
   if (type.structure) return hasShortForm(type) && type.kind != TypeKind::Alias;
   if (type.custom) {
      const Width width = widthOf(type);
      return hasShortForm(type) && !width.open && (width.low % 8 != 0 || width.high % 8 != 0);
   }
   if (type.amongBits) return true;
   if (type.kind != TypeKind::Record || type.cls == Class::LV || type.cls == Class::LVE) return false;
   return type.cls == Class::LB || std::any_of(type.fields.begin(), type.fields.end(), [](auto& field) {
             return field->lead != Lead::None ||
                    (field->type.type != nullptr && standsAmongBits(*field->type.type));
          });
}

std::string shortDeclaration(const Type& type, bool encode) {
   const std::string octets = encode ? "uint8_t* " : "const uint8_t* ";
   return octets + (encode ? "shortEnc_" : "shortDec_") + recordName(type) + "(" + octets + "at, " + octets +
          "end, RtxContext* pctxt" +
          (isUniform(type) ? ", void* v"
           : encode        ? encodeParameters(type)
                           : decodeParameters(type)) +
          ")";
}

std::vector<PresenceBit> presenceBits(const std::vector<std::unique_ptr<Field>>& fields) {
   std::vector<PresenceBit> bits;
   int group = 0;
   for (auto& field : fields) {
      if (field->ieiBits != 0 && field->group != group) {
         group = field->group;
         bits.push_back({groupName(group), nullptr, group});
      }
      if (field->kind == Kind::Since) bits.push_back({groupName(field->group), nullptr, field->group});
      if (field->optional || field->ieiBits != 0)
         bits.push_back({presenceName(*field), field.get(), field->group});
      for (auto& arm : field->arms) // a record of its own within an arm has bits of its own
         if (arm.field->optional) bits.push_back({presenceName(*arm.field), arm.field.get(), field->group});
      if (field->onlyOnWire()) {
         for (auto& inner : presenceBits(field->fields)) bits.push_back(inner);
      }
   }
   return bits;
}

namespace {
void appended(const std::vector<std::unique_ptr<Field>>& fields, std::vector<const Field*>& out) {
   for (auto& field : fields) {
      if (field->appended || field->mayMiss) out.push_back(field.get());
      if (field->onlyOnWire()) appended(field->fields, out);
      for (auto& arm : field->arms)
         if (arm.field->appended || arm.field->mayMiss) out.push_back(arm.field.get());
   }
}
} // namespace

std::vector<const Field*> appendedFields(const Type& type) {
   std::vector<const Field*> all;
   if (type.standard) appended(type.standard->fields, all);
   return all;
}

std::string appendixBit(const Field& field) {
   return cName(field.name) + (field.appended ? "Present" : "Absent");
}

bool departs(const Type& type) {
   if (type.standard) return !type.widens;
   return anyField(type.fields, [](const Field& field) {
      return field.type.type != nullptr && runBits(field) != 0 && departs(baseType(*field.type.type));
   });
}

namespace {

unsigned contentBits(const Field& field);

unsigned fixedBits(const std::vector<std::unique_ptr<Field>>& fields) {
   unsigned sum = 0;
   for (auto& field : fields) {
      const bool there = !field->optional && field->ieiBits == 0 && !field->name.empty();
      const unsigned bits = there ? contentBits(*field) : 0;
      if (bits == 0) return 0;
      sum += bits;
   }
   return sum;
}

// Of the field when it is there.
unsigned contentBits(const Field& field) {
   if (field.aside || field.valueOnly || field.guarded || field.counted != nullptr || field.ahead != 0 ||
       field.bareBits != 0 || !field.bounds.values.empty())
      return 0;
   switch (field.kind) {
   case Kind::Flag: return 1;
   case Kind::Uint: return field.bits <= 32 ? field.bits : 0;
   case Kind::Named: return field.argument ? 0 : fixedBits(*field.type.type);
   case Kind::Group: return fixedBits(field.fields);
   default: return 0;
   }
}

} // namespace

unsigned fixedBits(const Type& type) {
   const Type& base = baseType(type);
   if (type.custom || type.bare || base.custom || base.bare) return 0;
   switch (base.kind) {
   case TypeKind::Enum:
   case TypeKind::Number: return base.pattern ? 0 : base.bits;
   case TypeKind::Record: return base.cls == Class::V ? fixedBits(base.fields) : 0;
   default: return 0;
   }
}

bool isRunType(const Type& type) {
   const unsigned bits = fixedBits(type);
   return bits != 0 && bits <= kMaxRunBits;
}

unsigned runBits(const Field& field) {
   const unsigned bits = field.name.empty() ? 0 : contentBits(field);
   return bits <= kMaxRunBits ? bits : 0;
}

bool hasInit(const Type& type) {
   const Type& base = baseType(type);
   switch (base.kind) {
   case TypeKind::Pdu: return true;
   case TypeKind::Octets:
   case TypeKind::Bits: return base.count == 0;
   case TypeKind::List:
   case TypeKind::Message: return true; // PDU decoders prepare the record of every message
   case TypeKind::Record: return !isPlain(base);
   default: return false;
   }
}

namespace {

bool inits(const std::vector<std::unique_ptr<Field>>& fields) {
   return !presenceBits(fields).empty() || std::ranges::any_of(fields, [](auto& field) {
      switch (field->kind) {
      case Kind::Named: {
         const Passing how = passing(*field->type.type);
         return hasInit(*field->type.type) || field->init || how == Passing::Text ||
                how == Passing::TextPointer;
      }
      case Kind::Flag:
      case Kind::Uint: return field->init.has_value(); // spare bits alone give none
      case Kind::Octets:
      case Kind::Bits:
      case Kind::Unary:
      case Kind::Const:
      case Kind::Padding:
      case Kind::Null: return false;
      default: return field->fields.empty() || inits(field->fields);
      }
   });
}

} // namespace

bool isPlain(const Type& record) {
   return !inits(record.fields) && appendedFields(record).empty();
}

std::string hex(uint64_t value, int digits) {
   char text[32];
   std::snprintf(text, sizeof text, "0x%0*" PRIX64, digits, value);
   return text;
}

} // namespace l3c
