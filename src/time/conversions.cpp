// Conversions between the date values and the platform's time types, the
// SYSTEMTIME field layout and OLE dates.

#include "tarnkit/sdatetime.h"

#include "platform/clock.h"
#include "tarnkit/slocale.h"
#include "tarnkit/stimezone.h"
#include "tarnkit/strace.h"
#include "time/calendar.h"

#include <cmath>
#include <sys/time.h>

namespace TarnkitA201 {

namespace {

constexpr const char *kBadInput = "Input SDateTime value is NULL or not valid";

bool Usable(const SDateTime *p) {
    if (p != nullptr && p->IsValid())
        return true;
    TARNKIT_ASSERT_EXPR(false, kBadInput);
    return false;
}

struct CivilFields {
    short year;
    unsigned char month, day, dayOfWeek, hour, minute, second;
    unsigned short millisecond;
};

CivilFields FieldsIn(const SDateTime &when, const STimeZone &zone) {
    CivilFields f{};
    when.GetDateTime(f.year, f.month, f.day, f.dayOfWeek, f.hour, f.minute, f.second, zone);
    f.millisecond = when.GetMillisecond();
    return f;
}

// A moment from seconds and milliseconds since 1970-01-01 UTC; out of the
// 32-bit day range it is invalid.
SDateTime FromUnix(__int64 seconds, int32_t milliseconds) {
    const __int64 day = Calendar::kUnixEpochDay + Calendar::FloorDiv(seconds, 86400);
    if (day <= INT32_MIN || day > INT32_MAX)
        return SDateTime();
    const __int64 ms = Calendar::FloorMod(seconds, 86400) * 1000 + milliseconds;
    return SDateTime(SDate::FromDayNumber(static_cast<int32_t>(day)), STime(0, 0, 0, static_cast<long>(ms)));
}

// Seconds since 1970-01-01 UTC and the milliseconds past them.
bool ToUnix(const SDateTime &when, __int64 &seconds, int32_t &milliseconds) {
    if (!when.IsValid())
        return false;
    const __int64 days = static_cast<__int64>(when.GetUTCDate().GetDayNumber()) - Calendar::kUnixEpochDay;
    const int32_t ms = when.GetUTCTime().GetRawValue();
    seconds = days * 86400 + Calendar::FloorDiv(ms, 1000);
    milliseconds = static_cast<int32_t>(Calendar::FloorMod(ms, 1000));
    return true;
}

} // namespace

SDateTime sicSYSTEMTIMEToSDateTime(const _SYSTEMTIME *pST, const STimeZone &zone) {
    if (pST == nullptr)
        return SDateTime();
    return SDateTime(static_cast<short>(pST->wYear), static_cast<unsigned char>(pST->wMonth),
                     static_cast<unsigned char>(pST->wDay), static_cast<unsigned char>(pST->wHour),
                     static_cast<unsigned char>(pST->wMinute), static_cast<unsigned char>(pST->wSecond),
                     pST->wMilliseconds, zone);
}

SDateTime sicSYSTEMTIMEToSDateTime(const _SYSTEMTIME *pST) { return sicSYSTEMTIMEToSDateTime(pST, STimeZone::TZ_Local()); }

_SYSTEMTIME sicSDateTimeToSYSTEMTIME(const SDateTime *pDT, const STimeZone &zone) {
    _SYSTEMTIME st{};
    if (!Usable(pDT))
        return st;
    const CivilFields f = FieldsIn(*pDT, zone);
    st.wYear = static_cast<uint16_t>(f.year);
    st.wMonth = f.month;
    st.wDayOfWeek = f.dayOfWeek;
    st.wDay = f.day;
    st.wHour = f.hour;
    st.wMinute = f.minute;
    st.wSecond = f.second;
    st.wMilliseconds = f.millisecond;
    return st;
}

_SYSTEMTIME sicSDateTimeToSYSTEMTIME(const SDateTime *pDT) { return sicSDateTimeToSYSTEMTIME(pDT, STimeZone::TZ_Local()); }

SDateTime sicTmToSDateTime(const tm *pTm, const STimeZone &zone) {
    if (pTm == nullptr)
        return SDateTime();
    return SDateTime(static_cast<short>(pTm->tm_year + 1900), static_cast<unsigned char>(pTm->tm_mon + 1),
                     static_cast<unsigned char>(pTm->tm_mday), static_cast<unsigned char>(pTm->tm_hour),
                     static_cast<unsigned char>(pTm->tm_min), static_cast<unsigned char>(pTm->tm_sec), 0, zone);
}

SDateTime sicTmToSDateTime(const tm *pTm) { return sicTmToSDateTime(pTm, STimeZone::TZ_Local()); }

tm sicSDateTimeToTm(const SDateTime *pDT, const STimeZone &zone) {
    tm out{};
    if (!Usable(pDT))
        return out;
    const CivilFields f = FieldsIn(*pDT, zone);
    out.tm_year = f.year - 1900;
    out.tm_mon = f.month - 1;
    out.tm_mday = f.day;
    out.tm_hour = f.hour;
    out.tm_min = f.minute;
    out.tm_sec = f.second;
    out.tm_wday = f.dayOfWeek;
    out.tm_yday = static_cast<int>(pDT->GetDate(zone).GetDayNumber() - Calendar::YMDToDay(f.year, 1, 1));
    out.tm_isdst = zone.InDST(*pDT, true) ? 1 : 0;
    return out;
}

tm sicSDateTimeToTm(const SDateTime *pDT) { return sicSDateTimeToTm(pDT, STimeZone::TZ_Local()); }

SDateTime sicTime_tToSDateTime(__int64 t, const STimeZone &zone) {
    if (t == -1)
        return SDateTime();
    tm local{};
    if (!Platform::LocalTime(t, local))
        return SDateTime();
    return sicTmToSDateTime(&local, zone);
}

SDateTime sicTime_tToSDateTime(__int64 t) { return sicTime_tToSDateTime(t, STimeZone::TZ_Local()); }

__int64 sicSDateTimeToTime_t(const SDateTime *pDT, const STimeZone &zone) {
    if (!Usable(pDT))
        return 0;
    tm civil = sicSDateTimeToTm(pDT, zone);
    return Platform::MakeLocalTime(civil);
}

__int64 sicSDateTimeToTime_t(const SDateTime *pDT) { return sicSDateTimeToTime_t(pDT, STimeZone::TZ_Local()); }

SDateTime sicDATEToSDateTime(double value, const STimeZone &zone) {
    // Beyond some 2.7 million years either way there is no 32-bit day number,
    // and NaN is no date at all.
    if (!(std::fabs(value) < 1e9))
        return SDateTime();
    constexpr double kHalfMillisecond = 5.787037037037037e-9;
    value += value > 0 ? kHalfMillisecond : -kHalfMillisecond;
    __int64 n = static_cast<__int64>(std::trunc(value)) + 2415018;
    // The OLE calendar is Gregorian throughout; our days before the reform
    // are Julian, so the day number moves by the difference of the two.
    if (n < 2299150)
        n += 10;
    if (n < 1757653) {
        n -= 12;
    } else if (n < 2268992) {
        const __int64 k = 2305516 - n;
        __int64 c = (k / 146097) * 3;
        __int64 r = k % 146097;
        if (r != 0)
            r -= 1;
        c += r / 36524;
        n -= c;
    }
    const double magnitude = std::fabs(value);
    __int64 ms = static_cast<__int64>(std::trunc((magnitude - std::floor(magnitude)) * 8.64e7));
    if (ms >= Calendar::kMsPerDay) // a fraction within rounding of a whole day
        ms = Calendar::kMsPerDay - 1;
    SDateTime when(SDate::FromDayNumber(static_cast<int32_t>(n)), STime(0, 0, 0, static_cast<long>(ms)));
    when += zone.UTCOffset(when, false);
    return when;
}

SDateTime sicDATEToSDateTime(double value) { return sicDATEToSDateTime(value, STimeZone::TZ_Local()); }

double sicSDateTimeToDATE(const SDateTime *pDT, const STimeZone &zone) {
    if (!Usable(pDT))
        return 0.0;
    const CivilFields f = FieldsIn(*pDT, zone);
    const SDateTime civil(f.year, f.month, f.day, f.hour, f.minute, f.second, f.millisecond, STimeZone::TZ_UTC());
    __int64 n = civil.GetUTCDate().GetDayNumber();
    if (n < 1757641) {
        n += 12;
    } else if (n < 2268992) {
        const __int64 k = 2305515 - n;
        n += (k / 146100) * 3 + (k % 146100) / 36525;
    }
    if (n < 2299160)
        n -= 10;
    double result = static_cast<double>(n - 2415018);
    const double fraction = (civil.GetUTCTime().IsValid() ? civil.GetUTCTime().GetRawValue() : 0) / 8.64e7;
    return result > 0 ? result + fraction : result - fraction;
}

double sicSDateTimeToDATE(const SDateTime *pDT) { return sicSDateTimeToDATE(pDT, STimeZone::TZ_Local()); }

SAnsiString sicDATEToUTCString(double value, const STimeZone &zone) {
    return sicDATEToSDateTime(value, zone).Format("yyyy-MM-dd HH:mm:ss", STimeZone::TZ_UTC());
}

SDateTime sicTimespecToSDateTime(const timespec &ts) noexcept {
    if (ts.tv_nsec < 0 || ts.tv_nsec >= 1000000000)
        return SDateTime();
    return FromUnix(ts.tv_sec, static_cast<int32_t>(ts.tv_nsec / 1000000));
}

bool sicSDateTimeToTimespec(const SDateTime &when, timespec &ts) noexcept {
    __int64 seconds;
    int32_t ms;
    if (!ToUnix(when, seconds, ms))
        return false;
    ts.tv_sec = static_cast<time_t>(seconds);
    ts.tv_nsec = static_cast<long>(ms) * 1000000;
    return true;
}

SDateTime sicTimevalToSDateTime(const timeval &tv) noexcept {
    if (tv.tv_usec < 0 || tv.tv_usec >= 1000000)
        return SDateTime();
    return FromUnix(tv.tv_sec, static_cast<int32_t>(tv.tv_usec / 1000));
}

bool sicSDateTimeToTimeval(const SDateTime &when, timeval &tv) noexcept {
    __int64 seconds;
    int32_t ms;
    if (!ToUnix(when, seconds, ms))
        return false;
    tv.tv_sec = static_cast<time_t>(seconds);
    tv.tv_usec = static_cast<suseconds_t>(ms) * 1000;
    return true;
}

SAnsiString sicVariantDateToSString(const tagVARIANT &variant) {
    if (variant.vt != VT_DATE)
        return SAnsiString();
    const STimeZone &local = STimeZone::TZ_Local();
    return SLocale::FormatDateTime(0, sicDATEToSDateTime(variant.date, local), local);
}

} // namespace TarnkitA201
