// Paths of the host: of files that the product names, and of the programs of processes.
//
// Threading: any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillmark::layer {

// The UTF-8 path for a path of the product, in which backslashes separate as in ".\\probe_log.txt". Empty for
// text that can name no file.
std::string HostPath(std::wstring_view path);

// Path of the program of a process, given by its number or "self"; empty with errno when it cannot be read.
// A program file that has been replaced since is named as if it were still there.
std::string ProgramOfProcess(const std::string& process);

}  // namespace quillmark::layer
