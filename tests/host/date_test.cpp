// The built-in Date: fields, TotalSeconds from 1904 in wall-clock time, normalisation of
// fields set out of range, GMTOffset, the SQL strings, and a plugin reading the fields
// by name through "REALGetPropValueInt".
#include "host_fixture.h"

#include <ctime>

namespace {

class DateTest : public HostTest {
 protected:
  host::Value date(int64_t y, int64_t m, int64_t d, int64_t h = 0, int64_t mi = 0, int64_t s = 0) {
    return rt().newInstance("Date", {integer(y), integer(m), integer(d), integer(h), integer(mi), integer(s)});
  }
  int64_t field(const host::Value& d, const char* name) { return rt().get(d, name).integer; }
  std::string sql(const host::Value& d) { return text(rt().get(d, "SQLDateTime")); }
};

TEST_F(DateTest, FieldsOfTheDateItWasMadeWithAlsoForAPluginByNameAndTheirTextForms) {
  load();
  host::Value d = date(2012, 3, 4, 5, 6, 7);
  const std::pair<const char*, int64_t> fields[] = {{"Year", 2012}, {"Month", 3},  {"Day", 4},      {"Hour", 5},
                                                    {"Minute", 6},  {"Second", 7}, {"DayOfWeek", 1}};  // a Sunday
  for (const auto& [name, value] : fields) EXPECT_EQ(field(d, name), value) << name;
  EXPECT_EQ(sql(d), "2012-03-04 05:06:07");
  EXPECT_EQ(text(rt().get(d, "SQLDate")), "2012-03-04");
  EXPECT_EQ(text(rt().callShared("TestHandOver", "DateFields", {d})), "2012 3 4 5 6 7");
  EXPECT_EQ(text(rt().callShared("TestHandOver", "DateFields", {host::Value::nil()})), "");
  // The SQL strings set, the host's default text forms, days and weeks of the year, and
  // dates compared by the moment they show.
  d = date(2013, 5, 17, 15, 4, 9);
  rt().set(d, "SQLDate", str("2013-01-06"));
  EXPECT_EQ(sql(d), "2013-01-06 15:04:09");
  const std::pair<const char*, const char*> forms[] = {{"ShortDate", "1/6/13"}, {"AbbreviatedDate", "Jan 6, 2013"},
                                                       {"LongDate", "Sunday, January 6, 2013"}, {"ShortTime", "3:04 PM"},
                                                       {"LongTime", "3:04:09 PM"}};
  for (const auto& [name, expected] : forms) EXPECT_EQ(text(rt().get(d, name)), expected) << name;
  EXPECT_EQ(std::pair(field(d, "DayOfYear"), field(d, "WeekOfYear")), std::pair(6L, 2L));  // 2013 began on a Tuesday
  rt().set(d, "SQLDateTime", str("2013-01-06 10:00"));
  host::Value later = date(2013, 1, 6, 11);
  rt().set(later, "GMTOffset", host::Value::ofDouble(rt().get(later, "GMTOffset").real + 1));  // the same moment an hour east
  for (auto [self, hour, order] : {std::tuple{d, 10, 0}, {d, 11, -1}, {later, 11, 0}})
    EXPECT_EQ(rt().call(self, "Operator_Compare", {date(2013, 1, 6, hour)}).integer, order) << hour;
}

TEST_F(DateTest, TotalSecondsCountFrom1904InWallClockTimeAndOffsetsComeFromTheZone) {
  load();
  // 1970-01-01 is 24107 days after 1904-01-01.
  EXPECT_EQ(std::tuple(rt().get(date(1904, 1, 1), "TotalSeconds").real,
                       rt().get(date(1904, 1, 2, 0, 0, 1), "TotalSeconds").real,
                       rt().get(date(1970, 1, 1), "TotalSeconds").real),
            std::tuple(0.0, 86401.0, 24107.0 * 86400));
  host::Value d = date(2000, 1, 1);
  rt().set(d, "TotalSeconds", host::Value::ofDouble(rt().get(date(2012, 3, 4, 5, 6, 7), "TotalSeconds").real));
  EXPECT_EQ(sql(d), "2012-03-04 05:06:07");
  host::Value early = date(1900, 2, 28, 23, 59, 59);
  EXPECT_LT(rt().get(early, "TotalSeconds").real, 0);
  EXPECT_EQ(sql(early), "1900-02-28 23:59:59");
  // A new GMTOffset shows the same moment elsewhere.
  d = date(2012, 3, 4, 5, 6, 7);
  rt().set(d, "GMTOffset", host::Value::ofDouble(0));
  rt().set(d, "GMTOffset", host::Value::ofDouble(2));
  EXPECT_DOUBLE_EQ(rt().get(d, "GMTOffset").real, 2.0);
  host::Value copy = date(2012, 3, 4);
  rt().set(copy, "GMTOffset", host::Value::ofDouble(0));
  rt().set(copy, "TotalSeconds", rt().get(d, "TotalSeconds"));
  rt().set(copy, "GMTOffset", host::Value::ofDouble(0.5));
  EXPECT_DOUBLE_EQ(rt().get(copy, "TotalSeconds").real, rt().get(d, "TotalSeconds").real + 1800);
  rt().set(copy, "GMTOffset", host::Value::ofDouble(1e9));  // no zone is that far off: ignored
  EXPECT_DOUBLE_EQ(rt().get(copy, "GMTOffset").real, 0.5);
  // The local offset comes from the zone at that date.
  std::tm tm{};  // 2012-03-04 05:06:07, with daylight saving time as the zone has it then
  tm.tm_year = 112, tm.tm_mon = 2, tm.tm_mday = 4, tm.tm_hour = 5, tm.tm_min = 6, tm.tm_sec = 7, tm.tm_isdst = -1;
  ASSERT_NE(std::mktime(&tm), static_cast<std::time_t>(-1));
  EXPECT_DOUBLE_EQ(rt().get(date(2012, 3, 4, 5, 6, 7), "GMTOffset").real, double(tm.tm_gmtoff) / 3600);
  // A new Date without arguments is now.
  std::time_t before = std::time(nullptr);
  d = rt().newInstance("Date");
  std::time_t after = std::time(nullptr);
  double offset = rt().get(d, "GMTOffset").real;
  double utc = rt().get(d, "TotalSeconds").real - offset * 3600 - 24107.0 * 86400;
  EXPECT_GE(utc, double(before));
  EXPECT_LE(utc, double(after) + 1);
}

TEST_F(DateTest, FieldsSetOutOfRangeCarryIntoTheirNeighboursAndNonsenseIsIgnored) {
  load();
  host::Value d = date(2012, 1, 31);
  // One field set after another on the same date; February 31st is March 2nd in a leap year.
  const struct { const char* field; int value; const char* after; } steps[] = {
      {"Month", 2, "2012-03-02 00:00:00"},   {"Month", 13, "2013-01-02 00:00:00"}, {"Day", 0, "2012-12-31 00:00:00"},
      {"Second", -1, "2012-12-30 23:59:59"}, {"Minute", 61, "2012-12-31 00:01:59"}, {"Hour", 48, "2013-01-02 00:01:59"},
      {"Month", -1, "2012-11-02 00:01:59"},  {"Year", 1900, "1900-11-02 00:01:59"}};
  for (const auto& step : steps) {
    rt().set(d, step.field, integer(step.value));
    EXPECT_EQ(sql(d), step.after) << step.field << " = " << step.value;
  }
  EXPECT_EQ(sql(date(2012, 14, 1)), "2013-02-01 00:00:00");
  EXPECT_EQ(sql(date(1900, 2, 29)), "1900-03-01 00:00:00") << "1900 was no leap year";
  EXPECT_EQ(sql(date(2000, 2, 29)), "2000-02-29 00:00:00");
  // Nonsense is ignored.
  d = date(2012, 3, 4);
  rt().set(d, "TotalSeconds", host::Value::ofDouble(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ(sql(d), "2012-03-04 00:00:00");
  EXPECT_EQ(rt().get(date(9223372036854775807LL, 1, 1), "Year").kind, host::Value::Kind::Integer);  // clamped, no crash
  EXPECT_THROW(rt().set(d, "SQLDate", str("2000-13-01")), host::HostException);
  EXPECT_THROW(rt().set(d, "SQLDateTime", str("2000-01-01 10:00 junk")), host::HostException);
  EXPECT_EQ(sql(d), "2012-03-04 00:00:00");
}

}  // namespace
