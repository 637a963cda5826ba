/* Names for the worker threads of threaded loads and encodings, so that they can be
   told apart in debuggers, crash reports and process listings. */
#ifndef QVR_THREADS_THREAD_NAMING_H
#define QVR_THREADS_THREAD_NAMING_H

/* Names the calling thread when the system offers a way to; otherwise does nothing.
   The system's naming function is looked up once per process, by whichever worker
   asks first, and the answer serves every later worker. */
void NameCurrentThreadQVR(const char* name);

#endif
