// Calendar days, times of day, moments and durations as plain values. A
// moment (SDateTime) is always held in UTC; a zone enters only where a civil
// value is read or written. The calendar is the historical one: Julian
// before the reform of October 1582, Gregorian after it, with no year 0.
// Also the free conversions between these values and the platform's time
// types (time_t, struct tm, timespec, timeval), the SYSTEMTIME field layout
// and the OLE date double.
#pragma once

#include "tarnkit/civiltables.h"
#include "tarnkit/sstringimpl.h"

#include <ctime>

struct timeval;

TARNKIT_NAMESPACE_BEGIN

class STimeZone;

// A variant value as other components hand it over; only dates (type 7)
// are read here.
struct tagVARIANT {
    unsigned short vt;
    double date;
};
inline constexpr unsigned short VT_DATE = 7;

// Broken-down civil time in the field layout other components exchange.
struct _SYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek;
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
};
using SYSTEMTIME = _SYSTEMTIME;

// A signed duration in milliseconds.
class STimeSpan {
public:
    STimeSpan() noexcept : m_value(0) {}
    STimeSpan(__int64 milliseconds) noexcept : m_value(milliseconds) {}
    // The parts must all have one sign; mixed signs fire an assertion and the
    // sum is kept all the same.
    STimeSpan(long days, long hours, long minutes, long seconds, long milliseconds);
    void Set(long days, long hours, long minutes, long seconds, long milliseconds);

    // Each part truncates towards zero, so a negative span has no positive part.
    long GetDays() const noexcept { return static_cast<long>(m_value / 86400000); }
    signed char GetHours() const noexcept { return static_cast<signed char>(m_value % 86400000 / 3600000); }
    signed char GetMinutes() const noexcept { return static_cast<signed char>(m_value % 3600000 / 60000); }
    signed char GetSeconds() const noexcept { return static_cast<signed char>(m_value % 60000 / 1000); }
    short GetMilliseconds() const noexcept { return static_cast<short>(m_value % 1000); }
    long GetTotalHours() const noexcept { return static_cast<long>(m_value / 3600000); }
    long GetTotalMinutes() const noexcept { return static_cast<long>(m_value / 60000); }
    __int64 GetTotalSeconds() const noexcept { return m_value / 1000; }
    __int64 GetTotalMilliseconds() const noexcept { return m_value; }

    STimeSpan operator+(const STimeSpan &o) const noexcept { return STimeSpan(Wrapped(m_value, o.m_value, false)); }
    STimeSpan operator-(const STimeSpan &o) const noexcept { return STimeSpan(Wrapped(m_value, o.m_value, true)); }
    STimeSpan &operator+=(const STimeSpan &o) noexcept { return *this = *this + o; }
    STimeSpan &operator-=(const STimeSpan &o) noexcept { return *this = *this - o; }
    bool operator==(const STimeSpan &o) const noexcept { return m_value == o.m_value; }
    bool operator!=(const STimeSpan &o) const noexcept { return m_value != o.m_value; }
    bool operator<(const STimeSpan &o) const noexcept { return m_value < o.m_value; }
    bool operator>(const STimeSpan &o) const noexcept { return m_value > o.m_value; }
    bool operator<=(const STimeSpan &o) const noexcept { return m_value <= o.m_value; }
    bool operator>=(const STimeSpan &o) const noexcept { return m_value >= o.m_value; }

private:
    // Two's complement wrap instead of signed overflow.
    static __int64 Wrapped(__int64 a, __int64 b, bool subtract) noexcept {
        const __uint64 ua = static_cast<__uint64>(a), ub = static_cast<__uint64>(b);
        return static_cast<__int64>(subtract ? ua - ub : ua + ub);
    }
    __int64 m_value;
};

// A calendar day: the astronomical Julian day number less 1, so that
// 1970-01-01 is 2440587.
class SDate {
public:
    static constexpr int32_t InvalidDate = INT32_MIN;

    SDate() noexcept : m_value(InvalidDate) {}
    // An impossible date gives the invalid value; a day of 100 stands for the
    // last day of the month.
    SDate(short year, unsigned char month, unsigned char day) noexcept { Set(year, month, day); }
    SDate(short year, unsigned char month, unsigned char day, long) noexcept { Set(year, month, day); }
    void Set(short year, unsigned char month, unsigned char day) noexcept;

    // The raw day number, and a date made from one.
    static SDate FromDayNumber(int32_t dayNumber) noexcept {
        SDate d;
        d.m_value = dayNumber;
        return d;
    }
    int32_t GetDayNumber() const noexcept { return m_value; }

    static SDate GetCurrentDate(const STimeZone &zone);

    void GetYearMonthDay(short &year, unsigned char &month, unsigned char &day) const;
    short GetYear() const;
    unsigned char GetMonth() const;
    unsigned char GetDay() const;
    // 0 for Sunday.
    unsigned char GetDayOfWeek() const;
    // The week of the month that holds this date, 1 for the week of the first,
    // when weeks start on firstDayOfWeek (0 for Sunday).
    unsigned char GetWeekOfMonth(unsigned char firstDayOfWeek) const;

