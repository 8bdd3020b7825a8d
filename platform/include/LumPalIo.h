/// @file
/// Files, streams and directory listings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "LumPalArray.h"
#include "LumPalExport.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumPalIo {

/// Failures of input and output; the text names the path and the system's reason.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, IOException_t, LumPalMsg::RuntimeException_t);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, FileNotFoundException_t, IOException_t);
/// The disk, or the share of it that the user may take, is full (ENOSPC, EDQUOT).
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, NoSpaceException_t, IOException_t);
/// The stream ended where more was demanded.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, EOFException_t, IOException_t);

/// A path. A value with a null state; nothing is opened by making one.
/// Paths are UTF-8 for the system, whatever the locale. A path with a NUL inside is no path: every
/// operation on it fails. Symbolic links are followed but where the contract says otherwise. What the
/// layer makes is closed to others: directories get the mode 0750, files 0640, less the umask.
class LUMPAL_API File_t {
public:
    File_t() = default;
    File_t(const LumPalStr::String_t& path);
    File_t(const char* path);
    File_t(const LumPalStr::String_t& directory, const LumPalStr::String_t& name);
    File_t(const File_t& directory, const LumPalStr::String_t& name);

    /// Last path component; separators at the end do not count.
    LumPalStr::String_t GetName() const;
    /// Directory part; null when there is none.
    LumPalStr::String_t GetParent() const;
    File_t GetParentFile() const;
    /// The path below the current directory when it is relative; "." and ".." stay.
    LumPalStr::String_t GetAbsolutePath() const;
    /// The path as given.
    LumPalStr::String_t ToString() const;
    bool Exists() const;
    bool IsDirectory() const;
    /// The entry itself is a symbolic link (it is not followed).
    bool IsSymbolicLink() const;
    bool IsNull() const noexcept;
    bool IsNotNull() const noexcept;
    /// Whether it is there and belongs to the user as whom this process acts.
    bool IsOwnedByThisUser() const;
    /// Size in bytes; 0 when the file is not there.
    std::uint64_t GetSize() const;
    /// Removes a file or an empty directory. True on success; never throws.
    bool Delete() const;
    /// Makes the directory and its parents, each flushed into the one above it. True when it was made or stood already;
    /// never throws.
    bool Mkdirs() const;
    /// The same. @throws FileNotFoundException_t, NoSpaceException_t, IOException_t
    void MakeFolders() const;
    /// Renames, replacing a file that stands there. True on success; never throws.
    bool RenameTo(const File_t& target) const;
    /// Sets the permission bits (chmod(2)). True on success; never throws.
    bool SetMode(unsigned mode) const;
    /// Forces a file's bytes, or the names in a directory, to the disk. True on success; never throws.
    bool Sync() const;
    /// "/" or "\".
    static const LumPalStr::String_t& Separator();
    /// Creates a new, uniquely named, empty file in the directory, readable by its owner alone.
    /// @throws FileNotFoundException_t, IOException_t, and LumPalMsg::IllegalArgumentError_t for a prefix
    /// with a separator inside
    static File_t CreateTempFile(const LumPalStr::String_t& prefix, const File_t& directory);

private:
    LumPalStr::String_t path = LumPalStr::String_t::Null();
};

/// Bytes to read. A handle: copies read from the same place; null when default-constructed.
/// Reading a null or closed stream throws IOException_t. One thread at a time.
class LUMPAL_API InputStream_t {
public:
    /// Implemented by each kind of stream.
    class LUMPAL_API Impl {
    public:
        virtual ~Impl();
        /// Reads 1 to length bytes; -1 at the end. length is above 0.
        virtual std::int64_t Read(char* target, std::size_t length) = 0;
        virtual std::size_t Available();
        virtual void Close();
    };
    InputStream_t() = default;
    explicit InputStream_t(std::shared_ptr<Impl> impl) : impl(std::move(impl)) {}
    /// Reads until the array is full or the stream ends; the count, or -1 when it ended before the first byte.
    std::int64_t Read(LumPalArray::CharArray_t& array);
    /// Reads up to length bytes to offset (what one read gives); the count or -1.
    /// @throws LumPalMsg::IllegalArgumentError_t when the range leaves the array.
    std::int64_t Read(LumPalArray::CharArray_t& array, std::size_t offset, std::size_t length);
    /// Bytes that can be read without blocking.
    std::size_t Available();
    /// Closes, also the stream below; a second call does nothing.
    void Close();
    bool IsNull() const noexcept { return !impl; }
    bool IsNotNull() const noexcept { return static_cast<bool>(impl); }
    const std::shared_ptr<Impl>& GetImpl() const noexcept { return impl; }

protected:
    std::shared_ptr<Impl> impl;
};

