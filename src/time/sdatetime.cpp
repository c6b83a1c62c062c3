#include "tarnkit/sdatetime.h"

#include "platform/clock.h"
#include "tarnkit/stimezone.h"
#include "tarnkit/strace.h"
#include "time/calendar.h"
#include "time/zonecore.h"

namespace TarnkitA201 {

SDateTime::SDateTime(short year, unsigned char month, unsigned char day, unsigned char hour, unsigned char minute,
                     unsigned char second, unsigned short millisecond, const STimeZone &zone)
    : m_date(year, month, day), m_time(hour, minute, second, millisecond, STimeZone::TZ_UTC()) {
    *this += zone.UTCOffset(*this, false);
}

SDateTime::SDateTime(__int64 t, const STimeZone &zone) {
    TARNKIT_ASSERT_EXPR(t != -1, "time_t is invalid");
    *this = sicTime_tToSDateTime(t, zone);
}

SDateTime::SDateTime(tm *pTm, const STimeZone &zone) {
    TARNKIT_ASSERT_EXPR(pTm != nullptr, "pTm is NULL");
    *this = sicTmToSDateTime(pTm, zone);
}

SDateTime::SDateTime(_SYSTEMTIME *pST, const STimeZone &zone) {
    TARNKIT_ASSERT_EXPR(pST != nullptr, "pST is NULL");
    *this = sicSYSTEMTIMEToSDateTime(pST, zone);
}

SDateTime::SDateTime(double oleDate, const STimeZone &zone) { *this = sicDATEToSDateTime(oleDate, zone); }

SDateTime SDateTime::GetCurrentDateTime() {
    const __int64 ms = Platform::UtcMillisecondsNow();
    const __int64 day = Calendar::kUnixEpochDay + Calendar::FloorDiv(ms, Calendar::kMsPerDay);
    return SDateTime(SDate::FromDayNumber(static_cast<int32_t>(day)),
                     STime(0, 0, 0, static_cast<long>(Calendar::FloorMod(ms, Calendar::kMsPerDay))));
}

SDateTime &SDateTime::operator+=(const STimeSpan &span) noexcept {
    const __int64 ms = span.GetTotalMilliseconds();
    m_date += span;
    if (m_time.IsValid()) {
        __int64 value = m_time.GetRawValue() + ms % Calendar::kMsPerDay;
        if (value >= Calendar::kMsPerDay) {
            value -= Calendar::kMsPerDay;
            m_date += STimeSpan(Calendar::kMsPerDay);
        } else if (value < 0) {
            value += Calendar::kMsPerDay;
            m_date -= STimeSpan(Calendar::kMsPerDay);
        }
        m_time = STime(0, 0, 0, static_cast<long>(value));
    }
    return *this;
}

SDateTime &SDateTime::operator-=(const STimeSpan &span) noexcept {
    const __int64 ms = span.GetTotalMilliseconds();
    m_date -= span;
    if (m_time.IsValid()) {
        __int64 value = m_time.GetRawValue() - ms % Calendar::kMsPerDay;
        if (value >= Calendar::kMsPerDay) {
            value -= Calendar::kMsPerDay;
            m_date += STimeSpan(Calendar::kMsPerDay);
        } else if (value < 0) {
            value += Calendar::kMsPerDay;
            m_date -= STimeSpan(Calendar::kMsPerDay);
        }
        m_time = STime(0, 0, 0, static_cast<long>(value));
    }
    return *this;
}

STimeSpan SDateTime::operator-(const SDateTime &datetime) const {
    TARNKIT_ASSERT(IsValid() && datetime.IsValid());
    const __int64 days = static_cast<__int64>(m_date.GetDayNumber()) - datetime.m_date.GetDayNumber();
    return STimeSpan(days * Calendar::kMsPerDay + m_time.GetRawValue() - datetime.m_time.GetRawValue());
}

// Moments the inline reader leaves out, through the general conversions.
CivilTables::Fields SDateTime::generalFields(const STimeZone &zone) const {
    const SDateTime local = inZone(zone);
    TARNKIT_ASSERT(local.IsValid());
    const int32_t dayNumber = local.m_date.GetDayNumber();
    const Calendar::Civil c = Calendar::DayToCivilFast(dayNumber);
    const int32_t ms = local.m_time.GetRawValue();
    // Each field as the narrow getters give it, invalid moments included.
    const auto byte = [](__int64 value) { return static_cast<unsigned>(static_cast<unsigned char>(value)); };
    CivilTables::Fields f;
    f.year = static_cast<short>(c.year);
    f.monthDay = byte(c.month) | byte(c.day) << 8;
    f.weekday = byte(Calendar::DayOfWeek(dayNumber));
    f.hourMinute = byte(ms / 3600000) | byte(ms % 3600000 / 60000) << 8;
    f.second = byte(ms % 60000 / 1000);
    f.millisecond = static_cast<unsigned short>(ms % 1000);
    return f;
}

short SDateTime::GetYear(const STimeZone &zone) const { return inZone(zone).m_date.GetYear(); }
unsigned char SDateTime::GetMonth(const STimeZone &zone) const { return inZone(zone).m_date.GetMonth(); }
unsigned char SDateTime::GetDay(const STimeZone &zone) const { return inZone(zone).m_date.GetDay(); }
unsigned char SDateTime::GetDayOfWeek(const STimeZone &zone) const { return inZone(zone).m_date.GetDayOfWeek(); }
unsigned char SDateTime::GetHour(const STimeZone &zone) const {
    return inZone(zone).m_time.GetHour(STimeZone::TZ_UTC());
}
unsigned char SDateTime::GetMinute(const STimeZone &zone) const {
    return inZone(zone).m_time.GetMinute(STimeZone::TZ_UTC());
}
unsigned char SDateTime::GetSecond() const { return m_time.GetSecond(); }
unsigned short SDateTime::GetMillisecond() const { return m_time.GetMillisecond(); }
SDate SDateTime::GetDate(const STimeZone &zone) const { return inZone(zone).m_date; }
STime SDateTime::GetTime(const STimeZone &zone) const { return inZone(zone).m_time; }

__int64 SDateTime::GetTimeT(const STimeZone &zone) const {
    TARNKIT_ASSERT(IsValid());
    return sicSDateTimeToTime_t(this, zone);
}

double SDateTime::GetOleDate(const STimeZone &zone) const {
    TARNKIT_ASSERT(IsValid());
    return sicSDateTimeToDATE(this, zone);
}

bool SDateTime::GetSYSTEMTIME(_SYSTEMTIME *pST, const STimeZone &zone) const {
    TARNKIT_ASSERT(IsValid());
    if (pST == nullptr) {
        TARNKIT_ASSERT_EXPR(false, "FALSE");
        return false;
    }
    *pST = sicSDateTimeToSYSTEMTIME(this, zone);
    return true;
}

} // namespace TarnkitA201
