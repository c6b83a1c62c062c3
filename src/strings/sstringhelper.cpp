// Trimming, replacing, comment removal, word splitting, lexical paths and the
// text form of binary data.
#include "tarnkit/sstringhelper.h"

#include "tarnkit/strace.h"

#include <cstring>

namespace TarnkitA201 {

namespace {

using Char = SChar_t<char, 0>;
using Iterator = SAnsiString::iterator;

bool Contains(const SAnsiString &set, const Char &c) noexcept {
    for (Iterator it = set.begin(); !it.isAtEnd(); ++it)
        if (*it == c)
            return true;
    return false;
}

} // namespace

// ---------------------------------------------------------------------------
// Trimming and replacing

void SStringHelper::trimLeft(SAnsiString &s, SAnsiString const &chars) {
    Iterator it = s.begin();
    while (!it.isAtEnd() && Contains(chars, *it))
        ++it;
    if (it == s.begin())
        return;
    if (it.isAtEnd())
        s.empty();
    else
        s = s.mid(it);
}

void SStringHelper::trimRight(SAnsiString &s, SAnsiString const &chars) {
    // The end of the kept text: behind the last character not in the set.
    Iterator keepEnd = s.begin();
    for (Iterator it = s.begin(); !it.isAtEnd();) {
        bool trimmable = Contains(chars, *it);
        ++it;
        if (!trimmable)
            keepEnd = it;
    }
    if (keepEnd.isAtEnd())
        return;
    if (keepEnd == s.begin())
        s.empty();
    else
        s = s.left(keepEnd);
}

void SStringHelper::trim(SAnsiString &s, SAnsiString const &chars) {
    trimLeft(s, chars);
    trimRight(s, chars);
}

void SStringHelper::replaceSubString(SAnsiString &s, SAnsiString const &from, SAnsiString const &to) {
    if (from.isEmpty())
        return;
    SAnsiString out;
    Iterator rest = s.begin();
    for (;;) {
        Iterator hit = rest.find(from);
        out.concat(rest, hit);
        if (hit.isAtEnd())
            break;
        out += to;
        rest = Iterator(hit.getCursor() + from.getLength());
    }
    s = out;
}

bool SStringHelper::replaceSubStringAtEnd(SAnsiString &s, SAnsiString const &from, SAnsiString const &to) {
    const size_t fromChars = from.getNChars();
    const size_t sChars = s.getNChars();
    if (from.isEmpty() || fromChars > sChars)
        return false;
    if (!(s.right(fromChars) == from))
        return false;
    s = s.left(sChars - fromChars) + to;
    return true;
}

bool SStringHelper::replaceSubStringAtStart(SAnsiString &s, SAnsiString const &from, SAnsiString const &to) {
    const size_t fromChars = from.getNChars();
    if (from.isEmpty() || fromChars > s.getNChars())
        return false;
    if (!(s.left(fromChars) == from))
        return false;
    s = to + s.mid(fromChars);
    return true;
}

// ---------------------------------------------------------------------------
// Comments and words

void SStringHelper::removeComments(SAnsiString &s, SAnsiString const &marker) {
    if (s.isEmpty() || marker.isEmpty())
        return;
    static const SAnsiString crlf("\r\n");
    static const SAnsiString lf("\n");
    SAnsiString out;
    Iterator rest = s.begin();
    for (;;) {
        Iterator hit = rest.find(marker);
        out.concat(rest, hit);
        if (hit.isAtEnd())
            break;
        rest = Iterator(hit.getCursor() + marker.getLength());
        // A CR LF anywhere ahead wins over a nearer bare LF; either way the
        // line break itself is kept.
        Iterator lineEnd = rest.find(crlf);
        if (lineEnd.isAtEnd())
            lineEnd = rest.find(lf);
        if (lineEnd.isAtEnd())
            break;
        rest = lineEnd;
    }
    s = out;
}

namespace {

// Handles the separators at the start of `text`: each becomes a word of its
// own when kept, otherwise they are trimmed.
void TakeLeadingSeparators(SAnsiString &text, SIArray<SAnsiString> &words, const SAnsiString &separators,
                           bool keepSeparators) {
    if (!keepSeparators) {
        SStringHelper::trimLeft(text, separators);
        return;
    }
    Iterator it = text.begin();
    while (!it.isAtEnd() && Contains(separators, *it)) {
        words.Add(SAnsiString(*it));
        ++it;
    }
    if (it != text.begin())
        text = text.mid(it);
}

} // namespace

void SStringHelper::makeWords(SAnsiString const &text, SIArray<SAnsiString> &words, SAnsiString const &separators,
                              bool quoted, bool keepSeparators) {
    const Char quote('"');
    SAnsiString wordEnds = separators;
    if (quoted)
        wordEnds += quote;
    words.RemoveAll();
    SAnsiString rest = text;
    // The leading separators use the plain set: a quote there opens a word.
    TakeLeadingSeparators(rest, words, separators, keepSeparators);
    while (!rest.isEmpty()) {
        Iterator consumed;
        if (quoted && *rest.begin() == quote) {
            Iterator open = rest.begin();
            ++open;
            Iterator close = open.find(quote);
            words.Add(rest.mid(open, close));
            consumed = close;
            if (!consumed.isAtEnd())
                ++consumed;
        } else {
            Iterator it = rest.begin();
            while (!it.isAtEnd() && !Contains(wordEnds, *it))
                ++it;
            words.Add(rest.left(it));
            consumed = it;
        }
        rest = rest.mid(consumed);
        TakeLeadingSeparators(rest, words, separators, keepSeparators);
    }
}

// ---------------------------------------------------------------------------
// Lexical paths

namespace {

// Splits a path with "/" separators into its levels. Empty levels from a
// doubled or trailing slash are dropped silently, as the system does; an
// empty first level (the text starts with a slash) is reported, since the
// root belongs only to the starting directory.
void AppendLevels(const SAnsiString &path, SIArray<SAnsiString> &levels, bool isStart) {
    Iterator it = path.begin();
    if (isStart && !it.isAtEnd() && (*it).getChar() == '/')
        ++it; // the root
    bool first = true;
    while (!it.isAtEnd()) {
        Iterator slash = it.find(Char('/'));
        if (slash == it) {
            if (first && !isStart)
                TARNKIT_ASSERT_EXPR(false, "!pathPiece.isEmpty()");
        } else {
            levels.Add(path.mid(it, slash));
        }
        first = false;
        it = slash;
        if (!it.isAtEnd())
            ++it;
    }
}

SAnsiString NormalisedCopy(const SAnsiString &path) {
    SAnsiString copy = path;
    UnifyAllSlashes(copy, '/');
    SStringHelper::trim(copy, SAnsiString(" \t"));
    return copy;
}

} // namespace

bool IsAbsolutePath(SAnsiString const &path) {
    char first = path.getString()[0];
    return first == '/' || first == '\\';
}

bool SStringHelper::getAbsolutePath(SAnsiString const &startingDir, SAnsiString const &relativePath,
                                    SAnsiString &result) {
    TARNKIT_ASSERT_EXPR(!IsAbsolutePath(relativePath), "!IsAbsolutePath(relativePath)");
    TARNKIT_ASSERT_EXPR(IsAbsolutePath(startingDir), "IsAbsolutePath(startingDir)");
    SIArray<SAnsiString> levels;
    AppendLevels(NormalisedCopy(startingDir), levels, true);
    SIArray<SAnsiString> relative;
    AppendLevels(NormalisedCopy(relativePath), relative, false);
    for (const SAnsiString &level : relative) {
        // Byte comparison: the locale's collation has no say in what "." means.
        if (std::strcmp(level.getString(), ".") == 0)
            continue;
        if (std::strcmp(level.getString(), "..") == 0) {
            if (levels.GetSize() == 0)
                return false;
            levels.RemoveAt(levels.GetSize() - 1);
            continue;
        }
        levels.Add(level);
    }
    SAnsiString joined;
    for (const SAnsiString &level : levels) {
        joined += Char('/');
        joined += level;
    }
    if (joined.isEmpty())
        joined = Char('/');
    result = joined;
    return true;
}

// ---------------------------------------------------------------------------
// Text form of binary data

namespace {

const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.";

// Inputs from this size on size the string first; shorter ones go through a
// local buffer. Both give the same text.
constexpr int kSizedPathFrom = 31;

// Encodes whole groups of up to three bytes; `out` takes 4 characters per
// group. Returns the characters written.
size_t EncodeGroups(const unsigned char *data, size_t size, char *out) noexcept {
    char *p = out;
    size_t i = 0;
    for (; i + 3 <= size; i += 3) {
        unsigned bits = (unsigned(data[i]) << 16) | (unsigned(data[i + 1]) << 8) | data[i + 2];
        *p++ = kAlphabet[(bits >> 18) & 0x3F];
        *p++ = kAlphabet[(bits >> 12) & 0x3F];
        *p++ = kAlphabet[(bits >> 6) & 0x3F];
        *p++ = kAlphabet[bits & 0x3F];
    }
    const size_t left = size - i;
    if (left == 2) {
        unsigned bits = (unsigned(data[i]) << 16) | (unsigned(data[i + 1]) << 8);
        *p++ = kAlphabet[(bits >> 18) & 0x3F];
        *p++ = kAlphabet[(bits >> 12) & 0x3F];
        *p++ = kAlphabet[(bits >> 6) & 0x3F];
    } else if (left == 1) {
        unsigned bits = unsigned(data[i]) << 16;
        *p++ = kAlphabet[(bits >> 18) & 0x3F];
        *p++ = kAlphabet[(bits >> 12) & 0x3F];
    }
    return static_cast<size_t>(p - out);
}

// The value of an alphabet character, -1 for any other byte.
int DecodeValue(unsigned char c) noexcept {
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '_')
        return 62;
    if (c == '.')
        return 63;
    return -1;
}

// Bytes that `length` characters decode to; a length of 1 modulo 4 has none.
size_t DecodedSize(size_t length) noexcept { return length / 4 * 3 + (length % 4 == 0 ? 0 : length % 4 - 1); }

// Checks the length and the alphabet; reports a length of 1 modulo 4.
bool IsDecodable(const SAnsiString &input) noexcept {
    TARNKIT_ASSERT_EXPR((input.getNChars() & 0x3) != 0x1, "(input.getNChars() & 0x3) != 0x1");
    if ((input.getNChars() & 0x3) == 0x1)
        return false;
    const unsigned char *text = reinterpret_cast<const unsigned char *>(input.getString());
    for (size_t i = 0; i < input.getLength(); ++i)
        if (DecodeValue(text[i]) < 0)
            return false;
    // Only now are characters and bytes the same count.
    return (input.getLength() & 0x3) != 0x1;
}

// Decodes text already checked by IsDecodable into `out`, which holds
// DecodedSize(length) bytes. Bits below the last whole byte are ignored.
void DecodeInto(const SAnsiString &input, unsigned char *out) noexcept {
    const unsigned char *text = reinterpret_cast<const unsigned char *>(input.getString());
    const size_t length = input.getLength();
    unsigned bits = 0;
    int pending = 0;
    for (size_t i = 0; i < length; ++i) {
        bits = (bits << 6) | static_cast<unsigned>(DecodeValue(text[i]));
        pending += 6;
        if (pending >= 8) {
            pending -= 8;
            *out++ = static_cast<unsigned char>(bits >> pending);
            bits &= (1u << pending) - 1;
        }
    }
}

} // namespace

