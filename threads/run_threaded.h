/* Running slow platform work on a preemptive thread while the calling host thread keeps
   yielding to the host, so that the host's other threads go on running. To host code
   the call still looks synchronous. */
#ifndef QVR_THREADS_RUN_THREADED_H
#define QVR_THREADS_RUN_THREADED_H

/* A work function gets the caller's work record, whose layout is its own. It runs on a
   thread of its own: it must not call the host, and it keeps its own autorelease pool
   and catches its own platform exceptions. */
typedef void (*ThreadWorkFunction)(void* workRecord);

/* Runs work(workRecord) on a worker and returns when it has returned; returns at once,
   without running it, when no worker can be started (the record's outputs are then
   untouched). The record and everything it refers to must stay alive until then. */
void RunThreaded(const void* workRecord, ThreadWorkFunction work);

#endif
