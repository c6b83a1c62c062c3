// A moment as a trace or assertion argument.

#include "tarnkit/sdatetime.h"
#include "tarnkit/stimezone.h"
#include "tarnkit/strace.h"

namespace TarnkitA201 {

STraceParameter::STraceParameter(const SDateTime &when)
    : m_text(when.IsValid() ? when.Format("yyyy-MM-dd@HH:mm:ss.SS", STimeZone::TZ_Local())
                            : SAnsiString("invalid-date-time")),
      m_empty(false) {}

} // namespace TarnkitA201
