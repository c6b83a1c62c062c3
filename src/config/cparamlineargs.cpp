#include "tarnkit/cparamlineargs.h"

#include "tarnkit/sstringhelper.h"
#include "tarnkit/strace.h"

#include <cstring>

namespace TarnkitA201 {

namespace {

bool IsSwitch(const SAnsiString &word) { return !word.isEmpty() && word.getString()[0] == '-'; }

// The name of a switch: the word without its leading dashes, or the whole
// word when it is nothing but dashes.
SAnsiString SwitchName(const SAnsiString &word) {
    const char *text = word.getString();
    const size_t dashes = std::strspn(text, "-");
    return dashes < word.getLength() ? word.mid(dashes) : word;
}

bool NeedsQuotes(const SAnsiString &word) {
    const char *text = word.getString();
    return std::strchr(text, ' ') != nullptr && text[0] != '"';
}

SAnsiString Quoted(const SAnsiString &word) {
    return NeedsQuotes(word) ? SAnsiString("\"") + word + "\"" : word;
}

} // namespace

void CParamLineArgs::SetArgs(const SAnsiString &line) {
    if (line.isEmpty())
        return;
    DeleteAll();
    SIArray<SAnsiString> words;
    SStringHelper::makeWords(line, words, SAnsiString(" \t\r\n"), true);
    m_programName = words.GetSize() > 0 ? words.GetAt(0) : SAnsiString();
    TARNKIT_ASSERT(!m_programName.isEmpty());
    SIArray<SAnsiString> rest;
    for (size_t i = 1; i < words.GetSize(); ++i) {
        if (!words.GetAt(i).isEmpty())
            rest.Add(words.GetAt(i));
    }
    TakeSwitches(rest);
}

void CParamLineArgs::SetArgs(int, char **const argv) {
    DeleteAll();
    if (argv == nullptr || argv[0] == nullptr) {
        m_programName = SAnsiString();
        return;
    }
    m_programName = SAnsiString(argv[0]);
    SIArray<SAnsiString> words;
    for (char **word = argv + 1; *word != nullptr; ++word)
        words.Add(SAnsiString(*word));
    TakeSwitches(words);
}

// Positional words are dropped; a switch takes the next word as its value
// unless that word is a switch itself, so a value can never begin with "-".
void CParamLineArgs::TakeSwitches(const SIArray<SAnsiString> &words) {
    size_t i = 0;
    while (i < words.GetSize()) {
        const SAnsiString word = words.GetAt(i++);
        if (!IsSwitch(word))
            continue;
        SAnsiString value;
        if (i < words.GetSize() && !IsSwitch(words.GetAt(i)))
            value = words.GetAt(i++);
        SetArg(SwitchName(word), value);
    }
}

void CParamLineArgs::SetArg(const SAnsiString &name, const SAnsiString &value) {
    RemoveArg(name);
    m_names.Add(SAnsiStringCI(name));
    m_values.Add(SAnsiStringCI(value));
}

bool CParamLineArgs::RemoveArg(const SAnsiString &name) {
    const int32_t index = findIndex(name);
    if (index < 0)
        return false;
    m_names.RemoveAt(static_cast<size_t>(index));
    m_values.RemoveAt(static_cast<size_t>(index));
    return true;
}

bool CParamLineArgs::Lookup(const SAnsiString &name, SAnsiString &value) const {
    const int32_t index = findIndex(name);
    if (index < 0)
        return false;
    value = m_values.GetAt(static_cast<size_t>(index));
    return true;
}

int32_t CParamLineArgs::findIndex(const SAnsiString &name) const {
    for (size_t i = 0; i < m_names.GetSize(); ++i) {
        if (m_names.GetAt(i).compareNoCase(name) == 0)
            return static_cast<int32_t>(i);
    }
    return -1;
}

void CParamLineArgs::DeleteAll() {
    m_names.RemoveAll();
    m_values.RemoveAll();
}

void CParamLineArgs::AddArgs(SIArray<SAnsiString> &args, bool quote) const {
    TARNKIT_ASSERT(args.GetSize() == 0);
    TARNKIT_ASSERT(!m_programName.isEmpty());
    args.Add(quote ? Quoted(m_programName) : m_programName);
    for (size_t i = 0; i < m_names.GetSize(); ++i) {
        args.Add(SAnsiString("-") + m_names.GetAt(i));
        const SAnsiString value = m_values.GetAt(i);
        if (!value.isEmpty())
            args.Add(quote ? Quoted(value) : value);
    }
}

void CParamLineArgs::GetArgs(SIArray<SAnsiString> &args) const { AddArgs(args, false); }

void CParamLineArgs::GetArgsWithQuote(SIArray<SAnsiString> &args) const { AddArgs(args, true); }

SAnsiString CParamLineArgs::GetCmdLine() const {
    SAnsiString line;
    if (!m_programName.isEmpty())
        line += Quoted(m_programName) + " ";
    for (size_t i = 0; i < m_names.GetSize(); ++i) {
        line += SAnsiString("-") + m_names.GetAt(i) + " ";
        const SAnsiString value = m_values.GetAt(i);
        if (!value.isEmpty())
            line += Quoted(value) + " ";
    }
    return line;
}

} // namespace TarnkitA201
