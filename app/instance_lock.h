#pragma once
#include <QLockFile>
#include <memory>
#include <string>

namespace tavelin {

// The lock that tells a second start of the program from the first: a
// lock file in the program's writable folder, released when the program
// ends (a lock left by a program that died is taken over). Only a lock that
// another running instance holds means a second start; a lock that cannot
// be made at all (no such folder, no right to write) is said and gone past.
class InstanceLock {
 public:
  enum class Outcome { Taken, HeldByAnother, Unavailable };

  explicit InstanceLock(const std::string& folder);
  Outcome Result() const { return outcome_; }
  // Why the lock could not be made, when it could not.
  const std::string& Why() const { return why_; }

 private:
  std::unique_ptr<QLockFile> file_;
  Outcome outcome_ = Outcome::Unavailable;
  std::string why_;
};

}  // namespace tavelin
