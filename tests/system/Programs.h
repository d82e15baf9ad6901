// Programs under test as processes: their output goes to files, their end is seen without being awaited.
//
// Threading: the test's main thread.
#pragma once

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/Eventually.h"
#include "support/TempFolder.h"

namespace quillmark::test {

// A running program; its working directory is its own unless one is given. It ends with this object.
class Program {
 public:
  explicit Program(const std::vector<std::string>& arguments, const std::filesystem::path& where = {});

  // Output and error output so far.
  std::string Out() const { return ContentOf(folder.Path() / "out.txt"); }
  std::string Err() const { return ContentOf(folder.Path() / "err.txt"); }
  bool Ended() const;
  int Wait() { return process.Wait(); }
  void Kill() { process.End(SIGKILL); }
  void Interrupt() { ::kill(process.Pid(), SIGINT); }
  pid_t Pid() const { return process.Pid(); }

 protected:
  const TempFolder folder;

 private:
  ChildProcess process;
};

struct Outcome {
  int code;  // -1 when a signal ended it
  std::string out, err;
};

// The control tool with these arguments, run to its end.
Outcome Control(std::vector<std::string> arguments);
// A control tool that keeps running.
std::vector<std::string> ControlCommand(std::vector<std::string> arguments);

// The worker. Its end reports what a sanitizer found in it.
class Worker : public Program {
 public:
  explicit Worker(const std::filesystem::path& where = {}, const std::filesystem::path& program = {});
  ~Worker();
  // Its own working directory.
  const std::filesystem::path& Folder() const { return folder.Path(); }
};

// The worker's program file.
std::filesystem::path WorkerFile();

// Runs a command line of the shell and returns its output without the last line feed; empty when it failed.
std::string Shell(const std::string& commands);

}  // namespace quillmark::test
