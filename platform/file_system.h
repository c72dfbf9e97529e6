#pragma once
#include <cstdio>
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

// A file being written from its start, replacing what was there.
class TextStream {
 public:
  TextStream(TextStream&& other) noexcept;
  TextStream& operator=(TextStream&&) = delete;
  ~TextStream();

  // Bytes as they go to disk. Throws FileError.
  void Write(std::string_view bytes);
  void Close();

 private:
  friend TextStream CreateTextFile(const std::string& path);
  TextStream(std::string path, std::FILE* file) : path_(std::move(path)), file_(file) {}
  std::string path_;
  std::FILE* file_;
};

// Creates (or empties) the file at `path`. Throws FileError.
TextStream CreateTextFile(const std::string& path);

// The folder a dropped path names: a file gives its folder, a folder
// itself, a path that does not exist is taken whole. Never with a trailing
// "/", except for "/" itself.
std::string FolderOfDroppedPath(const std::string& path);

// "/" between folder and name: a folder of "" gives "/name", as the root.
std::string JoinPath(const std::string& folder, const std::string& name);

}  // namespace tavelin