SAnsiString SStringHelper::toString(const unsigned char *data, int size) {
    if (size <= 0)
        return SAnsiString();
    if (data == nullptr) {
        TARNKIT_ASSERT_EXPR(false, "data != NULL");
        return SAnsiString();
    }
    const size_t bytes = static_cast<size_t>(size);
    if (size < kSizedPathFrom) {
        char local[48];
        return SAnsiString(local, EncodeGroups(data, bytes, local));
    }
    // Sized for the line breaks of an older form, which are no longer written.
    const size_t units = bytes * 4 / 3;
    SAnsiString text;
    text.setBufferSize(units + units / 72 * 2 + 10);
    // Whole groups in chunks, so the string's buffer is filled by appends
    // that never reallocate.
    constexpr size_t kChunkBytes = 3 * 64;
    char chunk[kChunkBytes / 3 * 4];
    for (size_t done = 0; done < bytes; done += kChunkBytes) {
        const size_t take = bytes - done < kChunkBytes ? bytes - done : kChunkBytes;
        text.concat(chunk, EncodeGroups(data + done, take, chunk));
    }
    return text;
}

SAnsiString SStringHelper::toString(SSimpleBuffer const &data) {
    const size_t bytes = data.getNBytes();
    // Lengths beyond an int go in whole-group pieces.
    constexpr size_t kPiece = 3 * (size_t(1) << 28);
    if (bytes <= kPiece)
        return toString(static_cast<const unsigned char *>(data), static_cast<int>(bytes));
    SAnsiString text;
    const unsigned char *p = data;
    for (size_t done = 0; done < bytes; done += kPiece) {
        const size_t take = bytes - done < kPiece ? bytes - done : kPiece;
        text += toString(p + done, static_cast<int>(take));
    }
    return text;
}

bool SStringHelper::fromString(SAnsiString const &text, SSimpleBuffer &output) {
    if (!IsDecodable(text))
        return false;
    const size_t size = DecodedSize(text.getLength());
    if (size == 0) {
        output.empty();
        return true;
    }
    unsigned char *block = SSimpleBuffer::alloc(size);
    if (block == nullptr)
        return false;
    DecodeInto(text, block);
    output = SSimpleBuffer(block, size, true);
    return true;
}

bool SStringHelper::fromString(SAnsiString const &text, unsigned char *pOutput, size_t size, size_t &written) {
    written = 0;
    TARNKIT_ASSERT_EXPR(pOutput != nullptr, "pOutput");
    if (pOutput == nullptr || !IsDecodable(text))
        return false;
    const size_t needed = DecodedSize(text.getLength());
    if (needed > size)
        return false;
    DecodeInto(text, pOutput);
    written = needed;
    return true;
}

} // namespace TarnkitA201
