// Date: a built-in class holding a moment as TotalSeconds (seconds since 1904-01-01
// 00:00:00, counted in the date's own wall-clock time) and GMTOffset (hours). Fields
// are derived from TotalSeconds; setting one rebuilds it, normalising overflow. Dates
// show themselves in the host's default (US English) forms and compare by their moment.
#include "native_members.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace host {

namespace {

struct DateData {
  double totalSeconds;  // wall-clock seconds since 1904-01-01 00:00:00
  double gmtOffset;     // hours east of GMT
};

constexpr int64_t kSecondsPerDay = 86400;

int64_t floorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

// Days since 1970-01-01 of a proleptic Gregorian date (month 1..12, any day count).
int64_t daysFromCivil(int64_t year, int64_t month, int64_t day) {
  year -= month <= 2;
  int64_t era = floorDiv(year, 400);
  int64_t yearOfEra = year - era * 400;
  int64_t shifted = month > 2 ? month - 3 : month + 9;  // March is month 0
  int64_t dayOfYear = (153 * shifted + 2) / 5 + day - 1;
  int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

void civilFromDays(int64_t days, int64_t& year, int64_t& month, int64_t& day) {
  days += 719468;
  int64_t era = floorDiv(days, 146097);
  int64_t dayOfEra = days - era * 146097;
  int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  int64_t shifted = (5 * dayOfYear + 2) / 153;
  day = dayOfYear - (153 * shifted + 2) / 5 + 1;
  month = shifted < 10 ? shifted + 3 : shifted - 9;
  year = yearOfEra + era * 400 + (month <= 2);
}

const int64_t kEpochDays = daysFromCivil(1904, 1, 1);

struct Fields {
  int64_t year, month, day, hour, minute, second;
  double fraction;
};

Fields fieldsOf(double totalSeconds) {
  Fields f{};
  if (!std::isfinite(totalSeconds)) totalSeconds = 0;
  double whole = std::floor(totalSeconds);
  f.fraction = totalSeconds - whole;
  // Keep the arithmetic inside int64_t for absurd values.
  whole = std::fmax(std::fmin(whole, 9.0e15), -9.0e15);
  auto seconds = static_cast<int64_t>(whole);
  int64_t days = floorDiv(seconds, kSecondsPerDay);
  int64_t ofDay = seconds - days * kSecondsPerDay;
  civilFromDays(days + kEpochDays, f.year, f.month, f.day);
  f.hour = ofDay / 3600;
  f.minute = ofDay / 60 % 60;
  f.second = ofDay % 60;
  return f;
}

// Months beyond 1..12 carry into the year, days and times into the dates around them.
int64_t clamped(int64_t value, int64_t limit) { return value < -limit ? -limit : value > limit ? limit : value; }

double totalSecondsOf(const Fields& f) {
  // Far beyond any calendar anyone uses, but the integer arithmetic stays exact.
  int64_t month0 = clamped(f.month, 100000000) - 1;
  int64_t year = clamped(f.year, 10000000) + floorDiv(month0, 12);
  int64_t month = month0 - floorDiv(month0, 12) * 12 + 1;
  double days = double(daysFromCivil(year, month, 1) - kEpochDays) + double(f.day) - 1;
  return days * kSecondsPerDay + double(f.hour) * 3600 + double(f.minute) * 60 + double(f.second) + f.fraction;
}

// The local zone's offset in hours at a wall-clock moment (or now).
double localOffsetHours(const Fields* at) {
  std::tm tm{};
  if (at) {
    tm.tm_year = static_cast<int>(std::fmax(std::fmin(double(at->year), 1e8), -1e8)) - 1900;
    tm.tm_mon = static_cast<int>(at->month - 1);
    tm.tm_mday = static_cast<int>(at->day);
    tm.tm_hour = static_cast<int>(at->hour);
    tm.tm_min = static_cast<int>(at->minute);
    tm.tm_sec = static_cast<int>(at->second);
    tm.tm_isdst = -1;
    if (std::mktime(&tm) == static_cast<std::time_t>(-1)) return 0;
  } else {
    std::time_t now = std::time(nullptr);
    if (!localtime_r(&now, &tm)) return 0;
  }
  return double(tm.tm_gmtoff) / 3600.0;
}

DateData* dateOf(Runtime& runtime, const Value& self) {
  Runtime::Impl& impl = runtime.impl();
  if (self.kind != Value::Kind::Object || !impl.isLiveObject(self.object.get())) return nullptr;
  if (!self.object.get()->cls->isA(impl.dateClass)) return nullptr;
  return reinterpret_cast<DateData*>(impl.instanceData(self.object.get(), impl.dateClass));
}

// A field property: reads the field, and writes it by rebuilding TotalSeconds.
void addField(ClassInfo* cls, const char* name, int64_t Fields::*field) {
  addNativeProperty(
      cls, name, "Integer",
      [field](Runtime& runtime, const Value& self, std::vector<Value>&) {
        DateData* date = dateOf(runtime, self);
        return Value::ofInteger(date ? fieldsOf(date->totalSeconds).*field : 0);
      },
      [field](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        if (DateData* date = dateOf(runtime, self)) {
          Fields f = fieldsOf(date->totalSeconds);
          f.*field = args.at(0).integer;
          date->totalSeconds = totalSecondsOf(f);
        }
        return Value::nil();
      });
}

std::string formatted(const char* format, const Fields& f) {
  char text[96];
  std::snprintf(text, sizeof text, format, static_cast<long long>(f.year), static_cast<long long>(f.month),
                static_cast<long long>(f.day), static_cast<long long>(f.hour), static_cast<long long>(f.minute),
                static_cast<long long>(f.second));
  return text;
}

// The moment itself, in seconds since 1904 GMT, for comparing dates shown in different zones.
double momentOf(const DateData* date) { return date->totalSeconds - date->gmtOffset * 3600; }

// Reads "YYYY-MM-DD" and, with time, " HH:MM[:SS]"; false for anything else.
bool parseSQL(const std::string& text, bool withTime, Fields& f) {
  long long year, month, day, hour = 0, minute = 0, second = 0;
  int used = 0;
  if (std::sscanf(text.c_str(), "%4lld-%2lld-%2lld%n", &year, &month, &day, &used) != 3) return false;
  if (withTime && size_t(used) < text.size()) {
    int more = 0;
    if (std::sscanf(text.c_str() + used, " %2lld:%2lld%n", &hour, &minute, &more) != 2) return false;
    used += more;
    if (text[size_t(used)] == ':' && std::sscanf(text.c_str() + used, ":%2lld%n", &second, &more) == 1) used += more;
  }
  if (size_t(used) != text.size() || month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 59)
    return false;
  f = Fields{year, month, day, hour, minute, second, 0};
  return true;
}

const char* const kMonths[] = {"January", "February", "March",     "April",   "May",      "June",
                               "July",    "August",   "September", "October", "November", "December"};
const char* const kWeekdays[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

int64_t dayOfWeek(double totalSeconds) {
  double whole = std::floor(std::fmax(std::fmin(totalSeconds, 9.0e15), -9.0e15));
  int64_t days = floorDiv(static_cast<int64_t>(std::isfinite(whole) ? whole : 0), kSecondsPerDay);
  // 1904-01-01 was a Friday; Sunday is 1.
  return (days + 5) - floorDiv(days + 5, 7) * 7 + 1;
}

// The date and time as the host shows them in its default (US English) formats.
std::string shown(const char* form, const DateData* date) {
  const Fields f = fieldsOf(date->totalSeconds);
  const std::string month = kMonths[(f.month - 1) % 12];
  const long long hour12 = f.hour % 12 == 0 ? 12 : f.hour % 12;
  const char* half = f.hour < 12 ? "AM" : "PM";
  char text[128];
  const std::string which = form;
  if (which == "ShortDate")
    std::snprintf(text, sizeof text, "%lld/%lld/%02lld", (long long)f.month, (long long)f.day, (long long)(f.year % 100));
  else if (which == "AbbreviatedDate")
    std::snprintf(text, sizeof text, "%.3s %lld, %lld", month.c_str(), (long long)f.day, (long long)f.year);
  else if (which == "LongDate")
    std::snprintf(text, sizeof text, "%s, %s %lld, %lld", kWeekdays[dayOfWeek(date->totalSeconds) - 1], month.c_str(),
                  (long long)f.day, (long long)f.year);
  else if (which == "ShortTime")
    std::snprintf(text, sizeof text, "%lld:%02lld %s", hour12, (long long)f.minute, half);
  else
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld %s", hour12, (long long)f.minute, (long long)f.second, half);
  return text;
}

// Setting SQLDate keeps the time of day; text that is no such date raises UnsupportedFormatException.
NativeFunction sqlSetter(bool withTime) {
  return [withTime](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    DateData* date = dateOf(runtime, self);
    if (!date) return Value::nil();
    Fields f;
    const std::string text = runtime.utf8(args.at(0));
    if (!parseSQL(text, withTime, f)) {
      runtime.impl().raise("UnsupportedFormatException", "\"" + text + "\" is no " + (withTime ? "SQL date and time" : "SQL date"));
      return Value::nil();
    }
    if (!withTime) {
      Fields now = fieldsOf(date->totalSeconds);
      f.hour = now.hour, f.minute = now.minute, f.second = now.second, f.fraction = now.fraction;
    }
    date->totalSeconds = totalSecondsOf(f);
    return Value::nil();
  };
}

}  // namespace

Value dateValue(Runtime& runtime, std::time_t moment) {
  Runtime::Impl& impl = runtime.impl();
  ObjectRef date = ObjectRef::adopt(impl.instantiate(impl.dateClass));
  if (!date) return Value::nil();
  auto* data = reinterpret_cast<DateData*>(impl.instanceData(date.get(), impl.dateClass));
  std::tm local{};
  data->gmtOffset = localtime_r(&moment, &local) ? double(local.tm_gmtoff) / 3600.0 : 0;
  data->totalSeconds = double(moment) + data->gmtOffset * 3600 - double(kEpochDays) * kSecondsPerDay;
  return Value::ofObject(std::move(date));
}

void installDateClass(Runtime::Impl& impl) {
  ClassInfo* cls = impl.addBuiltInClass("Date", "", sizeof(DateData));
  impl.dateClass = cls;
  cls->nativeConstructor = [](Runtime& runtime, ObjectHeader* object) {
    auto* date = reinterpret_cast<DateData*>(runtime.impl().instanceData(object, runtime.impl().dateClass));
    date->totalSeconds = 0;
    date->gmtOffset = 0;
  };
  addField(cls, "Year", &Fields::year);
  addField(cls, "Month", &Fields::month);
  addField(cls, "Day", &Fields::day);
  addField(cls, "Hour", &Fields::hour);
  addField(cls, "Minute", &Fields::minute);
  addField(cls, "Second", &Fields::second);
  addNativeProperty(
      cls, "TotalSeconds", "Double",
      [](Runtime& runtime, const Value& self, std::vector<Value>&) {
        DateData* date = dateOf(runtime, self);
        return Value::ofDouble(date ? date->totalSeconds : 0);
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        DateData* date = dateOf(runtime, self);
        if (date && std::isfinite(args.at(0).real)) date->totalSeconds = args[0].real;
        return Value::nil();
      });
  // A new offset shows the same moment in another zone: the wall clock moves with it.
  addNativeProperty(
      cls, "GMTOffset", "Double",
      [](Runtime& runtime, const Value& self, std::vector<Value>&) {
        DateData* date = dateOf(runtime, self);
        return Value::ofDouble(date ? date->gmtOffset : 0);
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        DateData* date = dateOf(runtime, self);
        double hours = args.at(0).real;
        if (date && std::isfinite(hours) && std::fabs(hours) <= 24) {
          date->totalSeconds += (hours - date->gmtOffset) * 3600;
          date->gmtOffset = hours;
        }
        return Value::nil();
      });
  addNativeProperty(
      cls, "DayOfWeek", "Integer",
      [](Runtime& runtime, const Value& self, std::vector<Value>&) {
        DateData* date = dateOf(runtime, self);
        return Value::ofInteger(date ? dayOfWeek(date->totalSeconds) : 0);
      },
      nullptr);
  // Day 1 is January 1; week 1 is the week (from Sunday) that holds January 1.
  for (bool week : {false, true})
    addNativeProperty(
        cls, week ? "WeekOfYear" : "DayOfYear", "Integer",
        [week](Runtime& runtime, const Value& self, std::vector<Value>&) {
          DateData* date = dateOf(runtime, self);
          if (!date) return Value::ofInteger(0);
          Fields f = fieldsOf(date->totalSeconds);
          Fields first{f.year, 1, 1, 0, 0, 0, 0};
          const double start = totalSecondsOf(first);
          const int64_t day = int64_t(std::floor((date->totalSeconds - start) / kSecondsPerDay)) + 1;
          return Value::ofInteger(week ? (day - 1 + dayOfWeek(start) - 1) / 7 + 1 : day);
        },
        nullptr);
  for (const char* form : {"ShortDate", "AbbreviatedDate", "LongDate", "ShortTime", "LongTime"})
    addNativeProperty(cls, form, "String", [form](Runtime& runtime, const Value& self, std::vector<Value>&) {
      DateData* date = dateOf(runtime, self);
      return runtime.string(date ? shown(form, date) : "");
    });
  // Dates compare by the moment they show, whatever zone shows it.
  addNativeMethod(cls, "Operator_Compare(other as Date) as Integer", [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    DateData* date = dateOf(runtime, self);
    DateData* other = dateOf(runtime, args.at(0));
    if (!date || !other) return Value::ofInteger(other ? -1 : 1);
    const double a = momentOf(date), b = momentOf(other);
    return Value::ofInteger(a < b ? -1 : a > b ? 1 : 0);
  });
  addNativeProperty(
      cls, "SQLDate", "String",
      [](Runtime& runtime, const Value& self, std::vector<Value>&) {
        DateData* date = dateOf(runtime, self);
        return runtime.string(date ? formatted("%04lld-%02lld-%02lld", fieldsOf(date->totalSeconds)) : "");
      },
      sqlSetter(false));
  addNativeProperty(
      cls, "SQLDateTime", "String",
      [](Runtime& runtime, const Value& self, std::vector<Value>&) {
        DateData* date = dateOf(runtime, self);
        return runtime.string(
            date ? formatted("%04lld-%02lld-%02lld %02lld:%02lld:%02lld", fieldsOf(date->totalSeconds)) : "");
      },
      sqlSetter(true));
  cls->methods.push_back(nativeMember("Constructor()", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    if (DateData* date = dateOf(runtime, self)) {
      std::time_t now = std::time(nullptr);
      date->gmtOffset = localOffsetHours(nullptr);
      date->totalSeconds = double(now) + date->gmtOffset * 3600 - double(kEpochDays) * kSecondsPerDay;
    }
    return Value::nil();
  }));
  cls->methods.push_back(nativeMember(
      "Constructor(year as Integer, month as Integer, day as Integer, hour as Integer = 0, minute as Integer = 0, "
      "second as Integer = 0)",
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        if (DateData* date = dateOf(runtime, self)) {
          Fields f{args.at(0).integer, args.at(1).integer, args.at(2).integer,
                   args.at(3).integer, args.at(4).integer, args.at(5).integer, 0};
          date->totalSeconds = totalSecondsOf(f);
          Fields normal = fieldsOf(date->totalSeconds);
          date->gmtOffset = localOffsetHours(&normal);
        }
        return Value::nil();
      }));
}

}  // namespace host
