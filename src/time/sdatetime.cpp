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

void SDateTime::GetDateTime(short &year, unsigned char &month, unsigned char &day, unsigned char &dayOfWeek,
                            unsigned char &hour, unsigned char &minute, unsigned char &second,
                            const STimeZone &zone) const {
    ZoneCore::LocalCivil civil;
    const ZoneCore::ZoneView view{zone.m_standardOffset, zone.m_daylightOffset, zone.m_dstEnabled && zone.m_rulesUsable,
                                  zone.m_cache.get()};
    if (!ZoneCore::FastLocalCivil(m_date.GetDayNumber(), m_time.GetRawValue(), view, civil)) [[unlikely]] {
        // Out of line, so that the common path keeps a small frame.
        const auto general = [&]() TARNKIT_TIME_COLD {
            const SDateTime local = inZone(zone);
            TARNKIT_ASSERT(local.IsValid());
            const int32_t dayNumber = local.m_date.GetDayNumber();
            const Calendar::Civil c = Calendar::DayToCivilFast(dayNumber);
            year = static_cast<short>(c.year);
            month = static_cast<unsigned char>(c.month);
            day = static_cast<unsigned char>(c.day);
            dayOfWeek = static_cast<unsigned char>(Calendar::DayOfWeek(dayNumber));
            const int32_t ms = local.m_time.GetRawValue();
            hour = static_cast<unsigned char>(ms / 3600000);
            minute = static_cast<unsigned char>(ms % 3600000 / 60000);
            second = static_cast<unsigned char>(ms % 60000 / 1000);
        };
        general();
        return;
    }
    year = static_cast<short>(civil.year);
    month = static_cast<unsigned char>(civil.month);
    day = static_cast<unsigned char>(civil.day);
    dayOfWeek = static_cast<unsigned char>(civil.dayOfWeek);
    hour = static_cast<unsigned char>(civil.hour());
    minute = static_cast<unsigned char>(civil.minute());
    second = static_cast<unsigned char>(civil.second());
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
