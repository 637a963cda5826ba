/* The uptime clock of the old multiprocessing services, on the monotonic clock: the
   threaded runner uses it to sleep one millisecond between checks of a done flag. */
#include <CoreServices/CoreServices.h>

#include <errno.h>
#include <time.h>

AbsoluteTime UpTime(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (AbsoluteTime)now.tv_sec * 1000000000ull + (AbsoluteTime)now.tv_nsec;
}

AbsoluteTime AddDurationToAbsolute(Duration duration, AbsoluteTime time) {
  if (duration == kDurationForever) return UINT64_MAX;
  UInt64 nanoseconds = duration >= 0 ? (UInt64)duration * 1000000ull : (UInt64)(-(SInt64)duration) * 1000ull;
  return time > UINT64_MAX - nanoseconds ? UINT64_MAX : time + nanoseconds;
}

OSStatus MPDelayUntil(AbsoluteTime* expirationTime) {
  if (expirationTime == NULL) return paramErr;
  struct timespec until;
  until.tv_sec = (time_t)(*expirationTime / 1000000000ull);
  until.tv_nsec = (long)(*expirationTime % 1000000000ull);
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, NULL) == EINTR) {
  }
  return noErr;
}
