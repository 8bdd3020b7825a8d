/// @file
/// Reads the transfer format of policies (its layout stands in PolicyUtil.h) from bytes that nobody has checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "LumPalArray.h"
#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumConf {

/// A place in a transfer array. Every count and length is compared with the bytes that are left, so that nobody
/// takes memory for what is not there. The array must outlive the cursor and stay as it is; nothing is copied.
class TransferCursor {
public:
    explicit TransferCursor(const LumPalArray::CharArray_t& data);
    /// Number of items that follow, each of at least `bytesEach` bytes.
    /// @throws PolicyFileException when it is below `least` or cannot be there; LumPalIo::EOFException_t
    std::int32_t ReadCount(std::int32_t least, std::size_t bytesEach);
    /// @throws LumPalIo::IOException_t, EOFException_t for a cut or negative length
    LumPalStr::String_t ReadName();
    /// Number of bytes that follow.
    /// @throws PolicyFileException when they are not there; LumPalIo::EOFException_t
    std::uint32_t ReadLength(const LumPalStr::String_t& name);
    void Skip(std::uint32_t length);
    /// The bytes from here on; reading moves the cursor.
    LumPalIo::InputStream_t& Bytes() noexcept { return in; }
    std::size_t GetPosition() { return data.GetLength() - in.Available(); }
    std::string_view View(std::size_t begin, std::size_t end) const { return data.View().substr(begin, end - begin); }

private:
    const LumPalArray::CharArray_t& data;
    LumPalIo::DataInputStream_t in;
};

/// A stream over bytes that outlive it; nothing is copied.
LumPalIo::InputStream_t StreamOver(std::string_view bytes);

/// The names of all files of one policy array. It refers to the bytes of the array, which must outlive it.
class CarriedNames {
public:
    CarriedNames() = default;
    /// @param rawNames  the names as they stand in the array
    explicit CarriedNames(std::vector<std::string_view> rawNames);
    std::size_t GetCount() const noexcept { return sorted.size(); }
    bool Has(const LumPalStr::String_t& name) const;
    /// @param index  below the count
    LumPalStr::String_t Get(std::size_t index) const;
    /// @throws PolicyFileException when a name is there twice
    void CheckNoneTwice() const;

private:
    std::vector<std::string_view> sorted;  ///< comparing bytes costs no copy of each name
};

/// Walks the files of one policy array: the header document, then the data files. It demands of every name what the
/// store demands: plain, the first a header's name, the others not, and none twice.
///
///     PolicyArrayReader files(cursor);
///     while (files.Next()) ... read exactly files.GetLength() bytes from cursor.Bytes()
class PolicyArrayReader {
public:
    /// Fewest bytes of one file, and of one policy.
    static constexpr std::size_t kLeastFileBytes = 8;
    static constexpr std::size_t kLeastPolicyBytes = 4 + kLeastFileBytes;

    /// Most files of one policy, its header among them: each is written and placed while every other operation
    /// waits. A document is not rewritten to name more.
    static constexpr std::int32_t kMostFiles = 10000;

    /// Reads the count. @throws as TransferCursor::ReadCount; PolicyFileException for more than kMostFiles
    explicit PolicyArrayReader(TransferCursor& cursor);
    /// Goes to the next file; false behind the last one. The bytes of the file before must have been read.
    /// @throws PolicyFileException for a refused name or length; LumPalIo::IOException_t, EOFException_t
    bool Next();
    bool IsHeader() const noexcept { return filesRead == 1; }
    const LumPalStr::String_t& GetName() const noexcept { return name; }
    std::uint32_t GetLength() const noexcept { return length; }
    /// All names that were read so far, once; none of them stands twice when Next() has said false.
    CarriedNames TakeCarriedNames();

private:
    void ReadName();

    TransferCursor& cursor;
    std::int32_t count;
    std::int32_t filesRead = 0;
    LumPalStr::String_t name;
    std::uint32_t length = 0;
    std::vector<std::string_view> rawNames;  ///< those that were read so far
    CarriedNames carried;
};

}  // namespace LumConf
