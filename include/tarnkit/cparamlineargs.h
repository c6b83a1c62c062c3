// The library's model of a command line: a program name and an ordered list
// of "-name value" arguments, looked up without regard to case, parsed from
// an argument vector or one line of text and turned back into either.
#pragma once

#include "tarnkit/sarray.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

class CParamLineArgs {
public:
    CParamLineArgs() = default;
    explicit CParamLineArgs(const SAnsiString &line) { SetArgs(line); }
    CParamLineArgs(int argc, char **argv) { SetArgs(argc, argv); }
    CParamLineArgs(const CParamLineArgs &) = default;
    CParamLineArgs &operator=(const CParamLineArgs &) = default;
    virtual ~CParamLineArgs() = default;

    // Splits a line at blanks, tabs and line breaks, honouring double quotes.
    // An empty line leaves everything as it was.
    void SetArgs(const SAnsiString &line);
    // Reads the vector up to its null entry; argc is not consulted.
    void SetArgs(int argc, char **const argv);

    // Replaces any entry of that name and appends the new one at the end.
    void SetArg(const SAnsiString &name, const SAnsiString &value);
    bool RemoveArg(const SAnsiString &name);
    // A bare flag answers true with an empty value; an absent name answers
    // false and leaves `value` alone.
    bool Lookup(const SAnsiString &name, SAnsiString &value) const;
    // The position of the entry, or -1.
    int32_t findIndex(const SAnsiString &name) const;
    // Removes the arguments; the program name stays.
    void DeleteAll();

    void SetProgramName(const SAnsiString &name) { m_programName = name; }
    SAnsiString GetProgramName() const { return m_programName; }
    SAnsiString getProgramName() const { return m_programName; }

    // The program name, then "-name" and, when it has one, the value as the
    // next word. `args` must be empty.
    void GetArgs(SIArray<SAnsiString> &args) const;
    // The same, with the program name and values that hold a blank wrapped
    // in double quotes unless they already begin with one.
    void GetArgsWithQuote(SIArray<SAnsiString> &args) const;
    // One line, quoted as above, each word followed by a blank.
    SAnsiString GetCmdLine() const;

private:
    void AddArgs(SIArray<SAnsiString> &args, bool quote) const;
    void TakeSwitches(const SIArray<SAnsiString> &words);

    SIArray<SAnsiStringCI> m_names;
    SIArray<SAnsiStringCI> m_values;
    SAnsiString m_programName;
};

TARNKIT_NAMESPACE_END
