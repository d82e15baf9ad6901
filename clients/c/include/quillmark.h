/* libquillmark: controls Quillmark, the worker that watches the screen for known images.
 *
 * A client (qm_client) opens both rings of the session: it sends specs and reads what the worker reports. A
 * tracker (qm_tracker) turns those records into events: appeared, moved, stable, lost, unknown.
 *
 * Texts are zero-terminated UTF-8. Lengths are in UTF-16 units; a text that does not fit is refused, never
 * truncated. Times are UTC milliseconds since 1970-01-01, durations milliseconds.
 *
 * Errors: functions that can fail return a qm_status, with QM_OK being 0; qm_error_text() describes the error
 * in English. A failed function has done nothing, unless its comment says otherwise. Any of them may return
 * QM_BAD_CALL or QM_NO_MEMORY; the comments name the other errors. The library throws no C++ exceptions.
 *
 * Ownership: the caller owns what a create or open function returns, and passes it to the matching destroy or
 * close function, which accepts null. Texts and structures passed in are copied.
 *
 * Threads: use each client and each tracker from one thread at a time, any thread; different objects are
 * independent. qm_error_text() is per thread. Do not fork without exec while a client is open: the child
 * would keep the rings alive.
 */
#ifndef QUILLMARK_H
#define QUILLMARK_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) && defined(QM_BUILDING)
#define QM_API __declspec(dllexport)
#elif defined(_WIN32)
#define QM_API __declspec(dllimport)
#else
#define QM_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Maximum text lengths, in UTF-16 units. QM_NAME_UNITS is for a spec's name with its options. */
#define QM_TARGET_UNITS 16
#define QM_NAME_UNITS 32
#define QM_HIT_NAME_UNITS 31
#define QM_PATH_UNITS 64

/* No timeout. */
#define QM_FOREVER UINT32_MAX

typedef enum qm_status {
  QM_OK = 0,
  QM_NO_WORKER = 1,  /* timed out, and no worker is running */
  QM_STALLED = 2,    /* timed out: a worker is running, but did not take the command or reply */
  QM_BUSY = 3,       /* another client is reading the hits, or kept writing commands */
  QM_TOO_LONG = 10,  /* a text does not fit its field */
  QM_BAD_TEXT = 11,  /* a text is empty, not UTF-8, or contains something not allowed there */
  QM_BAD_VALUE = 12, /* a number is out of range, or options cannot be combined */
  QM_BAD_CALL = 13,  /* a null pointer, or a structure that was not initialised */
  QM_SYSTEM = 20,    /* a system call failed: the text contains its error code */
  QM_NO_MEMORY = 21
} qm_status;

/* The error of the calling thread's last failed call; empty before the first. Never null; valid until the
 * thread's next call of the library. */
QM_API const char* qm_error_text(void);

/* The library's version, for example "0.1.4". */
QM_API const char* qm_library_version(void);

typedef enum qm_mode {
  QM_MODE_UNSET = 0, /* gray, or the preset's mode */
  QM_MODE_GRAY = 1,
  QM_MODE_BGR = 2,
  QM_MODE_S = 3,
  QM_MODE_H = 4,
  QM_MODE_HS = 5
} qm_mode;

typedef enum qm_preset {
  QM_PRESET_NONE = 0,
  QM_PRESET_FAST = 1,  /* 20 ms, colour, maximum difference 0.2 or more, each unless set explicitly */
  QM_PRESET_STRICT = 2 /* 200 ms, hue and saturation, maximum difference 0.08 or less, each unless set
                          explicitly; colour decides instead of gray values and edges */
} qm_preset;

/* A template to search for. Call qm_spec_init first, then set at least target, name, path and the region. */
typedef struct qm_spec {
  uint32_t size;               /* set by qm_spec_init */
  const char* target;          /* part of a window's title, or a program's file name ending in .exe */
  const char* name;            /* the name in hits: no ':', at most 31 units, "red" only if `red` is set */
  const char* path;            /* template image; relative paths start at the worker's directory */
  int32_t x, y, width, height; /* region to search, in pixels of the target's client area */
  double max_difference;       /* maximum difference, from 0 to below 1; NAN: the worker's 0.1 */
  double min_score;            /* minimum score (1 minus the difference), above 0.5, at most 1; NAN: none */
  double edge_min;             /* minimum edge correlation, -1 to 1; default 0.75; below 0.66 acts as 0.66 */
  int32_t mode;                /* qm_mode */
  int32_t preset;              /* qm_preset */
  int32_t red;                 /* not 0: the template is a red object, so its colour counts */
  int32_t interval_ms;         /* minimum time between searches; default 0: search every frame */
  int32_t every_nth_frame;     /* default 1; 2, 3, 4, 5, 6, 8, 10, 15 or 30 exclude all other options */
  int32_t monitor;             /* default 0: all; -1: the primary one; n: the n-th, from 1 */
} qm_spec;

