// Host paths of files named by the product and of processes' programs.
//
// Threading: any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillmark::layer {

// The UTF-8 path for a path with backslashes, such as ".\\probe_log.txt". Empty for text that is no file
// name.
std::string HostPath(std::wstring_view path);

// The path of a process's program; the process is given by its number or "self". Empty, with errno, if it
// cannot be read. If the file has been replaced, its old path.
std::string ProgramOfProcess(const std::string& process);

}  // namespace quillmark::layer
