#include "Programs.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <cstdio>

namespace quillmark::test {
namespace {

// The shell replaces itself by the program, so the process is the program.
std::vector<std::string> WithOutputIn(const std::filesystem::path& folder, const std::filesystem::path& where,
                                      const std::vector<std::string>& arguments) {
  std::vector<std::string> command{"sh", "-c",
                                   R"(exec >"$0/out.txt" 2>"$0/err.txt"; cd "$1"; shift; exec "$@")",
                                   folder.string(), (where.empty() ? folder : where).string()};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

}  // namespace

Program::Program(const std::vector<std::string>& arguments, const std::filesystem::path& where)
    : process(WithOutputIn(folder.Path(), where, arguments)) {}

bool Program::Ended() const {
  siginfo_t info{};
  if (process.Pid() == 0) return true;
  const int result = ::waitid(P_PID, static_cast<id_t>(process.Pid()), &info, WEXITED | WNOHANG | WNOWAIT);
  return result == 0 && info.si_pid != 0;
}

std::vector<std::string> ControlCommand(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), QUILLMARKCTL);
  return arguments;
}

Outcome Control(std::vector<std::string> arguments) {
  Program program(ControlCommand(std::move(arguments)));
  const int code = program.Wait();
  return {code, program.Out(), program.Err()};
}

std::filesystem::path WorkerFile() {
  return QUILLMARK_WORKER;
}

Worker::Worker(const std::filesystem::path& where, const std::filesystem::path& program)
    : Program({program.empty() ? WorkerFile().string() : program.string()}, where) {}

Worker::~Worker() {
  const std::string log = Err();
  if (log.find("Sanitizer") != std::string::npos || log.find("runtime error:") != std::string::npos) {
    ADD_FAILURE() << "the worker's sanitizer reported:\n" << log;
  }
}

std::string Shell(const std::string& commands) {
  std::FILE* const pipe = ::popen(commands.c_str(), "r");
  if (pipe == nullptr) return {};
  std::string out;
  char buffer[4096];
  while (const std::size_t size = std::fread(buffer, 1, sizeof buffer, pipe)) out.append(buffer, size);
  if (::pclose(pipe) != 0) return {};
  if (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

}  // namespace quillmark::test
