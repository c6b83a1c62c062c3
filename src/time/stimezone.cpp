#include "tarnkit/stimezone.h"

#include "foundation/sspinlock.h"
#include "tarnkit/strace.h"
#include "time/zonebuilder.h"
#include "time/zonecore.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <new>
#include <vector>

namespace TarnkitA201 {

namespace {

// Walks a rule text. Separators are stepped over without being looked at,
// so any character serves as one.
class RuleReader {
public:
    RuleReader(const char *text, size_t length) : m_text(text), m_length(length) {}

    bool atEnd() const { return m_pos >= m_length; }
    bool next(char c) const { return !atEnd() && m_text[m_pos] == c; }
    void step() {
        if (!atEnd())
            ++m_pos;
    }

    SAnsiString copyUntil(char stop1, char stop2) {
        const size_t from = m_pos;
        while (!atEnd() && m_text[m_pos] != stop1 && m_text[m_pos] != stop2)
            ++m_pos;
        return SAnsiString(m_text + from, m_pos - from);
    }

    // Digits and minus signs in any order: the digits make the number, and
    // any minus sign negates it. The magnitude saturates instead of
    // overflowing.
    int32_t readInteger() {
        __int64 magnitude = 0;
        bool negative = false;
        for (; !atEnd(); ++m_pos) {
            const char c = m_text[m_pos];
            if (c == '-') {
                negative = true;
            } else if (c >= '0' && c <= '9') {
                magnitude = magnitude * 10 + (c - '0');
                if (magnitude > INT32_MAX)
                    magnitude = INT32_MAX;
            } else {
                break;
            }
        }
        return static_cast<int32_t>(negative ? -magnitude : magnitude);
    }

private:
    const char *m_text;
    size_t m_length;
    size_t m_pos = 0;
};

// Reads "month.week.day[/hour:minute]" into t, which holds the defaults for
// whatever the text leaves out. False when the text ended early.
bool ReadTransition(RuleReader &in, STimeZone::Transition &t) {
    t.month = static_cast<uint8_t>(in.readInteger());
    if (in.atEnd())
        return false;
    in.step();
    t.week = static_cast<uint8_t>(in.readInteger());
    if (in.atEnd())
        return false;
    in.step();
    t.day = static_cast<uint8_t>(in.readInteger());
    if (in.next('/')) {
        in.step();
        t.hour = static_cast<int16_t>(in.readInteger());
        if (in.atEnd())
            return false;
        in.step();
        t.minute = static_cast<int16_t>(in.readInteger());
    }
    return true;
}

bool TransitionIsReal(const STimeZone::Transition &t) {
    return t.month >= 1 && t.month <= 12 && t.week >= 1 && t.week <= 5 && t.day <= 6;
}

void AppendTransition(SAnsiString &out, const STimeZone::Transition &t) {
    char text[64];
    std::snprintf(text, sizeof text, "%d.%d.%d/%02d:%02d", t.month, t.week, t.day, t.hour, t.minute);
    out += text;
}

// Key of a moment for comparison with transition keys. An invalid time of
// day sorts before every time of its day, which a key one millisecond before
// midnight reproduces, as transitions fall on whole minutes.
__int64 ComparisonKey(const SDateTime &when) {
    const int32_t day = when.GetUTCDate().GetDayNumber();
    const STime &time = when.GetUTCTime();
    return time.IsValid() ? Calendar::MomentKey(day, time.GetRawValue()) : Calendar::MomentKey(day, 0) - 1;
}

} // namespace

STimeZone ZoneBuilder::FromRuleText(const char *text, size_t length) {
    STimeZone zone;
    RuleReader in(text, length);
    zone.m_standardName = in.copyUntil(',', ',');
    if (!in.atEnd()) {
        in.step();
        zone.m_standardOffset = static_cast<int16_t>(in.readInteger());
    }
    if (in.atEnd())
        return Prepared(zone);
    in.step();
    zone.m_daylightName = in.copyUntil(',', ';');
    zone.m_dstEnabled = true;
    if (in.next(',')) {
        in.step();
        zone.m_daylightOffset = static_cast<int16_t>(zone.m_standardOffset + in.readInteger());
    } else {
        zone.m_daylightOffset = static_cast<int16_t>(zone.m_standardOffset - 60);
    }
    if (in.next(';')) {
        in.step();
        if (ReadTransition(in, zone.m_start) && !in.atEnd()) {
            in.step();
            ReadTransition(in, zone.m_end);
        }
    }
    return Prepared(zone);
}

STimeZone::STimeZone(const SAnsiString &rule)
    : STimeZone(rule.isEmpty() ? ZoneBuilder::MachineZone() : ZoneBuilder::FromRuleText(rule, rule.getLength())) {}

STimeZone::STimeZone(short standardOffset, bool dst)
    : m_standardName("XST"), m_standardOffset(standardOffset), m_daylightName("XDT"),
      m_daylightOffset(static_cast<int16_t>(standardOffset - 60)), m_dstEnabled(dst) {
    prepare();
}

STimeZone::~STimeZone() = default;

void STimeZone::prepare() {
    m_cache.reset();
    m_reading = CivilTables::ZoneReading{nullptr, m_standardOffset};
    m_rulesUsable = TransitionIsReal(m_start) && TransitionIsReal(m_end);
    if (!m_dstEnabled)
        return;
    if (!m_rulesUsable) {
        TARNKIT_TRACE(2, "Time zone rule \"%1\" names no real transition date; daylight time is never in force",
                      GetRules());
        return;
    }
    auto cache = std::make_shared_for_overwrite<Transitions>(); // every field is written below
    for (int i = 0; i < Transitions::kYears; ++i)
        ZoneCore::YearTransitionKeys(Transitions::kFirstYear + i, m_start, m_end, m_standardOffset, m_daylightOffset,
                                     cache->start[i], cache->end[i]);
    fillSpans(*cache);
    // A zone whose spans do not serve still has daylight time: the reader
    // must then leave every moment to the general path.
    m_reading = cache->spansUsable ? CivilTables::ZoneReading{cache->spans, 0}
                                   : CivilTables::ZoneReading{nullptr, CivilTables::kMinutesPerDay};
    m_cache = std::move(cache);
}

// The offsets the spans hold follow inDSTAt exactly. Within the UTC days of
// one year inDSTAt compares with that year's two transition keys, so the
// offset can change only at the year's start and at those keys: each such
// moment, with the offset from it on, is an event, and a sweep over the
// events in time order fills the spans.
void STimeZone::fillSpans(Transitions &table) const {
    using CivilTables::kMinutesPerDay;
    struct Event {
        __int64 key;
        int16_t offset;
    };
    const auto &years = Calendar::kTables.yearStart;
    std::vector<Event> events;
    events.reserve(3 * (Transitions::kYears + 1));
    for (int i = 0; i <= Transitions::kYears; ++i) {
        const __int64 from = Calendar::MomentKey(years[Transitions::kFirstIndex + i], 0);
        const __int64 to = Calendar::MomentKey(years[Transitions::kFirstIndex + i + 1], 0);
        __int64 start, end;
        if (i < Transitions::kYears) {
            start = table.start[i];
            end = table.end[i];
        } else {
            ZoneCore::YearTransitionKeys(Transitions::kFirstYear + i, m_start, m_end, m_standardOffset,
                                         m_daylightOffset, start, end);
        }
        const auto offsetAt = [&](__int64 key) {
            const bool afterStart = key >= start, beforeEnd = key < end;
            return start > end ? (afterStart || beforeEnd ? m_daylightOffset : m_standardOffset)
                               : (afterStart && beforeEnd ? m_daylightOffset : m_standardOffset);
        };
        const __int64 keys[3] = {from, std::min(start, end), std::max(start, end)};
        for (const __int64 key : keys)
            if (key >= from && key < to)
                events.push_back(Event{key, offsetAt(key)});
    }
    table.spansUsable = m_standardOffset > -kMinutesPerDay && m_standardOffset < kMinutesPerDay &&
                        m_daylightOffset > -kMinutesPerDay && m_daylightOffset < kMinutesPerDay;
    const __int64 origin = Calendar::MomentKey(CivilTables::kOriginDay, 0);
    size_t next = 0;
    int16_t current = events.front().offset;
    for (int j = 0; j < CivilTables::kSpans; ++j) {
        const int32_t firstDay = CivilTables::kSpanFirstDay + (j << CivilTables::kSpanShift);
        const __int64 from = Calendar::MomentKey(firstDay, 0);
        const __int64 to = Calendar::MomentKey(firstDay + (1 << CivilTables::kSpanShift), 0);
        for (; next < events.size() && events[next].key <= from; ++next)
            current = events[next].offset;
        CivilTables::Span span{INT32_MAX, current, current};
        int changes = 0;
        for (; next < events.size() && events[next].key < to; ++next) {
            if (events[next].offset == current)
                continue;
            current = events[next].offset;
            span.change = static_cast<int32_t>((events[next].key - origin) / ZoneCore::kMsPerMinute);
            span.after = current;
            ++changes;
        }
        table.spansUsable = table.spansUsable && changes <= 1;
        table.spans[j] = span;
    }
}

void ZoneCore::YearTransitionKeys(int year, const STimeZone::Transition &start, const STimeZone::Transition &end,
                                  int16_t standardOffset, int16_t daylightOffset, __int64 &startKey,
                                  __int64 &endKey) noexcept {
    // The start happens on the standard clock, the end on the daylight one.
    startKey = TransitionKey(year, start) + standardOffset * kMsPerMinute;
    endKey = TransitionKey(year, end) + daylightOffset * kMsPerMinute;
}

SDateTime ZoneCore::ShiftedSlowly(const SDateTime &when, __int64 shift) noexcept { return when - STimeSpan(shift); }

SAnsiString STimeZone::GetName(const SDateTime &when) const {
    return InDST(when, true) ? m_daylightName : m_standardName;
}

SAnsiString STimeZone::GetRules() const {
    SAnsiString rules(m_standardName);
    rules << "," << static_cast<int>(m_standardOffset);
    if (m_dstEnabled) {
        rules << "," << m_daylightName << "," << static_cast<int>(m_daylightOffset - m_standardOffset) << ";";
        AppendTransition(rules, m_start);
        rules << ",";
        AppendTransition(rules, m_end);
    }
    return rules;
}

bool STimeZone::InDST(const SDateTime &when, bool givenInUTC) const {
    // Without a day there is no year to place the transitions in.
    if (!m_dstEnabled || !when.GetUTCDate().IsValid())
        return false;
    return inDSTAt(ComparisonKey(when), when.GetUTCDate().GetDayNumber(), givenInUTC);
}

STimeSpan STimeZone::UTCOffset(const SDateTime &when, bool givenInUTC) const {
    if (isFixedZero())
        return STimeSpan(0);
    const int minutes = InDST(when, givenInUTC) ? m_daylightOffset : m_standardOffset;
    return STimeSpan(minutes * ZoneCore::kMsPerMinute);
}

STimeSpan STimeZone::UTCOffset() const {
    if (isFixedZero())
        return STimeSpan(0);
    return UTCOffset(SDateTime::GetCurrentDateTime(), true);
}

namespace {

// The process-wide zones: built on first use, published by a ready flag, and
// never destroyed, since destructors of other statics may still format times
// at exit.
struct SharedZone {
    std::atomic<bool> ready{false};
    alignas(STimeZone) unsigned char storage[sizeof(STimeZone)];

    template <class Make>
    const STimeZone &get(Make make) {
        static SSpinLock lock;
        BuildOnce(ready, lock, [&] { new (storage) STimeZone(make()); });
        return *std::launder(reinterpret_cast<const STimeZone *>(storage));
    }
};

SharedZone g_localZone;
SharedZone g_utcZone;

} // namespace

const STimeZone &STimeZone::TZ_Local() {
    if (g_localZone.ready.load(std::memory_order_acquire))
        return *std::launder(reinterpret_cast<const STimeZone *>(g_localZone.storage));
    return g_localZone.get([] { return ZoneBuilder::MachineZone(); });
}

const STimeZone &STimeZone::TZ_UTC() {
    if (g_utcZone.ready.load(std::memory_order_acquire))
        return *std::launder(reinterpret_cast<const STimeZone *>(g_utcZone.storage));
    return g_utcZone.get([] { return ZoneBuilder::FromRuleText("UTC,0", 5); });
}

} // namespace TarnkitA201
