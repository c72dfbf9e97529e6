#pragma once
#include <QLockFile>
#include <memory>
#include <string>

namespace tavelin {

// The lock that tells a second start of the program from the first: a
// lock file in the program's folder, released when the program ends (a
// lock left by a program that died is taken over).
class InstanceLock {
 public:
  explicit InstanceLock(const std::string& programFolder);
  bool Taken() const { return taken_; }

 private:
  std::unique_ptr<QLockFile> file_;
  bool taken_ = false;
};

}  // namespace tavelin
