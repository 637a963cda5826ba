/* The frame in which threaded platform work runs on its worker: an autorelease pool of
   the worker's own, and a catch for platform exceptions, which nothing above the work
   function would catch on that thread. The worker never calls the host, so an
   NSException can only be logged there; the caller sees its usual nil result. */
#ifndef QVR_THREADS_WORKER_FRAME_H
#define QVR_THREADS_WORKER_FRAME_H

#ifdef __cplusplus
extern "C" {
#endif

typedef void (*WorkerFrameBody)(void* context);

/* Runs body(context) inside a new pool; an NSException escaping it is logged with
   "%@\n" and swallowed, any other thrown object passes on unchanged. */
void RunInWorkerFrame(WorkerFrameBody body, void* context);

#ifdef __cplusplus
}
#endif

#endif
