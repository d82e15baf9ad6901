#include "kernel32/Modules.h"

#include <dlfcn.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "host/Paths.h"
#include "host/Text.h"
#include "kernel32/Errors.h"

namespace quillmark::layer {
namespace {

const Library program = {"", {}};

std::mutex hiddenMutex;
std::vector<std::string> hidden;

std::string LowerCase(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

bool IsHidden(std::string_view entry) {
  const std::lock_guard lock(hiddenMutex);
  return std::ranges::find(hidden, entry) != hidden.end();
}

HMODULE HandleOf(const Library& library) {
  return reinterpret_cast<HMODULE>(const_cast<Library*>(&library));
}

// Null, with ERROR_INVALID_HANDLE, for anything but a module's handle.
const Library* LibraryOf(HMODULE module) {
  for (const Library& library : Libraries()) {
    if (HandleOf(library) == module) return &library;
  }
  return module == HandleOf(program) ? &program : Fail(ERROR_INVALID_HANDLE, nullptr);
}

// The files that are loaded, by their handles, which stay valid.
std::mutex filesMutex;
std::vector<void*> files;

bool IsFile(HMODULE module) {
  const std::lock_guard lock(filesMutex);
  return std::ranges::find(files, reinterpret_cast<void*>(module)) != files.end();
}

HMODULE LoadFile(LPCWSTR name) {
  const std::string path = HostPath(name);
  void* const file = path.starts_with('/') ? ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL) : nullptr;
  if (!file) return Fail(ERROR_MOD_NOT_FOUND, nullptr);
  const std::lock_guard lock(filesMutex);
  if (std::ranges::find(files, file) == files.end()) files.push_back(file);
  return static_cast<HMODULE>(file);
}

HMODULE FindLibrary(LPCWSTR name) {
  std::string wanted = LowerCase(ToUtf8(name));
  if (wanted.find('.') == std::string::npos) wanted += ".dll";
  for (const Library& library : Libraries()) {
    if (wanted == library.name) return HandleOf(library);
  }
  return Fail(ERROR_MOD_NOT_FOUND, nullptr);
}

}  // namespace

void HideEntries(std::vector<std::string> entries) {
  const std::lock_guard lock(hiddenMutex);
  hidden = std::move(entries);
}

}  // namespace quillmark::layer

using namespace quillmark::layer;

extern "C" HMODULE WINAPI GetModuleHandleW(LPCWSTR name) {
  return name ? FindLibrary(name) : HandleOf(program);
}

extern "C" HMODULE WINAPI LoadLibraryW(LPCWSTR name) {
  if (!name) return Fail(ERROR_INVALID_PARAMETER, nullptr);
  const HMODULE library = FindLibrary(name);
  return library ? library : LoadFile(name);
}

extern "C" BOOL WINAPI FreeLibrary(HMODULE module) {
  return IsFile(module) || LibraryOf(module) != nullptr;
}

extern "C" FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name) {
  const bool file = IsFile(module);
  const Library* library = file ? nullptr : LibraryOf(module);
  if (!file && !library) return nullptr;
  constexpr std::uintptr_t ordinals = 0x10000;  // below this, the name is a number
  if (reinterpret_cast<std::uintptr_t>(name) < ordinals) return Fail(ERROR_PROC_NOT_FOUND, nullptr);
  if (file) {
    void* const entry = ::dlsym(reinterpret_cast<void*>(module), name);
    return entry ? reinterpret_cast<FARPROC>(entry) : Fail(ERROR_PROC_NOT_FOUND, nullptr);
  }
  for (const Entry& entry : library->entries) {
    if (std::string_view(name) == entry.name && !IsHidden(name)) return entry.address;
  }
  return Fail(ERROR_PROC_NOT_FOUND, nullptr);
}

extern "C" DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR path, DWORD capacity) {
  if (module && module != HandleOf(program)) return Fail(ERROR_NOT_SUPPORTED, 0u);
  if (!path || capacity == 0) return Fail(ERROR_INSUFFICIENT_BUFFER, 0u);
  const std::string host = ProgramOfProcess("self");
  if (host.empty()) return Fail(ERROR_GEN_FAILURE, 0u);
  const std::wstring text = FromUtf8(host);
  const bool fits = text.size() < capacity;
  const std::size_t length = fits ? text.size() : capacity - 1;
  path[text.copy(path, length)] = L'\0';
  if (fits) return Succeed(ERROR_SUCCESS, static_cast<DWORD>(length));
  return Fail(ERROR_INSUFFICIENT_BUFFER, capacity);
}
