// What follows the first ':' of a spec's name, as the worker will read it.
//
// Threading: pure functions.
#pragma once

#include <string>
#include <vector>

namespace quillmark::advice {

struct NameOptions {
  std::wstring base;                // the name before them
  std::vector<std::wstring> words;  // each as it was written
  bool suffix = false;              // one upper-case suffix that the worker knows, its only word
};

[[nodiscard]] NameOptions ReadNameOptions(const std::wstring& name);
[[nodiscard]] std::wstring Joined(const std::wstring& base, const std::vector<std::wstring>& words);

// A to Z made small, as the worker does before it compares words.
[[nodiscard]] std::wstring Lowered(std::wstring text);

}  // namespace quillmark::advice
