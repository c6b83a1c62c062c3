// The container instantiations that belong to the exported surface: built
// here once, with their virtual tables, for every caller to link against.
#include "tarnkit/smap.h"

namespace TarnkitA201 {

template class SIMap<SMapStringCaseInsensitive, SAnsiString>;
template class SIMap<SMapStringCaseInsensitive, SAnsiString>::BasicIterator<false>;
template class SIMap<SMapStringCaseInsensitive, SAnsiString>::BasicIterator<true>;

} // namespace TarnkitA201
