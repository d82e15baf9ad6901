#include "version/ElfSection.h"

#include <elf.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace quillmark::layer {
namespace {

bool ReadAt(int fd, std::uint64_t offset, void* target, std::size_t size) {
  constexpr std::uint64_t farthest = std::uint64_t{1} << 62;
  if (offset > farthest) return false;
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count =
        ::pread(fd, static_cast<char*>(target) + done, size - done, static_cast<off_t>(offset + done));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

// A section's bytes; empty when they are not all there or too many.
template <typename Item>
std::vector<Item> ReadBytes(int fd, const Elf64_Shdr& section, std::size_t limit) {
  if (section.sh_type == SHT_NOBITS || section.sh_size > limit) return {};
  std::vector<Item> bytes(section.sh_size);
  if (!ReadAt(fd, section.sh_offset, bytes.data(), bytes.size())) return {};
  return bytes;
}

}  // namespace

std::vector<std::byte> ReadElfSection(int fd, std::string_view name, std::size_t limit) {
  Elf64_Ehdr header{};
  if (!ReadAt(fd, 0, &header, sizeof(header)) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
      header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_ident[EI_DATA] != ELFDATA2LSB ||
      header.e_shentsize != sizeof(Elf64_Shdr) || header.e_shstrndx >= header.e_shnum) {
    return {};
  }
  std::vector<Elf64_Shdr> sections(header.e_shnum);
  if (!ReadAt(fd, header.e_shoff, sections.data(), sections.size() * sizeof(Elf64_Shdr))) return {};

  constexpr std::size_t longestNames = 1 << 20;
  const auto names = ReadBytes<char>(fd, sections[header.e_shstrndx], longestNames);
  for (const Elf64_Shdr& section : sections) {
    if (section.sh_name >= names.size()) continue;
    const char* start = names.data() + section.sh_name;
    if (std::string_view(start, ::strnlen(start, names.size() - section.sh_name)) == name) {
      return ReadBytes<std::byte>(fd, section, limit);
    }
  }
  return {};
}

}  // namespace quillmark::layer
