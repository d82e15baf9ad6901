// Programs without a version block, and damaged ones.
#include <gtest/gtest.h>
#include <windows.h>

#include <winver.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "host/Text.h"
#include "support/TempFolder.h"
#include "version/VersionBlock.h"

namespace quillmark::layer {
namespace {

std::wstring ThisProgram() {
  wchar_t path[1024];
  return {path, ::GetModuleFileNameW(nullptr, path, 1024)};
}

std::vector<std::byte> BlockOf(const std::wstring& path) {
  const DWORD size = ::GetFileVersionInfoSizeW(path.c_str(), nullptr);
  std::vector<std::byte> block(size);
  if (size > 0 && !::GetFileVersionInfoW(path.c_str(), 0, size, block.data())) block.clear();
  return block;
}

// A text of the block, its terminator counted in the length as on the platform; "-" when there is none.
std::string Text(const std::vector<std::byte>& block, LPCWSTR query) {
  void* value = nullptr;
  UINT length = 0;
  if (!::VerQueryValueW(block.data(), query, &value, &length) || length == 0) return "-";
  return ToUtf8({static_cast<const wchar_t*>(value), length - 1});
}

TEST(Version, ProgramWithoutABlockHasNone) {
  EXPECT_EQ(::GetFileVersionInfoSizeW(L"/bin/sleep", nullptr), 0u);
  EXPECT_EQ(::GetLastError(), ERROR_RESOURCE_TYPE_NOT_FOUND);
}

TEST(Version, BufferTooSmallForTheBlockIsRefused) {
  std::byte small[16];
  EXPECT_FALSE(::GetFileVersionInfoW(ThisProgram().c_str(), 0, sizeof(small), small));
  EXPECT_EQ(::GetLastError(), ERROR_INSUFFICIENT_BUFFER);
}

// Damage anywhere ends in an answer or in none, never outside the file's or the block's bytes: what the
// address sanitizer watches.
TEST(Version, DamagedProgramsAreSurvived) {
  const test::TempFolder folder;
  std::ifstream original(std::filesystem::read_symlink("/proc/self/exe"), std::ios::binary);
  const auto block = MakeVersionBlock({1, 2, 3, 0}, u"1.2.3", u"Product");

  // A small file of the same form: header, three section headers, names, block.
  std::vector<char> file(64 + 3 * 64);
  original.read(file.data(), 64);
  const auto put = [&](std::size_t at, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) file[at + i] = static_cast<char>(value >> 8 * i);
  };
  const std::string names = std::string(1, '\0') + versionSection + '\0';
  put(40, 64, 8);  // e_shoff
  put(58, 64, 2);  // e_shentsize
  put(60, 3, 2);   // e_shnum
  put(62, 1, 2);   // e_shstrndx
  const auto describe = [&](std::size_t index, std::uint64_t name, std::uint64_t offset, std::uint64_t size) {
    const std::size_t at = 64 + index * 64;
    put(at, name, 4);
    put(at + 4, 1, 4);  // SHT_PROGBITS
    put(at + 24, offset, 8);
    put(at + 32, size, 8);
  };
  describe(1, 0, file.size(), names.size());
  describe(2, 1, file.size() + names.size(), block.size());
  file.insert(file.end(), names.begin(), names.end());
  file.insert(file.end(), block.begin(), block.end());

  const std::string path = folder.Path() / "program";
  const auto read = [&](const std::vector<char>& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const std::vector<std::byte> found = BlockOf(FromUtf8(path));
    return found.empty() ? "none" : Text(found, L"\\StringFileInfo\\040904b0\\ProductVersion");
  };
  ASSERT_EQ(read(file), "1.2.3");

  std::mt19937 random(7);
  int damaged = 0;
  for (int round = 0; round < 1000; ++round) {
    std::vector<char> bytes = file;
    const int hits = 1 + static_cast<int>(random() % 3);
    for (int hit = 0; hit < hits; ++hit) bytes[random() % bytes.size()] = static_cast<char>(random());
    if (round % 4 == 0) bytes.resize(random() % bytes.size());
    damaged += read(bytes) != "1.2.3";
  }
  EXPECT_GT(damaged, 200) << "the damage should have hit what is read";
}

}  // namespace
}  // namespace quillmark::layer
