// Tokenisers that take a text apart one piece at a time at a separator that
// may be several characters long: SStrTok holds its separator, RSStrTok takes
// a new one with each call if asked.
#pragma once

#include "tarnkit/sstringimpl.h"
#include "tarnkit/strace.h"

TARNKIT_NAMESPACE_BEGIN

namespace StrTokDetail {

// Cuts the piece ahead of the first match of `separator` off `rest` and
// returns it; the separator itself is dropped. An absent separator gives the
// whole rest. An empty separator counts as absent, so that a loop on
// IsEmpty() always ends.
SAnsiString TakePiece(SAnsiString &rest, const SAnsiString &separator);

} // namespace StrTokDetail

class SStrTok {
public:
    SStrTok(const SAnsiString &text, const SAnsiString &separator) : m_token(separator), m_string(text) {}
    SStrTok(const char *text, const char *separator) : m_token(separator), m_string(text) {}
    virtual ~SStrTok() {}

    void Set(const SAnsiString &text, const SAnsiString &separator) {
        m_string = text;
        m_token = separator;
    }
    void SetString(const SAnsiString &text) { m_string = text; }

    // The separator must not be empty; an empty one is reported and then
    // treated as absent by Next. A null pointer is reported and ignored.
    void SetToken(const SAnsiString &Token) {
        TARNKIT_ASSERT_EXPR(!Token.isEmpty(), "!SString( Token ).isEmpty()");
        m_token = Token;
    }
    void SetToken(char Token) { SetToken(SAnsiString(SChar_t<char, 0>(Token))); }
    void SetToken(const char *Token) {
        TARNKIT_ASSERT_EXPR(Token != nullptr, "Token != NULL");
        if (Token != nullptr)
            SetToken(SAnsiString(Token));
    }

    // The next piece; consecutive separators give empty pieces.
    SAnsiString Next() { return StrTokDetail::TakePiece(m_string, m_token); }
    SAnsiString LeftStr() { return Next(); }
    // Drops the next piece and returns what remains behind it.
    SAnsiString RightStr() {
        Next();
        return m_string;
    }

    SAnsiString GetString() const { return m_string; }
    bool IsEmpty() const noexcept { return m_string.isEmpty(); }

protected:
    SStrTok() = default;

    SAnsiString m_token;
    SAnsiString m_string;
};

// The same tokeniser without virtual functions; the separator is set per
// call or beforehand. The separator checks live here beside SStrTok's, as
// the name-value pair parser that uses this class includes this header.
class RSStrTok {
public:
    RSStrTok() = default;
    RSStrTok(const SAnsiString &text) : m_string(text) {}
    RSStrTok(const char *text) : m_string(text) {}
    RSStrTok(const RSStrTok &other) = default;
    RSStrTok &operator=(const RSStrTok &other) = default;

    void Set(const SAnsiString &text) { m_string = text; }

    void SetToken(char Token) {
        TARNKIT_ASSERT_EXPR(Token != 0, "!SString( Token ).isEmpty()");
        m_token = SAnsiString(SChar_t<char, 0>(Token));
    }
    void SetToken(const char *Token) {
        TARNKIT_ASSERT_EXPR(Token != nullptr, "Token != NULL");
        if (Token == nullptr)
            return;
        TARNKIT_ASSERT_EXPR(*Token != 0, "!SString( Token ).isEmpty()");
        m_token = SAnsiString(Token);
    }

    SAnsiString Next() { return StrTokDetail::TakePiece(m_string, m_token); }
    SAnsiString Next(char separator) {
        SetToken(separator);
        return Next();
    }
    SAnsiString Next(const char *separator) {
        SetToken(separator);
        return Next();
    }
    SAnsiString LeftStr() { return Next(); }
    SAnsiString LeftStr(char separator) { return Next(separator); }
    SAnsiString LeftStr(const char *separator) { return Next(separator); }

    // Drops the next piece and returns the one behind it (not the whole rest).
    SAnsiString RightStr() {
        Next();
        return Next();
    }
    SAnsiString RightStr(char separator) {
        SetToken(separator);
        return RightStr();
    }
    SAnsiString RightStr(const char *separator) {
        SetToken(separator);
        return RightStr();
    }

    SAnsiString rest() const { return m_string; }
    bool IsEmpty() const noexcept { return m_string.isEmpty(); }

private:
    SAnsiString m_token;
    SAnsiString m_string;
};

TARNKIT_NAMESPACE_END
