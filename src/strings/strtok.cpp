// The one splitting step both tokenisers share.
#include "tarnkit/strtok.h"

namespace TarnkitA201 {

namespace StrTokDetail {

SAnsiString TakePiece(SAnsiString &rest, const SAnsiString &separator) {
    if (rest.isEmpty())
        return rest;
    SAnsiString piece;
    try {
        SAnsiString::iterator hit = separator.isEmpty() ? rest.end() : rest.find(separator);
        if (hit.isAtEnd()) {
            piece = rest;
            rest.empty();
            return piece;
        }
        piece = rest.left(hit);
        // Step over the separator's bytes: the same as its characters when
        // the match is whole characters, and it never swallows text when a
        // separator with a broken sequence matched the start of a character.
        rest = rest.mid(SAnsiString::iterator(hit.getCursor() + separator.getLength()));
    } catch (...) {
        // Out of memory while copying: report it and hand out what was cut so far.
        TARNKIT_ASSERT_EXPR(false, "FALSE");
    }
    return piece;
}

} // namespace StrTokDetail

} // namespace TarnkitA201
