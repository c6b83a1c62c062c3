#include "tarnkit/simplebuffer.h"

#include "platform/filemapping.h"
#include "tarnkit/strace.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <new>

namespace TarnkitA201 {

constinit SSimpleBuffer::_EmptyBuffer SSimpleBuffer::EmptyBuffer(-1, 0, 1, 0);

namespace {

// memcpy and memcmp must not see a null pointer, even for zero bytes.
void CopyBytes(unsigned char *target, const unsigned char *source, size_t n) noexcept {
    if (n != 0)
        std::memmove(target, source, n);
}

int CompareBytes(const unsigned char *a, const unsigned char *b, size_t n) noexcept {
    return n == 0 ? 0 : std::memcmp(a, b, n);
}

// The size a block must have for `size` bytes plus `extra` spare ones; false
// when the sum does not fit.
bool CapacityFor(size_t size, size_t extra, size_t &capacity) noexcept {
    if (extra == SSimpleBuffer::npos) {
        capacity = size;
        return true;
    }
    if (extra > SIZE_MAX - size)
        return false;
    capacity = size + extra;
    return true;
}

SAnsiString ErrorText(int error) {
    std::string text = Platform::FileErrorText(error);
    return SAnsiString(text.data(), text.size());
}

} // namespace

// ---- the header ----------------------------------------------------------

bool SSimpleBuffer::SSimpleInternalBuffer::Map(const SAnsiString &name) {
    try {
        int error = 0;
        fileHandle = Platform::OpenForReading(name.getString(), true, error);
        if (fileHandle == Platform::InvalidFile) {
            TARNKIT_TRACE(0, "could not open file %s for memory-mapped reading. Errno is %d", name, error);
            return false;
        }
        // Sizes are 32-bit in this design: the all-ones value and anything
        // above it does not map.
        uint64_t size = 0;
        if (!Platform::FileSize(fileHandle, size, error) || size >= 0xFFFFFFFFu) {
            Platform::CloseFile(fileHandle);
            fileHandle = -1;
            return false;
        }
        const unsigned char *view = Platform::MapReadOnly(fileHandle, static_cast<size_t>(size), error);
        if (view == nullptr) {
            TARNKIT_TRACE(0, "could not create file mapping on file %s. Errno is %d", name, error);
            Platform::CloseFile(fileHandle);
            fileHandle = -1;
            mappingHandle = -1;
            return false;
        }
        // The view is read-only; every write path copies a mapped block first.
        data = const_cast<unsigned char *>(view);
        mappingHandle = static_cast<long>(size);
        bytesAllocated = static_cast<size_t>(size);
        bytesUsed = static_cast<size_t>(size);
        mapped = true;
        return true;
    } catch (...) {
        TARNKIT_ASSERT_EXPR(false, "false");
        if (mapped) {
            Platform::UnmapView(data, static_cast<size_t>(mappingHandle));
            data = nullptr;
            mapped = false;
        }
        if (fileHandle != -1)
            Platform::CloseFile(fileHandle);
        fileHandle = -1;
        return false;
    }
}

void SSimpleBuffer::SSimpleInternalBuffer::UnMap() {
    TARNKIT_ASSERT(IsMapped());
    if (!IsMapped())
        return;
    Platform::UnmapView(data, static_cast<size_t>(mappingHandle));
    Platform::CloseFile(fileHandle);
    data = nullptr;
    mapped = false;
}

// ---- allocation and sharing ----------------------------------------------

unsigned char *SSimpleBuffer::alloc(size_t size) noexcept {
    // No object can be larger than this; asking would only fail later, or
    // abort under an allocator that does not return null.
    if (size > static_cast<size_t>(PTRDIFF_MAX))
        return nullptr;
    return new (std::nothrow) unsigned char[size];
}

void SSimpleBuffer::dealloc(unsigned char *p) noexcept { delete[] p; }

bool SSimpleBuffer::IsEmptyBuffer(const SSimpleInternalBuffer *b) noexcept {
    return b == nullptr || b->refCount.read() == EmptyBuffer.refCount.nonInterlockedRead();
}

bool SSimpleBuffer::allocBufferHeader(size_t n) {
    buffer = new (std::nothrow) SSimpleInternalBuffer(1, 0, n);
    return buffer != nullptr;
}

// A header whose block could not be had is dropped again, so that no header
// ever promises bytes it does not have.
bool SSimpleBuffer::allocBuffer(size_t n) {
    if (!allocBufferHeader(n)) {
        TARNKIT_ASSERT(buffer);
        return false;
    }
    buffer->data = alloc(n);
    if (buffer->data == nullptr) {
        TARNKIT_ASSERT(buffer->data);
        delete buffer;
        buffer = nullptr;
        return false;
    }
    terminateBuffer(0);
    return true;
}

void SSimpleBuffer::terminateBuffer(size_t used) noexcept {
    TARNKIT_ASSERT_EXPR(used <= buffer->bytesAllocated, "bytesUsed <= buffer->bytesAllocated");
    buffer->bytesUsed = used <= buffer->bytesAllocated ? used : buffer->bytesAllocated;
}

void SSimpleBuffer::setBuffer(SSimpleInternalBuffer *b) noexcept {
    if (b == nullptr) {
        TARNKIT_ASSERT_EXPR(false, "buffer_ != 0");
        return;
    }
    if (b == buffer)
        return;
    ReleaseBuffer(buffer);
    buffer = b;
    if (!IsEmptyBuffer(b))
        b->refCount.exchangeAdd(1);
}

void SSimpleBuffer::setBufferProtected(SSimpleInternalBuffer *b) noexcept {
    if (b == buffer)
        return;
    ReleaseBuffer(buffer);
    buffer = b;
}

void SSimpleBuffer::releaseInternalBuffer() noexcept {
    ReleaseBuffer(buffer);
    buffer = nullptr;
}

void SSimpleBuffer::ReleaseBuffer(SSimpleInternalBuffer *b) noexcept {
    if (IsEmptyBuffer(b) || b->refCount.exchangeAdd(-1) != 1)
        return;
    if (b->data != nullptr) {
        if (b->mapped)
            b->UnMap();
        else
            dealloc(b->data);
        b->data = nullptr;
    }
    if (b->temporary) {
        // A file that cannot be removed costs a trace line and nothing else.
        try {
            int error = 0;
            if (!Platform::RemoveFile(b->fileName.getString(), error))
                TARNKIT_TRACE(0, "SSimpleBuffer could not delete file %1. Reason is: %2.\n", ErrorText(error),
                              b->fileName);
        } catch (...) {
        }
    }
    delete b;
}

// ---- construction ----------------------------------------------------------

SSimpleBuffer::SSimpleBuffer(size_t n) : buffer(nullptr) { allocBuffer(n); }

SSimpleBuffer::SSimpleBuffer(unsigned char *p, size_t n, bool adopt) : buffer(nullptr) {
    if (p == nullptr || n == 0) {
        TARNKIT_ASSERT_EXPR(false, "0");
        return;
    }
    if (adopt) {
        if (!allocBufferHeader(n)) {
            TARNKIT_ASSERT(buffer);
            return;
        }
        buffer->data = p;
        terminateBuffer(n);
        return;
    }
    if (allocBuffer(n)) {
        CopyBytes(buffer->data, p, n);
        terminateBuffer(n);
    }
}

SSimpleBuffer::SSimpleBuffer(const SSimpleBuffer &other) noexcept : buffer(&EmptyBuffer) { setBuffer(other.buffer); }

SSimpleBuffer &SSimpleBuffer::operator=(const SSimpleBuffer &other) noexcept {
    setBuffer(other.buffer);
    return *this;
}

SSimpleBuffer::~SSimpleBuffer() { releaseInternalBuffer(); }

// ---- reading -----------------------------------------------------------------

SSimpleBuffer::operator const unsigned char *() const noexcept { return buffer != nullptr ? buffer->data : nullptr; }

size_t SSimpleBuffer::getNBytes() const noexcept { return buffer != nullptr ? buffer->bytesUsed : 0; }

size_t SSimpleBuffer::getNBytesAllocated() const noexcept { return buffer != nullptr ? buffer->bytesAllocated : 0; }

bool SSimpleBuffer::operator==(const SSimpleBuffer &other) const noexcept {
    size_t n = getNBytes();
    return n == other.getNBytes() && CompareBytes(*this, other, n) == 0;
}

bool SSimpleBuffer::operator==(const unsigned char *other) const noexcept {
    size_t n = getNBytes();
    if (n != 0 && other == nullptr)
        return false;
    return CompareBytes(*this, other, n) == 0;
}

int SSimpleBuffer::compare(const SSimpleBuffer &other) const noexcept {
    size_t mine = getNBytes();
    size_t theirs = other.getNBytes();
    int result = CompareBytes(*this, other, mine < theirs ? mine : theirs);
    if (mine == theirs)
        return result;
    if (mine < theirs)
        return result > 0 ? 1 : -1;
    return result >= 0 ? 1 : -1;
}

// ---- writing -----------------------------------------------------------------

// The block is kept only when this buffer owns it alone, it is not a
// read-only view, and `size` stays strictly below what it holds.
bool SSimpleBuffer::mustReplaceBlock(size_t size) const noexcept {
    return buffer->mapped || buffer->refCount.read() >= 2 || size >= buffer->bytesAllocated;
}

// Moves the content, followed by `tail`, into a new block of `capacity`
// bytes and lets go of the old header. On failure nothing changes.
bool SSimpleBuffer::replaceBlock(size_t capacity, const unsigned char *tail, size_t tailLength) {
    SSimpleInternalBuffer *old = buffer;
    size_t oldUsed = getNBytes();
    buffer = nullptr;
    if (!allocBuffer(capacity)) {
        buffer = old;
        return false;
    }
    CopyBytes(buffer->data, old != nullptr ? old->data : nullptr, oldUsed);
    CopyBytes(buffer->data + oldUsed, tail, tailLength);
    terminateBuffer(oldUsed + tailLength);
    ReleaseBuffer(old);
    return true;
}

bool SSimpleBuffer::copyOnAppend(size_t size, size_t extra) {
    if (isEmptyHeader())
        return false;
    if (size < buffer->bytesUsed)
        size = buffer->bytesUsed;
    if (!mustReplaceBlock(size))
        return true;
    size_t capacity;
    if (!CapacityFor(size, extra, capacity)) {
        TARNKIT_ASSERT_EXPR(false, "0");
        return false;
    }
    return replaceBlock(capacity, nullptr, 0);
}

void SSimpleBuffer::append(unsigned char byte) { append(&byte, 1, npos); }

SSimpleBuffer &SSimpleBuffer::operator<<(unsigned char byte) {
    append(&byte, 1, npos);
    return *this;
}

void SSimpleBuffer::append(const unsigned char *p, size_t n, size_t extra) {
    if (p == nullptr || n == 0)
        return;
    size_t capacity;
    if (isEmptyHeader()) {
        if (!CapacityFor(n, extra, capacity)) {
            TARNKIT_ASSERT_EXPR(false, "0");
            return;
        }
        SSimpleInternalBuffer *previous = buffer;
        if (!allocBuffer(capacity)) {
            buffer = previous;
            return;
        }
        CopyBytes(buffer->data, p, n);
        terminateBuffer(n);
        return;
    }
    size_t used = buffer->bytesUsed;
    if (n > SIZE_MAX - used) {
        TARNKIT_ASSERT_EXPR(false, "0");
        return;
    }
    if (!mustReplaceBlock(used + n)) {
        CopyBytes(buffer->data + used, p, n);
        terminateBuffer(used + n);
        return;
    }
    // The new bytes are copied before the old block goes, so appending a
    // piece of this buffer to itself works.
    if (!CapacityFor(used + n, extra, capacity)) {
        TARNKIT_ASSERT_EXPR(false, "0");
        return;
    }
    replaceBlock(capacity, p, n);
}

void SSimpleBuffer::concat(const unsigned char *p, size_t n) {
    if (p == nullptr && n != 0)
        return;
    size_t used = getNBytes();
    if (n > SIZE_MAX - used) {
        TARNKIT_ASSERT_EXPR(false, "0");
        return;
    }
    replaceBlock(used + n, p, n);
}

unsigned char *SSimpleBuffer::getBuffer(size_t minimum) {
    if (buffer == nullptr && minimum == npos)
        return nullptr;
    if (buffer != nullptr && !buffer->mapped && buffer->refCount.read() < 2) {
        if (minimum == npos || minimum < buffer->bytesAllocated)
            return buffer->data;
    }
    size_t used = getNBytes();
    size_t size = (minimum == npos || minimum < used) ? used : minimum;
    if (!replaceBlock(size, nullptr, 0))
        return nullptr;
    return buffer->data;
}

// Only reached on a shared buffer, which means the caller skipped getBuffer:
// the content is unshared here, so the other holders keep theirs.
void SSimpleBuffer::copyBufferBeforeWrite() {
    if (buffer == nullptr || IsEmptyBuffer(buffer) || buffer->refCount.read() <= 1)
        return;
    replaceBlock(buffer->bytesAllocated, nullptr, 0);
}

void SSimpleBuffer::releaseBuffer(size_t used) {
    copyBufferBeforeWrite();
    if (isEmptyHeader()) {
        // The shared empty header holds nothing and must stay that way.
        TARNKIT_ASSERT_EXPR(used == 0, "used == 0");
        return;
    }
    TARNKIT_ASSERT_EXPR(used <= buffer->bytesAllocated, "used <= buffer->bytesAllocated");
    buffer->bytesUsed = used <= buffer->bytesAllocated ? used : buffer->bytesAllocated;
}

unsigned char *SSimpleBuffer::detach() {
    if (isEmptyHeader())
        return nullptr;
    if (buffer->mapped || buffer->refCount.read() >= 2) {
        TARNKIT_TRACE(0, "SSimpleBuffer::detach() copying buffer before detaching");
        SSimpleInternalBuffer *old = buffer;
        buffer = nullptr;
        if (!allocBuffer(old->bytesUsed)) {
            TARNKIT_TRACE(0, "DetachableSSimpleBuffer:: memory allocation failure?");
            buffer = &EmptyBuffer;
            ReleaseBuffer(old);
            return nullptr;
        }
        CopyBytes(buffer->data, old->data, old->bytesUsed);
        terminateBuffer(old->bytesUsed);
        ReleaseBuffer(old);
    }
    TARNKIT_ASSERT(buffer->refCount.read() == 1);
    unsigned char *block = buffer->data;
    buffer->data = nullptr;
    ReleaseBuffer(buffer);
    buffer = &EmptyBuffer;
    return block;
}

// ---- files -------------------------------------------------------------------

bool SSimpleBuffer::loadByReading(const SAnsiString &name) {
    int error = 0;
    int file = Platform::OpenForReading(name.getString(), false, error);
    if (file == Platform::InvalidFile) {
        TARNKIT_TRACE(0, "SSimpleBuffer::loadFromFile: could not read from file %1. Reason: %2\n", ErrorText(error),
                      name);
        return false;
    }
    uint64_t fileSize = 0;
    if (!Platform::FileSize(file, fileSize, error)) {
        TARNKIT_TRACE(0, "SSimpleBuffer::loadFromFile: could not read from file %1. Reason: %2\n", ErrorText(error),
                      name);
        Platform::CloseFile(file);
        return false;
    }
    // Sizes are 32-bit in this design, here as for mapping.
    size_t size = static_cast<uint32_t>(fileSize);
    if (!allocBuffer(size)) {
        Platform::CloseFile(file);
        return false;
    }
    size_t bytesRead = 0;
    if (!Platform::ReadFully(file, buffer->data, size, bytesRead, error)) {
        TARNKIT_TRACE(0, "SSimpleBuffer::loadFromFile: could not read from file %1. Reason: %2\n", ErrorText(error),
                      name);
        Platform::CloseFile(file);
        return false;
    }
    // A file that shrank since its size was taken yields what was read; the
    // rest of the block never becomes content.
    buffer->bytesAllocated = size;
    buffer->bytesUsed = bytesRead;
    buffer->mapped = false;
    Platform::CloseFile(file);
    return true;
}

bool SSimpleBuffer::loadFromFile(const SAnsiString &name, bool map, bool temporary) {
    setBuffer(&EmptyBuffer);
    if (!map)
        return loadByReading(name);
    if (!allocBufferHeader(0))
        return false;
    if (!buffer->Map(name))
        return false;
    buffer->temporary = temporary;
    buffer->fileName = temporary ? name : SAnsiString();
    return true;
}

bool SSimpleBuffer::saveToFile(const SAnsiString &name, bool overwrite) {
    size_t n = getNBytes();
    if (n == 0)
        return true;
    int error = 0;
    int flags = overwrite ? Platform::OpenWriteCreateTruncate : Platform::OpenWriteCreateExclusive;
    int file = Platform::OpenForWriting(name.getString(), flags, Platform::PermissionOwnerAll, error);
    if (file == Platform::InvalidFile) {
        TARNKIT_TRACE(0, "SSimpleBuffer::saveToFile: could not open file %1 for writing.  Reason: %2.",
                      ErrorText(error), name);
        return false;
    }
    bool written = Platform::WriteFully(file, buffer->data, n, error);
    if (!written)
        Platform::CloseFile(file);
    else
        written = Platform::CloseWritten(file, error);
    if (!written) {
        TARNKIT_TRACE(0, "SSimpleBuffer::saveToFile: could not write to file %1.  Reason: %2", ErrorText(error), name);
        return false;
    }
    return true;
}

} // namespace TarnkitA201
