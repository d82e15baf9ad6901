// Programs under test as processes: their output goes to files, their end is seen without being awaited.
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

// How often the text holds this part.
std::size_t CountOf(const std::string& part, const std::string& text);
std::vector<std::string> LinesOf(const std::string& text);

// A running program; its working directory is its own unless one is given. It ends with this object.
class Program {
 public:
  explicit Program(const std::vector<std::string>& arguments, const std::filesystem::path& where = {});

  // Output and error output so far; lines end with a line feed on every host.
  std::string Out() const { return TextOf(folder.Path() / "out.txt"); }
  std::string Err() const { return TextOf(folder.Path() / "err.txt"); }
  // Whether it comes to print this, on either stream, so many times.
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

// An image file, of the format that its name ends in, fit for a template.
void WriteImage(const std::filesystem::path& file);

// Whether a worker, which may be starting, sends this text back.
bool Answers(const std::string& text = "alive");

}  // namespace quillmark::test
