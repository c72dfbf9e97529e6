#pragma once
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tavelin {

// A file operation that failed; the text names the path and the reason.
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

bool FileExists(const std::string& path);
bool FolderExists(const std::string& path);
// Makes one folder; its parent must exist. Throws FileError.
void CreateFolder(const std::string& path);
// Removes a file, also a read-only one. Throws FileError.
void DeleteFile(const std::string& path);

// A file written whole or not at all: the bytes go to a hidden temporary
// file in the same folder, and Close() forces them to disk, renames the
// file over the path and forces the folder to disk, so that no reader ever
// sees a file half-written and a power cut after Close() keeps it. A stream
// dropped without Close(), as when a write fails, removes its temporary
// file and leaves the path as it was.
class TextStream {
 public:
  TextStream(TextStream&& other) noexcept;
  TextStream& operator=(TextStream&&) = delete;
  ~TextStream();

  // Bytes as they go to disk. Throws FileError.
  void Write(std::string_view bytes);
  // Puts the file in place. Throws FileError.
  void Close();

 private:
  friend TextStream CreateTextFile(const std::string& path);
  TextStream(std::string path, std::string temporary, int fd)
      : path_(std::move(path)), temporary_(std::move(temporary)), fd_(fd) {}
  std::string path_;
  std::string temporary_;
  int fd_;
};

// A stream whose Close() replaces the file at `path`. Throws FileError.
TextStream CreateTextFile(const std::string& path);

// The start of the hidden name, beside `path`, that a write of `path`
// goes through before it is put in place: ".name." and a number follow.
std::string HiddenWritePrefix(const std::string& path);

// Makes an empty file at `path` only where none is: the one who makes it
// has taken the name. False when something is there already; throws
// FileError when the folder does not take the file.
bool TakeFileName(const std::string& path);

// Which file a path names now: a file put in place by a rename is another
// file than the one its name was taken with.
struct FileIdentity {
  uint64_t device = 0;
  uint64_t inode = 0;
  bool operator==(const FileIdentity&) const = default;
};
// The identity of the file at `path`, or none when there is no file.
std::optional<FileIdentity> IdentityOf(const std::string& path);

// Forces a folder's entries (a file made, renamed or removed) to disk.
// False when the folder cannot be opened or synced.
bool SyncFolder(const std::string& folder);

// The folder a dropped path names: a file gives its folder, a folder
// itself, a path that does not exist is taken whole. Never with a trailing
// "/", except for "/" itself.
std::string FolderOfDroppedPath(const std::string& path);

// "/" between folder and name: a folder of "" gives "/name", as the root.
std::string JoinPath(const std::string& folder, const std::string& name);

}  // namespace tavelin
