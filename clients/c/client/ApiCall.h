// Entry and exit of the C functions: checks pointers and structure sizes, and turns exceptions into a status
// code and the calling thread's error text.
//
// Threading: any thread; the error text is per thread.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "client/Client.h"
#include "client/Refused.h"
#include "quillmark.h"

namespace quillmark::client {

// For checks that C and C++ enumerations have the same values.
template <typename Enum>
constexpr int Number(Enum value) {
  return static_cast<int>(value);
}

struct BadCall {
  const char* text;
};

// Keeps the text for qm_error_text and returns the status.
qm_status Fail(qm_status status, const char* text) noexcept;
// The same for the exception being handled.
qm_status FailByException() noexcept;

// Runs a function's body; an exception becomes the status and the text.
template <typename Body>
qm_status Guarded(const Body& body) noexcept {
  try {
    return body();
  } catch (...) {
    return FailByException();
  }
}

template <typename... Pointers>
void RequireAll(const Pointers*... pointers) {
  if ((... || (pointers == nullptr))) throw BadCall{"a pointer is null"};
}

// A structure from a caller of another version: missing fields keep their defaults.
template <typename Structure>
Structure Complete(const Structure& given, void (*init)(Structure*)) {
  Structure complete;
  init(&complete);
  std::uint32_t size = 0;
  std::memcpy(&size, &given, sizeof size);
  if (size < sizeof size || size > sizeof complete) throw BadCall{"a structure was not initialised"};
  std::memcpy(&complete, &given, size);
  return complete;
}

// Empty for null.
inline std::string TextOf(const char* text) {
  return text == nullptr ? std::string() : std::string(text);
}

template <typename Enum>
Enum EnumOf(std::int32_t value, Enum last, const char* what) {
  if (value < 0 || value > static_cast<int>(last))
    throw Refused(Refusal::BadValue, what, "is not a valid value");
  return static_cast<Enum>(value);
}

qm_record ToC(const Record& record);

}  // namespace quillmark::client
