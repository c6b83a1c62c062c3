// Taking one file name apart and putting it together, and the slash edits
// of directory texts.
#include "tarnkit/sstringhelper.h"
#include "tarnkit/strace.h"

#include <cerrno>
#include <cstring>

namespace TarnkitA201 {

namespace {

using Char = SChar_t<char, 0>;
using Iterator = SAnsiString::iterator;

// Names and extensions are held to the system's name limit; a directory may
// be as long as a whole path.
constexpr size_t kMaxName = 255;
constexpr size_t kMaxExt = 255;
constexpr size_t kMaxDir = 4095;
constexpr size_t kMaxMadePath = kMaxDir + kMaxName + kMaxExt + 2;

bool IsSlash(const Char &c) noexcept { return c.getChar() == '/' || c.getChar() == '\\'; }

// Byte offsets of the pieces of a path: the directory runs to `nameStart`,
// the name to `extStart`, the extension to the end.
struct PathPieces {
    size_t nameStart = 0;
    size_t extStart = 0;
    size_t length = 0;
};

// Walks by characters, so that a trail byte of a double-byte character is
// never taken for a slash or a dot.
PathPieces FindPieces(const SAnsiString &path) noexcept {
    PathPieces pieces;
    const char *text = path.getString();
    const char *lastDot = nullptr;
    for (Iterator it = path.begin(); !it.isAtEnd(); ++it) {
        Char c = *it;
        if (IsSlash(c)) {
            pieces.nameStart = static_cast<size_t>(it.getCursor() - text) + 1;
            lastDot = nullptr;
        } else if (c.getChar() == '.') {
            lastDot = it.getCursor();
        }
    }
    pieces.length = path.getLength();
    pieces.extStart = lastDot != nullptr ? static_cast<size_t>(lastDot - text) : pieces.length;
    return pieces;
}

// A caller's buffer: both null and 0 skip the piece; one without the other
// is a bad argument.
bool BufferArgumentsValid(const char *buffer, size_t size) noexcept { return (buffer == nullptr) == (size == 0); }

bool Fits(const char *buffer, size_t size, size_t length) noexcept { return buffer == nullptr || length < size; }

void CopyPiece(char *buffer, const char *from, size_t length) noexcept {
    if (buffer == nullptr)
        return;
    std::memcpy(buffer, from, length);
    buffer[length] = 0;
}

} // namespace

int SplitPath(SAnsiString const &path, char *drive, size_t driveSize, char *dir, size_t dirSize, char *name,
              size_t nameSize, char *ext, size_t extSize) {
    if (!BufferArgumentsValid(drive, driveSize) || !BufferArgumentsValid(dir, dirSize) ||
        !BufferArgumentsValid(name, nameSize) || !BufferArgumentsValid(ext, extSize)) {
        TARNKIT_TRACE(2, "SplitPath: a buffer and its size do not agree");
        return EINVAL;
    }
    const PathPieces pieces = FindPieces(path);
    const size_t dirLength = pieces.nameStart;
    const size_t nameLength = pieces.extStart - pieces.nameStart;
    const size_t extLength = pieces.length - pieces.extStart;
    if (dirLength > kMaxDir || nameLength > kMaxName || extLength > kMaxExt) {
        TARNKIT_TRACE(2, "SplitPath: a piece of \"%1\" is too long", path);
        return ERANGE;
    }
    if (!Fits(drive, driveSize, 0) || !Fits(dir, dirSize, dirLength) || !Fits(name, nameSize, nameLength) ||
        !Fits(ext, extSize, extLength)) {
        TARNKIT_TRACE(2, "SplitPath: a buffer is too small for \"%1\"", path);
        return ERANGE;
    }
    const char *text = path.getString();
    CopyPiece(drive, text, 0);
    CopyPiece(dir, text, dirLength);
    CopyPiece(name, text + pieces.nameStart, nameLength);
    CopyPiece(ext, text + pieces.extStart, extLength);
    return 0;
}

bool SplitPathEx(SAnsiString const &path, SAnsiString &dir, SAnsiString &name, SAnsiString &ext, char) {
    char driveBuffer[3];
    char dirBuffer[kMaxDir + 1];
    char nameBuffer[kMaxName + 1];
    char extBuffer[kMaxExt + 1];
    if (SplitPath(path, driveBuffer, sizeof driveBuffer, dirBuffer, sizeof dirBuffer, nameBuffer, sizeof nameBuffer,
                  extBuffer, sizeof extBuffer) != 0)
        return false;
    SAnsiString fullDir(driveBuffer);
    fullDir += dirBuffer;
    if (!fullDir.isEmpty())
        dir = fullDir;
    if (nameBuffer[0] != 0)
        name = nameBuffer;
    if (extBuffer[0] != 0)
        ext = extBuffer;
    return true;
}

SAnsiString MakePath(SAnsiString const &, SAnsiString const &dir, SAnsiString const &name, SAnsiString const &ext) {
    SAnsiString path = dir;
    if (!dir.isEmpty()) {
        const char last = dir.getString()[dir.getLength() - 1];
        if (last != '/' && last != '\\')
            path += Char('/');
    }
    path += name;
    if (!ext.isEmpty()) {
        if (ext.getString()[0] != '.')
            path += Char('.');
        path += ext;
    }
    if (path.getLength() > kMaxMadePath) {
        TARNKIT_TRACE(2, "MakePath: the path would be longer than %1 bytes", static_cast<unsigned long>(kMaxMadePath));
        return SAnsiString();
    }
    return path;
}

void UnifyAllSlashes(SAnsiString &s, char slash) {
    if (s.isEmpty())
        return;
    const Char other(slash != '/' ? '/' : '\\');
    const Char wanted(slash);
    for (Iterator it = s.begin(); !it.isAtEnd(); ++it)
        if (*it == other)
            s.setAt(it, wanted);
}

void StripSlashOffDirBegin(SAnsiString &s, char slash) {
    if (s.getNChars() > 1 && *s.begin() == Char(slash))
        s.deleteChar(0);
}

void StripSlashOffDirEnd(SAnsiString &s, char slash) {
    const size_t count = s.getNChars();
    if (count <= 1)
        return;
    const Char last = s.getAt(count - 1);
    if (slash != '\\') {
        if (last.getChar() == '/')
            s.deleteChar(count - 1);
        return;
    }
    // "C:\" names a drive's root and keeps its slash.
    if (last.getChar() == '\\' && s.getAt(count - 2).getChar() != ':')
        s.deleteChar(count - 1);
}

SAnsiString GetParentLevelDir(SAnsiString const &dir, char slash) {
    if (dir.isEmpty())
        return SAnsiString();
    SAnsiString copy = dir;
    StripSlashOffDirEnd(copy, slash);
    Iterator last = copy.findLast(Char(slash));
    if (last.isAtEnd())
        return SAnsiString();
    return copy.left(last);
}

SAnsiString GetBottomLevelDir(SAnsiString const &dir, char slash) {
    if (dir.isEmpty())
        return SAnsiString();
    SAnsiString copy = dir;
    StripSlashOffDirEnd(copy, slash);
    Iterator last = copy.findLast(Char(slash));
    if (last.isAtEnd())
        return copy;
    ++last;
    return copy.mid(last);
}

} // namespace TarnkitA201
