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


/* The file manager on POSIX paths. The whole tree under "/" is one volume (vRefNum -1)
   whose root directory has node ID 2 (its parent ID is 1). Every other directory or file
   gets a node ID the first time it is referenced: an index into a process-wide table of
   canonical paths, kept for the life of the process, so an ID always names the same
   path. An FSRef holds "QVRf", that node ID, and the device and inode the path had when
   the reference was made; it is valid while that path still names that object. An
   FSSpec names an object (that need not exist) by its parent directory's node ID and a
   name of at most 63 bytes, UTF-8 as on disk. Names in HFSUniStr255 are UTF-16. */
#ifdef __cplusplus
extern "C" {
#endif

enum {
  nsvErr = -35,
  bdNamErr = -37,
  dirNFErr = -120,
  errFSNotAFolder = -1407,
  kQVRFileVolume = -1,
  fsRtParID = 1,
  fsRtDirID = 2,
};

typedef UInt32 FSCatalogInfoBitmap;
enum {
  kFSCatInfoNone = 0,
  kFSCatInfoNodeFlags = 0x00000002,
  kFSCatInfoVolume = 0x00000004,
  kFSCatInfoParentDirID = 0x00000008,
  kFSCatInfoNodeID = 0x00000010,
  kFSCatInfoDataSizes = 0x00004000,
};
enum { kFSNodeIsDirectoryMask = 0x0010 };

/* The catalog fields this system answers, filled as the request bits ask. */
typedef struct FSCatalogInfo {
  UInt16 nodeFlags;
  SInt16 volume;
  UInt32 parentDirID;
  UInt32 nodeID;
  UInt64 dataLogicalSize;
  UInt64 dataPhysicalSize;
} FSCatalogInfo;

/* Path (UTF-8, absolute or relative to the working directory) to an FSRef for the object
   it names; fnfErr when there is none. *isDirectory is set when given. */
OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory);
/* The canonical absolute path an FSRef names, NUL-terminated; fnfErr when the object is
   gone or replaced, paramErr for a reference this system did not make or a short buffer. */
OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 maxPathSize);
/* The catalog fields asked for, the name, the FSSpec and the parent's FSRef (the root's
   parent FSRef is all zero bytes); each output may be NULL. */
OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                       HFSUniStr255* outName, FSSpec* fileSpec, FSRef* parentRef);
/* Fills *fileSpec for the named item of directory dirID (a Pascal string; an empty or
   NULL name means the directory itself). Answers noErr when the item exists, fnfErr when
   only its directory does (the FSSpec is filled all the same), dirNFErr or nsvErr when
   the directory or volume is unknown, bdNamErr for a name that cannot be one. */
OSErr FSMakeFSSpec(SInt16 vRefNum, SInt32 dirID, const unsigned char* fileName, FSSpec* fileSpec);
/* An FSRef for an existing object named by an FSSpec; fnfErr when it does not exist. */
OSErr FSpMakeFSRef(const FSSpec* source, FSRef* newRef);

#ifdef __cplusplus
}
#endif

#endif
