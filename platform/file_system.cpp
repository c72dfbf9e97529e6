#include "platform/file_system.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace tavelin {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const char* what, const std::string& path, int error) {
  throw FileError(std::string(what) + ": " + path + " (" + std::strerror(error) + ")");
}

}  // namespace

bool FileExists(const std::string& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

bool FolderExists(const std::string& path) {
  std::error_code error;
  return !path.empty() && fs::is_directory(path, error);
}

void CreateFolder(const std::string& path) {
  std::error_code error;
  if (!fs::create_directory(path, error) || error) {
    Fail("フォルダを作成できません", path, error ? error.value() : EEXIST);
  }
}

void DeleteFile(const std::string& path) {
  std::error_code error;
  fs::permissions(path, fs::perms::owner_write, fs::perm_options::add, error);
  if (!fs::remove(path, error))
    Fail("ファイルを削除できません", path, error ? error.value() : ENOENT);
}

TextStream::TextStream(TextStream&& other) noexcept
    : path_(std::move(other.path_)), file_(other.file_) {
  other.file_ = nullptr;
}

TextStream::~TextStream() {
  if (file_ != nullptr) std::fclose(file_);
}

void TextStream::Write(std::string_view bytes) {
  if (file_ == nullptr) Fail("ファイルは閉じています", path_, EBADF);
  if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) {
    Fail("ファイルに書き込めません", path_, errno);
  }
}

void TextStream::Close() {
  if (file_ == nullptr) return;
  std::FILE* file = file_;
  file_ = nullptr;
  if (std::fclose(file) != 0) Fail("ファイルに書き込めません", path_, errno);
}

TextStream CreateTextFile(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) Fail("ファイルを作成できません", path, errno);
  return TextStream(path, file);
}

std::string FolderOfDroppedPath(const std::string& path) {
  std::error_code error;
  std::string folder = path;
  if (fs::exists(path, error) && !fs::is_directory(path, error)) {
    folder = fs::path(path).parent_path().string();
  }
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  return folder.empty() ? "/" : folder;
}

std::string JoinPath(const std::string& folder, const std::string& name) {
  return folder + "/" + name;
}

}  // namespace tavelin
