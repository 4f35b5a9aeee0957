// Names to types, expressions to fields, storage, group numbers, nested names.
#include "compiler/layout.h"
#include "compiler/walk.h"

#include <algorithm>
#include <map>
#include <set>

namespace l3c {
namespace {

// What an expression may name: the fields of a record that came before, then those of the records around it.
struct Scope {
   const std::vector<std::string>* parameters = nullptr; // of the type, at its own level
   std::vector<const Field*> prefix;                     // the way to this record from the outermost
   const std::vector<std::unique_ptr<Field>>* all = nullptr;
   const Scope* outer = nullptr;
   std::vector<const Field*> seen;
};

class Resolver {
public:
   Resolver(Model& model, Diagnostics& diagnostics) : model_(model), diagnostics_(diagnostics) {}

   void run() {
      orderModules();
      eachType([this](Type& type) { typeNames(type); });
      for (auto& module : model_.modules)
         for (TestVector& test : module->tests) name(test.type, *module);
      eachType([](Type& type) {
         int groups = 0;
         numberGroups(type.fields, groups);
         typeStorage(type);
         fieldStorage(type);
      });
      std::set<const Type*> nested;
      eachType([&nested](Type& outer) {
         eachField(outer.fields, [&](Field& field) {
            if (isNested(field.type, outer)) nested.insert(field.type.type);
         });
      });
      eachType([&nested](Type& type) {
         type.nested = type.placed || nested.count(&type) != 0 || namedByPlace(type);
      });
      eachType([this](Type& type) {
         at_ = &type;
         Scope scope;
         scope.all = &type.fields;
         scope.parameters = &type.parameters;
         // The codec of a PDU is written by hand, so that what it says may hang on a later field.
         if (type.kind == TypeKind::Pdu)
            for (auto& field : type.fields) scope.seen.push_back(field.get());
         if (type.times) resolve(*type.times, scope);
         expressions(type.fields, scope);
      });
      eachType([](Type& type) { handOuter(type); });
      eachType([this](Type& type) { countedFields(type.fields); });
      eachType([this](Type& type) {
         if (type.standard) compareForms(type);
      });
   }

private:
   template <class Visit>
   void eachType(Visit visit) {
      for (auto& module : model_.modules)
         for (auto& type : module->types) {
            visit(*type);
            if (type->standard) visit(*type->standard);
            if (type->figure) visit(*type->figure);
         }
   }

   // Used modules first; the order given otherwise.
   void orderModules() {
      std::map<std::string, size_t> places;
      for (size_t i = 0; i < model_.modules.size(); ++i) {
         Module& module = *model_.modules[i];
         if (!module.name.empty() && !places.emplace(module.name, i).second)
            diagnostics_.error(DuplicateModule, module.pos,
                               "A module `" + module.name + "` is already there.");
      }
      std::vector<int> state(model_.modules.size(), 0); // 1 entered, 2 done
      std::vector<size_t> order;
      auto visit = [&](auto& self, size_t at) -> void {
         Module& module = *model_.modules[at];
         state[at] = 1;
         for (const std::string& used : module.uses) {
            auto place = places.find(used);
            if (place == places.end())
               diagnostics_.error(UnknownModule, module.pos,
                                  "The module `" + used + "` is not among the files.");
            else if (state[place->second] == 1)
               diagnostics_.error(UsesCycle, module.pos,
                                  "`" + module.name + "` uses `" + used + "`, which in turn uses it.");
            else if (state[place->second] == 0)
               self(self, place->second);
         }
         state[at] = 2;
         order.push_back(at);
      };
      for (size_t i = 0; i < state.size(); ++i)
         if (state[i] == 0) visit(visit, i);
      std::vector<std::unique_ptr<Module>> sorted;
      for (size_t at : order) sorted.push_back(std::move(model_.modules[at]));
      model_.modules = std::move(sorted);
   }