/// Where bytes go. A handle, as InputStream_t. A file stream whose last handle goes is closed; only Close
/// throws when that fails, else it is logged in the application log.
class LUMPAL_API OutputStream_t {
public:
    class LUMPAL_API Impl {
    public:
        virtual ~Impl();
        virtual void Write(const char* bytes, std::size_t length) = 0;
        virtual void Flush();
        virtual void Close();
    };
    OutputStream_t() = default;
    explicit OutputStream_t(std::shared_ptr<Impl> impl) : impl(std::move(impl)) {}
    void Write(const LumPalArray::CharArray_t& array);
    void Write(const LumPalArray::CharArray_t& array, std::size_t offset, std::size_t length);
    void Write(char byte);
    void Write(const char* bytes, std::size_t length);
    void Flush();
    /// Flushes and closes, also the stream below; a second call does nothing.
    void Close();
    bool IsNull() const noexcept { return !impl; }
    bool IsNotNull() const noexcept { return static_cast<bool>(impl); }
    const std::shared_ptr<Impl>& GetImpl() const noexcept { return impl; }

protected:
    std::shared_ptr<Impl> impl;
};

/// A file to read. Opening never waits: what is neither a file nor a character device (a directory, a
/// named pipe, a socket) is refused. @throws FileNotFoundException_t, IOException_t (a directory, no right)
class LUMPAL_API FileInputStream_t : public InputStream_t {
public:
    FileInputStream_t() = default;
    explicit FileInputStream_t(const LumPalStr::String_t& path);
    explicit FileInputStream_t(const char* path) : FileInputStream_t(LumPalStr::String_t(path)) {}
    explicit FileInputStream_t(const File_t& file);

private:
    friend class Folder_t;
    explicit FileInputStream_t(std::shared_ptr<Impl> impl) : InputStream_t(std::move(impl)) {}
};

/// A file to write, made or emptied; refuses what FileInputStream_t refuses.
/// @throws FileNotFoundException_t when its directory is not there, else IOException_t
class LUMPAL_API FileOutputStream_t : public OutputStream_t {
public:
    FileOutputStream_t() = default;
    explicit FileOutputStream_t(const LumPalStr::String_t& path);
    explicit FileOutputStream_t(const char* path) : FileOutputStream_t(LumPalStr::String_t(path)) {}
    explicit FileOutputStream_t(const File_t& file);
    /// Forces the written bytes to the disk (fsync).
    void Sync();
    /// Sets the permission bits of the open file, whatever became of its name (fchmod(2)). @throws IOException_t
    void SetMode(unsigned mode);

private:
    friend class Folder_t;
    explicit FileOutputStream_t(std::shared_ptr<Impl> impl) : OutputStream_t(std::move(impl)) {}
};

/// An open folder. What is done through it is done in that folder, whatever becomes of its path meanwhile: neither a
/// link in its place nor a link in the place of an entry leads anywhere else. Entries are named by single names;
/// another name (empty, "." or "..", one with a separator) names no entry. A handle: copies share the folder, which is
/// closed with the last one. Any thread.
class LUMPAL_API Folder_t {
public:
    /// What stands under a name; links are not followed.
    enum class Entry {
        None,
        File,    ///< a plain file with this one name
        Linked,  ///< a plain file that has other names too, wherever they are
        Directory,
        SymbolicLink,
        Other  ///< a pipe, a socket, a device
    };
    /// Opens a folder. In the place of its last name a symbolic link is refused; those above it are followed.
    /// @throws FileNotFoundException_t, IOException_t
    explicit Folder_t(const File_t& path);
    /// The path of an entry, for messages and logs.
    File_t Path(const LumPalStr::String_t& name) const;
    /// @throws IOException_t when the system cannot tell: then nobody may take the entry for one that is not there
    Entry Look(const LumPalStr::String_t& name) const;
    /// Opens a plain file to read. @throws as FileInputStream_t
    FileInputStream_t Open(const LumPalStr::String_t& name) const;
    /// Makes a new file to write; what stands there is never touched. @throws IOException_t, also where it stands
    FileOutputStream_t Create(const LumPalStr::String_t& name) const;
    /// Makes a new file under an unused name, which begins with the prefix, and hands the name over.
    FileOutputStream_t CreateUnused(const LumPalStr::String_t& prefix, LumPalStr::String_t& name) const;
    /// Removes a file, a link or an empty directory. True on success; never throws.
    bool Delete(const LumPalStr::String_t& name) const;
    /// Sets the permission bits of a directory, or of a plain file that has no other name: those of a file that lies
    /// elsewhere too are not this folder's to change. True on success; never throws.
    bool SetMode(const LumPalStr::String_t& name, unsigned mode) const;
    /// Gives an entry another place, replacing a file that stands there. True on success; never throws.
    bool Move(const LumPalStr::String_t& name, const Folder_t& target, const LumPalStr::String_t& newName) const;
    /// Forces the bytes of a plain file to the disk. @throws FileNotFoundException_t, NoSpaceException_t, IOException_t
    void SyncFile(const LumPalStr::String_t& name) const;
    /// Forces the names in the folder to the disk. @throws NoSpaceException_t, IOException_t
    void Sync() const;
    /// Forces all that was written to the folder's file system to the disk, files and names (syncfs(2)); for many files
    /// far cheaper than one after another. @throws NoSpaceException_t, IOException_t
    void SyncAll() const;

private:
    struct Impl;
    std::shared_ptr<const Impl> impl;
};

