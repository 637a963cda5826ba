/* Date -> NSCalendarDate, field by field through the Date's integer properties. The
   host keeps a Date as seconds plus an offset; reading the wall-clock fields and
   rebuilding them in the local zone gives host code the moment it sees printed. */
#import <Foundation/Foundation.h>

#include "convert/dates.h"

#include "plugin/host_bridge.h"

NSCalendarDate* NewNSDate(REALobject date) {
  if (date == nullptr) return nil;
  static const char* const names[] = {"Year", "Month", "Day", "Hour", "Minute", "Second"};
  int32_t fields[6];
  /* Stop at the first field that cannot be read: the later ones are not asked for. */
  for (int i = 0; i < 6; ++i)
    if (!REALGetPropValueInt32(date, names[i], &fields[i])) return nil;
  return [NSCalendarDate dateWithYear:fields[0]
                                month:static_cast<NSUInteger>(fields[1])
                                  day:static_cast<NSUInteger>(fields[2])
                                 hour:static_cast<NSUInteger>(fields[3])
                               minute:static_cast<NSUInteger>(fields[4])
                               second:static_cast<NSUInteger>(fields[5])
                             timeZone:[NSTimeZone localTimeZone]];
}
