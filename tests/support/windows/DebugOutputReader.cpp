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

// The whole of the buffer; the text ends with a zero byte.
struct Message {
  std::uint32_t processId;
  char text[4092];
};
static_assert(sizeof(Message) == 4096);

// How often it looks after a buffer whose writer was killed, and after how many looks that found the same
// writer at work, without data, it takes that one to wait for it.
constexpr DWORD CareMs = 100;
constexpr int PatientLooks = 5;

UniqueHandle Checked(HANDLE handle, const char* what) {
  if (handle == nullptr || ::GetLastError() == ERROR_ALREADY_EXISTS) {
    throw std::runtime_error(std::string("another program reads the debugger output: ") + what);
  }
  return UniqueHandle(handle);
}

std::string Utf8OfProcessCodePage(std::string_view text) {
  const int length = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');
  const int units = ::MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), length);
  std::string utf8(static_cast<std::size_t>(units) * 3, '\0');
  utf8.resize(static_cast<std::size_t>(::WideCharToMultiByte(
      CP_UTF8, 0, wide.data(), units, utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr)));
  return utf8;
}

// The mutex that whoever writes holds; a first, empty text makes it.
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

  int looksInVain = 0;  // the reader's own
  std::thread reader;

  void ReadUntilStopped() {
    // The first event counts first: what has been written is read before the end.
    const HANDLE events[] = {dataReady.Get(), stop.Get()};
    for (;;) {
      const DWORD woken = ::WaitForMultipleObjects(2, events, FALSE, CareMs);
      if (woken == WAIT_OBJECT_0) {
        Receive();
      } else if (woken == WAIT_TIMEOUT) {
        CareForBuffer();
      } else {
        return;
      }
    }
  }

  void Receive() {
    looksInVain = 0;
    const auto& message = *static_cast<const Message*>(view.Get());
    std::string text = Utf8OfProcessCodePage({message.text, ::strnlen(message.text, sizeof message.text)});
    if (!text.ends_with('\n')) text += '\n';
    receiver(message.processId, text);
    ::SetEvent(bufferReady.Get());
  }

  // With the mutex in hand nobody writes: the buffer is free, or somebody died with it. The next writer may
  // have taken the mutex by then and wait for a buffer that nobody will give back.
  void CareForBuffer() {
    const DWORD result = ::WaitForSingleObject(writing.Get(), 0);
    const bool mine = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
    if (!mine && ++looksInVain < PatientLooks) return;
    looksInVain = 0;
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
  // A writer that has opened the section waits for the buffer for ever, so each is served until the section's
  // name is gone. The view does not keep the name.
  host->section.Reset();
  Eventually([] { return !UniqueHandle(::OpenFileMappingW(FILE_MAP_READ, FALSE, L"DBWIN_BUFFER")); });
  ::SetEvent(host->stop.Get());
  host->reader.join();
}

}  // namespace quillmark::test
