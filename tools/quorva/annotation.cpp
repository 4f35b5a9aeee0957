#include "tools/quorva/annotation.h"

#include "tools/quorva/session.h"

#include "quorva/annotate.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <vector>

namespace quorva::tool {

namespace {

constexpr size_t kOctetsALine = 8;
constexpr size_t kMostText = 120; // characters of a value on a line

struct Note {
   size_t begin, end; // bits
   std::string path, kind, text, doc, meaning = {};
   bool isPart() const { return begin / 8 == (end - 1) / 8 || begin % 8 != 0 || end % 8 != 0; }
};

// The text of a record is JSON, which has its own escapes.
std::string shownText(const std::string& text) {
   return text.starts_with('{') || text.starts_with('[') ? text : shown(text);
}

// Those of a message. What the decoder passed over, and what is behind its end, has a note too.
std::vector<Note> notesOf(RtxContext* ctxt, const QuorvaType& type, const void* value) {
   std::vector<Note> notes;
   const auto take = [](void* user, const QuorvaNote* note) {
      auto& all = *static_cast<std::vector<Note>*>(user);
      const size_t behind = all.empty() ? 0 : all.back().end;
      if (note->bitOffset > behind) all.push_back({behind, note->bitOffset, "", "", "", "not decoded"});
      // What has no bits says nothing.
      if (note->bitCount == 0 || note->bitOffset < behind) return 0;
      all.push_back({note->bitOffset, note->bitOffset + note->bitCount, note->path, note->kind,
                     withMeaning(shownText(note->text), note->meaning), note->doc, note->meaning});
      return 0;
   };
   if (quorvaNotes(ctxt, &type, value, take, &notes) == RTX_E_NOMEM) throw std::bad_alloc();
   const size_t all = ctxt->bufSize * 8;
   while (!notes.empty() && notes.back().end > all) notes.pop_back();
   const size_t behind = notes.empty() ? 0 : notes.back().end;
   if (behind < all) notes.push_back({behind, all, "", "", "", "not decoded"});
   return notes;
}

std::string meaningOf(const Note& note) {
   std::string text = note.path;
   if (note.kind == "IEI" || note.kind == "length" || note.kind.ends_with(" bit"))
      text += (text.empty() ? "" : " ") + note.kind;
   if (note.text.empty()) return text;
   text += (text.empty() ? "" : " = ") + note.text.substr(0, kMostText);
   return note.text.size() > kMostText ? text + "..." : text;
}

// The bits of an octet that are a note's, points for others.
std::string bitsOf(const Note& note, uint8_t octet, size_t at) {
   std::string text;
   for (size_t bit = at * 8; bit < at * 8 + 8; ++bit)
      text += bit < note.begin || bit >= note.end ? '.' : (octet >> (7 - bit % 8) & 1) != 0 ? '1' : '0';
   return text;
}

std::string hex(uint8_t octet) {
   char text[4];
   std::snprintf(text, sizeof text, "%02x", octet);
   return text;
}

void appendLine(std::string& text, const std::string& number, const std::string& left,
                const std::string& right) {
   std::string line = std::string(6 - std::min<size_t>(number.size(), 6), ' ') + number + "  " + left;
   if (!right.empty()) {
      line.append(34 - std::min<size_t>(line.size(), 32), ' ');
      line += right;
   }
   while (line.ends_with(' ')) line.pop_back();
   text += line + "\n";
}

// What has a meaning in HTML.
std::string escaped(const std::string& text) {
   std::string all;
   for (const char c : text) {
      switch (c) {
      case '<': all += "&lt;"; break;
      case '>': all += "&gt;"; break;
      case '&': all += "&amp;"; break;
      case '"': all += "&quot;"; break;
      default: all += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
      }
   }
   return all;
}

constexpr char kHead[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>)";

constexpr char kStyle[] = R"(</title>
<style>
body { margin: 0; font: 14px/1.5 system-ui, sans-serif; color: #1b1f24; background: #fff }
h1 { font-size: 16px; margin: 0; padding: 10px 16px; border-bottom: 1px solid #d0d7de }
main { display: grid; grid-template-columns: max-content 1fr; height: calc(100vh - 46px) }
main > div { overflow: auto; padding: 12px 16px; font-family: ui-monospace, monospace }
#octets { border-right: 1px solid #d0d7de }
#octets p { margin: 0; white-space: pre }
#octets b { font-weight: normal; color: #6e7781 }
#fields p { margin: 0; padding: 0 4px; white-space: pre-wrap; overflow-wrap: anywhere }
#fields h2 { font: 600 12px/1.5 system-ui, sans-serif; margin: 10px 0 2px; color: #57606a }
[data-n] { cursor: pointer; border-radius: 3px }
.on { background: #ffd33d }
.kept { outline: 2px solid #0969da }
@media (prefers-color-scheme: dark) {
  body { color: #e6edf3; background: #0d1117 } .on { background: #9e6a03 }
}
</style>
</head>
<body>
<h1>)";

constexpr char kScript[] = R"(</main>
<script>
"use strict";
// Bits and fields of a number belong together: pointing at one of them lights up all, a click keeps them so.
const all = n => document.querySelectorAll(`[data-n="${n}"]`);
const number = e => { const t = e.target.closest("[data-n]"); return t ? t.dataset.n : null; };
let lit = null, kept = null;
function light(n) {
  if (n === lit) return;
  if (lit !== null) all(lit).forEach(e => e.classList.remove("on"));
  lit = n;
  if (n !== null) all(n).forEach(e => e.classList.add("on"));
}
function show(n, from) {
  const other = document.querySelector((from === "octets" ? "#fields" : "#octets") + ` [data-n="${n}"]`);
  if (other) other.scrollIntoView({block: "nearest"});
}
for (const id of ["octets", "fields"]) {
  const pane = document.getElementById(id);
  pane.addEventListener("mouseover", e => light(number(e) ?? kept));
  pane.addEventListener("mouseleave", () => light(kept));
  pane.addEventListener("focusin", e => { const n = number(e); if (n !== null) { light(n); show(n, id); } });
  pane.addEventListener("click", e => { const n = number(e); keep(n === kept ? null : n, id); });
}
// The number behind the page's name is kept from the start.
function keep(n, from) {
  if (kept !== null) all(kept).forEach(e => e.classList.remove("kept"));
  kept = n;
  light(n);
  if (n !== null) { all(n).forEach(e => e.classList.add("kept")); show(n, from); }
  try { history.replaceState(null, "", n === null ? location.pathname : "#" + n); } catch { }
}
if (/^#\d+$/.test(location.hash)) keep(location.hash.slice(1), "octets");
</script>
</body>
</html>
)";

} // namespace

std::string annotationText(RtxContext* ctxt, const QuorvaType& type, const void* value) {
   std::string text, doc;
   size_t shown = SIZE_MAX; // octet whose number was there last
   for (const Note& note : notesOf(ctxt, type, value)) {
      std::string right = meaningOf(note);
      if (note.doc != doc) right += (right.empty() ? "-- " : "  -- ") + note.doc;
      doc = note.doc;
      const size_t first = note.begin / 8, behind = (note.end + 7) / 8;
      const bool part = note.isPart() && behind - first <= 4;
      for (size_t at = first; at < behind;) {
         const std::string number = at == shown ? "" : std::to_string(at);
         std::string left;
         if (part) {
            left = (at == shown ? "  " : hex(ctxt->bufData[at])) + "  " + bitsOf(note, ctxt->bufData[at], at);
            shown = at++;
         } else {
            const size_t end = std::min(at + kOctetsALine, behind);
            for (; at < end; ++at) left += hex(ctxt->bufData[at]) + " ";
            shown = at - 1;
         }
         appendLine(text, number, left, right);
         right.clear();
      }
   }
   return text;
}

BitNames bitNames(RtxContext* ctxt, const QuorvaType& type, const void* value) {
   BitNames names;
   for (const Note& note : notesOf(ctxt, type, value))
      if (!note.meaning.empty()) names[{note.begin, note.end - note.begin}] = note.text;
   return names;
}

std::string withNames(const std::string& listing, const BitNames& names) {
   std::string result;
   for (size_t at = 0; at < listing.size();) {
      const size_t end = std::min(listing.find('\n', at), listing.size() - 1);
      result.append(listing, at, end - at);
      // A field's title stands ahead of its numbers.
      size_t offset = 0, count = 0;
      if (std::sscanf(listing.c_str() + end + 1, "bit offset: %zu\tbit count: %zu", &offset, &count) == 2)
         if (const auto found = names.find({offset, count}); found != names.end())
            result += " = " + found->second;
      result += '\n';
      at = end + 1;
   }
   return result;
}

std::string annotationPage(RtxContext* ctxt, const QuorvaType& type, const void* value,
                           const std::string& origin) {
   const auto notes = notesOf(ctxt, type, value);
   const std::string title = escaped(std::string(type.name) + ", " + origin);
   std::string octets, fields, doc;
   size_t next = 0; // note of the next bit
   for (size_t at = 0; at < ctxt->bufSize; ++at) {
      char number[24];
      std::snprintf(number, sizeof number, "%5zu", at);
      octets += "<p><b>" + std::string(number) + "</b>  " + hex(ctxt->bufData[at]) + "  ";
      for (size_t bit = at * 8; bit < at * 8 + 8;) {
         while (next + 1 < notes.size() && bit >= notes[next].end) ++next;
         const size_t end = std::min(at * 8 + 8, notes[next].end);
         octets += "<span data-n=\"" + std::to_string(next) + "\">";
         for (; bit < end; ++bit) octets += (ctxt->bufData[at] >> (7 - bit % 8) & 1) != 0 ? '1' : '0';
         octets += "</span>";
      }
      octets += "</p>\n";
   }
   for (size_t i = 0; i < notes.size(); ++i) {
      if (notes[i].doc != doc) fields += "<h2>" + escaped(notes[i].doc) + "</h2>\n";
      doc = notes[i].doc;
      std::string text = notes[i].path.empty() ? std::string() : notes[i].path + " ";
      if (!notes[i].kind.empty()) text += "(" + notes[i].kind + ")";
      if (!notes[i].text.empty()) text += " = " + notes[i].text;
      if (text.empty()) text = std::to_string(notes[i].end - notes[i].begin) + " bits";
      fields += "<p data-n=\"" + std::to_string(i) + "\" tabindex=\"0\">" + escaped(text) + "</p>\n";
   }
   return kHead + title + kStyle + title + "</h1>\n<main>\n<div id=\"octets\">\n" + octets +
          "</div>\n<div id=\"fields\">\n" + fields + "</div>\n" + kScript;
}

} // namespace quorva::tool
