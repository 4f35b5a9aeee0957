// What descriptions hold, as lines of words with tabs between them: for scripts that tell of it in another
// form.
#include "compiler/diagnostics.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/walk.h"

#include <set>

namespace l3c {

namespace {

std::string nameOf(const TypeRef& reference) {
   return reference.type != nullptr ? recordName(*reference.type) : "-";
}

const char* wordOf(TypeKind kind) {
   switch (kind) {
   case TypeKind::Enum: return "enum";
   case TypeKind::Record: return "element";
   case TypeKind::Empty:
   case TypeKind::Message:
   case TypeKind::OneElement: return "message";
   case TypeKind::Pdu: return "pdu";
   default: return "type";
   }
}

// Fields with a name, below the names of the records around them.
void listFields(const std::string& type, const std::vector<std::unique_ptr<Field>>& fields,
                const std::string& path, Writer& out) {
   for (auto& field : fields) {
      const std::string inner = field->name.empty() ? path : path + printName(cName(field->name)) + '.';
      if (!field->name.empty())
         out.line("field\t" + type + '\t' + inner.substr(0, inner.size() - 1) + '\t' + nameOf(field->type) +
                  '\t' + (field->ieiBits != 0 || field->optional ? "optional" : "mandatory"));
      listFields(type, field->fields, inner, out);
      for (auto& arm : field->arms)
         if (arm.field) {
            const std::string place = inner + printName(cName(arm.field->name));
            out.line("field\t" + type + '\t' + place + '\t' + nameOf(arm.field->type) + "\toptional");
            listFields(type, arm.field->fields, place + '.', out);
         }
   }
}

} // namespace

std::string list(const Model& model) {
   Writer out;
   for (auto& module : model.modules) {
      for (auto& each : module->types) {
         const Type& type = *each;
         const std::string name = recordName(type);
         const bool part = type.placed || type.nested;
         out.line("type\t" + name + '\t' + (part ? "part" : wordOf(type.kind)) + '\t' +
                  (hasSample(type) ? "sample" : "-") + '\t' + (type.doc.empty() ? "-" : type.doc));
         if (type.base.type != nullptr)
            out.line("field\t" + name + "\t\t" + nameOf(type.base) + "\tmandatory");
         listFields(name, type.fields, "", out);
         std::set<uint64_t> releases;
         eachField(type.fields, [&](const Field& field) {
            if (field.kind == Kind::Since) releases.insert(field.number);
         });
         for (const uint64_t release : releases) out.line("since\t" + name + '\t' + std::to_string(release));
         for (auto* rows : {&type.table, &type.secondTable})
            for (const TableRow& row : *rows)
               out.line("row\t" + name + '\t' + std::to_string(row.disc) + '\t' +
                        std::to_string(row.msgType) + '\t' + row.member + '\t' + nameOf(row.record));
      }
   }
   return out.text();
}

} // namespace l3c
