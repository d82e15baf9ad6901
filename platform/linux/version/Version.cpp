// The version calls. What GetFileVersionInfoW hands out is the program's block as it stands in the file
// (16-bit units), then the same block with each unit widened to a wchar_t: so a text at byte 2n of the block
// is a wide text at unit n of the second half, and VerQueryValueW only points.
#include <windows.h>

#include <winver.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/Paths.h"
#include "host/UniqueFd.h"
#include "kernel32/Errors.h"
#include "version/ElfSection.h"
#include "version/VersionBlock.h"

namespace quillmark::layer {
namespace {

constexpr std::size_t nodeHeader = 6;  // length, value length, type

std::size_t Aligned(std::size_t offset) {
  return (offset + 3) / 4 * 4;
}

std::size_t OutputSize(std::size_t blockSize) {
  return Aligned(blockSize) + blockSize / 2 * sizeof(wchar_t);
}

std::uint16_t ReadUnit(const std::byte* at) {
  return static_cast<std::uint16_t>(std::to_integer<unsigned>(at[0]) | std::to_integer<unsigned>(at[1]) << 8);
}

// One node within [0, end) of a block, with every part checked to lie within the node.
struct Node {
  std::size_t end = 0;
  std::u16string key;
  bool text = false;
  std::size_t value = 0;       // offset
  std::size_t valueUnits = 0;  // units of a text, bytes else
  std::size_t children = 0;    // offset
};

std::optional<Node> ReadNode(const std::byte* block, std::size_t start, std::size_t end) {
  if (start >= end || end - start < nodeHeader) return std::nullopt;
  Node node;
  const std::size_t length = ReadUnit(block + start);
  if (length < nodeHeader || length > end - start) return std::nullopt;
  node.end = start + length;
  node.valueUnits = ReadUnit(block + start + 2);
  node.text = ReadUnit(block + start + 4) == 1;
  std::size_t at = start + nodeHeader;
  while (true) {
    if (node.end - at < 2) return std::nullopt;
    const std::uint16_t unit = ReadUnit(block + at);
    at += 2;
    if (unit == 0) break;
    node.key += static_cast<char16_t>(unit);
  }
  node.value = Aligned(at);
  const std::size_t valueBytes = node.text ? node.valueUnits * 2 : node.valueUnits;
  if (node.valueUnits > 0 && (node.value > node.end || valueBytes > node.end - node.value))
    return std::nullopt;
  node.children = Aligned(node.value + valueBytes);
  return node;
}

wchar_t LowerCase(wchar_t c) {
  return c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c;
}

bool SameKey(const std::u16string& key, std::wstring_view wanted) {
  if (key.size() != wanted.size()) return false;
  for (std::size_t i = 0; i < key.size(); ++i) {
    if (LowerCase(static_cast<wchar_t>(key[i])) != LowerCase(wanted[i])) return false;
  }
  return true;
}

std::optional<Node> FindChild(const std::byte* block, const Node& parent, std::wstring_view key) {
  for (std::size_t at = parent.children; at < parent.end;) {
    std::optional<Node> child = ReadNode(block, at, parent.end);
    if (!child) return std::nullopt;
    if (SameKey(child->key, key)) return child;
    at = Aligned(child->end);
  }
  return std::nullopt;
}

bool IsTerminated(const std::byte* block, const Node& text) {
  return text.valueUnits == 0 || ReadUnit(block + text.value + (text.valueUnits - 1) * 2) == 0;
}

// The version block of a program file; empty with the last error.
std::vector<std::byte> ReadBlock(LPCWSTR path) {
  using Bytes = std::vector<std::byte>;
  if (!path) return Fail(ERROR_INVALID_PARAMETER, Bytes());
  const std::string host = HostPath(path);
  const UniqueFd fd(::open(host.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  struct stat facts {};
  if (!fd || ::fstat(fd.Get(), &facts) != 0) return Fail(ErrorFromErrno(errno), Bytes());
  if (!S_ISREG(facts.st_mode)) return Fail(ERROR_RESOURCE_TYPE_NOT_FOUND, Bytes());

  constexpr std::size_t longestBlock = 0xFFFF;  // its length is a 16-bit field
  Bytes block = ReadElfSection(fd.Get(), versionSection, longestBlock);
  if (block.empty()) return Fail(ERROR_RESOURCE_TYPE_NOT_FOUND, Bytes());
  const std::optional<Node> root = ReadNode(block.data(), 0, block.size());
  if (!root) return Fail(ERROR_RESOURCE_DATA_NOT_FOUND, Bytes());
  block.resize(root->end);
  return block;
}

}  // namespace
}  // namespace quillmark::layer

using namespace quillmark::layer;

extern "C" DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD ignored) {
  if (ignored) *ignored = 0;
  const std::vector<std::byte> block = ReadBlock(path);
  if (block.empty()) return 0;
  return Succeed(ERROR_SUCCESS, static_cast<DWORD>(OutputSize(block.size())));
}

extern "C" BOOL WINAPI GetFileVersionInfoW(LPCWSTR path, DWORD, DWORD size, LPVOID data) {
  if (!data) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  const std::vector<std::byte> block = ReadBlock(path);
  if (block.empty()) return FALSE;
  if (size < OutputSize(block.size())) return Fail(ERROR_INSUFFICIENT_BUFFER, FALSE);
  std::memcpy(data, block.data(), block.size());
  auto* wide = static_cast<std::byte*>(data) + Aligned(block.size());
  for (std::size_t offset = 0; offset + 1 < block.size(); offset += 2, wide += sizeof(wchar_t)) {
    const wchar_t unit = ReadUnit(block.data() + offset);
    std::memcpy(wide, &unit, sizeof(unit));
  }
  return TRUE;
}

extern "C" BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR query, LPVOID* value, UINT* length) {
  if (!block || !query || !value || !length) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  const auto* bytes = static_cast<const std::byte*>(block);
  std::optional<Node> node = ReadNode(bytes, 0, ReadUnit(bytes));
  std::wstring_view rest = query;
  while (node && !rest.empty()) {
    const std::size_t start = rest.find_first_not_of(L'\\');
    if (start == std::wstring_view::npos) break;
    rest.remove_prefix(start);
    const std::wstring_view key = rest.substr(0, rest.find(L'\\'));
    rest.remove_prefix(key.size());
    node = FindChild(bytes, *node, key);
  }
  if (!node) return Fail(ERROR_RESOURCE_TYPE_NOT_FOUND, FALSE);

  if (node->text && !IsTerminated(bytes, *node)) return Fail(ERROR_RESOURCE_DATA_NOT_FOUND, FALSE);
  const std::byte* found = bytes + node->value;
  if (node->text) found = bytes + Aligned(ReadUnit(bytes)) + node->value / 2 * sizeof(wchar_t);
  *value = const_cast<std::byte*>(found);  // as the platform declares it
  *length = static_cast<UINT>(node->valueUnits);
  return TRUE;
}
