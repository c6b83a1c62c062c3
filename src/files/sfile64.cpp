// The 64-bit family of SFile: positions and lengths beyond 4 GiB.
#include "tarnkit/sfile.h"

#include "platform/fileio.h"

namespace TarnkitA201 {

__int64 SFile::seekEx(int origin, __int64 offset) const {
    requireOpened(SFileException::SeekError);
    int error = 0;
    __int64 position = 0;
    if (!Platform::SeekFile(m_fd, offset, origin, position, error))
        throwError(SFileException::SeekError, error);
    return position;
}

__int64 SFile::getPositionEx() const { return seekEx(seekCurrent, 0); }

__int64 SFile::lengthKeepingPosition() const {
    const __int64 saved = seekEx(seekCurrent, 0);
    seekEx(seekBegin, 0);
    const __int64 length = seekEx(seekEnd, 0);
    seekEx(seekBegin, saved);
    return length;
}

__int64 SFile::sizeEx() const { return lengthKeepingPosition(); }

bool SFile::eof() {
    const __int64 saved = seekEx(seekCurrent, 0);
    const __int64 end = seekEx(seekEnd, 0);
    seekEx(seekBegin, saved);
    return saved >= end;
}

} // namespace TarnkitA201
