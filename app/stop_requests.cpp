#include "app/stop_requests.h"

#include "app/Form1.h"

namespace tavelin {

StopRequestListener::StopRequestListener(Form1& form1)
    : notifier_(signals_.ReadableFd(), QSocketNotifier::Read) {
  QObject::connect(&notifier_, &QSocketNotifier::activated, this, [this, &form1] {
    signals_.Take();
    form1.RequestStop();
  });
}

}  // namespace tavelin
