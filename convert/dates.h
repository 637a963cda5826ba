/* Host Dates to platform calendar dates. */
#ifndef QVR_CONVERT_DATES_H
#define QVR_CONVERT_DATES_H

#include "plugin/host_sdk.h"

#ifdef __OBJC__
@class NSCalendarDate;

/* An autoreleased calendar date in the local time zone with the Date's year, month,
   day, hour, minute and second taken as local wall-clock time (the Date's own offset
   and fractions of a second are not carried over); nil for a nil Date or when a field
   cannot be read. */
NSCalendarDate* NewNSDate(REALobject date);
#endif

#endif
