// Reads one section of a 64-bit ELF file. The file is untrusted: every figure in it is checked.
//
// Threading: any thread.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace quillmark::layer {

// The section's bytes; empty when the file is no such file, has no such section, or one of more than
// `limit` bytes.
std::vector<std::byte> ReadElfSection(int fd, std::string_view name, std::size_t limit);

}  // namespace quillmark::layer
