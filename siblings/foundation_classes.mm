/* Host wrappers of Foundation objects that image plugins of the family hand to host code:
   time zones, locales, errors, calendars, character sets, timers and attributed strings.
   Each holds its object retained in the Handle, one wrapper per object, and gives host
   code the members one expects of it (a time zone's name, an error's code, ...). */
#import <Foundation/Foundation.h>

#include "siblings/foundation_classes.h"

#include "siblings/handle_wrappers.h"

namespace {

using siblings::HandleOf;

/* A new platform string from a host string, autoreleased (nil for the empty string). */
NSString* Text(REALstring string) { return [(NSString*)siblings::CopyPlatformString(string) autorelease]; }
REALstring HostText(NSString* string) { return siblings::HostString((CFStringRef)string); }

/* A constructor or shared method's object, stored in (or wrapped by) a class's wrapper. */
template <REALclassDefinition* Definition>
void Adopt(REALobject self, id object) {
  siblings::AdoptHandle(siblings::HandleDataOf<Definition>(self), self, object);
}
template <REALclassDefinition* Definition>
REALobject Wrapper(id object) {
  return siblings::WrapperFor(object, Definition->name, &siblings::HandleDataOf<Definition>);
}

REALproperty Getter(const char* name, const char* type, void* getter) {
  return {nullptr, name, type, 0x6, getter, nullptr, 0, nullptr, 0, nullptr, 0, nullptr};
}
REALproperty HandleProperty() { return Getter("Handle", "Integer", REALstandardAccessor); }
REALmethodDefinition Method(void* function, const char* declaration) {
  return {function, nullptr, declaration, 0x4, 0, nullptr};
}
#define FN(f) reinterpret_cast<void*>(&f)

/* NSTimeZoneQVR */
NSTimeZone* Zone(REALobject self) { return HandleOf<&NSTimeZoneQVRClass, NSTimeZone*>(self); }
REALstring ZoneName(REALobject self, intptr_t) { return HostText([Zone(self) name]); }
REALstring ZoneAbbreviation(REALobject self, intptr_t) { return HostText([Zone(self) abbreviation]); }
intptr_t ZoneSecondsFromGMT(REALobject self, intptr_t) { return [Zone(self) secondsFromGMT]; }
bool ZoneIsDaylightSavingTime(REALobject self, intptr_t) { return [Zone(self) isDaylightSavingTime] == YES; }
void ZoneConstructor(REALobject self, REALstring name) {
  Adopt<&NSTimeZoneQVRClass>(self, [NSTimeZone timeZoneWithName:Text(name)]);
}
REALobject ZoneLocal() { return Wrapper<&NSTimeZoneQVRClass>([NSTimeZone localTimeZone]); }
REALobject ZoneNamed(REALstring name) { return Wrapper<&NSTimeZoneQVRClass>([NSTimeZone timeZoneWithName:Text(name)]); }

REALproperty ZoneProperties[] = {
    HandleProperty(),
    Getter("Name", "String", FN(ZoneName)),
    Getter("Abbreviation", "String", FN(ZoneAbbreviation)),
    Getter("SecondsFromGMT", "Integer", FN(ZoneSecondsFromGMT)),
    Getter("IsDaylightSavingTime", "Boolean", FN(ZoneIsDaylightSavingTime)),
};
REALmethodDefinition ZoneMethods[] = {Method(FN(ZoneConstructor), "Constructor(name as String)")};
REALmethodDefinition ZoneShared[] = {Method(FN(ZoneLocal), "LocalTimeZone as NSTimeZoneQVR"),
                                     Method(FN(ZoneNamed), "TimeZoneWithName(name as String) as NSTimeZoneQVR")};

/* NSLocaleQVR */
REALstring LocaleIdentifier(REALobject self, intptr_t) {
  return HostText([HandleOf<&NSLocaleQVRClass, NSLocale*>(self) localeIdentifier]);
}
void LocaleConstructor(REALobject self, REALstring identifier) {
  Adopt<&NSLocaleQVRClass>(self, [[[NSLocale alloc] initWithLocaleIdentifier:Text(identifier)] autorelease]);
}
REALobject LocaleCurrent() { return Wrapper<&NSLocaleQVRClass>([NSLocale currentLocale]); }

REALproperty LocaleProperties[] = {HandleProperty(), Getter("LocaleIdentifier", "String", FN(LocaleIdentifier))};
REALmethodDefinition LocaleMethods[] = {Method(FN(LocaleConstructor), "Constructor(identifier as String)")};
REALmethodDefinition LocaleShared[] = {Method(FN(LocaleCurrent), "CurrentLocale as NSLocaleQVR")};

/* NSErrorQVR */
NSError* Error(REALobject self) { return HandleOf<&NSErrorQVRClass, NSError*>(self); }
REALstring ErrorDomain(REALobject self, intptr_t) { return HostText([Error(self) domain]); }
intptr_t ErrorCode(REALobject self, intptr_t) { return [Error(self) code]; }
REALstring ErrorDescription(REALobject self, intptr_t) { return HostText([Error(self) localizedDescription]); }
void ErrorConstructor(REALobject self, REALstring domain, intptr_t code) {
  NSString* text = Text(domain);
  if (text == nil) return;
  Adopt<&NSErrorQVRClass>(self, [NSError errorWithDomain:text code:code userInfo:nil]);
}

REALproperty ErrorProperties[] = {HandleProperty(), Getter("Domain", "String", FN(ErrorDomain)),
                                  Getter("Code", "Integer", FN(ErrorCode)),
                                  Getter("LocalizedDescription", "String", FN(ErrorDescription))};
REALmethodDefinition ErrorMethods[] = {Method(FN(ErrorConstructor), "Constructor(domain as String, code as Integer)")};

/* NSCalendarQVR */
REALstring CalendarIdentifier(REALobject self, intptr_t) {
  return HostText([HandleOf<&NSCalendarQVRClass, NSCalendar*>(self) calendarIdentifier]);
}
void CalendarConstructor(REALobject self, REALstring identifier) {
  Adopt<&NSCalendarQVRClass>(self, [[[NSCalendar alloc] initWithCalendarIdentifier:Text(identifier)] autorelease]);
}
REALobject CalendarCurrent() { return Wrapper<&NSCalendarQVRClass>([NSCalendar currentCalendar]); }

REALproperty CalendarProperties[] = {HandleProperty(), Getter("CalendarIdentifier", "String", FN(CalendarIdentifier))};
REALmethodDefinition CalendarMethods[] = {Method(FN(CalendarConstructor), "Constructor(identifier as String)")};
REALmethodDefinition CalendarShared[] = {Method(FN(CalendarCurrent), "CurrentCalendar as NSCalendarQVR")};

/* NSCharacterSetQVR */
bool CharacterIsMember(REALobject self, intptr_t codePoint) {
  if (codePoint < 0 || codePoint > 0xFFFF) return false;
  return [HandleOf<&NSCharacterSetQVRClass, NSCharacterSet*>(self) characterIsMember:(unichar)codePoint] == YES;
}
void CharacterSetConstructor(REALobject self, REALstring characters) {
  NSString* text = Text(characters);
  Adopt<&NSCharacterSetQVRClass>(self, [NSCharacterSet characterSetWithCharactersInString:text ? text : @""]);
}
REALobject WhitespaceSet() { return Wrapper<&NSCharacterSetQVRClass>([NSCharacterSet whitespaceCharacterSet]); }
REALobject DigitSet() { return Wrapper<&NSCharacterSetQVRClass>([NSCharacterSet decimalDigitCharacterSet]); }
REALobject LetterSet() { return Wrapper<&NSCharacterSetQVRClass>([NSCharacterSet letterCharacterSet]); }

REALproperty CharacterSetProperties[] = {HandleProperty()};
REALmethodDefinition CharacterSetMethods[] = {
    Method(FN(CharacterSetConstructor), "Constructor(characters as String)"),
    Method(FN(CharacterIsMember), "CharacterIsMember(codePoint as Integer) as Boolean")};
REALmethodDefinition CharacterSetShared[] = {
    Method(FN(WhitespaceSet), "WhitespaceCharacterSet as NSCharacterSetQVR"),
    Method(FN(DigitSet), "DecimalDigitCharacterSet as NSCharacterSetQVR"),
    Method(FN(LetterSet), "LetterCharacterSet as NSCharacterSetQVR")};

/* NSTimerQVR: timers that platform code made and handed over. */
NSTimer* Timer(REALobject self) { return HandleOf<&NSTimerQVRClass, NSTimer*>(self); }
bool TimerIsValid(REALobject self, intptr_t) { return [Timer(self) isValid] == YES; }
double TimerInterval(REALobject self, intptr_t) { return [Timer(self) timeInterval]; }
void TimerInvalidate(REALobject self) { [Timer(self) invalidate]; }

REALproperty TimerProperties[] = {HandleProperty(), Getter("IsValid", "Boolean", FN(TimerIsValid)),
                                  Getter("TimeInterval", "Double", FN(TimerInterval))};
REALmethodDefinition TimerMethods[] = {Method(FN(TimerInvalidate), "Invalidate")};

/* NSAttributedStringQVR */
NSAttributedString* Attributed(REALobject self) {
  return HandleOf<&NSAttributedStringQVRClass, NSAttributedString*>(self);
}
REALstring AttributedText(REALobject self, intptr_t) { return HostText([Attributed(self) string]); }
intptr_t AttributedLength(REALobject self, intptr_t) { return static_cast<intptr_t>([Attributed(self) length]); }
void AttributedConstructor(REALobject self, REALstring text) {
  NSString* string = Text(text);
  Adopt<&NSAttributedStringQVRClass>(self, [[[NSAttributedString alloc] initWithString:string ? string : @""]
                                              autorelease]);
}

REALproperty AttributedProperties[] = {HandleProperty(), Getter("StringValue", "String", FN(AttributedText)),
                                       Getter("Length", "Integer", FN(AttributedLength))};
REALmethodDefinition AttributedMethods[] = {Method(FN(AttributedConstructor), "Constructor(text as String)")};

#undef FN

template <size_t N>
constexpr uintptr_t Count(const REALproperty (&)[N]) { return N; }
template <size_t N>
constexpr uintptr_t Count(const REALmethodDefinition (&)[N]) { return N; }

/* A root wrapper class: its Handle, the destructor giving it back, and its members. */
template <REALclassDefinition* Definition>
REALclassDefinition WrapperClass(const char* name, REALproperty* properties, uintptr_t propertyCount,
                                 REALmethodDefinition* methods, uintptr_t methodCount,
                                 REALmethodDefinition* shared = nullptr, uintptr_t sharedCount = 0) {
  return {kREALCurrentControlVersion, name, nullptr, sizeof(siblings::HandleData), 0, nullptr,
          reinterpret_cast<void*>(&siblings::HandleDestructor<Definition>), properties, propertyCount, methods,
          methodCount, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, 0x4, nullptr, 0, shared, sharedCount,
          nullptr, 0, nullptr, 0};
}

}  // namespace

