// LoadBudget: how many members one XML let may build beyond what its text holds.
//
// A collection reads as many members as its "Count" claims; a member past the last one
// in the text is read again from the top, or from nothing. That is how such documents
// are defined, but nested it amplifies: a text of 150 bytes claiming 32,767 items of
// 32,767 prices each would build half a billion records. So one let of a collection,
// with everything it loads inside, may build at most kBeyondText members that its text
// does not hold at their own place (such a member, and every member loaded inside it).
// An honest document never spends any of it; one claiming 32,767 items while holding
// one item with up to two prices still loads in full (two whole claims of 32,767). Past the budget the let fails
// with error 7 (out of memory), having built no more than that.
#pragma once

#include <cstddef>

namespace vexqom {

class LoadBudget {
 public:
  static constexpr size_t kBeyondText = 65536;

  // Opens the budget of a let, unless an outer let on this thread has one open already:
  // nested lets spend the outermost budget.
  LoadBudget();
  ~LoadBudget();
  LoadBudget(const LoadBudget&) = delete;
  LoadBudget& operator=(const LoadBudget&) = delete;

  // Counts a member about to be built when its text is not its own place in the
  // collection's text (beyond_text), or when it is built inside such a member; error 7
  // past the budget.
  static void spend(bool beyond_text);

  // While a member beyond the text is read, everything built inside it is too.
  class Beyond {
   public:
    explicit Beyond(bool beyond_text);
    ~Beyond();
    Beyond(const Beyond&) = delete;
    Beyond& operator=(const Beyond&) = delete;

   private:
    bool counted_;
  };

 private:
  bool outermost_;
};

}  // namespace vexqom
