// SSimpleBuffer: the library's byte array. A reference-counted, copy-on-write
// block that owns heap memory, adopts a block handed to it, or stands over a
// read-only mapped file. It carries no terminator and allocates exactly what
// is asked for; callers that append in a loop pass `extra` to grow ahead.
#pragma once

#include "tarnkit/interlocked.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

class SSimpleBuffer {
public:
    // "None" for the `extra` of append and the `minimum` of getBuffer.
    static constexpr size_t npos = static_cast<size_t>(-1);

    // The shared header; the bytes live in a separate block at `data`.
    class SSimpleInternalBuffer {
    public:
        constexpr SSimpleInternalBuffer(long count, size_t used, size_t allocated) noexcept
            : refCount(count), bytesUsed(used), bytesAllocated(allocated), data(nullptr), mapped(false),
              temporary(false), fileHandle(-1), mappingHandle(0) {}

        // Maps the whole named file read-only into `data`. False when the file
        // cannot be opened or mapped, is empty, or has 0xFFFFFFFF bytes or more.
        bool Map(const SAnsiString &name);
        void UnMap();
        bool IsMapped() const noexcept { return mapped; }

        SInterlockedInt32s refCount;
        size_t bytesUsed;
        size_t bytesAllocated;
        unsigned char *data;
        bool mapped;
        bool temporary;        // the file is removed when the header dies
        SAnsiString fileName;  // the file to remove; empty unless temporary
        int fileHandle;        // of the mapped file; -1 when there is none
        long mappingHandle;    // length of the view while mapped; 0 for none, -1 after a failed map
    };

    // The immortal empty header: count -1, nothing used, one byte allocated
    // but no block, so an empty buffer converts to a null pointer.
    class _EmptyBuffer : public SSimpleInternalBuffer {
    public:
        constexpr _EmptyBuffer(long count, size_t used, size_t allocated, unsigned char byte) noexcept
            : SSimpleInternalBuffer(count, used, allocated), trailingByte(byte) {}
        unsigned char trailingByte;
    };

    SSimpleBuffer() noexcept : buffer(&EmptyBuffer) {}
    // `n` bytes allocated, none used.
    explicit SSimpleBuffer(size_t n);
    // Adopts `p` (which must come from alloc) or copies it. A null `p` or a
    // zero `n` is a failed assertion and leaves a buffer that behaves as empty.
    SSimpleBuffer(unsigned char *p, size_t n, bool adopt);
    SSimpleBuffer(const SSimpleBuffer &other) noexcept;
    SSimpleBuffer &operator=(const SSimpleBuffer &other) noexcept;
    virtual ~SSimpleBuffer();

    // Read-only view of the bytes; null when empty.
    operator const unsigned char *() const noexcept;
    size_t getNBytes() const noexcept;
    size_t getNBytesAllocated() const noexcept;
    bool isEmpty() const noexcept { return getNBytes() == 0; }
    // True while the content is a read-only view of a file.
    bool IsMapped() const noexcept { return buffer != nullptr && buffer->IsMapped(); }
    // Drops the content (isEmpty is the test).
    void empty() noexcept { setBuffer(&EmptyBuffer); }

    bool operator==(const SSimpleBuffer &other) const noexcept;
    bool operator!=(const SSimpleBuffer &other) const noexcept { return !(*this == other); }
    // Compares getNBytes() bytes, whatever the other side's true size is.
    bool operator==(const unsigned char *other) const noexcept;
    // memcmp over the shorter size; on a tie the shorter buffer is smaller.
    int compare(const SSimpleBuffer &other) const noexcept;
    bool operator<(const SSimpleBuffer &other) const noexcept { return compare(other) < 0; }

    SSimpleBuffer &operator<<(unsigned char byte);
    void append(unsigned char byte);
    // Appends `n` bytes; when the block must grow it gets `extra` spare bytes
    // (npos: none). Growth is otherwise exact.
    void append(const unsigned char *p, size_t n, size_t extra = npos);

    // A block that is safe to write, holding the content and at least
    // `minimum` bytes (npos: the present size). End the write with
    // releaseBuffer. A mapped buffer always gets a private copy, since its
    // view is read-only. Null when no memory could be had.
    unsigned char *getBuffer(size_t minimum = npos);
    // Records how many bytes the write through getBuffer left.
    void releaseBuffer(size_t used);
    // Hands the block to the caller, who frees it with dealloc; the buffer
    // becomes empty. Null for an empty buffer.
    unsigned char *detach();

    // Replaces the content with the file's. With `map` the file is mapped
    // read-only instead of read; a mapped `temporary` file is removed when
    // the last buffer sharing it lets go.
    bool loadFromFile(const SAnsiString &name, bool map = false, bool temporary = false);
    // Writes the content, replacing an existing file when `overwrite` is set
    // and failing on one otherwise. An empty buffer writes nothing.
    bool saveToFile(const SAnsiString &name, bool overwrite = true);

    // Block allocation shared with callers: alloc answers null on exhaustion.
    static unsigned char *alloc(size_t size) noexcept;
    static void dealloc(unsigned char *p) noexcept;

    static SSimpleInternalBuffer *GetEmptyBuffer() noexcept { return &EmptyBuffer; }
    static bool IsEmptyBuffer(const SSimpleInternalBuffer *b) noexcept;

    static constinit _EmptyBuffer EmptyBuffer;

protected:
    bool allocBufferHeader(size_t n);
    bool allocBuffer(size_t n);
    void concat(const unsigned char *p, size_t n);
    void setBuffer(SSimpleInternalBuffer *b) noexcept;
    void releaseInternalBuffer() noexcept;
    void terminateBuffer(size_t used) noexcept;
    bool copyOnAppend(size_t size, size_t extra);
    void copyBufferBeforeWrite();
    SSimpleInternalBuffer *getBufferProtected() const noexcept { return buffer; }
    // Takes over a reference the caller holds; the present header is released.
    void setBufferProtected(SSimpleInternalBuffer *b) noexcept;
    static void ReleaseBuffer(SSimpleInternalBuffer *b) noexcept;

private:
    bool isEmptyHeader() const noexcept { return buffer == nullptr || IsEmptyBuffer(buffer); }
    bool mustReplaceBlock(size_t size) const noexcept;
    bool replaceBlock(size_t capacity, const unsigned char *tail, size_t tailLength);
    bool loadByReading(const SAnsiString &name);

    SSimpleInternalBuffer *buffer;
};

TARNKIT_NAMESPACE_END
