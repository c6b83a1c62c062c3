#include "tarnkit/sfile.h"

#include "platform/fileio.h"
#include "tarnkit/codesetconverter.h"
#include "tarnkit/simplebuffer.h"
#include "tarnkit/strace.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <new>
#include <string>

namespace TarnkitA201 {

namespace V = Platform::FileVocabulary;

// The class's constants are the vocabulary the platform seam translates.
static_assert(SFile::readOnly == V::ReadOnly && SFile::writeOnly == V::WriteOnly &&
              SFile::readAndWrite == V::ReadAndWrite);
static_assert(SFile::append == V::Append && SFile::create == V::Create && SFile::truncate == V::Truncate &&
              SFile::exclusive == V::Exclusive && SFile::temporary == V::Temporary &&
              SFile::noInherit == V::NoInherit && SFile::sequential == V::Sequential && SFile::random == V::Random);
static_assert(SFile::ownerRMask == V::OwnerRead && SFile::ownerWMask == V::OwnerWrite &&
              SFile::ownerXMask == V::OwnerExecute && SFile::defaultPermissions == V::DefaultPermissions);
static_assert(SFile::denyReadAndWrite == V::DenyReadAndWrite && SFile::denyWrite == V::DenyWrite &&
              SFile::denyRead == V::DenyRead && SFile::denyNothing == V::DenyNothing);

const int SFile::writeMask = SFile::readWriteMask;

namespace {

constexpr int ReadLineChunk = 4096;
// Each read of readString asks for at most this much, well inside what one
// system call moves.
constexpr uint32_t ReadStringChunk = 0x40000000;
constexpr int ReadRetryBudget = 10;

const char *const SharingViolationText = "Sharing violation: another open of the file denies this access.";

SAnsiString ErrorTextOf(int error) { return SAnsiString(Platform::FileErrorText(error).c_str()); }

SAnsiString FromUtf8(const char *bytes) {
    return MBCSCodesetConverter::ExplicitCodesetToT(bytes, MBCSCodesetConverter::UTF8Codeset);
}

} // namespace

SFile::SFile() : m_openFlags(-1), m_fd(-1), m_opened(false) {}

SFile::SFile(const SAnsiString &path) : m_fileName(path), m_openFlags(-1), m_fd(-1), m_opened(false) {}

SFile::SFile(const SAnsiString &path, int flags, int permissions, int share)
    : m_fileName(path), m_openFlags(-1), m_fd(-1), m_opened(false) {
    open(flags, permissions, share);
}

SFile::~SFile() { close(); }

void SFile::throwError(SFileException::ErrorCodes code, int error) const {
    throw SFileException(code, error, m_fileName, SFileException::MapErrno(error), ErrorTextOf(error), SAnsiString());
}

void SFile::throwNotOpened(SFileException::ErrorCodes code) const {
    throw SFileException(code, 0, m_fileName, SFileException::NotOpened, SAnsiString("File not opened yet."),
                         SAnsiString());
}

void SFile::requireOpened(SFileException::ErrorCodes code) const {
    if (!m_opened)
        throwNotOpened(code);
    TARNKIT_ASSERT(m_fd != -1);
}

void SFile::releaseDescriptor() noexcept {
    if (!m_opened)
        return;
    if (!m_temporaryPath.isEmpty())
        Platform::RemoveIfStillSame(m_fd, m_temporaryPath.getString());
    int ignored = 0;
    (void)Platform::CloseDescriptor(m_fd, ignored);
    m_opened = false;
    m_temporaryPath.empty();
}

void SFile::open(const SAnsiString &path, int flags, int permissions, int share) {
    m_fileName = path;
    open(flags, permissions, share);
}

void SFile::open(int flags, int permissions, int share) {
    if (flags == -1)
        throw SFileException(SFileException::OpenError, 0, m_fileName, SFileException::OtherDetail,
                             SAnsiString("No file access mode provided."), SAnsiString());
    // Reopening must not leak the descriptor it replaces.
    releaseDescriptor();
    flags |= V::Binary;
    Platform::OpenFailure failure;
    m_fd = Platform::OpenFile(m_fileName.getString(), flags, permissions, share, failure);
    if (m_fd == Platform::NoDescriptor) {
        SAnsiString reason = failure.sharingViolation ? SAnsiString(SharingViolationText) : ErrorTextOf(failure.error);
        throw SFileException(SFileException::OpenError, failure.error, m_fileName,
                             SFileException::MapErrno(failure.error), reason, SAnsiString());
    }
    m_opened = true;
    m_openFlags = flags;
    if (flags & temporary)
        m_temporaryPath = m_fileName;
}

void SFile::setFilePath(const SAnsiString &path) { m_fileName = path; }

SAnsiString SFile::getFilename() const { return m_fileName; }

int SFile::read(void *buffer, unsigned int count) {
    requireOpened(SFileException::ReadError);
    // The count of bytes read must fit the result.
    if (count > static_cast<unsigned int>(INT_MAX))
        throwError(SFileException::ReadError, EINVAL);
    size_t got = 0;
    int error = 0;
    if (!Platform::ReadSome(m_fd, buffer, count, got, error))
        throwError(SFileException::ReadError, error);
    return static_cast<int>(got);
}

int SFile::write(const void *buffer, unsigned int count) {
    requireOpened(SFileException::WriteError);
    if (count > static_cast<unsigned int>(INT_MAX))
        throwError(SFileException::WriteError, EINVAL);
    size_t written = 0;
    int error = 0;
    if (!Platform::WriteAll(m_fd, buffer, count, written, error))
        throwError(SFileException::WriteError, error);
    return static_cast<int>(written);
}

void SFile::flush() {
    if ((m_openFlags & (V::WriteOnly | V::ReadAndWrite)) == 0)
        return;
    // A closed object's old descriptor number may belong to another file by
    // now; committing it would report someone else's success.
    int error = 0;
    if (!Platform::SyncFile(m_opened ? m_fd : -1, error))
        throwError(SFileException::FlushError, error);
}

void SFile::close() { releaseDescriptor(); }

int32_t SFile::seek(int origin, int32_t offset) const {
    requireOpened(SFileException::SeekError);
    int error = 0;
    __int64 before = 0;
    __int64 position = 0;
    if (!Platform::SeekFile(m_fd, 0, seekCurrent, before, error) ||
        !Platform::SeekFile(m_fd, offset, origin, position, error))
        throwError(SFileException::SeekError, error);
    if (position > INT32_MAX) {
        // The 32-bit family cannot name this position: go back and refuse.
        (void)Platform::SeekFile(m_fd, before, seekBegin, position, error);
        throwError(SFileException::SeekError, EINVAL);
    }
    return static_cast<int32_t>(position);
}

uint32_t SFile::getPosition() const { return static_cast<uint32_t>(seek(seekCurrent, 0)); }

void SFile::seekToBegin() { seek(seekBegin, 0); }

void SFile::seekToEnd() { seek(seekEnd, 0); }

uint32_t SFile::size() const { return static_cast<uint32_t>(lengthKeepingPosition()); }

uint32_t SFile::remainingLength() const { return size() - static_cast<uint32_t>(seek(seekCurrent, 0)); }

SAnsiString SFile::readString() {
    const uint32_t length = remainingLength();
    if (length == 0)
        return SAnsiString();
    char *buffer = static_cast<char *>(std::malloc(static_cast<size_t>(length) + 1));
    if (buffer == nullptr)
        throw SFileException(SFileException::ReadError, 0, m_fileName, SFileException::MapErrno(ENOMEM),
                             ErrorTextOf(ENOMEM), SAnsiString());

    uint32_t remaining = length;
    int budget = ReadRetryBudget;
    bool failed = false;
    int error = 0;
    try {
        for (;;) {
            const uint32_t want = remaining < ReadStringChunk ? remaining : ReadStringChunk;
            const int got = read(buffer + (length - remaining), want);
            const bool atEnd = eof();
            remaining -= static_cast<uint32_t>(got);
            if (got == 0)
                --budget;
            if (remaining < 1 || atEnd || budget == 0)
                break;
        }
    } catch (const SFileException &e) {
        failed = true;
        error = e.getErrno();
    }
    if (failed || remaining > 0) {
        std::free(buffer);
        throwError(SFileException::ReadError, error);
    }
    buffer[length] = '\0';
    SAnsiString text;
    try {
        text = FromUtf8(buffer);
    } catch (...) {
        std::free(buffer);
        throw;
    }
    std::free(buffer);
    return text;
}

SAnsiString SFile::readLine() {
    const uint32_t length = remainingLength();
    if (length == 0)
        return SAnsiString();

    // Reads in chunks and gives back what follows the line feed, so the
    // position ends just past it as if the line had been read byte by byte.
    std::string line;
    uint32_t remaining = length;
    int budget = ReadRetryBudget;
    bool lineEnded = false;
    bool failed = false;
    int error = 0;
    try {
        char chunk[ReadLineChunk];
        while (remaining >= 1 && budget > 0 && !lineEnded) {
            const uint32_t want = remaining < sizeof chunk ? remaining : static_cast<uint32_t>(sizeof chunk);
            const int got = read(chunk, want);
            if (got == 0) {
                if (eof())
                    break;
                --budget;
                continue;
            }
            int used = 0;
            while (used < got) {
                const char byte = chunk[used++];
                if (byte == '\n') {
                    lineEnded = true;
                    break;
                }
                if (byte != '\r' && byte != '\0')
                    line.push_back(byte);
            }
            remaining -= static_cast<uint32_t>(used);
            if (used < got)
                seekEx(seekCurrent, static_cast<__int64>(used) - got);
        }
    } catch (const SFileException &e) {
        failed = true;
        error = e.getErrno();
    } catch (const std::bad_alloc &) {
        TARNKIT_ASSERT_EXPR(false, "wholebuffer");
        throw SFileException(SFileException::ReadError, 0, m_fileName, SFileException::MapErrno(ENOMEM),
                             ErrorTextOf(ENOMEM), SAnsiString());
    }
    if (failed)
        throwError(SFileException::ReadError, error);
    return FromUtf8(line.c_str());
}

unsigned int SFile::writeString(const SAnsiString &text) {
    SSimpleBuffer bytes = MBCSCodesetConverter::TToExplicitCodeset(text, MBCSCodesetConverter::UTF8Codeset);
    if (bytes.isEmpty())
        return 0;
    // The converter counts its terminator; the file does not get it.
    const int written = write(static_cast<const unsigned char *>(bytes), static_cast<unsigned int>(bytes.getNBytes() - 1));
    return written < 1 ? 0 : static_cast<unsigned int>(written);
}

} // namespace TarnkitA201
