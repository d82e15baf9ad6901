// Counts errors by key and picks those to log: the first, then one in a hundred.
//
// Threading: any thread.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

namespace quillmark {

class SampledErrors {
 public:
  // Counts an error. Returns its number if it should be logged (1, 101, 201, ...), else 0.
  std::uint64_t Count(const std::wstring& key) {
    const std::lock_guard lock(mutex);
    const std::uint64_t number = ++counts[key];
    return number % 100 == 1 ? number : 0;
  }

 private:
  std::mutex mutex;
  std::unordered_map<std::wstring, std::uint64_t> counts;
};

}  // namespace quillmark
