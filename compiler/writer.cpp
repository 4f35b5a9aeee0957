#include "compiler/writer.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace l3c {

namespace {

// The hole at the begin of a text that begins with `$`: its name, and how many characters it takes.
struct Found {
   std::string_view name;
   size_t length;
};

Found holeOf(std::string_view text) {
   const bool braced = text.substr(1, 1) == "{";
   const size_t first = braced ? 2 : 1;
   size_t end = first;
   while (end < text.size() && (std::isalnum(static_cast<unsigned char>(text[end])) || text[end] == '_'))
      ++end;
   return {text.substr(first, end - first), end + (braced ? 1 : 0)};
}

// Each line behind `lead`, or behind what is not blank of it.
void appendLines(std::string& all, std::string_view text, std::string_view lead) {
   const std::string_view shown = lead.substr(0, lead.find_last_not_of(' ') + 1);
   for (size_t at = 0, end = 0; end != std::string_view::npos; at = end + 1) {
      end = text.find('\n', at);
      const std::string_view line = text.substr(at, end - at);
      if (!shown.empty() || !line.starts_with('#')) all += line.empty() ? shown : lead;
      all.append(line) += '\n';
   }
}

} // namespace

std::string joined(const std::vector<std::string>& texts, std::string_view between) {
   std::string all;
   for (auto& text : texts) (all += &text == texts.data() ? "" : between) += text;
   return all;
}

std::string Writer::filled(std::string_view form, const Holes& holes, const Lookup& more) const {
   std::string all, text;
   const auto append = [&](std::string_view name) {
      for (const Holes* known : {&holes, &standing_}) {
         const auto hit = std::ranges::find(*known, name, &Hole::name);
         if (hit != known->end()) return void(text += hit->text);
      }
      const std::optional<std::string> hit = more ? more(name) : std::nullopt;
      if (!hit) throw std::logic_error("no text for $" + std::string(name) + " in: " + std::string(form));
      text += *hit;
   };
   if (form.starts_with('\n')) form.remove_prefix(1);
   for (std::string_view left = form; !left.empty();) {
      const std::string_view line = left.substr(0, left.find('\n'));
      left.remove_prefix(std::min(line.size() + 1, left.size()));
      const size_t lead = std::min(line.find_first_not_of(' ', line.starts_with(" * ") ? 2 : 0), line.size());
      bool alone = false;
      text.clear();
      for (size_t at = lead; at < line.size();) {
         const size_t next = std::min(line.find('$', at), line.size());
         text.append(line, at, next - at);
         at = next;
         if (at == line.size()) break;
         const Found hole = holeOf(line.substr(at));
         append(hole.name);
         at += hole.length;
         if (at - hole.length == lead && line.substr(at, 2) == "? ") {
            alone = text.empty() || text == "0";
            at = alone ? line.size() : at + 2;
            text.clear();
            continue;
         }
         alone = hole.length == line.size() - lead;
      }
      if (alone && text.empty()) continue;
      if (alone && text.ends_with('\n')) text.pop_back();
      appendLines(all, text, line.substr(0, lead));
   }
   if (!all.empty()) all.pop_back();
   return all;
}

std::string Writer::lines(std::string_view form, const Holes& holes, const Lookup& more) const {
   std::string text = filled(form, holes, more);
   return text.empty() ? text : text += '\n';
}

void Writer::fill(std::string_view form, const Holes& holes) {
   if (const std::string text = filled(form, holes); !text.empty())
      appendLines(text_, text, std::string(static_cast<size_t>(depth_) * 3, ' '));
}

} // namespace l3c
