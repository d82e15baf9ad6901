// Host paths of files named by the product and of processes' programs.
//
// Threading: any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillmark::layer {

// The UTF-8 path for a path with backslashes, such as ".\\probe_log.txt". Empty if it is not valid UTF-16.
std::string HostPath(std::wstring_view path);

// The path of the program of a process, given by its number or "self". Empty, with errno, if it cannot be
// read; the old path if the file has been replaced.
std::string ProgramOfProcess(const std::string& process);

}  // namespace quillmark::layer
