// Text operations the string class lacks (trimming a chosen set of
// characters, replacing, comment removal, splitting into words, lexical path
// arithmetic and a text form of binary data) and the free functions that
// take a single file name apart and put it together again.
#pragma once

#include "tarnkit/sarray.h"
#include "tarnkit/simplebuffer.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

class SStringHelper {
public:
    // Remove from the left (right, both ends) every character that occurs in
    // `chars`, up to the first one that does not.
    static void trimLeft(SAnsiString &s, SAnsiString const &chars);
    static void trimRight(SAnsiString &s, SAnsiString const &chars);
    static void trim(SAnsiString &s, SAnsiString const &chars);

    // Replaces every non-overlapping match of `from`, left to right; the
    // replacement text is not searched again. An empty `from` does nothing.
    static void replaceSubString(SAnsiString &s, SAnsiString const &from, SAnsiString const &to);
    // Replace `from` only where it ends (starts) `s`; false when it does not.
    // The ends are compared by the locale's collation.
    static bool replaceSubStringAtEnd(SAnsiString &s, SAnsiString const &from, SAnsiString const &to);
    static bool replaceSubStringAtStart(SAnsiString &s, SAnsiString const &from, SAnsiString const &to);

    // Drops every comment, from `marker` to the end of its line; the line
    // break stays. There is no quoting: a marker inside quotes starts a
    // comment too.
    static void removeComments(SAnsiString &s, SAnsiString const &marker);

    // Splits `text` at any character of `separators` into `words` (emptied
    // first). With `quoted`, a word that starts with a double quote runs to
    // the next one (quotes excluded, unterminated: to the end). With
    // `keepSeparators`, each separator character becomes a word of its own.
    static void makeWords(SAnsiString const &text, SIArray<SAnsiString> &words, SAnsiString const &separators,
                          bool quoted = false, bool keepSeparators = false);

    // Resolves `relativePath` against the absolute `startingDir` by text
    // alone ("." skipped, ".." goes up a level); the result is absolute and
    // uses "/". False, with `result` untouched, when ".." climbs above the root.
    static bool getAbsolutePath(SAnsiString const &startingDir, SAnsiString const &relativePath,
                                SAnsiString &result);

    // Binary data as text: base 64 in the alphabet A-Z a-z 0-9 "_" ".", with
    // no padding and no line breaks.
    static SAnsiString toString(const unsigned char *data, int size);
    static SAnsiString toString(SSimpleBuffer const &data);
    // The reverse. False for a length of 1 modulo 4 or a character outside
    // the alphabet; the buffer is then left as it was.
    static bool fromString(SAnsiString const &text, SSimpleBuffer &output);
    // Into a caller's block of `size` bytes. `written` receives the bytes
    // stored, 0 on failure; false also when the block is too small.
    static bool fromString(SAnsiString const &text, unsigned char *pOutput, size_t size, size_t &written);
};

// True when the path starts with a slash of either kind.
bool IsAbsolutePath(SAnsiString const &path);

// Takes a path apart into drive, directory, name and extension. The drive is
// always empty on this platform; both "/" and "\\" end the directory (so a
// name containing "\\" is split there); the extension starts at the last "."
// of the name. A null buffer with size 0 skips that piece. Returns 0, or
// EINVAL/ERANGE for bad arguments, a buffer too small, a name or extension
// above 255 bytes or a directory above 4095 bytes: the buffers are then left
// untouched and a trace line tells why.
int SplitPath(SAnsiString const &path, char *drive, size_t driveSize, char *dir, size_t dirSize, char *name,
              size_t nameSize, char *ext, size_t extSize);
// The same into strings. A piece that comes out empty leaves its output as it
// was (so reused outputs keep old values). False when the path is refused.
// The separator is accepted for callers that pass one; both slashes already
// end the directory.
bool SplitPathEx(SAnsiString const &path, SAnsiString &dir, SAnsiString &name, SAnsiString &ext,
                 char separator = '/');
// Joins directory, name and extension: "/" is added behind a directory that
// ends in no slash, "." ahead of an extension that lacks one. The drive is
// ignored on this platform. An empty text (and a trace line) when the result
// would exceed 4095 + 255 + 255 + 2 bytes.
SAnsiString MakePath(SAnsiString const &drive, SAnsiString const &dir, SAnsiString const &name,
                     SAnsiString const &ext);

// Replaces the other slash ("/" unless `slash` is "/", then "\\") by `slash`.
void UnifyAllSlashes(SAnsiString &s, char slash);
// Deletes one leading `slash`, if the text is longer than one character.
void StripSlashOffDirBegin(SAnsiString &s, char slash);
// Deletes one trailing slash, if the text is longer than one character: "/"
// for any `slash` but "\\"; "\\" for "\\" unless a ":" stands before it.
void StripSlashOffDirEnd(SAnsiString &s, char slash);
// The text ahead of the last `slash` (a trailing one ignored); empty when
// there is none.
SAnsiString GetParentLevelDir(SAnsiString const &dir, char slash);
// The text behind the last `slash` (a trailing one ignored); the whole text
// when there is none.
SAnsiString GetBottomLevelDir(SAnsiString const &dir, char slash);

TARNKIT_NAMESPACE_END
