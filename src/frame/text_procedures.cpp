#include "frame/text_procedures.h"

#include <cstdlib>

#include "frame/diagnostics.h"
#include "frame/procedure.h"

namespace vexqom {

namespace {

ErrorState& module_errors() { return diag::thread_state().module_errors; }

// Removes every occurrence of pattern, also those formed by joining the two sides of a
// cut: a single pass that keeps the output as a stack gives the same result as cutting
// the first occurrence and searching again from the start.
Text remove_substring(const Text& text, const Text& pattern) {
  Text out;
  out.reserve(text.size());
  const size_t m = pattern.size();
  for (char16_t c : text) {
    out.push_back(c);
    if (out.size() >= m && out.compare(out.size() - m, m, pattern) == 0) {
      out.resize(out.size() - m);
    }
  }
  return out;
}

}  // namespace

Text str_Fill(const Variant& value, int16_t width, const Text& fill) {
  return run_procedure(module_errors(), u"basLIBstd | str_Fill", Trace::No, [&](int& line) {
    line = 1;
    Text text = (value.is_empty() || value.is_null()) ? Text() : to_text(value);
    line = 2;
    const size_t n = text.size();
    const size_t w = static_cast<size_t>(std::abs(static_cast<int>(width)));
    line = 3;
    if (n < w) {
      line = 4;
      if (fill.empty()) throw Error(errc::kInvalidProcedureCall);
      Text padding(w - n, fill[0]);
      line = 5;
      return width < 0 ? padding + text : text + padding;
    }
    line = 6;
    return text.substr(0, w);
  });
}

Text str_CharEliminate(const Text& text, const Text& chars, bool whole) {
  // Its statements carry no numbers: a failure reports line 0.
  return run_procedure(module_errors(), u"basLIBstd | str_CharEliminate", Trace::No,
                       [&](int&) {
                         if (text.empty() || chars.empty()) return text;
                         if (whole) return remove_substring(text, chars);
                         Text rest = text;
                         for (char16_t c : chars) rest = remove_substring(rest, Text(1, c));
                         return rest;
                       });
}

Text str_Quoted(const Text& text) {
  constexpr char16_t Q = u'"';
  constexpr char16_t A = u'\'';
  auto wrapped = [&](char16_t q) {
    return !text.empty() && text.front() == q && text.back() == q;
  };
  if (text.find(Q) == Text::npos) return Q + text + Q;
  if (wrapped(Q)) return text;
  if (text.find(A) == Text::npos) return A + text + A;
  if (wrapped(A)) return text;
  Text rest = str_CharEliminate(str_CharEliminate(text, Text(1, Q), true), Text(1, A), true);
  return Q + rest + Q;
}

Text replace_all(const Text& text, TextView what, TextView with) {
  Text out;
  out.reserve(text.size());
  size_t from = 0;
  for (size_t at; (at = text.find(what, from)) != Text::npos; from = at + what.size()) {
    out.append(text, from, at - from);
    out += with;
  }
  out.append(text, from, Text::npos);
  return out;
}

}  // namespace vexqom
