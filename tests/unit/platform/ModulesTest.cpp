// Libraries and entries that the product looks up at run time.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>

#include "kernel32/Text.h"
#include "user32/Dpi.h"

namespace quillmark::layer {
namespace {

TEST(Modules, EntriesAreFoundInTheirLibrary) {
  const HMODULE user32 = ::LoadLibraryW(L"USER32.dll");
  EXPECT_EQ(user32, ::GetModuleHandleW(L"user32"));
  EXPECT_EQ(reinterpret_cast<void*>(::GetProcAddress(user32, "GetDpiForWindow")),
            reinterpret_cast<void*>(&::GetDpiForWindow));
  EXPECT_EQ(::GetProcAddress(user32, "GetDpiForMonitor"), nullptr) << "that one is in shcore.dll";
  EXPECT_EQ(::GetLastError(), ERROR_PROC_NOT_FOUND);
  EXPECT_NE(::GetProcAddress(::LoadLibraryW(L"shcore.dll"), "GetDpiForMonitor"), nullptr);
  EXPECT_TRUE(::FreeLibrary(user32));
}

TEST(Modules, UnknownLibrariesAndModulesAreErrors) {
  EXPECT_EQ(::LoadLibraryW(L"nothere.dll"), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(::GetProcAddress(nullptr, "GetDpiForWindow"), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_FALSE(::FreeLibrary(nullptr));
  EXPECT_NE(::GetModuleHandleW(nullptr), nullptr) << "the program itself";
}

TEST(Modules, ProgramPathIsCutToTheBuffer) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  wchar_t path[1024];
  EXPECT_EQ(::GetModuleFileNameW(nullptr, path, 1024), program.size());
  EXPECT_EQ(ToUtf8(path), program);
  EXPECT_EQ(::GetModuleFileNameW(nullptr, path, 5), 5u);
  EXPECT_EQ(::GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(ToUtf8(path), program.substr(0, 4));
}

}  // namespace
}  // namespace quillmark::layer