    bool IsValid() const noexcept { return m_value != InvalidDate; }
    bool operator==(const SDate &o) const noexcept { return m_value == o.m_value; }
    bool operator!=(const SDate &o) const noexcept { return m_value != o.m_value; }
    bool operator<(const SDate &o) const noexcept { return m_value < o.m_value; }
    bool operator>(const SDate &o) const noexcept { return m_value > o.m_value; }
    bool operator<=(const SDate &o) const noexcept { return m_value <= o.m_value; }
    bool operator>=(const SDate &o) const noexcept { return m_value >= o.m_value; }

    // Whole days of the span, truncated; an invalid date stays invalid.
    SDate operator+(const STimeSpan &span) const noexcept;
    SDate operator-(const STimeSpan &span) const noexcept;
    SDate &operator+=(const STimeSpan &span) noexcept { return *this = *this + span; }
    SDate &operator-=(const STimeSpan &span) noexcept { return *this = *this - span; }
    STimeSpan operator-(const SDate &date) const;

    // Formats midnight of this day in UTC.
    SAnsiString Format(const char *pattern) const;

    static long YMDToJulian(short year, unsigned char month, unsigned char day) noexcept;
    static void JulianToYMD(long value, short &year, unsigned char &month, unsigned char &day) noexcept;

private:
    int32_t m_value;
};

// A time of day: milliseconds since UTC midnight, 0 to 86399999.
class STime {
public:
    static constexpr int32_t InvalidTime = INT32_MIN;

    STime() noexcept : m_value(InvalidTime) {}
    // A civil time of day in the zone, taken at the zone's offset of this
    // moment. Out-of-range fields give the invalid value.
    STime(unsigned char hour, unsigned char minute, unsigned char second, unsigned short millisecond,
          const STimeZone &zone);
    // value is the raw milliseconds; the other arguments are unused.
    STime(short, unsigned char, unsigned char, long value) noexcept : m_value(static_cast<int32_t>(value)) {}
    void Set(unsigned char hour, unsigned char minute, unsigned char second, unsigned short millisecond,
             const STimeZone &zone);

    int32_t GetRawValue() const noexcept { return m_value; }

    static STime GetCurrentTime(const STimeZone &zone);

    void GetHourMinuteSecond(unsigned char &hour, unsigned char &minute, unsigned char &second,
                             const STimeZone &zone) const;
    unsigned char GetHour(const STimeZone &zone) const;
    unsigned char GetMinute(const STimeZone &zone) const;
    unsigned char GetSecond() const;
    unsigned short GetMillisecond() const;

    STime operator+(const STimeSpan &span) const noexcept;
    STime operator-(const STimeSpan &span) const noexcept;
    STime &operator+=(const STimeSpan &span) noexcept { return *this = *this + span; }
    STime &operator-=(const STimeSpan &span) noexcept { return *this = *this - span; }
    STimeSpan operator-(const STime &timeOfDay) const;

    // Today's date in the machine's zone with this time, formatted in zone.
    SAnsiString Format(const char *pattern, const STimeZone &zone) const;

    bool IsValid() const noexcept { return m_value != InvalidTime; }
    bool operator==(const STime &o) const noexcept { return m_value == o.m_value; }
    bool operator!=(const STime &o) const noexcept { return m_value != o.m_value; }
    bool operator<(const STime &o) const noexcept { return m_value < o.m_value; }
    bool operator>(const STime &o) const noexcept { return m_value > o.m_value; }
    bool operator<=(const STime &o) const noexcept { return m_value <= o.m_value; }
    bool operator>=(const STime &o) const noexcept { return m_value >= o.m_value; }

private:
    int32_t m_value;
};

// Orders two times by the civil clock of the zone: -1, 0 or 1.
int STimeComparison(const STime &a, const STime &b, const STimeZone &zone);

// A moment: the UTC day and the UTC time of day.
class SDateTime {
public:
    SDateTime() noexcept = default;
    // A civil moment in the zone.
    SDateTime(short year, unsigned char month, unsigned char day, unsigned char hour, unsigned char minute,
              unsigned char second, unsigned short millisecond, const STimeZone &zone);
    // A date and raw UTC milliseconds of the day; no zone.
    SDateTime(short year, unsigned char month, unsigned char day, long value) noexcept
        : m_date(year, month, day), m_time(0, 0, 0, value) {}
    SDateTime(__int64 t, const STimeZone &zone);
    SDateTime(tm *pTm, const STimeZone &zone);
    SDateTime(_SYSTEMTIME *pST, const STimeZone &zone);
    SDateTime(double oleDate, const STimeZone &zone);
    SDateTime(const SDate &date, const STime &time) noexcept : m_date(date), m_time(time) {}

    static SDateTime GetCurrentDateTime();