/* Sets the defaults; texts are null. */
QM_API void qm_spec_init(qm_spec* spec);

/* Whether qm_add would accept it; same errors. */
QM_API qm_status qm_spec_check(const qm_spec* spec);

typedef struct qm_client qm_client;

typedef enum qm_open_flags {
  QM_KEEP_UNREAD = 1 /* start with earlier unread hits; by default they are discarded */
} qm_open_flags;

/* Opens or creates both rings of this session and becomes the reader of its hits. The worker may start before
 * or after; it takes commands sent before it started. QM_BUSY when another client is still the reader after a
 * second; QM_SYSTEM. */
QM_API qm_status qm_open(uint32_t flags, qm_client** client);
QM_API void qm_close(qm_client* client);

/* Sends a spec, replacing one with the same name. QM_OK means that the command was published. Use qm_barrier
 * to wait until the worker has executed it. There is no reply about an image that it cannot read; that is in
 * its log. While 64 commands are unread, the call waits up to `timeout_ms` for the worker to take one.
 * Errors: QM_TOO_LONG to QM_BAD_CALL; QM_NO_WORKER and QM_STALLED while 64 commands are unread; QM_BUSY. */
QM_API qm_status qm_add(qm_client* client, const qm_spec* spec, uint32_t timeout_ms);
/* Removes the spec with this name, without options; it need not exist. Otherwise like qm_add. */
QM_API qm_status qm_remove(qm_client* client, const char* name, uint32_t timeout_ms);
/* Removes all specs. Otherwise like qm_add. */
QM_API qm_status qm_clear(qm_client* client, uint32_t timeout_ms);

/* Waits until the worker has executed all commands sent before, using a heartbeat. Hits that arrive meanwhile
 * are kept for qm_read. QM_NO_WORKER, QM_STALLED or QM_BUSY on timeout; the commands stay sent. */
QM_API qm_status qm_barrier(qm_client* client, uint32_t timeout_ms);

/* Gets the worker's version, at most `capacity` bytes with the final zero; 100 always suffice, QM_TOO_LONG if
 * not. Otherwise like qm_barrier. */
QM_API qm_status qm_version(qm_client* client, char* version, size_t capacity, uint32_t timeout_ms);

typedef enum qm_record_kind {
  QM_HIT = 0,
  QM_REPLY = 1,         /* to another client's command; can be ignored */
  QM_DROPPED = 2,       /* `count` hits were lost: 64 were unread, or this client had queued 65536 */
  QM_WORKER_GONE = 3,   /* no worker is running any more */
  QM_WORKER_STARTED = 4 /* a new one is running: it knows no specs, send them again */
} qm_record_kind;

typedef struct qm_record {
  int32_t kind;   /* qm_record_kind */
  uint32_t count; /* of QM_DROPPED */
  uint64_t ts_ms; /* hits and replies: the worker's time; otherwise when the client noticed */
  int32_t cx, cy; /* hits: centre of the match, in pixels of the target's client area */
  int32_t w, h;   /* hits: size of the match */
  float score;    /* 1 is perfect */
  float edge;     /* edge correlation; 0 if not computed */
  char name[100]; /* of the spec, or a reply's text; unpaired surrogates become U+FFFD */
} qm_record;

/* Returns the oldest records, at most `capacity`, as soon as there are any; `count` is how many. On timeout
 * it returns QM_OK and no records; a `capacity` of 0 is QM_BAD_CALL. Call it continually, since the ring
 * holds only 64 hits. This and every other call that waits checks for a worker every 100 ms. */
QM_API qm_status qm_read(qm_client* client, qm_record* records, size_t capacity, size_t* count,
                         uint32_t timeout_ms);