   // Own module, those of `uses` in order, then the longest module name that leads the type's.
   void name(TypeRef& ref, const Module& module) {
      if (ref.name.empty()) return;
      if ((ref.type = module.find(ref.name))) return;
      for (const std::string& used : module.uses)
         if (Module* other = model_.find(used))
            if ((ref.type = other->find(ref.name))) return;
      const Module* best = nullptr;
      for (auto& other : model_.modules)
         if (ref.name.size() > other->name.size() + 1 && ref.name.starts_with(other->name + '_') &&
             (!best || other->name.size() > best->name.size()))
            best = other.get();
      if (best) ref.type = best->find(ref.name.substr(best->name.size() + 1));
      if (!ref.type) {
         diagnostics_.error(UnknownType, ref.pos, "There is no type `" + ref.name + "`.");
      } else if (best != &module &&
                 std::find(module.uses.begin(), module.uses.end(), best->name) == module.uses.end()) {
         diagnostics_.error(ModuleNotUsed, ref.pos,
                            "`" + best->name + "` is not among the modules that `" + module.name + "` uses.");
      }
   }

   void typeNames(Type& type) {
      const Module& module = *type.module;
      name(type.base, module);
      for (TableRow& row : type.table) name(row.record, module);
      for (TableRow& row : type.secondTable) name(row.record, module);
      eachField(type.fields, [&](Field& field) {
         name(field.type, module);
         name(field.namesOf, module);
      });
   }

   static bool isNested(const TypeRef& ref, const Type& outer) {
      return ref.type != nullptr && ref.type->module == outer.module &&
             ref.type->name.starts_with(outer.name + '_');
   }

   // Types by place that stand by themselves, for those who are coded by hand.
   static bool namedByPlace(const Type& type) {
      if (!type.module->isCsn1()) return false;
      return type.name.starts_with(type.module->lists) || type.name.ends_with("_element") ||
             type.name.find("_component_") != std::string::npos;
   }

   // The groups of a message carry their numbers already; those of releases follow in order.
   static void numberGroups(const std::vector<std::unique_ptr<Field>>& fields, int& groups) {
      for (auto& field : fields) {
         groups = std::max(groups, field->group);
         if (field->kind == Kind::Since) field->group = ++groups;
         int own = 0;
         if (field->onlyOnWire())
            numberGroups(field->fields, groups);
         else
            numberGroups(field->fields, own);
         for (Arm& arm : field->arms) {
            own = 0;
            if (arm.field) numberGroups(arm.field->fields, own);
         }
      }
   }

   static bool given(const Storage& storage) { return storage.heap || storage.capacity; }

   static void typeStorage(Type& type) {
      if (given(type.storage)) return;
      if (type.kind == TypeKind::Octets && type.cls == Class::LVE) type.storage = {true, 0};
      if (type.kind == TypeKind::Octets && type.cls == Class::LV)
         type.storage.capacity = type.bounds.high.value_or(255);
      if (type.kind == TypeKind::Bits) type.storage = {type.count == 0, type.count};
      if (type.kind == TypeKind::List) type.storage = {!type.bounds.high, type.bounds.high.value_or(0)};
   }

   static void fieldStorage(const Type& type) {
      eachField(type.fields, [&type](Field& field) {
         if (given(field.storage)) return;
         const Bounds& bounds = field.bounds;
         if (field.kind == Kind::Each) field.storage = {!bounds.high, bounds.high.value_or(0)};
         if (field.kind == Kind::Tail || field.kind == Kind::BitTail || field.kind == Kind::FillBits)
            field.storage = {true, 0};
         if (type.structure && field.kind == Kind::Fill) field.storage = {true, 0};
         if (field.kind == Kind::Counted && field.bits == 16) field.storage = {true, 0};
         if (field.kind == Kind::Counted && field.bits != 16)
            field.storage.capacity = bounds.high.value_or(255);
      });
   }

   void expressions(const std::vector<std::unique_ptr<Field>>& fields, Scope& scope, bool backwards = false) {
      for (size_t i = 0; i < fields.size(); ++i)
         expressions(*fields[backwards ? fields.size() - 1 - i : i], scope);
   }

