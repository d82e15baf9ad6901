/* libquillmark: the controller's side of Quillmark, the worker that watches the screen for known images.
 *
 * A client (qm_client) holds both rings of the session: it sends specs and reads what the worker reports. A
 * tracker (qm_tracker) turns those records into events: appeared, moved, stable, lost, unknown.
 *
 * Texts are UTF-8 and end with a zero. Lengths are counted in UTF-16 units, as the worker counts them; what
 * does not fit is refused, never cut. Times are UTC milliseconds since 1970-01-01, durations milliseconds.
 *
 * Errors: every function that can fail returns a qm_status, QM_OK being 0. Then qm_error_text() says in
 * English what was wrong. A function that fails has done nothing, unless its comment says otherwise. Any of
 * them may return QM_BAD_CALL or QM_NO_MEMORY; the comments name the others. No C++ exception leaves the
 * library.
 *
 * Ownership: what a create or open function gives belongs to the caller until the matching destroy or close
 * function, which take null. Texts and structures that are passed in are copied before the call returns.
 *
 * Threads: one thread at a time may be in a call for one client or one tracker, whichever thread it is;
 * different objects are independent of each other. qm_error_text() belongs to the calling thread. Hand no
 * client to a child process: a fork without exec keeps the rings alive.
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

/* Longest texts, in UTF-16 units. QM_NAME_UNITS holds for a spec's name with its options. */
#define QM_TARGET_UNITS 16
#define QM_NAME_UNITS 32
#define QM_HIT_NAME_UNITS 31
#define QM_PATH_UNITS 64

/* Wait until it happens. */
#define QM_FOREVER UINT32_MAX

typedef enum qm_status {
  QM_OK = 0,
  QM_NO_WORKER = 1,  /* no worker runs, and the time is over */
  QM_STALLED = 2,    /* a worker runs, but did not take or answer the command in time */
  QM_BUSY = 3,       /* another client reads the hits, or kept writing commands */
  QM_TOO_LONG = 10,  /* a text does not fit its field */
  QM_BAD_TEXT = 11,  /* a text is empty, not UTF-8, or holds what cannot stand there */
  QM_BAD_VALUE = 12, /* a number lies outside its range, or options do not go together */
  QM_BAD_CALL = 13,  /* a null pointer, or a structure that was not initialised */
  QM_SYSTEM = 20,    /* the system refused: the text has its code */
  QM_NO_MEMORY = 21
} qm_status;

/* What went wrong in the calling thread's last call that failed; empty before the first. Never null; valid
 * until the thread's next call of the library. */
QM_API const char* qm_error_text(void);

/* The library's version, for example "0.1.4". */
QM_API const char* qm_library_version(void);

typedef enum qm_mode {
  QM_MODE_UNSET = 0, /* grey, or what the preset prefers */
  QM_MODE_GRAY = 1,
  QM_MODE_BGR = 2,
  QM_MODE_S = 3,
  QM_MODE_H = 4,
  QM_MODE_HS = 5
} qm_mode;

typedef enum qm_preset {
  QM_PRESET_NONE = 0,
  QM_PRESET_FAST = 1,  /* 20 ms, colour, difference of at least 0.2, each unless set here */
  QM_PRESET_STRICT = 2 /* 200 ms, hue and saturation, difference of at most 0.08, each unless set here;
                          colour decides in place of grey values and edges */
} qm_preset;

/* A template to look for. Fill it with qm_spec_init, then set target, name, path and the region at least. */
typedef struct qm_spec {
  uint32_t size;               /* set by qm_spec_init */
  const char* target;          /* part of a window's title, or the file name of a program, ending in .exe */
  const char* name;            /* of its hits: no ':', at most 31 units, and "red" only if `red` is set */
  const char* path;            /* template image; a relative path starts at the worker's directory */
  int32_t x, y, width, height; /* region to search, in pixels of the target's client area */
  double max_difference;       /* largest accepted difference, 0 to 1, 1 excluded; NAN: the worker's 0.1 */
  double min_score; /* smallest accepted score (1 less the difference), above 0.5 to 1; NAN: none */
  double edge_min;  /* smallest accepted edge correlation, -1 to 1, 0.75 at first; below 0.66 acts as 0.66 */
  int32_t mode;     /* qm_mode */
  int32_t preset;   /* qm_preset */
  int32_t red;      /* not 0: the template is a red object, its colour takes part in the decision */
  int32_t interval_ms;     /* search at most once in so many ms; 0 at first: whenever there is a frame */
  int32_t every_nth_frame; /* 1 at first; 2, 3, 4, 5, 6, 8, 10, 15 or 30, and then no other option */
  int32_t monitor;         /* 0 at first: all; -1: the primary one; n: the n-th, from 1 */
} qm_spec;

