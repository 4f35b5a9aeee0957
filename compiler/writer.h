// Text that the compiler writes: forms with named holes, and lines with indentation.
#pragma once

#include <concepts>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace l3c {

template <class T>
concept Number = std::integral<T> && !std::same_as<T, bool>;

// What fills the holes of a name; what holds fills them, and what does not leaves them empty.
struct Hole {
   Hole(std::string_view hole, std::string filling) : name(hole), text(std::move(filling)) {}
   Hole(std::string_view hole, Number auto number) : name(hole), text(std::to_string(number)) {}
   Hole(std::string_view hole, std::same_as<bool> auto holds) : name(hole), text(holds ? "true" : "") {}

   std::string_view name;
   std::string text;
};
using Holes = std::vector<Hole>;
// What fills holes that are worked out when a form asks for them.
using Lookup = std::function<std::optional<std::string>(std::string_view name)>;

std::string joined(const std::vector<std::string>& texts, std::string_view between);

class Writer {
public:
   Writer() = default;
   // Holes that every form has.
   explicit Writer(Holes standing) : standing_(std::move(standing)) {}

   void line(const std::string& text = "") {
      if (!text.empty()) text_.append(static_cast<size_t>(depth_) * 3, ' ').append(text);
      text_ += '\n';
   }
   void open(const std::string& text) {
      line(text);
      ++depth_;
   }
   void close(const std::string& text = "}") {
      --depth_;
      line(text);
   }
   void raw(const std::string& text) { text_ += text; }

   // The lines of a form with `$name` or `${name}` filled in. A line break right behind the form's begin does
   // not count, so that one may stand in a raw literal as it will in the file. Where several lines fill a
   // hole, each is indented as the line with the hole, with the star of a comment's line; a line that is a
   // hole alone goes if nothing fills it. What stands behind `$name? ` on a line is there if something but 0
   // fills that hole. Lines of the preprocessor's are not indented. A name that no hole has is a fault of the
   // compiler's: std::logic_error.
   void fill(std::string_view form, const Holes& holes = {});
   void fillIf(bool holds, std::string_view form, const Holes& holes = {}) {
      if (holds) fill(form, holes);
   }
   // The same as a text of its own, not indented and without a line break at its end.
   std::string filled(std::string_view form, const Holes& holes = {}, const Lookup& more = nullptr) const;
   // With one, so that such texts may stand one behind the other.
   std::string lines(std::string_view form, const Holes& holes = {}, const Lookup& more = nullptr) const;

   const std::string& text() const { return text_; }
   std::string& text() { return text_; }

private:
   Holes standing_;
   std::string text_;
   int depth_ = 0;
};

} // namespace l3c
