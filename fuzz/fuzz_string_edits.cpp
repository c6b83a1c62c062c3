// Decodes the input into a sequence of edits on the ASCII and the multibyte
// string kinds in the "C" locale, mirrors each edit on a std::string, and
// aborts as soon as the two disagree or a shared copy changes.
#include "tarnkit/sstringimpl.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

using namespace TarnkitA201;

namespace {

class Input {
public:
    Input(const uint8_t *data, size_t size) : m_data(data), m_size(size) {}
    bool done() const { return m_pos >= m_size; }
    uint8_t byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    size_t small() { return byte() % 40; }
    // A text without zero bytes, up to 15 bytes long.
    std::string text() {
        std::string out;
        for (size_t n = byte() % 16; n > 0 && !done(); --n) {
            uint8_t b = byte();
            out += static_cast<char>(b == 0 ? 'x' : b);
        }
        return out;
    }

private:
    const uint8_t *m_data;
    size_t m_size;
    size_t m_pos = 0;
};

void Check(bool ok, const char *what) {
    if (!ok) {
        std::fprintf(stderr, "mismatch after %s\n", what);
        std::abort();
    }
}

template <class S>
void Same(const S &s, const std::string &model, const char *what) {
    Check(s.getLength() == model.size(), what);
    Check(std::string(s.getString(), s.getLength()) == model, what);
    Check(s.getString()[s.getLength()] == 0, what);
}

bool IsSpaceByte(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// In the "C" locale a byte above 127 is an invalid sequence of its own in
// the multibyte kind: a character for iteration, but setAt refuses it and
// case conversion leaves it.
template <class S>
constexpr bool kMultibyte = std::is_same_v<S, SAnsiString>;

template <class S>
void Run(Input &in) {
    using Char = typename S::CharType;
    S s;
    std::string model;
    S shared;
    std::string sharedModel;
    while (!in.done()) {
        switch (in.byte() % 16) {
        case 0: {
            std::string t = in.text();
            s = S(t.c_str());
            model = t;
            break;
        }
        case 1:
            shared = s;
            sharedModel = model;
            break;
        case 2: {
            std::string t = in.text();
            s += t.c_str();
            model += t;
            break;
        }
        case 3: {
            size_t i = in.small();
            std::string t = in.text();
            s.insertChars(i, S(t.c_str()));
            model.insert(i < model.size() ? i : model.size(), t);
            break;
        }
        case 4: {
            size_t i = in.small(), n = in.small();
            s.deleteChars(i, n);
            if (i < model.size())
                model.erase(i, n);
            break;
        }
        case 5: {
            size_t i = in.small();
            char c = static_cast<char>(in.byte() | 1);
            s.setAt(i, Char(c));
            bool valid = !kMultibyte<S> || (static_cast<unsigned char>(c) < 0x80 &&
                                             (i >= model.size() || static_cast<unsigned char>(model[i]) < 0x80));
            if (i < model.size() && valid)
                model[i] = c;
            break;
        }
        case 6: {
            size_t n = in.small();
            s = S(s.left(n));
            model = model.substr(0, n);
            break;
        }
        case 7: {
            size_t n = in.small();
            s = S(s.right(n));
            if (model.size() > n)
                model = model.substr(model.size() - n);
            break;
        }
        case 8: {
            size_t i = in.small(), n = in.small();
            s = S(s.mid(i, n));
            model = i < model.size() ? model.substr(i, n) : std::string();
            break;
        }
        case 9: {
            s.trim();
            size_t first = 0, last = model.size();
            while (first < last && IsSpaceByte(model[first]))
                ++first;
            while (last > first && IsSpaceByte(model[last - 1]))
                --last;
            model = model.substr(first, last - first);
            break;
        }
        case 10:
            s.toLower();
            for (char &c : model)
                if (c >= 'A' && c <= 'Z')
                    c = static_cast<char>(c - 'A' + 'a');
            break;
        case 11: {
            s.toUpper();
            for (char &c : model)
                if (c >= 'a' && c <= 'z')
                    c = static_cast<char>(c - 'a' + 'A');
            if (kMultibyte<S> && !model.empty()) {
                // The multibyte kind stops before the last character and cuts
                // it off while the stored length stays.
                Check(s.getLength() == model.size(), "toUpper length");
                model.pop_back();
                Check(std::string(s.getString()) == model, "toUpper cut");
                s = S(s.getString());
            }
            break;
        }
        case 12: {
            std::string t = in.text();
            size_t at = static_cast<size_t>(s.find(S(t.c_str())) - s.begin());
            size_t expected = model.find(t);
            Check(at == (expected == std::string::npos ? model.size() : expected), "find");
            break;
        }
        case 13: {
            char c = static_cast<char>(in.byte() | 1);
            size_t first = static_cast<size_t>(s.findFirst(Char(c)) - s.begin());
            size_t last = static_cast<size_t>(s.findLast(Char(c)) - s.begin());
            size_t f = model.find(c), l = model.rfind(c);
            Check(first == (f == std::string::npos ? model.size() : f), "findFirst");
            Check(last == (l == std::string::npos ? model.size() : l), "findLast");
            break;
        }
        case 14:
            s += s;
            model += model;
            break;
        case 15: {
            size_t i = in.small();
            char c = static_cast<char>(in.byte() | 1);
            s.insertChar(i, Char(c));
            model.insert(i < model.size() ? i : model.size(), 1, c);
            Check(s.getAt(i < model.size() ? i : model.size() - 1).getChar() == c, "getAt");
            break;
        }
        }
        Same(s, model, "an edit");
        Same(shared, sharedModel, "an edit of another copy");
        Check(s.getNChars() == model.size(), "getNChars");
        if (model.size() > 4096) {
            s.empty();
            model.clear();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input ascii(data, size);
    Run<SAsciiString>(ascii);
    Input multibyte(data, size);
    Run<SAnsiString>(multibyte);
    return 0;
}
