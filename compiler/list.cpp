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

// Fields with a name, below the names of the records around them; $type is what they are fields of.
void listFields(const std::vector<std::unique_ptr<Field>>& fields, const std::string& path, Writer& out) {
   for (auto& field : fields) {
      const std::string inner = field->name.empty() ? path : path + printName(cName(field->name)) + '.';
      if (!field->name.empty())
         out.fill("field\t$type\t$path\t$of\t$presence",
                  {{"path", inner.substr(0, inner.size() - 1)},
                   {"of", nameOf(field->type)},
                   {"presence", field->ieiBits != 0 || field->optional ? "optional" : "mandatory"}});
      listFields(field->fields, inner, out);
      for (auto& arm : field->arms)
         if (arm.field) {
            const std::string place = inner + printName(cName(arm.field->name));
            out.fill("field\t$type\t$place\t$of\toptional",
                     {{"place", place}, {"of", nameOf(arm.field->type)}});
            listFields(arm.field->fields, place + '.', out);
         }
   }
}

} // namespace

std::string list(const Model& model) {
   std::string all;
   for (auto& module : model.modules) {
      for (auto& each : module->types) {
         const Type& type = *each;
         Writer out({{"type", recordName(type)}});
         out.fill("type\t$type\t$kind\t$sample\t$doc",
                  {{"kind", type.placed || type.nested ? "part" : wordOf(type.kind)},
                   {"sample", hasSample(type) ? "sample" : "-"},
                   {"doc", type.doc.empty() ? "-" : type.doc}});
         out.fillIf(type.base.type != nullptr, "field\t$type\t\t$base\tmandatory",
                    {{"base", nameOf(type.base)}});
         listFields(type.fields, "", out);
         std::set<uint64_t> releases;
         eachField(type.fields, [&](const Field& field) {
            if (field.kind == Kind::Since) releases.insert(field.number);
         });
         for (const uint64_t release : releases) out.fill("since\t$type\t$release", {{"release", release}});
         for (auto* rows : {&type.table, &type.secondTable})
            for (const TableRow& row : *rows)
               out.fill("row\t$type\t$discriminator\t$code\t$member\t$record",
                        {{"discriminator", row.disc},
                         {"code", row.msgType},
                         {"member", row.member},
                         {"record", nameOf(row.record)}});
         all += out.text();
      }
   }
   return all;
}

} // namespace l3c
