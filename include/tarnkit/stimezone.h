// A time zone described by a rule text: a standard offset and, optionally, a
// daylight offset in force between two yearly transitions, each the nth
// weekday of a month at a time of day. Offsets count the minutes to add to
// civil time to reach UTC, so zones west of Greenwich are positive.
//
// Rule text: "std,offset[,dst[,delta][;m.w.d/HH:MM,m.w.d/HH:MM]]", where w is
// 1 to 5 (5 meaning the last) and d the weekday, 0 for Sunday. Without
// dates daylight time runs from the first Sunday of April to the last Sunday
// of October at 2:00; without a delta the daylight offset is 60 less.
//
// A zone is immutable once built, and any number of threads may read it.
#pragma once

#include "tarnkit/civiltables.h"
#include "tarnkit/sdatetime.h"

#include <memory>

TARNKIT_NAMESPACE_BEGIN

class STimeZone {
public:
    // An empty rule reads the machine's zone.
    explicit STimeZone(const SAnsiString &rule);
    // Names "XST" and "XDT", the default dates and daylight offset.
    STimeZone(short standardOffset, bool dst);
    STimeZone(const STimeZone &) = default;
    STimeZone &operator=(const STimeZone &) = default;
    ~STimeZone();

    // The daylight name while daylight time is in force, else the standard name.
    SAnsiString GetName(const SDateTime &when) const;
    // The rule regenerated from the fields, in the form the constructor reads.
    SAnsiString GetRules() const;

    // When givenInUTC is false, when holds a civil time of this zone stored
    // as though it were UTC. The hour skipped in spring counts as standard
    // time; the hour repeated in autumn as daylight time.
    STimeSpan UTCOffset(const SDateTime &when, bool givenInUTC) const;
    STimeSpan UTCOffset(const SDateTime &when) const { return UTCOffset(when, true); }
    STimeSpan UTCOffset() const;
    bool InDST(const SDateTime &when, bool givenInUTC) const;
    bool InDST(const SDateTime &when) const { return InDST(when, true); }

    bool DSTEnabled() const noexcept { return m_dstEnabled; }
    short StandardOffset() const noexcept { return m_standardOffset; }
    short DaylightOffset() const noexcept { return m_daylightOffset; }

    // The machine's zone and the zone "UTC,0", each built once and kept for
    // the life of the process.
    static const STimeZone &TZ_Local();
    static const STimeZone &TZ_UTC();

    // One yearly transition: the week-th weekday `day` of `month`, at
    // hour:minute of the clock in force before it.
    struct Transition {
        uint8_t month;
        uint8_t week;
        uint8_t day;
        int16_t hour;
        int16_t minute;
    };
    struct Transitions;

private:
    STimeZone() = default;
    friend struct ZoneBuilder;
    friend class SDateTime;

    void prepare();
    void fillSpans(Transitions &table) const;
    // Minutes to add to civil time for the moment key (UTC milliseconds
    // counted from day number 0), or the civil moment when !givenInUTC.
    inline int32_t offsetMinutesAt(__int64 key, int32_t dayNumber, bool givenInUTC) const noexcept;
    inline bool inDSTAt(__int64 key, int32_t dayNumber, bool givenInUTC) const noexcept;
    bool isFixedZero() const noexcept { return m_standardOffset == 0 && !m_dstEnabled; }

    SAnsiString m_standardName;
    int16_t m_standardOffset = 0;
    SAnsiString m_daylightName;
    int16_t m_daylightOffset = -60;
    bool m_dstEnabled = false;
    Transition m_start{4, 1, 0, 2, 0};
    Transition m_end{10, 5, 0, 2, 0};
    // False when a transition names no real month, week or weekday: daylight
    // time is then never in force.
    bool m_rulesUsable = true;
    // Transition moments of a span of years, shared by copies.
    std::shared_ptr<const Transitions> m_cache;
    // For the inline reader: the spans inside m_cache, or the fixed offset.
    CivilTables::ZoneReading m_reading{nullptr, 0};
};

inline void SDateTime::GetDateTime(short &year, unsigned char &month, unsigned char &day, unsigned char &dayOfWeek,
                                   unsigned char &hour, unsigned char &minute, unsigned char &second,
                                   const STimeZone &zone) const {
    CivilTables::Fields f;
    if (!CivilTables::Read(m_date.GetDayNumber(), m_time.GetRawValue(), zone.m_reading, f)) [[unlikely]]
        f = generalFields(zone);
    year = static_cast<short>(f.year);
    month = static_cast<unsigned char>(f.month());
    day = static_cast<unsigned char>(f.day());
    dayOfWeek = static_cast<unsigned char>(f.weekday);
    hour = static_cast<unsigned char>(f.hour());
    minute = static_cast<unsigned char>(f.minute());
    second = static_cast<unsigned char>(f.second);
}

TARNKIT_NAMESPACE_END
