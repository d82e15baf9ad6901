// Pipes and links, which Windows lacks.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "TemplateFolder.h"
#include "specs/ImageFile.h"
#include "specs/SpecStore.h"

namespace quillmark {
namespace {

TEST(HostFiles, PipeIsRefusedWithoutWaiting) {
  const test::TemplateFolder folder;
  ASSERT_EQ(::mkfifo(folder.Native("fifo.png").c_str(), 0600), 0);
  ImageFault fault = ImageFault::None;
  EXPECT_TRUE(ReadImageFile(folder.Path("fifo.png"), &fault).empty());
  EXPECT_EQ(fault, ImageFault::NoRegularFile);
}

TEST(HostFiles, DisplayPathResolvesLinks) {
  const test::TemplateFolder folder;
  std::filesystem::create_directory(folder.Native("real"));
  std::filesystem::create_directory_symlink(folder.Native("real"), folder.Native("link"));
  EXPECT_EQ(DisplayPath(folder.Path("link/./x/../a.png")), folder.Path("real/a.png"));
  std::filesystem::create_symlink("loop", folder.Native("loop"));  // cannot be resolved
  EXPECT_EQ(DisplayPath(folder.Path("loop/a.png")), folder.Path("loop/a.png"));
}

}  // namespace
}  // namespace quillmark
