/// @file
/// The client's side of the policy transfer format: header and data files become one byte array.
///
/// Policy array: file count (Int32: data files plus 1); then for the header and each data file, in the order of the
/// header's list: name (UTF16String), length in bytes (Int32), the bytes as they stand in the file. A package is the
/// number of policies (Int32) and their arrays. Integers and strings are those of LumPalIo::DataOutputStream_t.
///
/// Everything is built in memory. A file of 2 GiB or more is refused. Any thread may call these.
#pragma once

#include "LumPalIo.h"
#include "LumPalStr.h"
#include "PolicyHeader.h"

namespace LumConf::PolicyUtil {

/// @throws PolicyFileException PackFileNull (null), PackFileIsDirectory (a directory), PackFileWithoutSuffix (the name
///         does not end in "_header.xml"); LumPalIo::FileNotFoundException_t PackFileDoesNotExist
void CheckPolicyFile(const LumPalIo::File_t& file);

/// Appends the entry of one data file.
/// @throws PolicyFileException when the name is no plain name of a data file or the file is too large;
///         LumPalIo::IOException_t when it cannot be read
void AddPolicyData(const LumPalIo::File_t& directory, const LumPalStr::String_t& name,
                   LumPalIo::DataOutputStream_t& out);

/// Writes one policy array.
/// @param file         the header file; the data files are looked for beside it
/// @param headerBytes  its content
/// @throws as AddPolicyData
void WritePolicyBlock(const PolicyHeader& header, const LumPalIo::File_t& file, LumPalIo::DataOutputStream_t& out,
                      const LumPalIo::CharArrayOutputStream_t& headerBytes);

/// Reads a header file, parses it and writes its policy array to the target. The bytes that were read are the bytes
/// that are sent. Closes the input and the target.
/// @throws ConfException PackError with the cause in its details when the document or a data file is bad;
///         LumPalIo::IOException_t when the input cannot be read
void ReadPolicy(LumPalIo::InputStream_t& input, const LumPalIo::File_t& file,
                LumPalIo::CharArrayOutputStream_t& target);

/// The policy array of a header file.
/// @throws LumPalIo::FileNotFoundException_t when it cannot be opened; else as ReadPolicy
LumPalArray::CharArray_t PackPolicyFile(const LumPalIo::File_t& file);

}  // namespace LumConf::PolicyUtil
