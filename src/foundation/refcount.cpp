#include "tarnkit/refcount.h"

#include "tarnkit/strace.h"

namespace TarnkitA201 {

long CRefCount::release() const noexcept {
    long count = --m_lRefCount;
    if (count == 0)
        delete this;
    return count;
}

CRefCount::~CRefCount() {
    // An object that lived by value must have cleared its count; one whose
    // last release ran is at 0 already.
    TARNKIT_ASSERT_EXPR(SNonInterlockedRead(&m_lRefCount) == 0, "SNonInterlockedRead(&m_lRefCount) == 0");
}

} // namespace TarnkitA201
