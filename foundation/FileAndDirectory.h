// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_FILEANDDIRECTORY_H
#define ORSEL_FOUNDATION_FILEANDDIRECTORY_H

#include <string>
#include <vector>

/// Paths, whole files, directories and the places that everybody knows. Paths are Linux paths.
namespace Velmor {

/// Joins with exactly one "/": a rooted `b` does not replace `a`, and an empty `b` leaves `a` with a "/" at
/// its end.
std::string CombinePaths(const std::string& a, const std::string& b);
/// Joins all parts from the left; empty for none.
std::string CombinePaths(const std::string* parts, int count);
/// What stands before the last "/", with it; one "/" at the end of the path is not looked at.
std::string RemoveLastPartFromPath(const std::string& path);
/// What stands behind the last "/".
std::string GetFilenameFromPath(const std::string& path);

/// Whether the file can be opened for reading.
bool FileExists(const std::string& path);
bool DirectoryExists(const std::string& path);
/// Makes the last directory of a path. True if it is there already, and for the empty path.
bool CreateOneDir(const std::string& path);
/// Makes every directory that stands before a "/": a path must end in one to be made whole. Stops at the
/// first failure.
bool CreateDirectories(const std::string& path);

/// Reads a file into a new array, which the caller frees with delete[]. An empty file reports failure and
/// yields an array all the same; a file that cannot be opened leaves both outputs alone.
bool ReadCompleteFileBinary(const std::string& path, char*& data, unsigned long& size);
/// The content of a file, empty on failure.
std::string ReadCompleteFile(const std::string& path);
bool RenameFile(const std::string& from, const std::string& to);
bool RemoveFile(const std::string& path);
/// False only when one of the files cannot be opened, which is logged. The target is emptied before anything
/// is known of the source. A block that cannot be read is logged and filled with something; a block that
/// cannot be written is not noticed.
bool CopyFile(const std::string& from, const std::string& to);
/// Replaces the content of a file, after removing the file itself if `removeFirst`. Failures are logged.
bool WriteToFile(const std::string& path, const std::vector<unsigned char>& data, bool removeFirst);
bool WriteToFile(const std::string& path, const std::string& data, bool removeFirst);

/// The variable TMPDIR, else "/tmp/".
std::string GetTempDir();
/// The variable HOME, which must be set: without it the result is empty.
std::string GetUserDir();
std::string GetAllUsersDir();
std::string GetSystemLogDir();

/// `name`, the local time of now, `ext`.
std::string GenerateFilenameWithTimestamp(std::string name, std::string ext);
/// A path in `dir` of `prefix` and six digits. The generator is seeded with the time at each call, so two
/// calls within one second give the same path; nothing is created.
std::string GenerateTempFilename(std::string& dir, std::string prefix);

/// Append the paths of all directories in `dir`, "." and ".." included, respectively of all regular files.
/// False if it cannot be opened.
bool ListAllSubDirectories(const std::string& dir, std::vector<std::string>& out);
bool ListAllFilesInDirectory(const std::string& dir, std::vector<std::string>& out);

} // namespace Velmor

#endif
