#pragma once
#include <string>

namespace tavelin {

// The lock that tells a second start of the program from the first: a
// lock on a file in the program's writable folder, which the system
// releases when the program ends however it ends. Only a lock that another
// running instance holds means a second start; a lock that cannot be made
// at all (no such folder, no right to write) is said and gone past.
class InstanceLock {
 public:
  enum class Outcome { Taken, HeldByAnother, Unavailable };

  explicit InstanceLock(const std::string& folder);
  ~InstanceLock();
  InstanceLock(const InstanceLock&) = delete;
  InstanceLock& operator=(const InstanceLock&) = delete;

  Outcome Result() const { return outcome_; }
  // Why the lock could not be made, when it could not.
  const std::string& Why() const { return why_; }

 private:
  std::string path_;
  int fd_ = -1;
  Outcome outcome_ = Outcome::Unavailable;
  std::string why_;
};

}  // namespace tavelin
