// Random byte texts over a small alphabet, for tests that compare a fast search with a
// plain one: few letters make near-matches and real matches frequent.
#pragma once

#include <random>
#include <string>
#include <string_view>

namespace vexqom::testing {

inline std::string random_text(std::mt19937& random, std::string_view alphabet, size_t size) {
  std::string text(size, ' ');
  for (char& c : text) c = alphabet[random() % alphabet.size()];
  return text;
}

}  // namespace vexqom::testing
