// LoadBudget: how many members one XML let may build.
//
// A collection reads as many members as its "Count" claims, and a member past the last
// one in the text is read again from the top; nested, a text of a few bytes claiming
// 32,767 items of 32,767 prices each would build half a billion records. One let of a
// collection (with everything it loads inside) may build at most kFixedMembers members
// plus one per kBytesPerMember bytes of its text: a member element takes at least that
// many bytes, so an honest document never comes near the limit, while a document
// claiming more members than it holds still has room for every member a claim of 32,767
// items can ask for (each one item's copy with a few prices). Past the budget the let
// fails with error 7 (out of memory), before it has done more than an honest document
// of that size would.
#pragma once

#include <cstddef>

namespace vexqom {

class LoadBudget {
 public:
  static constexpr size_t kFixedMembers = 131072;
  static constexpr size_t kBytesPerMember = 8;

  // Opens the budget of a let of text_size bytes, unless an outer let on this thread has
  // one open already: nested lets spend the outermost budget.
  explicit LoadBudget(size_t text_size);
  ~LoadBudget();
  LoadBudget(const LoadBudget&) = delete;
  LoadBudget& operator=(const LoadBudget&) = delete;

  // Counts one member about to be built; error 7 past the budget.
  static void spend();

 private:
  bool outermost_;
};

}  // namespace vexqom
