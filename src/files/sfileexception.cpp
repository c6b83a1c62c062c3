#include "tarnkit/sfile.h"

#include "platform/fileio.h"
#include "tarnkit/sresstring.h"

namespace TarnkitA201 {

namespace {

const char *TemplateFor(SFileException::ErrorCodes code) noexcept {
    switch (code) {
    case SFileException::OpenError:
        return "Failed to open the file %1.  Reason: %2";
    case SFileException::ReadError:
        return "Fail to read file %1.  Reason given: %2";
    case SFileException::WriteError:
        return "Fail to write file %1.  Reason given: %2";
    case SFileException::FlushError:
        return "Fail to flush file %1.  Reason given: %2.  File may not be completely written to disk.";
    case SFileException::LockError:
        return "Fail to lock bytes of file %1.  Reason given: %2";
    default:
        // A failed seek reads as an unknown error too.
        return "Unknown error (exception).  ";
    }
}

} // namespace

SFileException::SFileException() : m_errCode(UnknownError), m_detailCode(OtherDetail), m_errno(0) {}

SFileException::SFileException(ErrorCodes code, int err, const SAnsiString &file, DetailCodes detail,
                               const SAnsiString &reason, const SAnsiString &context)
    : m_errCode(code), m_fileName(file), m_reason(reason), m_context(context), m_detailCode(detail), m_errno(err) {}

SFileException::SFileException(const SFileException &other) = default;
SFileException &SFileException::operator=(const SFileException &other) = default;
SFileException::~SFileException() = default;

SFileException::DetailCodes SFileException::MapErrno(int error) noexcept {
    switch (Platform::ClassifyFileError(error)) {
    case Platform::FileErrorKind::AccessDenied:
        return AccessDenied;
    case Platform::FileErrorKind::NotFound:
        return NoSuchFile;
    case Platform::FileErrorKind::OutOfMemory:
        return OutOfMemory;
    default:
        return OtherDetail;
    }
}

SAnsiString SFileException::toString() const {
    SResString message(SAnsiString(TemplateFor(m_errCode)), SChar_t<char, 0>('%'));
    message << m_fileName << m_reason;
    return message;
}

SAnsiString SFileException::summary() const { return toString() + ":" + m_context; }

} // namespace TarnkitA201
