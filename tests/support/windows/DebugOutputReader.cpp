#include "support/windows/DebugOutputReader.h"

#include <windows.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/Eventually.h"
#include "support/windows/Turn.h"

namespace quillmark::test {

namespace {

// The whole buffer; the text ends with a zero byte.
struct Message {
  std::uint32_t processId;
  char text[4092];
};
static_assert(sizeof(Message) == 4096);

// The reader checks at this interval whether a killed writer has left the buffer in use. After so many checks
// that found a writer but no data, that writer counts as waiting for the buffer.
constexpr DWORD CheckMs = 100;
constexpr int PatientChecks = 5;

UniqueHandle Checked(HANDLE handle, const char* what) {
  if (handle == nullptr || ::GetLastError() == ERROR_ALREADY_EXISTS) {
    throw std::runtime_error(std::string("another program reads the debugger output: ") + what);
  }
  return UniqueHandle(handle);
}

// The mutex that a writer holds; the first call makes it.
UniqueHandle WritersMutex() {
  ::OutputDebugStringA("");
  return UniqueHandle(::OpenMutexW(SYNCHRONIZE, FALSE, L"DBWinMutex"));
}

}  // namespace

struct DebugOutputReader::Host {
  Receiver receiver;
  Turn turn;
  UniqueHandle writing = WritersMutex();
  UniqueHandle section{Checked(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                    sizeof(Message), L"DBWIN_BUFFER"),
                               "DBWIN_BUFFER")};
  UniqueHandle bufferReady{
      Checked(::CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_BUFFER_READY"), "DBWIN_BUFFER_READY")};
  UniqueHandle dataReady{
      Checked(::CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY"), "DBWIN_DATA_READY")};
  UniqueHandle stop{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  UniqueView view{::MapViewOfFile(section.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0)};

  int vainChecks = 0;  // used by the reader only
  std::thread reader;

  void ReadUntilStopped() {
    // Data comes before the stop: everything written is read.
    const HANDLE events[] = {dataReady.Get(), stop.Get()};
    for (;;) {
      const DWORD woken = ::WaitForMultipleObjects(2, events, FALSE, CheckMs);
      if (woken == WAIT_OBJECT_0) {
        Receive();
      } else if (woken == WAIT_TIMEOUT) {
        CheckBuffer();
      } else {
        return;
      }
    }
  }

  void Receive() {
    vainChecks = 0;
    const auto& message = *static_cast<const Message*>(view.Get());
    std::string text(message.text, ::strnlen(message.text, sizeof message.text));
    if (!text.ends_with('\n')) text += '\n';
    receiver(message.processId, text);
    ::SetEvent(bufferReady.Get());
  }

  // While the reader has the mutex nobody writes: the buffer is free, or its writer was killed. The next
  // writer may already have the mutex and wait for a buffer that nobody will release.
  void CheckBuffer() {
    const DWORD result = ::WaitForSingleObject(writing.Get(), 0);
    const bool mine = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
    if (!mine && ++vainChecks < PatientChecks) return;
    vainChecks = 0;
    if (::WaitForSingleObject(dataReady.Get(), 0) == WAIT_OBJECT_0) {
      Receive();  // written meanwhile
    } else {
      ::SetEvent(bufferReady.Get());
    }
    if (mine) ::ReleaseMutex(writing.Get());
  }
};

DebugOutputReader::DebugOutputReader(Receiver receiver) : host(std::make_unique<Host>(std::move(receiver))) {
  if (!host->writing || !host->view || !host->stop) {
    throw std::runtime_error("cannot read the debugger output");
  }
  host->reader = std::thread([this] { host->ReadUntilStopped(); });
  ::SetEvent(host->bufferReady.Get());
}

DebugOutputReader::~DebugOutputReader() {
  // A writer that has opened the section waits for the buffer for ever. Each is served until the section's
  // name is gone, which the view does not keep.
  host->section.Reset();
  Eventually([] { return !UniqueHandle(::OpenFileMappingW(FILE_MAP_READ, FALSE, L"DBWIN_BUFFER")); });
  ::SetEvent(host->stop.Get());
  host->reader.join();
}

}  // namespace quillmark::test