/// Reads ahead in blocks: the stream below is then to be read through this one alone.
class LUMPAL_API BufferedInputStream_t : public InputStream_t {
public:
    BufferedInputStream_t() = default;
    explicit BufferedInputStream_t(const InputStream_t& stream);
};

/// Writes in blocks. What is left goes out with Flush, Close, or the last handle; a failure of that last one cannot
/// be thrown and is logged in the application log.
class LUMPAL_API BufferedOutputStream_t : public OutputStream_t {
public:
    BufferedOutputStream_t() = default;
    explicit BufferedOutputStream_t(const OutputStream_t& stream);
};

/// Reads a copy of a byte array.
class LUMPAL_API CharArrayInputStream_t : public InputStream_t {
public:
    CharArrayInputStream_t() = default;
    explicit CharArrayInputStream_t(LumPalArray::CharArray_t array);
    /// Reads bytes that the caller keeps alive and unchanged; no copy.
    static CharArrayInputStream_t Over(const LumPalArray::CharArray_t& array);
};

/// Collects bytes in memory. Closing keeps what was collected, and more may be written.
class LUMPAL_API CharArrayOutputStream_t : public OutputStream_t {
public:
    explicit CharArrayOutputStream_t(std::size_t initialCapacity = 0);
    std::size_t Size() const;
    LumPalArray::CharArray_t ToCharArray() const;
    /// Hands the bytes over without a copy and leaves the stream empty.
    LumPalArray::CharArray_t TakeCharArray();
    /// The bytes as UTF-8 text.
    LumPalStr::String_t ToString() const;
    /// Copies from offset; length -1 means all that follows, and what is not there is not copied.
    /// @return the count written
    /// @throws LumPalMsg::IllegalArgumentError_t for an offset behind the end or a length below -1
    std::size_t WriteTo(OutputStream_t& stream, std::size_t offset = 0, std::int64_t length = -1) const;
};

/// WriteInt32: 4 bytes, big endian, two's complement. WriteUTF16String: the number of UTF-16
/// units as Int32, then the units, big endian, 2 bytes each; null is written as empty.
class LUMPAL_API DataOutputStream_t : public OutputStream_t {
public:
    DataOutputStream_t() = default;
    explicit DataOutputStream_t(const OutputStream_t& stream);
    void WriteInt32(std::int32_t value);
    void WriteUTF16String(const LumPalStr::String_t& text);
};

/// Reads back what DataOutputStream_t wrote. Over a stream that is not in memory it reads ahead, as
/// BufferedInputStream_t does.
class LUMPAL_API DataInputStream_t : public InputStream_t {
public:
    DataInputStream_t() = default;
    explicit DataInputStream_t(const InputStream_t& stream);
    /// @throws EOFException_t when fewer than 4 bytes are left
    std::int32_t ReadInt32();
    /// @throws EOFException_t when the text is cut; IOException_t for a negative length.
    /// A length beyond what the stream holds takes no memory for the missing part.
    LumPalStr::String_t ReadUTF16String();
    /// One line without its end (LF or CR LF). @throws EOFException_t at the end
    LumPalArray::CharArray_t ReadLine();
};

/// Decodes base64 (RFC 4648) around a stream; white space is skipped.
/// Padding is required, and its unused bits must be 0, so that bytes have one text only.
/// @throws IOException_t for any other character, wrong padding or a cut text
class LUMPAL_API Base64InputStream_t : public InputStream_t {
public:
    explicit Base64InputStream_t(const InputStream_t& stream);
};

/// Encodes base64 (RFC 4648) without line breaks; Close writes the last group with its padding, without it the text
/// stays unfinished.
class LUMPAL_API Base64OutputStream_t : public OutputStream_t {
public:
    explicit Base64OutputStream_t(const OutputStream_t& stream);
};

/// Walks a directory, not recursively, in no particular order, without "." and "..". Shows the entries that
/// stood there when it was made, so that they may be removed on the way. A handle: copies walk together.
class LUMPAL_API DirLister_t {
public:
    /// Which names a lister shows.
    class LUMPAL_API Filter_t {
    public:
        virtual ~Filter_t();
        virtual bool Accept(const LumPalStr::String_t& name) const = 0;
        /// Only names that end in the text.
        static std::shared_ptr<Filter_t> Suffix(const LumPalStr::String_t& text);
    };
    /// @throws FileNotFoundException_t, IOException_t
    explicit DirLister_t(const File_t& directory);
    DirLister_t(const File_t& directory, std::shared_ptr<Filter_t> filter);
    /// Goes to the next entry; false at the end.
    bool Next();
    /// True once Next has passed the last entry, and from the start where there is none.
    bool IsAtEnd() const;
    /// @throws LumPalMsg::IllegalStateError_t before the first Next and at the end
    File_t GetCurrentFile() const;

private:
    struct Impl;
    std::shared_ptr<Impl> impl;
};

}  // namespace LumPalIo
