/* Host MemoryBlocks to platform data and back. Both copy the bytes: later changes to
   either side never show in the other. */
#ifndef QVR_CONVERT_DATA_H
#define QVR_CONVERT_DATA_H

#include "plugin/host_sdk.h"

#ifdef __OBJC__
@class NSData;

/* An autoreleased copy of the block's bytes; nil for a nil or empty block (an empty
   MemoryBlock gives nil, not empty data). */
NSData* NewNSData(REALmemoryBlock block);

/* A new MemoryBlock holding a copy of the data's bytes, with one reference for the
   caller; nil for nil or empty data. When the host cannot make the block, raises
   "OutOfMemoryException" and gives nil. */
REALmemoryBlock NSDataRB(NSData* data);
#endif

#endif
