#include "app/instance_lock.h"

#include "views/design_units.h"

namespace tavelin {

InstanceLock::InstanceLock(const std::string& programFolder)
    : file_(std::make_unique<QLockFile>(Q(programFolder + "/tavelin.lock"))) {
  taken_ = file_->tryLock(0);
}

}  // namespace tavelin