REALclassDefinition NSTimeZoneQVRClass = WrapperClass<&NSTimeZoneQVRClass>(
    "NSTimeZoneQVR", ZoneProperties, Count(ZoneProperties), ZoneMethods, Count(ZoneMethods), ZoneShared,
    Count(ZoneShared));
REALclassDefinition NSLocaleQVRClass = WrapperClass<&NSLocaleQVRClass>(
    "NSLocaleQVR", LocaleProperties, Count(LocaleProperties), LocaleMethods, Count(LocaleMethods), LocaleShared,
    Count(LocaleShared));
REALclassDefinition NSErrorQVRClass = WrapperClass<&NSErrorQVRClass>(
    "NSErrorQVR", ErrorProperties, Count(ErrorProperties), ErrorMethods, Count(ErrorMethods));
REALclassDefinition NSCalendarQVRClass = WrapperClass<&NSCalendarQVRClass>(
    "NSCalendarQVR", CalendarProperties, Count(CalendarProperties), CalendarMethods, Count(CalendarMethods),
    CalendarShared, Count(CalendarShared));
REALclassDefinition NSCharacterSetQVRClass = WrapperClass<&NSCharacterSetQVRClass>(
    "NSCharacterSetQVR", CharacterSetProperties, Count(CharacterSetProperties), CharacterSetMethods,
    Count(CharacterSetMethods), CharacterSetShared, Count(CharacterSetShared));
REALclassDefinition NSTimerQVRClass = WrapperClass<&NSTimerQVRClass>(
    "NSTimerQVR", TimerProperties, Count(TimerProperties), TimerMethods, Count(TimerMethods));
REALclassDefinition NSAttributedStringQVRClass = WrapperClass<&NSAttributedStringQVRClass>(
    "NSAttributedStringQVR", AttributedProperties, Count(AttributedProperties), AttributedMethods,
    Count(AttributedMethods));
