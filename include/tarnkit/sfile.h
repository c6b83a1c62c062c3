// SFile: the library's file object, a thin owner of one descriptor that
// throws SFileException on every failure. No buffering and no position of
// its own; always binary. Text helpers read and write UTF-8 on the file.
//
// The flag, permission and share constants are the library's own
// vocabulary; callers may pass them as plain numbers.
//
// Share modes are advisory: they are locks on the open file that only users
// of this library take and respect. denyReadAndWrite and denyRead take an
// exclusive lock, denyWrite a shared one, denyNothing none; an open that
// conflicts fails at once with EACCES (access denied). Other programs are
// not held back by them.
//
// Every descriptor is closed on exec, so noInherit is always in effect. A
// file opened `temporary` is removed when the object closes it, provided the
// name still denotes that file; it stays behind if the process dies first.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/sstringimpl.h"

#include <cstdint>

TARNKIT_NAMESPACE_BEGIN

class SFileException {
public:
    enum ErrorCodes {
        OpenError = 0,
        ReadError = 1,
        WriteError = 2,
        FlushError = 3,
        SeekError = 4,
        LockError = 5,
        UnknownError = 6,
    };
    enum DetailCodes {
        AccessDenied = 0,
        NoSuchFile = 1,
        NotOpened = 2,
        OutOfMemory = 3,
        OtherDetail = 5,
    };

    SFileException();
    SFileException(ErrorCodes code, int err, const SAnsiString &file, DetailCodes detail, const SAnsiString &reason,
                   const SAnsiString &context);
    SFileException(const SFileException &other);
    SFileException &operator=(const SFileException &other);

    ErrorCodes ErrCode() const noexcept { return m_errCode; }
    DetailCodes DetailCode() const noexcept { return m_detailCode; }
    int getErrno() const noexcept { return m_errno; }
    const SAnsiString &getFileName() const noexcept { return m_fileName; }
    const SAnsiString &getReason() const noexcept { return m_reason; }
    const SAnsiString &getContext() const noexcept { return m_context; }

    // The coarse class of an error number: access denied, no such file, out
    // of memory, or other. Judged by meaning: a read-only file system or a
    // path through a plain file count as the first two.
    static DetailCodes MapErrno(int error) noexcept;

    // The user's sentence, with the file name and the reason filled in.
    virtual SAnsiString toString() const;
    // The sentence, ":" and the context.
    virtual SAnsiString summary() const;
    virtual ~SFileException();

private:
    ErrorCodes m_errCode;
    SAnsiString m_fileName;
    SAnsiString m_reason;
    SAnsiString m_context;
    DetailCodes m_detailCode;
    int32_t m_errno;
};

class SFile {
public:
    // Access.
    static constexpr int readOnly = 0;
    static constexpr int writeOnly = 1;
    static constexpr int readAndWrite = 2;
    // Open flags.
    static constexpr int append = 0x8;
    static constexpr int create = 0x100;
    static constexpr int truncate = 0x200;
    static constexpr int exclusive = 0x400;
    static constexpr int temporary = 0x40;
    static constexpr int noInherit = 0x80;
    static constexpr int sequential = 0x20;
    static constexpr int random = 0x10;
    // Permissions. Only the owner has bits in this vocabulary.
    static constexpr int ownerRWXMask = 0x1C0;
    static constexpr int ownerRMask = 0x100;
    static constexpr int ownerWMask = 0x80;
    static constexpr int ownerXMask = 0x40;
    static constexpr int groupRWXMask = 0;
    static constexpr int groupRMask = 0;
    static constexpr int groupWMask = 0;
    static constexpr int groupXMask = 0;
    static constexpr int othersRWXMask = 0;
    static constexpr int othersRMask = 0;
    static constexpr int othersWMask = 0;
    static constexpr int othersXMask = 0;
    static constexpr int readMask = 0x100;
    static constexpr int readWriteMask = 0x1C0;
    // Taken from readWriteMask, so it carries the read and execute bits too.
    static const int writeMask;
    // Not a mode: a marker that the file-system helpers replace.
    static constexpr int defaultPermissions = 0x60000000;
    // Share modes.
    static constexpr int denyReadAndWrite = 0x10;
    static constexpr int denyWrite = 0x20;
    static constexpr int denyRead = 0x30;
    static constexpr int denyNothing = 0x40;
    // Seek origins.
    static constexpr int seekBegin = 0;
    static constexpr int seekSet = 0;
    static constexpr int seekCurrent = 1;
    static constexpr int seekEnd = 2;
    // Byte locking (no operation of this class uses them).
    static constexpr int lockRetryLock = 1;
    static constexpr int lockNoRetryLock = 2;
    static constexpr int lockUnlock = 0;

    SFile();
    explicit SFile(const SAnsiString &path);
    // Opens at once; a failure leaves the constructor by the exception.
    SFile(const SAnsiString &path, int flags, int permissions, int share);
    SFile(const SFile &) = delete;
    SFile &operator=(const SFile &) = delete;
    virtual ~SFile();

    // Opens the stored path. An object that is open closes its old
    // descriptor first. Flags of -1 throw before anything is touched.
    void open(int flags, int permissions, int share);
    void open(const SAnsiString &path, int flags, int permissions, int share);
    // Replaces the stored path only; an open descriptor stays as it is.
    void setFilePath(const SAnsiString &path);
    SAnsiString getFilename() const;
    // The descriptor; after close it keeps its old value.
    int getFd() const noexcept { return m_fd; }
    bool isOpened() const noexcept { return m_opened; }

    // Bytes read, 0 at the end of the file.
    int read(void *buffer, unsigned int count);
    // Bytes written: all of them, or an exception.
    int write(const void *buffer, unsigned int count);
    // Commits the file to the disk; nothing for a file opened readOnly.
    void flush();
    void close();
    // The position is at or past the end (judged in 64 bits).
    bool eof();

    // Origin first, then offset. A position beyond 2 GiB - 1 cannot be
    // expressed: such a seek fails and leaves the position where it was.
    int32_t seek(int origin, int32_t offset) const;
    __int64 seekEx(int origin, __int64 offset) const;
    uint32_t getPosition() const;
    __int64 getPositionEx() const;
    void seekToBegin();
    void seekToEnd();
    // The length: its low 32 bits, and in full.
    uint32_t size() const;
    __int64 sizeEx() const;

    // The next line without its end. Carriage returns and NUL bytes are
    // dropped wherever they stand. An empty line and the end of the file
    // both give an empty string: ask eof.
    SAnsiString readLine();
    // Everything from the position to the end.
    SAnsiString readString();
    // The text as UTF-8, without terminator or line end; the bytes written.
    unsigned int writeString(const SAnsiString &text);

private:
    [[noreturn]] void throwError(SFileException::ErrorCodes code, int error) const;
    [[noreturn]] void throwNotOpened(SFileException::ErrorCodes code) const;
    void requireOpened(SFileException::ErrorCodes code) const;
    void releaseDescriptor() noexcept;
    // The 64-bit position and length, with the position restored.
    __int64 lengthKeepingPosition() const;
    // Bytes from the position to the end, in the 32-bit arithmetic of size.
    uint32_t remainingLength() const;

    SAnsiString m_fileName;
    int32_t m_openFlags;
    int32_t m_fd;
    bool m_opened;
    // The name to remove at close for a temporary file, as it was opened.
    SAnsiString m_temporaryPath;
};

TARNKIT_NAMESPACE_END