/* Fills in the defaults and no texts. */
QM_API void qm_spec_init(qm_spec* spec);

/* Whether qm_add would send it; the same errors. */
QM_API qm_status qm_spec_check(const qm_spec* spec);

typedef struct qm_client qm_client;

typedef enum qm_open_flags {
  QM_KEEP_UNREAD = 1 /* begin with the hits that lie unread from before; otherwise they are let go */
} qm_open_flags;

/* Opens or creates both rings of this session and takes the role of the one that reads hits. The worker may
 * come first or later; what is sent before it starts, it finds. QM_BUSY when another client of this kind has
 * the role (waits up to a second for it), QM_SYSTEM. */
QM_API qm_status qm_open(uint32_t flags, qm_client** client);
QM_API void qm_close(qm_client* client);

/* Sends a spec; one of the same name is replaced. QM_OK says that the command was published, not that the
 * worker has executed it (qm_barrier tells) nor that it could read the image: no reply tells of that, the
 * worker's log does, and the first hit. With 64 commands unread the call waits up to `timeout_ms` for the
 * worker to take one. Errors: the refusals from QM_TOO_LONG to QM_BAD_CALL; QM_NO_WORKER and QM_STALLED with
 * 64 commands unread; QM_BUSY. */
QM_API qm_status qm_add(qm_client* client, const qm_spec* spec, uint32_t timeout_ms);
/* Removes the spec of this name, given without options; none of that name is no error. As qm_add. */
QM_API qm_status qm_remove(qm_client* client, const char* name, uint32_t timeout_ms);
/* Removes every spec. As qm_add. */
QM_API qm_status qm_clear(qm_client* client, uint32_t timeout_ms);

/* Waits until the worker has executed everything that was sent before, by a heartbeat and its reply. Hits
 * that come meanwhile are kept for qm_read. QM_NO_WORKER, QM_STALLED or QM_BUSY when it has not; the commands
 * stay sent. */
QM_API qm_status qm_barrier(qm_client* client, uint32_t timeout_ms);

/* Asks for the worker's version: at most `capacity` bytes with the final zero, 100 always suffice;
 * QM_TOO_LONG when they do not. Otherwise as qm_barrier. */
QM_API qm_status qm_version(qm_client* client, char* version, size_t capacity, uint32_t timeout_ms);

typedef enum qm_record_kind {
  QM_HIT = 0,
  QM_REPLY = 1,         /* to a question of another client; of no concern */
  QM_DROPPED = 2,       /* `count` hits were lost, as 64 lay unread or this client kept 65536 */
  QM_WORKER_GONE = 3,   /* no worker runs any more */
  QM_WORKER_STARTED = 4 /* one runs that did not before: it knows no spec, send them again */
} qm_record_kind;

typedef struct qm_record {
  int32_t kind;   /* qm_record_kind */
  uint32_t count; /* of QM_DROPPED */
  uint64_t ts_ms; /* hits and replies: the worker's time; the others: when the client noticed */
  int32_t cx, cy; /* of hits: centre of the match, in pixels of the target's client area */
  int32_t w, h;   /* and its size */
  float score;    /* 1 is perfect */
  float edge;     /* edge correlation; 0 where none was computed */
  char name[100]; /* of the spec, or a reply's text; an unpaired surrogate reads as U+FFFD */
} qm_record;

/* Hands out the oldest records, up to `capacity`, as soon as there are any; `count` is how many. After
 * `timeout_ms` without one it returns QM_OK and 0 records; a `capacity` of 0 is QM_BAD_CALL. A controller
 * calls it again and again: the ring holds 64 hits. The worker is looked for every 100 ms during this and
 * every other call that waits. */
QM_API qm_status qm_read(qm_client* client, qm_record* records, size_t capacity, size_t* count,
                         uint32_t timeout_ms);