   void expressions(Field& field, Scope& scope) {
      if (field.argument) resolve(*field.argument, scope);
      if (field.entry && field.entry->argument) resolve(*field.entry->argument, scope);
      if (field.second) resolve(*field.second, scope);
      if (field.when) resolve(*field.when, scope);
      if (field.kind == Kind::Frame) scope.seen.push_back(&field);
      if (field.onlyOnWire()) expressions(field.fields, scope, field.kind == Kind::Swap);
      if (field.kind == Kind::Group) inner(field, scope, {&field});
      for (Arm& arm : field.arms) {
         if (!arm.field) continue;
         if (arm.field->kind == Kind::Group) {
            if (arm.field->when) resolve(*arm.field->when, scope);
            inner(*arm.field, scope, {&field, arm.field.get()});
         } else {
            Scope ofArm;
            ofArm.prefix = scope.prefix;
            ofArm.prefix.push_back(&field);
            ofArm.outer = &scope;
            expressions(*arm.field, ofArm);
         }
      }
      if (field.kind != Kind::Frame) scope.seen.push_back(&field);
   }

   // What sizes something inside a type by place, or inside the entries of a list, its fields hand on.
   static void handOuter(Type& type) {
      eachField(type.fields, [&type](Field& field) {
         const Type* inner = field.type.type;
         if (inner == nullptr || field.second) return;
         const Type* entry = inner->kind == TypeKind::List ? inner->base.type : nullptr;
         const Field* outer = inner->outer ? inner->outer : entry ? entry->outer : nullptr;
         if (outer == nullptr || inner->owner != &type) return;
         field.second = std::make_unique<Expr>();
         field.second->op = Expr::Op::Name;
         field.second->pos = field.pos;
         field.second->name = outer->name;
         field.second->path = {outer};
      });
   }

   // What only one of the two forms of a type has. The record is that of the type itself, so that what its
   // standard form alone has goes behind it.
   void compareForms(Type& type) {
      std::map<std::string, Field*> own = places(type.fields), other = places(type.standard->fields);
      for (auto& [name, field] : other) {
         const auto hit = own.find(name);
         field->appended = hit == own.end();
         field->mayMiss = hit != own.end() && field->optional && !hit->second->optional;
      }
      eachField(type.standard->fields, [&](Field& field) {
         if (field.kind != Kind::Group || field.appended) return;
         const auto hit = own.find(field.name);
         if (hit == own.end()) return;
         const auto inner = places(hit->second->fields);
         for (auto& [name, one] : places(field.fields))
            if (inner.count(name) == 0)
               diagnostics_.error(MisplacedWord, one->pos,
                                  "A field of the standards alone stands among those of the type itself.");
      });
   }
   // The members of a record by their names; those of a union with the name of the choice ahead.
   static std::map<std::string, Field*> places(const std::vector<std::unique_ptr<Field>>& fields) {
      std::map<std::string, Field*> all;
      for (auto& field : fields) {
         if (!field->name.empty() && field->kind != Kind::Bare) all.emplace(field->name, field.get());
         if (field->onlyOnWire()) all.merge(places(field->fields));
         for (Arm& arm : field->arms)
            if (arm.field && !arm.field->name.empty())
               all.emplace(field->name + "." + arm.field->name, arm.field.get());
      }
      return all;
   }

   // `= octets` names a field that comes later in the same record: the next one if the number is unsent.
   void countedFields(const std::vector<std::unique_ptr<Field>>& fields) {
      std::vector<Field*> flat;
      auto collect = [&](auto& self, const std::vector<std::unique_ptr<Field>>& level) -> void {
         for (auto& field : level) {
            flat.push_back(field.get());
            if (field->onlyOnWire())
               self(self, field->fields);
            else
               countedFields(field->fields);
            for (Arm& arm : field->arms)
               if (arm.field) countedFields(arm.field->fields);
         }
      };
      collect(collect, fields);
      for (size_t i = 0; i < flat.size(); ++i) {
         if (flat[i]->counts.empty()) continue;
         if (flat[i]->aside) {
            if (i + 1 == flat.size() || flat[i + 1]->name != flat[i]->counts)
               diagnostics_.error(NoNextField, flat[i]->pos,
                                  "The next field is not `" + flat[i]->counts + "`.");
            continue;
         }
         for (size_t k = i + 1; k < flat.size() && !flat[i]->counted; ++k)
            if (flat[k]->name == flat[i]->counts) flat[i]->counted = flat[k];
         if (!flat[i]->counted)
            diagnostics_.error(UnknownName, flat[i]->pos,
                               "No later field of this record is called `" + flat[i]->counts + "`.");
      }
   }