typedef struct qm_state {
  int32_t worker_running;   /* not 0: one is running now */
  uint32_t worker_starts;   /* seen since qm_open */
  uint32_t unread_commands; /* not yet taken by the worker */
  uint32_t queued_records;  /* for qm_read */
  uint64_t dropped;         /* hits lost since qm_open */
} qm_state;

/* Returns the current state without waiting. */
QM_API qm_status qm_look(qm_client* client, qm_state* state);

typedef struct qm_tracker qm_tracker;

typedef enum qm_sight { QM_SIGHT_UNKNOWN = 0, QM_SIGHT_PRESENT = 1, QM_SIGHT_LOST = 2 } qm_sight;

typedef enum qm_event_kind {
  QM_APPEARED = 0, /* a hit, and it was not known to be present */
  QM_MOVED = 1,    /* a hit at another place than last reported */
  QM_STABLE = 2,   /* hits at that place for `stable_ms`; reported once per place */
  QM_LOST = 3,     /* gone, according to a witness or to lost_ms */
  QM_UNKNOWN = 4   /* no longer known; an unchanged screen gives no hits */
} qm_event_kind;

typedef enum qm_reason {
  QM_BY_HIT = 0,
  QM_BY_WITNESS = 1, /* frames were searched without a hit */
  QM_BY_SILENCE = 2, /* no hit for unknown_ms or lost_ms */
  QM_BY_WORKER_GONE = 3,
  QM_BY_WORKER_STARTED = 4
} qm_reason;

/* How to track a spec. Call qm_watch_init first, then set at least the name. docs/clients.md explains
 * witnesses. */
typedef struct qm_watch {
  uint32_t size;                /* set by qm_watch_init */
  const char* name;             /* of the spec */
  const char* const* witnesses; /* names of other specs on the same monitor; null: none */
  size_t witness_count;
  int32_t move_tolerance; /* largest change in pixels, on each axis, that is not a move; default 1 */
  uint32_t stable_ms;     /* default 0: never reported */
  uint32_t interval_ms;   /* the spec's interval; default 0 */
  uint32_t gap_ms;        /* silence that restarts stable_ms; default 0: 1000, or 3 intervals if longer */
  uint32_t unknown_ms;    /* silence after which it is unknown; default 2000; 0: never */
  uint32_t lost_ms;       /* silence that means a loss, for screens that always change; default 0: never */
} qm_watch;

typedef struct qm_event {
  int32_t kind;       /* qm_event_kind */
  int32_t reason;     /* qm_reason */
  int32_t was;        /* qm_sight before the event */
  int32_t reserved;   /* 0 */
  uint64_t ts_ms;     /* of the record that caused it; for silence, the time passed to qm_tracker_advance */
  uint64_t stable_ms; /* of QM_STABLE */
  qm_record hit;      /* the last hit, with the spec's name */
} qm_event;

QM_API void qm_watch_init(qm_watch* watch);

QM_API qm_status qm_tracker_create(qm_tracker** tracker);
QM_API void qm_tracker_destroy(qm_tracker* tracker);

/* Starts tracking a spec, or restarts with nothing known, for example when the spec was sent again.
 * QM_TOO_LONG and QM_BAD_TEXT for its name; QM_BAD_VALUE for a spec that is its own witness, or a negative
 * tolerance. */
QM_API qm_status qm_tracker_watch(qm_tracker* tracker, const qm_watch* watch);
QM_API qm_status qm_tracker_forget(qm_tracker* tracker, const char* name);

/* Processes a record, in the order of qm_read. Get the events with qm_tracker_next. QM_BAD_VALUE for an
 * unknown kind of record. */
QM_API qm_status qm_tracker_feed(qm_tracker* tracker, const qm_record* record);
/* Sets the time, for events caused by silence. */
QM_API qm_status qm_tracker_advance(qm_tracker* tracker, uint64_t now_ms);
/* Gets the oldest event and returns 1; 0 when there is none or an argument is null. */
QM_API int qm_tracker_next(qm_tracker* tracker, qm_event* event);
/* The state of the spec; QM_SIGHT_UNKNOWN if it is not tracked. */
QM_API qm_sight qm_tracker_sight(const qm_tracker* tracker, const char* name);

/* The wall clock in the unit of records, for qm_tracker_advance. */
QM_API uint64_t qm_now_ms(void);

#ifdef __cplusplus
}
#endif

#endif
