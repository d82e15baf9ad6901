// Programs under test as processes, with their output in files.
//
// Threading: the test's main thread.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/Eventually.h"
#include "support/TempFolder.h"

namespace quillmark::test {

// How often `part` occurs in the text.
std::size_t CountOf(const std::string& part, const std::string& text);
std::vector<std::string> LinesOf(const std::string& text);

// A running program, in a new working directory unless one is given. The destructor ends it.
class Program {
 public:
  explicit Program(const std::vector<std::string>& arguments, const std::filesystem::path& where = {});

  // Output and errors so far, with line feeds only.
  std::string Out() const { return TextOf(folder.Path() / "out.txt"); }
  std::string Err() const { return TextOf(folder.Path() / "err.txt"); }
  // Waits until it has printed this, on either stream, so many times.
  bool Says(const std::string& text, std::size_t times = 1) const {
    return Eventually([&] { return CountOf(text, Out()) + CountOf(text, Err()) >= times; });
  }
  bool Ended() const { return process.Ended(); }
  int Wait() { return process.Wait(); }
  void Kill() { process.Kill(); }
  int Pid() const { return pid; }

 protected:
  const TempFolder folder;

 private:
  static std::string TextOf(const std::filesystem::path& file);

  ChildProcess process;
  const int pid = process.Pid();
};

struct Outcome {
  int code;  // -1 when killed by a signal
  std::string out, err;
};

// Runs the control tool to its end.
Outcome Control(std::vector<std::string> arguments);
// The command line of the control tool, for a Program.
std::vector<std::string> ControlCommand(std::vector<std::string> arguments);

// The worker's executable.
std::filesystem::path WorkerFile();

// The worker. The destructor reports sanitizer findings.
class Worker : public Program {
 public:
  explicit Worker(const std::filesystem::path& where = {},
                  const std::filesystem::path& program = WorkerFile())
      : Program({program.string()}, where) {}
  ~Worker();
  // Its working directory unless one was given.
  const std::filesystem::path& Folder() const { return folder.Path(); }
};

// Writes an image that is a good template; the extension selects the format.
void WriteImage(const std::filesystem::path& file);

// Waits until a worker, which may still be starting, replies with this text.
bool Answers(const std::string& text = "alive");

}  // namespace quillmark::test
