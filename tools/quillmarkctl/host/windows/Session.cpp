#include "host/Session.h"

#include <windows.h>

namespace quillmark::control::host {
namespace {

Check SessionNumber() {
  DWORD session = 0;
  if (!::ProcessIdToSessionId(::GetCurrentProcessId(), &session)) session = 0;
  Check check{.topic = "session",
              .text = "session " + std::to_string(session) + "; named objects are local to it",
              .facts = {{"session", session}}};
  if (session == 0) {
    check.level = Level::Problem;
    check.consequence = "session 0 is for services; it has no desktop to watch";
    check.remedy = "start worker and controller in the user's session, for example with a logon task";
  } else if (::GetSystemMetrics(SM_REMOTESESSION) != 0) {
    check.level = Level::Warning;
    check.text += ", viewed over a remote connection";
    check.consequence = "no frames arrive while the connection is closed or its window is minimised";
    check.remedy = "keep the connection open, or use a local screen";
  }
  return check;
}

Check InputDesktop() {
  const HDESK desktop = ::OpenInputDesktop(0, FALSE, DESKTOP_READOBJECTS);
  if (desktop != nullptr) {
    ::CloseDesktop(desktop);
    return {.topic = "desktop", .text = "this session's desktop is on the screen"};
  }
  return {.level = Level::Problem,
          .topic = "desktop",
          .text = "another desktop is on the screen: it is locked, or a system prompt is open",
          .consequence = "no frames arrive until it closes",
          .remedy = "unlock the screen"};
}

}  // namespace

// The system has no folder per session, so one in the user's temporary folder carries the session's number.
std::filesystem::path SessionFolder() {
  DWORD session = 0;
  ::ProcessIdToSessionId(::GetCurrentProcessId(), &session);
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("quillmark-session-" + std::to_string(session));
  std::filesystem::create_directories(folder);
  return folder;
}

Checks ExamineSession() {
  return {SessionNumber(), InputDesktop()};
}

}  // namespace quillmark::control::host
