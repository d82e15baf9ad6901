#include "Programs.h"

#include <gtest/gtest.h>

#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <sstream>

namespace quillmark::test {

std::size_t CountOf(const std::string& part, const std::string& text) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

Program::Program(const std::vector<std::string>& arguments, const std::filesystem::path& where)
    : process(arguments, {.folder = where.empty() ? folder.Path() : where,
                          .output = folder.Path() / "out.txt",
                          .errors = folder.Path() / "err.txt"}) {}

std::string Program::TextOf(const std::filesystem::path& file) {
  std::string text = ContentOf(file);
  std::erase(text, '\r');
  return text;
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

Worker::~Worker() {
  const std::string log = Err();
  if (log.find("Sanitizer") != std::string::npos || log.find("runtime error:") != std::string::npos) {
    ADD_FAILURE() << "the worker's sanitizer reported:\n" << log;
  }
}

void WriteImage(const std::filesystem::path& file) {
  cv::Mat image(20, 30, CV_8UC3, cv::Scalar(40, 90, 200));
  cv::rectangle(image, {5, 4, 12, 9}, cv::Scalar(250, 240, 20), cv::FILLED);
  std::vector<unsigned char> bytes;
  ASSERT_TRUE(cv::imencode(file.extension().string(), image, bytes));
  std::ofstream(file, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

bool Answers(const std::string& text) {
  Outcome outcome;
  // A starting worker may lose a command.
  const bool answered = Eventually([&] {
    outcome = Control({"ping", text, "--timeout=5"});
    return outcome.code == 0;
  });
  EXPECT_EQ(outcome.err, "");
  return answered && outcome.out.starts_with(text + " in ");
}

}  // namespace quillmark::test
