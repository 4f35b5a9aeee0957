#include "compiler/places.h"

#include <algorithm>

namespace l3c {
namespace {

class Placer {
public:
   explicit Placer(Module& module) : module_(module) {}

   void structure(Type& owner) {
      for (auto& field : owner.fields) this->field(owner, *field);
   }

   // A structure, or a choice, under a name of its own.
   Type& nest(const std::string& name, Field& from, const std::string& doc, Type* owner) {
      Type& type = make(name, TypeKind::Record, from.pos, doc);
      type.owner = owner;
      if (from.kind == Kind::Choice) {
         auto choice = std::make_unique<Field>();
         choice->pos = from.pos;
         choice->kind = Kind::Choice;
         choice->selector = from.selector;
         choice->argument = std::move(from.argument);
         choice->arms = std::move(from.arms);
         type.fields.push_back(std::move(choice));
      } else {
         type.fields = std::move(from.fields);
      }
      structure(type);
      return type;
   }

private:
   void field(Type& owner, Field& field) {
      const std::string doc = field.doc.empty() ? owner.doc + ": " + field.name : field.doc;
      const std::string name = owner.name + "_" + underscored(field.name);
      if (field.onlyOnWire()) {
         for (auto& inner : field.fields) this->field(owner, *inner);
         return;
      }
      switch (field.kind) {
      case Kind::Choice:
         if (!field.name.empty()) return become(field, nest(name, field, doc, &owner).name);
         for (Arm& arm : field.arms)
            if (arm.field) this->field(owner, *arm.field);
         return;
      case Kind::Group: return become(field, nest(name, field, doc, &owner).name);
      case Kind::Each: return list(name, field, doc, owner);
      case Kind::Sized:
      case Kind::SizedBits:
      case Kind::Fill:
      case Kind::FillBits:
      case Kind::Tail:
      case Kind::BitTail:
         if (field.own) string(name, field, doc, owner);
         return;
      default: return;
      }
   }

   static std::string underscored(std::string name) {
      std::ranges::replace(name, '-', '_');
      return name;
   }

   Type& make(const std::string& name, TypeKind kind, Pos pos, const std::string& doc) {
      Type& type = *module_.types.emplace_back(std::make_unique<Type>());
      type.pos = pos;
      type.name = name;
      type.doc = doc;
      type.kind = kind;
      type.module = &module_;
      type.structure = type.placed = true;
      module_.byName.emplace(name, &type);
      return type;
   }

   static void become(Field& field, const std::string& type) {
      field.kind = Kind::Named;
      field.bits = 0;
      field.type.pos = field.pos;
      field.type.name = type;
      field.storage = {};
   }

   void list(const std::string& name, Field& field, const std::string& doc, Type& owner) {
      const bool led = field.entries != Entries::Rest;
      std::string entry = field.type.name;
      if (field.entry) entry = nest(name + "_element", *field.entry, doc, &owner).name;
      // A list of structures is called after them.
      std::string own = name;
      if (led && !entry.empty()) own = module_.lists + withoutModule(entry);
      if (const Type* there = module_.find(own);
          there == nullptr || !there->placed || there->entries != field.entries) {
         Type& type = make(own, TypeKind::List, field.pos, doc);
         type.base.pos = field.type.pos;
         type.base.name = entry;
         type.bits = entry.empty() ? field.bits : 0;
         type.entries = field.entries;
         type.bounds = field.bounds;
         type.storage = field.storage;
         // A count that is always the same is the type's own.
         if (field.argument && field.argument->op == Expr::Op::Number) type.times = std::move(field.argument);
         type.presized = field.argument != nullptr;
         type.owner = &owner;
      }
      field.bounds = {};
      field.entry.reset();
      become(field, own);
   }

   std::string withoutModule(const std::string& type) const {
      for (auto& used : module_.uses)
         if (type.starts_with(used + "_")) return type.substr(used.size() + 1);
      return type;
   }

   void string(const std::string& name, Field& field, const std::string& doc, Type& owner) {
      const bool bits =
            field.kind == Kind::SizedBits || field.kind == Kind::FillBits || field.kind == Kind::BitTail;
      Type& type = make(name, bits ? TypeKind::Bits : TypeKind::Octets, field.pos, doc);
      type.owner = &owner;
      type.presized = field.argument != nullptr;
      type.fill = !type.presized;
      type.opensTail = field.kind == Kind::Tail || field.kind == Kind::BitTail;
      type.storage = field.storage;
      type.bounds = field.bounds;
      if (!type.storage.capacity) type.storage.heap = true;
      field.bounds = {};
      become(field, name);
   }

   Module& module_;
};

} // namespace

void placeTypes(Module& module, Type& structure) {
   Placer(module).structure(structure);
}

void placeEntries(Module& module, Type& list, Field& entries) {
   list.base.pos = entries.pos;
   list.base.name = Placer(module).nest(list.name + "_element", *entries.entry, list.doc, nullptr).name;
}

} // namespace l3c