   void inner(Field& group, const Scope& scope, std::vector<const Field*> way) {
      Scope within;
      within.prefix = scope.prefix;
      within.prefix.insert(within.prefix.end(), way.begin(), way.end());
      within.outer = &scope;
      within.all = &group.fields;
      expressions(group.fields, within);
   }

   void resolve(Expr& expr, const Scope& scope) {
      if (expr.left) resolve(*expr.left, scope);
      if (expr.right) resolve(*expr.right, scope);
      if (expr.op == Expr::Op::Call && expr.name != "p" && expr.name != "q")
         diagnostics_.error(UnknownName, expr.pos, "No function is called `" + expr.name + "`.");
      if (expr.op != Expr::Op::Name) return;
      std::vector<std::string> parts(1);
      for (char c : expr.name) {
         if (c == '.')
            parts.emplace_back();
         else
            parts.back() += c;
      }
      for (const Scope* at = &scope; at; at = at->outer)
         for (size_t i = at->seen.size(); i-- > 0;) {
            std::vector<const Field*> way = at->prefix;
            if (!enter(*at->seen[i], parts[0], way)) continue;
            return descend(expr, parts, std::move(way));
         }
      for (const Scope* at = &scope; at; at = at->outer)
         if (at->parameters &&
             std::find(at->parameters->begin(), at->parameters->end(), expr.name) != at->parameters->end()) {
            expr.parameter = true;
            return;
         }
      if (at_->owner != nullptr)
         for (auto& field : at_->owner->fields)
            if (field->name == expr.name) {
               if (std::pair(expr.pos.line, expr.pos.column) < std::pair(field->pos.line, field->pos.column))
                  diagnostics_.error(LaterField, expr.pos,
                                     "`" + expr.name + "` comes later than this expression.");
               if (at_->outer != nullptr && at_->outer != field.get())
                  diagnostics_.error(NotCoded, expr.pos,
                                     "One field of the structure around is known here, and that is `" +
                                           at_->outer->name + "`.");
               expr.parameter = true;
               expr.path = {field.get()};
               at_->outer = field.get();
               return;
            }
      std::vector<const Field*> later;
      for (const Scope* at = &scope; at; at = at->outer)
         if (at->all && find(*at->all, parts[0], later)) {
            diagnostics_.error(LaterField, expr.pos, "`" + parts[0] + "` comes later than this expression.");
            return;
         }
      diagnostics_.error(UnknownName, expr.pos, "No field here is called `" + parts[0] + "`.");
   }

   // The field itself, or an arm of a choice that has no name.
   static bool enter(const Field& field, const std::string& name, std::vector<const Field*>& way) {
      if (!field.name.empty()) {
         if (field.name != name) return false;
         way.push_back(&field);
         return true;
      }
      for (const Arm& arm : field.arms)
         if (arm.field && arm.field->name == name) {
            way.push_back(&field);
            way.push_back(arm.field.get());
            return true;
         }
      return false;
   }

   static bool find(const std::vector<std::unique_ptr<Field>>& fields, const std::string& name,
                    std::vector<const Field*>& way) {
      for (auto& field : fields)
         if (enter(*field, name, way) || (field->onlyOnWire() && find(field->fields, name, way))) return true;
      return false;
   }

   void descend(Expr& expr, const std::vector<std::string>& parts, std::vector<const Field*> way) {
      for (size_t i = 1; i < parts.size(); ++i) {
         const Field& from = *way.back();
         const Type* record = from.kind == Kind::Named ? withoutAliases(from.type.type) : nullptr;
         bool found = record ? find(record->fields, parts[i], way) : find(from.fields, parts[i], way);
         for (size_t k = 0; !found && k < from.arms.size(); ++k) {
            const Field* arm = from.arms[k].field.get();
            if (!arm || arm->name != parts[i]) continue;
            way.push_back(arm);
            found = true;
         }
         if (!found) {
            diagnostics_.error(NoFieldWithin, expr.pos,
                               "`" + parts[i - 1] + "` has no field `" + parts[i] + "`.");
            return;
         }
      }
      expr.path = std::move(way);
   }

   Model& model_;
   Diagnostics& diagnostics_;
   Type* at_ = nullptr; // whose expressions are at hand
};

} // namespace

void resolve(Model& model, Diagnostics& diagnostics) {
   Resolver(model, diagnostics).run();
   markBehindBits(model);
}

} // namespace l3c
