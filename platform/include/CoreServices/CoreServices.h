/* The Carbon leftovers this system still calls: Gestalt for the system version, the
   uptime clock with durations and delays, and the file reference types that host
   FolderItems convert to. Plain C. */
#ifndef QVR_CORESERVICES_H
#define QVR_CORESERVICES_H

#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef UInt32 OSType;
typedef UInt32 FourCharCode;
typedef unsigned char Str63[64];
typedef unsigned char Str255[256];

enum {
  noErr = 0,
  paramErr = -50,
  fnfErr = -43,
  gestaltUnknownErr = -5550,
  gestaltUndefSelectorErr = -5551,
};

/* Gestalt selectors for the system version. */
enum {
  gestaltSystemVersion = 0x73797376,       /* 'sysv': 0xMMmb, binary-coded (10.6.8 is 0x1068) */
  gestaltSystemVersionMajor = 0x73797331,  /* 'sys1' */
  gestaltSystemVersionMinor = 0x73797332,  /* 'sys2' */
  gestaltSystemVersionBugFix = 0x73797333, /* 'sys3' */
};

/* Answers the configured system version: the environment variable QVR_SYSTEM_VERSION
   ("10.6", "10.7.5"), read at each call; 10.9 when it is unset or unreadable. */
OSErr Gestalt(OSType selector, SInt32* response);

/* The uptime clock: AbsoluteTime counts nanoseconds of the monotonic clock. A Duration
   is milliseconds when positive and microseconds (negated) when negative. */
typedef UInt64 AbsoluteTime;
typedef SInt32 Duration;
enum {
  kDurationImmediate = 0,
  kDurationForever = 0x7FFFFFFF,
  kDurationMillisecond = 1,
  kDurationMicrosecond = -1,
};
AbsoluteTime UpTime(void);
AbsoluteTime AddDurationToAbsolute(Duration duration, AbsoluteTime time);
/* Sleeps until the clock reaches *expirationTime. */
OSStatus MPDelayUntil(AbsoluteTime* expirationTime);

/* File references. An FSRef names an existing file system object; an FSSpec names one by
   volume, parent directory and name; HFSUniStr255 holds a UTF-16 name. */
typedef struct FSRef {
  UInt8 hidden[80];
} FSRef;

typedef struct FSSpec {
  SInt16 vRefNum;
  SInt32 parID;
  Str63 name;
} FSSpec;

typedef struct HFSUniStr255 {
  UInt16 length;
  UniChar unicode[255];
} HFSUniStr255;

#ifdef __cplusplus
}
#endif

#endif