    // Inline, with the zone (stimezone.h): the common case is read from the
    // calendar tables in the caller's own code.
    inline void GetDateTime(short &year, unsigned char &month, unsigned char &day, unsigned char &dayOfWeek,
                            unsigned char &hour, unsigned char &minute, unsigned char &second,
                            const STimeZone &zone) const;
    short GetYear(const STimeZone &zone) const;
    unsigned char GetMonth(const STimeZone &zone) const;
    unsigned char GetDay(const STimeZone &zone) const;
    unsigned char GetDayOfWeek(const STimeZone &zone) const;
    unsigned char GetHour(const STimeZone &zone) const;
    unsigned char GetMinute(const STimeZone &zone) const;
    unsigned char GetSecond() const;
    unsigned short GetMillisecond() const;
    SDate GetDate(const STimeZone &zone) const;
    STime GetTime(const STimeZone &zone) const;
    __int64 GetTimeT(const STimeZone &zone) const;
    double GetOleDate(const STimeZone &zone) const;
    bool GetSYSTEMTIME(_SYSTEMTIME *pST, const STimeZone &zone) const;

    // The stored UTC halves.
    const SDate &GetUTCDate() const noexcept { return m_date; }
    const STime &GetUTCTime() const noexcept { return m_time; }

    bool IsValid() const noexcept { return m_date.IsValid() && m_time.IsValid(); }
    bool operator==(const SDateTime &o) const noexcept { return m_date == o.m_date && m_time == o.m_time; }
    bool operator!=(const SDateTime &o) const noexcept { return !(*this == o); }
    bool operator<(const SDateTime &o) const noexcept {
        return m_date < o.m_date || (m_date == o.m_date && m_time < o.m_time);
    }
    bool operator>(const SDateTime &o) const noexcept {
        return m_date > o.m_date || (m_date == o.m_date && m_time > o.m_time);
    }
    bool operator<=(const SDateTime &o) const noexcept { return !(*this > o); }
    bool operator>=(const SDateTime &o) const noexcept { return !(*this < o); }

    SDateTime operator+(const STimeSpan &span) const noexcept {
        SDateTime r(*this);
        return r += span;
    }
    SDateTime operator-(const STimeSpan &span) const noexcept {
        SDateTime r(*this);
        return r -= span;
    }
    SDateTime &operator+=(const STimeSpan &span) noexcept;
    SDateTime &operator-=(const STimeSpan &span) noexcept;
    STimeSpan operator-(const SDateTime &datetime) const;

    SAnsiString Format(const char *pattern, const STimeZone &zone) const;

private:
    // The civil moment of the zone, stored as though it were UTC. Defined
    // with the zone internals of the library.
    inline SDateTime inZone(const STimeZone &zone) const noexcept;

    // The zone's civil fields of the moments the inline reader leaves out.
    CivilTables::Fields generalFields(const STimeZone &zone) const;

    SDate m_date;
    STime m_time;
};

// Conversions. The forms without a zone use STimeZone::TZ_Local().
SDateTime sicSYSTEMTIMEToSDateTime(const _SYSTEMTIME *pST, const STimeZone &zone);
SDateTime sicSYSTEMTIMEToSDateTime(const _SYSTEMTIME *pST);
_SYSTEMTIME sicSDateTimeToSYSTEMTIME(const SDateTime *pDT, const STimeZone &zone);
_SYSTEMTIME sicSDateTimeToSYSTEMTIME(const SDateTime *pDT);
SDateTime sicTmToSDateTime(const tm *pTm, const STimeZone &zone);
SDateTime sicTmToSDateTime(const tm *pTm);
tm sicSDateTimeToTm(const SDateTime *pDT, const STimeZone &zone);
tm sicSDateTimeToTm(const SDateTime *pDT);
// The machine's broken-down local time of t, read as a civil time in zone.
SDateTime sicTime_tToSDateTime(__int64 t, const STimeZone &zone);
SDateTime sicTime_tToSDateTime(__int64 t);
__int64 sicSDateTimeToTime_t(const SDateTime *pDT, const STimeZone &zone);
__int64 sicSDateTimeToTime_t(const SDateTime *pDT);
// OLE dates: days since 1899-12-30, the fraction the time of day, counted
// forwards in magnitude for negative values.
SDateTime sicDATEToSDateTime(double oleDate, const STimeZone &zone);
SDateTime sicDATEToSDateTime(double oleDate);
double sicSDateTimeToDATE(const SDateTime *pDT, const STimeZone &zone);
double sicSDateTimeToDATE(const SDateTime *pDT);
SAnsiString sicDATEToUTCString(double oleDate, const STimeZone &zone);
// A date variant in the local zone, formatted in the thread's locale; any
// other variant gives the empty string.
SAnsiString sicVariantDateToSString(const tagVARIANT &variant);

// Exact conversions with the POSIX clock types, which count from
// 1970-01-01 UTC and need no zone. A value outside the representable range
// gives the invalid SDateTime; an invalid SDateTime gives false.
SDateTime sicTimespecToSDateTime(const timespec &ts) noexcept;
bool sicSDateTimeToTimespec(const SDateTime &when, timespec &ts) noexcept;
SDateTime sicTimevalToSDateTime(const timeval &tv) noexcept;
bool sicSDateTimeToTimeval(const SDateTime &when, timeval &tv) noexcept;

TARNKIT_NAMESPACE_END

// The zone completes the inline getters above.
#include "tarnkit/stimezone.h"
