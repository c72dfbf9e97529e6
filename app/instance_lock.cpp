#include "app/instance_lock.h"

#include "views/design_units.h"

namespace tavelin {

InstanceLock::InstanceLock(const std::string& folder)
    : file_(std::make_unique<QLockFile>(Q(folder + "/tavelin.lock"))) {
  if (file_->tryLock(0)) {
    outcome_ = Outcome::Taken;
    return;
  }
  switch (file_->error()) {
    case QLockFile::LockFailedError:
      outcome_ = Outcome::HeldByAnother;
      break;
    case QLockFile::PermissionError:
      why_ = "書き込む権利がありません: " + folder;
      break;
    default:
      why_ = "ロックファイルを作れません: " + folder;
      break;
  }
}

}  // namespace tavelin
