/* Type IDs. CFGetTypeID asks the object itself (-_cfTypeID), as the original platform does, so
   Foundation classes answer the number of the CF type they stand for and the platform's
   own CF-like objects (CoreGraphics images, colour spaces) answer theirs. */
#import <Foundation/Foundation.h>
#include <CoreFoundation/CoreFoundation.h>

enum {
  QVRTypeIDCFType = 1,
  QVRTypeIDBag = 4,
  QVRTypeIDString = 7,
  QVRTypeIDNull = 16,
  QVRTypeIDSet = 17,
  QVRTypeIDDictionary = 18,
  QVRTypeIDArray = 19,
  QVRTypeIDData = 20,
  QVRTypeIDBoolean = 21,
  QVRTypeIDNumber = 22,
  QVRTypeIDCharacterSet = 25,
  QVRTypeIDURL = 29,
  QVRTypeIDBundle = 31,
  QVRTypeIDUUID = 34,
  QVRTypeIDTimeZone = 41,
  QVRTypeIDDate = 42,
  QVRTypeIDError = 47,
  QVRTypeIDAttributedString = 62,
};

@interface NSObject (CFTypeIDQVR)
- (unsigned long)_cfTypeID;
@end

CFTypeID CFTypeGetTypeID(void) { return QVRTypeIDCFType; }
CFTypeID CFBagGetTypeID(void) { return QVRTypeIDBag; }
CFTypeID CFStringGetTypeID(void) { return QVRTypeIDString; }
CFTypeID CFNullGetTypeID(void) { return QVRTypeIDNull; }
CFTypeID CFSetGetTypeID(void) { return QVRTypeIDSet; }
CFTypeID CFDictionaryGetTypeID(void) { return QVRTypeIDDictionary; }
CFTypeID CFArrayGetTypeID(void) { return QVRTypeIDArray; }
CFTypeID CFDataGetTypeID(void) { return QVRTypeIDData; }
CFTypeID CFBooleanGetTypeID(void) { return QVRTypeIDBoolean; }
CFTypeID CFNumberGetTypeID(void) { return QVRTypeIDNumber; }
CFTypeID CFCharacterSetGetTypeID(void) { return QVRTypeIDCharacterSet; }
CFTypeID CFURLGetTypeID(void) { return QVRTypeIDURL; }
CFTypeID CFBundleGetTypeID(void) { return QVRTypeIDBundle; }
CFTypeID CFUUIDGetTypeID(void) { return QVRTypeIDUUID; }
CFTypeID CFTimeZoneGetTypeID(void) { return QVRTypeIDTimeZone; }
CFTypeID CFDateGetTypeID(void) { return QVRTypeIDDate; }
CFTypeID CFErrorGetTypeID(void) { return QVRTypeIDError; }
CFTypeID CFAttributedStringGetTypeID(void) { return QVRTypeIDAttributedString; }

CFTypeID CFGetTypeID(CFTypeRef object) {
  if (object == NULL) {
    [NSException raise:NSInvalidArgumentException format:@"CFGetTypeID called with NULL"];
  }
  id target = (id)object;
  if (![target respondsToSelector:@selector(_cfTypeID)]) return QVRTypeIDCFType;
  return (CFTypeID)[target _cfTypeID];
}

/* Plain objects do not answer -_cfTypeID (CFGetTypeID gives them the generic CFType):
   only the classes that stand for a Core Foundation type do, so code that asks whether an
   object is a CF object gets a true answer. */
@implementation NSString (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDString; }
@end
@implementation NSAttributedString (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDAttributedString; }
@end
@implementation NSData (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDData; }
@end
@implementation NSArray (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDArray; }
@end
@implementation NSDictionary (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDDictionary; }
@end
@implementation NSSet (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDSet; }
@end
@implementation NSCountedSet (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDBag; }
@end
@implementation NSURL (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDURL; }
@end
@implementation NSDate (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDDate; }
@end
@implementation NSTimeZone (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDTimeZone; }
@end
@implementation NSError (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDError; }
@end
@implementation NSNull (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDNull; }
@end
@implementation NSCharacterSet (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDCharacterSet; }
@end
@implementation NSBundle (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDBundle; }
@end
@implementation NSUUID (CFTypeIDQVR)
- (unsigned long)_cfTypeID { return QVRTypeIDUUID; }
@end

/* A number made from a BOOL is a CFBoolean; every other number a CFNumber. Foundation
   keeps the two booleans as shared instances, which is what kCFBooleanTrue and
   kCFBooleanFalse are. */
@implementation NSNumber (CFTypeIDQVR)
- (unsigned long)_cfTypeID {
  if (self == (id)kCFBooleanTrue || self == (id)kCFBooleanFalse) return QVRTypeIDBoolean;
  return QVRTypeIDNumber;
}
@end

/* Foundation keeps [NSNumber numberWithBool:] as two shared instances; these are they. */
CFBooleanRef QVRCFBooleanTrue(void) {
  static CFBooleanRef value = NULL;
  if (value == NULL) value = (CFBooleanRef)[[NSNumber alloc] initWithBool:YES];
  return value;
}

CFBooleanRef QVRCFBooleanFalse(void) {
  static CFBooleanRef value = NULL;
  if (value == NULL) value = (CFBooleanRef)[[NSNumber alloc] initWithBool:NO];
  return value;
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
  return boolean && [(NSNumber*)boolean boolValue] ? true : false;
}
