#include "client/ApiCall.h"

#include <algorithm>
#include <exception>
#include <new>

namespace quillmark::client {
namespace {

static_assert(QM_HIT == Number(Record::Kind::Hit) &&
              QM_WORKER_STARTED == Number(Record::Kind::WorkerStarted));
// A UTF-16 unit is at most three bytes of UTF-8.
static_assert(sizeof(qm_record{}.name) > 3 * (HitNameUnits + 1));

thread_local std::string errorText;

qm_status StatusOf(Refusal refusal) {
  switch (refusal) {
    case Refusal::TooLong:
      return QM_TOO_LONG;
    case Refusal::BadText:
      return QM_BAD_TEXT;
    case Refusal::BadValue:
      return QM_BAD_VALUE;
  }
  return QM_BAD_VALUE;
}

}  // namespace

qm_status Fail(qm_status status, const char* text) noexcept {
  try {
    errorText = text;
  } catch (...) {
    errorText.clear();
  }
  return status;
}

qm_status FailByException() noexcept {
  try {
    throw;
  } catch (const BadCall& call) {
    return Fail(QM_BAD_CALL, call.text);
  } catch (const Refused& refused) {
    return Fail(StatusOf(refused.Why()), refused.what());
  } catch (const Taken& taken) {
    return Fail(QM_BUSY, taken.what());
  } catch (const std::bad_alloc&) {
    return Fail(QM_NO_MEMORY, "out of memory");
  } catch (const std::exception& error) {
    return Fail(QM_SYSTEM, error.what());
  } catch (...) {
    return Fail(QM_SYSTEM, "unknown error");
  }
}

qm_record ToC(const Record& record) {
  qm_record result{};
  result.kind = static_cast<std::int32_t>(record.kind);
  result.count = record.count;
  result.ts_ms = record.tsMs;
  result.cx = record.cx;
  result.cy = record.cy;
  result.w = record.w;
  result.h = record.h;
  result.score = record.score;
  result.edge = record.edge;
  const std::size_t length = std::min(record.name.size(), sizeof result.name - 1);
  std::memcpy(result.name, record.name.data(), length);
  return result;
}

}  // namespace quillmark::client

const char* qm_error_text() {
  return quillmark::client::errorText.c_str();
}
