// The reader of the tests themselves, against a writer that is killed between the buffer and the data.
#include <gtest/gtest.h>
#include <windows.h>

#include "platform/UniqueHandle.h"
#include "support/DebugOutputCapture.h"

namespace quillmark::test {
namespace {

TEST(DebugOutput, BufferOfAKilledWriterIsGivenToTheNextWhichAlreadyWaits) {
  const DebugOutputCapture output;
  ::OutputDebugStringA("before\n");
  ASSERT_TRUE(output.WaitForLine("before"));
  const UniqueHandle writing(::OpenMutexW(SYNCHRONIZE, FALSE, L"DBWinMutex"));
  const UniqueHandle bufferReady(::OpenEventW(SYNCHRONIZE, FALSE, L"DBWIN_BUFFER_READY"));
  ASSERT_EQ(::WaitForSingleObject(writing.Get(), 10000), WAIT_OBJECT_0);
  ASSERT_EQ(::WaitForSingleObject(bufferReady.Get(), 10000), WAIT_OBJECT_0);
  // Still this thread's mutex: nobody comes between the two.
  ::OutputDebugStringA("after\n");
  ::ReleaseMutex(writing.Get());
  EXPECT_TRUE(output.WaitForLine("after"));
}

}  // namespace
}  // namespace quillmark::test
