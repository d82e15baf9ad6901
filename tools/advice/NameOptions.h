// The options after the first ':' of a spec's name, as the worker reads them.
//
// Threading: pure functions.
#pragma once

#include <string>
#include <vector>

namespace quillmark::advice {

struct NameOptions {
  std::wstring base;                // the name before the options
  std::vector<std::wstring> words;  // as written
  bool suffix = false;              // its only word is an upper-case suffix that the worker knows
};

[[nodiscard]] NameOptions ReadNameOptions(const std::wstring& name);
[[nodiscard]] std::wstring Joined(const std::wstring& base, const std::vector<std::wstring>& words);

// A to Z in lower case, as the worker compares words.
[[nodiscard]] std::wstring Lowered(std::wstring text);

}  // namespace quillmark::advice