typedef struct qm_state {
  int32_t worker_running;   /* not 0: one runs now */
  uint32_t worker_starts;   /* seen since qm_open */
  uint32_t unread_commands; /* not yet taken by the worker */
  uint32_t queued_records;  /* for qm_read */
  uint64_t dropped;         /* hits lost since qm_open */
} qm_state;

/* What can be known from outside, at once. */
QM_API qm_status qm_look(qm_client* client, qm_state* state);

typedef struct qm_tracker qm_tracker;

typedef enum qm_sight { QM_SIGHT_UNKNOWN = 0, QM_SIGHT_PRESENT = 1, QM_SIGHT_LOST = 2 } qm_sight;

typedef enum qm_event_kind {
  QM_APPEARED = 0, /* a hit, and it was not known to be present */
  QM_MOVED = 1,    /* a hit at another place than the one told last */
  QM_STABLE = 2,   /* hits at that place for `stable_ms`, told once a place */
  QM_LOST = 3,     /* known to be gone, by a witness or by the caller's own rule */
  QM_UNKNOWN = 4   /* nothing is known any more; a screen that stands still gives no hits */
} qm_event_kind;

typedef enum qm_reason {
  QM_BY_HIT = 0,
  QM_BY_WITNESS = 1, /* frames were searched, and it was not in them */
  QM_BY_SILENCE = 2, /* no hit for unknown_ms or lost_ms */
  QM_BY_WORKER_GONE = 3,
  QM_BY_WORKER_STARTED = 4
} qm_reason;

/* How a spec is followed. Fill it with qm_watch_init, then set the name at least. docs/clients.md says what
 * makes a witness. */
typedef struct qm_watch {
  uint32_t size;                /* set by qm_watch_init */
  const char* name;             /* of the spec */
  const char* const* witnesses; /* names of other specs on the same monitor; null: none */
  size_t witness_count;
  int32_t move_tolerance; /* pixels on either axis that are no move yet; 1 at first */
  uint32_t stable_ms;     /* 0 at first: never told */
  uint32_t interval_ms;   /* the spec's own interval; 0 at first */
  uint32_t gap_ms;        /* silence after which a stay counts anew; 0 at first: 1000, or 3 intervals */
  uint32_t unknown_ms;    /* silence after which it is unknown; 2000 at first; 0: never */
  uint32_t lost_ms; /* silence that you take for a loss on a screen that never rests; 0 at first: never */
} qm_watch;

typedef struct qm_event {
  int32_t kind;       /* qm_event_kind */
  int32_t reason;     /* qm_reason */
  int32_t was;        /* qm_sight before it */
  int32_t reserved;   /* 0 */
  uint64_t ts_ms;     /* of the hit, the witness's hit or the news; of silence, the time given */
  uint64_t stable_ms; /* of QM_STABLE */
  qm_record hit;      /* the last one, with the spec's name */
} qm_event;

QM_API void qm_watch_init(qm_watch* watch);

QM_API qm_status qm_tracker_create(qm_tracker** tracker);
QM_API void qm_tracker_destroy(qm_tracker* tracker);

/* Begins to watch, or begins anew with nothing known; do so too when the spec was sent again. QM_TOO_LONG
 * and QM_BAD_TEXT for its name, QM_BAD_VALUE for a spec that is its own witness and a negative tolerance. */
QM_API qm_status qm_tracker_watch(qm_tracker* tracker, const qm_watch* watch);
QM_API qm_status qm_tracker_forget(qm_tracker* tracker, const char* name);

/* Takes a record, in the order in which qm_read gave them. Its events wait for qm_tracker_next. QM_BAD_VALUE
 * for a record of no known kind. */
QM_API qm_status qm_tracker_feed(qm_tracker* tracker, const qm_record* record);
/* Tells the time, for what follows from silence. */
QM_API qm_status qm_tracker_advance(qm_tracker* tracker, uint64_t now_ms);
/* The oldest event that waits, and 1; or 0 when none does or an argument is null. */
QM_API int qm_tracker_next(qm_tracker* tracker, qm_event* event);
/* What is known of the spec; QM_SIGHT_UNKNOWN of one that is not watched. */
QM_API qm_sight qm_tracker_sight(const qm_tracker* tracker, const char* name);

/* The wall clock as records carry it, for qm_tracker_advance. */
QM_API uint64_t qm_now_ms(void);

#ifdef __cplusplus
}
#endif

#endif
